#pragma once
// A scratch file of one fuzzing process, rewritten with each input.
#include <QByteArray>
#include <QDir>
#include <QFile>
#include <QString>

#include <cstdlib>
#include <string>
#include <unistd.h>

inline QString fuzzScratchFolder() {
    static const QString folder = [] {
        std::string tmpl = QDir::tempPath().toStdString() + "/zentor-fuzz-XXXXXX";
        const char* made = mkdtemp(tmpl.data());
        return made ? QString::fromLocal8Bit(made) : QDir::tempPath();
    }();
    return folder;
}

inline QString fuzzWriteInput(const QString& name, const uint8_t* data, size_t size) {
    const QString path = fuzzScratchFolder() + QLatin1Char('/') + name;
    QFile f(path);
    if (f.open(QIODevice::WriteOnly | QIODevice::Truncate))
        f.write(reinterpret_cast<const char*>(data), static_cast<qint64>(size));
    return path;
}
