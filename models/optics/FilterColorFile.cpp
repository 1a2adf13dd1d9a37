#include "models/optics/FilterColorFile.h"

#include "core/base/FileRead.h"
#include "core/base/WholeFile.h"

#include "core/base/RunTimeError.h"
#include "core/base/VbConvert.h"

#include <QBuffer>
#include <QDir>
#include <QFileInfo>
#include <QStandardPaths>
#include <QStringList>

#include <algorithm>

namespace {

RunTimeError subscript() {
    return RunTimeError(RunTimeError::SubscriptOutOfRange, QStringLiteral("Subscript out of range"));
}

// One line as a text file's line input reads it: up to CR LF, CR or LF. At the
// end of the file with nothing left to read it fails with "Input past end of
// file"; a last line without its line end is still a line.
QString lineInput(QIODevice& file) {
    if (file.atEnd())
        throw RunTimeError(RunTimeError::InputPastEndOfFile, QStringLiteral("Input past end of file"));
    QByteArray line;
    char c = 0;
    while (file.getChar(&c)) {
        if (c == '\n')
            break;
        if (c == '\r') {
            char next = 0;
            if (file.peek(&next, 1) == 1 && next == '\n')
                file.getChar(&next);
            break;
        }
        line.append(c);
    }
    return QString::fromLatin1(line);
}

} // namespace

QString FilterColor_Path() {
    return QStandardPaths::writableLocation(QStandardPaths::GenericDataLocation) +
           QStringLiteral("/Korvu/MavrelTools/FilterColor.txt");
}

clsDefFillterCasette& FilterColor_Item(FilterColorList& mFColor, int n) {
    if (n < 1 || n > mFColor.size())
        throw subscript();
    return mFColor[n - 1];
}

const clsDefFillterCasette& FilterColor_Item(const FilterColorList& mFColor, int n) {
    if (n < 1 || n > mFColor.size())
        throw subscript();
    return mFColor[n - 1];
}

void FilterColor_Default(FilterColorList& mFColor) {
    for (int n = 1; n <= kFilterColorCount; ++n) {
        clsDefFillterCasette record;
        record.setNumber(static_cast<int16_t>(n));
        mFColor.append(record);
    }
}

void FilterColor_Read(FilterColorList& mFColor, const QString& path) {
    mFColor = FilterColorList();
    FileRead::Result read = FileRead::read(path);
    if (read.refused())
        FileRead::tellOnce(read);
    // A file the user may not read is the access error it always was; anything
    // but a regular file (a pipe, a device, a folder) or a file beyond the
    // bound is taken as no file: the default colours.
    if (read.refused() && read.refusal == FileRead::Refusal::Unreadable)
        throw RunTimeError(75, QStringLiteral("Path/File access error"));
    if (!read.read()) {
        FilterColor_Default(mFColor);
        return;
    }
    QDir().mkpath(QFileInfo(path).absolutePath());

    QBuffer file(&read.bytes);
    file.open(QIODevice::ReadOnly);
    for (int n = 1; n <= kFilterColorCount; ++n) {
        const QString line = lineInput(file);
        if (line.isEmpty())
            break;
        const QStringList fields = line.split(QLatin1Char(','));
        if (fields.size() < 5)
            throw subscript();
        clsDefFillterCasette record;
        record.setNumber(vb::textToInt16(fields[0]));
        record.setExColor(vb::textToInt32(fields[1]));
        record.setBaColor(vb::textToInt32(fields[2]));
        record.setE_SET(vb::textToInt16(fields[3]));
        record.setB_SET(vb::textToInt16(fields[4]));
        mFColor.append(record);
    }
}

bool FilterColor_Write(const FilterColorList& mFColor, bool connected, const QString& path) {
    if (!connected)
        return false;
    QByteArray bytes;
    const int count = std::min<int>(kFilterColorCount, static_cast<int>(mFColor.size()));
    for (int n = 1; n <= count; ++n) {
        const clsDefFillterCasette& r = mFColor[n - 1];
        bytes += QByteArray::number(r.Number()) + ',' + QByteArray::number(r.ExColor()) + ',' +
                 QByteArray::number(r.BaColor()) + ',' + QByteArray::number(r.E_SET()) + ',' +
                 QByteArray::number(r.B_SET()) + "\r\n";
    }
    // A short table is still written (whole), but reported as not written in full.
    return WholeFile::write(path, bytes) && count == kFilterColorCount;
}
