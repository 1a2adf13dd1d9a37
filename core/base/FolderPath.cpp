#include "core/base/FolderPath.h"

#include <QStandardPaths>

QString Folder_Get(int32_t folderId) {
    if (folderId != kFolderAppData)
        return QString();
    QString path = QStandardPaths::writableLocation(QStandardPaths::GenericDataLocation);
    while (path.size() > 1 && path.endsWith(QLatin1Char('/')))
        path.chop(1);
    return path;
}

QString Folder_Cut(const QString& text) {
    const int nul = text.indexOf(QChar(0));
    return nul < 0 ? QString() : text.left(nul);
}
