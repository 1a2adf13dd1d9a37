#pragma once
// The program's version. Its one number is kept in the top-level
// CMakeLists.txt (project VERSION); the build hands its parts to every library
// (ZENTOR_VERSION_MAJOR, _MINOR, _REVISION, _TEXT), and `zentor --version` and
// the version panel both read it from here.

namespace ZentorVersion {
constexpr int Major = ZENTOR_VERSION_MAJOR;
constexpr int Minor = ZENTOR_VERSION_MINOR;
constexpr int Revision = ZENTOR_VERSION_REVISION;
// The project's version as written there ("0.1").
constexpr const char* Text = ZENTOR_VERSION_TEXT;
} // namespace ZentorVersion

#ifndef ZENTOR_VERSION
#define ZENTOR_VERSION ZENTOR_VERSION_TEXT
#endif
