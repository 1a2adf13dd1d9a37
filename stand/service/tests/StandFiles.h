#pragma once
// Stand description files written by the tests of the service's folders.
#include <QByteArray>
#include <QDir>
#include <QFile>
#include <QFileInfo>
#include <QString>
#include <gtest/gtest.h>

namespace standfiles {

// Writes `text` to `path`, making its folders.
inline void write(const QString& path, const QByteArray& text)
{
    QDir().mkpath(QFileInfo(path).absolutePath());
    QFile f(path);
    ASSERT_TRUE(f.open(QIODevice::WriteOnly)) << path.toStdString();
    f.write(text);
}

// The text of a small valid description of that name.
inline QByteArray stand(const char* name)
{
    return QByteArray("{ \"name\": \"") + name + "\", \"units\": [\"Q7s\", \"HBX-A\", \"Z\"] }\n";
}

} // namespace standfiles
