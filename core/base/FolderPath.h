#pragma once
// Where the operator's settings live. Folder id 26 is the per-user application
// data folder; here that is $XDG_DATA_HOME (default ~/.local/share). Paths use
// "/" separators and keep the folder names the files always had below it
// ("Korvu/MavrelTools/Zentor.ini", ...).
#include <QString>
#include <cstdint>

// The id every caller passes: the per-user application data folder.
constexpr int32_t kFolderAppData = 26;

// The folder for an id, without a trailing "/"; the empty text for an unknown
// id or when the folder cannot be found.
QString Folder_Get(int32_t folderId);

// The part of a text before its first NUL; the empty text if there is no NUL.
QString Folder_Cut(const QString& text);
