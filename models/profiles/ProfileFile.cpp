#include "models/profiles/ProfileFile.h"

#include "core/base/RunTimeError.h"
#include "core/base/VbConvert.h"

#include <QStringList>

namespace {

const QString kCustomValue = QStringLiteral("Custom Value");
const char* const kKinds[3] = {"AS", "FS", "ND"};

[[noreturn]] void subscript(const QString& what) { throw RunTimeError(RunTimeError::SubscriptOutOfRange, what); }

QString field(const QStringList& parts, int i) {
    if (i < 0 || i >= parts.size()) subscript(QStringLiteral("A line has no field %1").arg(i + 1));
    return parts[i];
}

int32_t longField(const QStringList& parts, int i) { return vb::textToInt32(field(parts, i)); }
int16_t intField(const QStringList& parts, int i) { return vb::textToInt16(field(parts, i)); }

// The file's lines; a line ends at CR LF, CR or LF. The reader stops at the
// first empty one, which the final line end of a whole file also gives.
QStringList linesOf(const QByteArray& text) {
    QString s = QString::fromLatin1(text);
    s.replace(QStringLiteral("\r\n"), QStringLiteral("\n"));
    s.replace(QLatin1Char('\r'), QLatin1Char('\n'));
    return s.split(QLatin1Char('\n'));
}

double umem(const clsDefProfile& r, int kind, int16_t a) {
    return kind == 0 ? r.Get_UmemAS(a) : kind == 1 ? r.Get_UmemFS(a) : r.Get_UmemND(a);
}

void putUmem(clsDefProfile& r, int kind, int16_t a, double v) {
    if (kind == 0) r.Put_UmemAS(a, v);
    else if (kind == 1) r.Put_UmemFS(a, v);
    else r.Put_UmemND(a, v);
}

} // namespace

clsDefProfile& Profile_Item(ProfileList& items, int t) {
    if (t < 1 || t > items.size()) subscript(QStringLiteral("There is no profile %1").arg(t));
    return items[t - 1];
}

const clsDefProfile& Profile_Item(const ProfileList& items, int t) {
    if (t < 1 || t > items.size()) subscript(QStringLiteral("There is no profile %1").arg(t));
    return items[t - 1];
}

ProfileList Profile_Init() { return ProfileList(6); }

QByteArray Profile_FileText(const ProfileList& items, bool* whole) {
    QString text;
    if (whole) *whole = items.size() >= 6;
    for (int t = 1; t <= 6; ++t) {
        // The save writes the record lines one by one and fails at the first
        // record missing: what stands before it is what the file keeps.
        if (t > items.size()) {
            if (!whole) Profile_Item(items, t);
            return text.toLatin1();
        }
        const clsDefProfile& r = Profile_Item(items, t);
        const QList<qint64> numbers = {r.OBSERVATION(), r.Obj_ADDRESS(), r.Filter_ADDRESS(), r.Cond_ADDRESS(),
                                       r.AStop(), r.FStop(), r.ND(), r.ZOOM(), r.LAMP(), r.ANALYZER(),
                                       r.SHUTTER(), r.PATH(), r.MIC(), r.HBX_A(), r.HBX_B(),
                                       r.Obj_Link(), r.Path_Link(), r.Zoom_Link()};
        text += QString::number(t) + QLatin1Char(',') + r.Name();
        for (qint64 n : numbers) text += QLatin1Char(',') + QString::number(n);
        text += QStringLiteral("\r\n");
    }
    text += kCustomValue + QStringLiteral("\r\n");
    for (int kind = 0; kind < 3; ++kind)
        for (int t = 1; t <= 6; ++t) {
            text += QLatin1String(kKinds[kind]) + QLatin1Char(' ') + QString::number(t);
            for (int16_t a = 1; a <= 7; ++a)
                text += QLatin1Char(',') + vb::numberText(umem(Profile_Item(items, t), kind, a));
            text += QStringLiteral("\r\n");
        }
    return text.toLatin1();
}

ProfileFileReading Profile_FileParse(const QByteArray& bytes) {
    ProfileFileReading out;
    const QStringList lines = linesOf(bytes);
    int i = 0;
    auto atLineEnd = [&] { return i >= lines.size() || lines[i].isEmpty(); };
    while (!atLineEnd()) {
        const QString line = lines[i++];
        if (line == kCustomValue) break;
        const QStringList f = line.split(QLatin1Char(','));
        clsDefProfile r;
        r.setName(field(f, 1).trimmed());
        r.setOBSERVATION(longField(f, 2));
        r.setObj_ADDRESS(longField(f, 3));
        r.setFilter_ADDRESS(longField(f, 4));
        r.setCond_ADDRESS(longField(f, 5));
        r.setAStop(longField(f, 6));
        r.setFStop(longField(f, 7));
        r.setND(longField(f, 8));
        r.setZOOM(longField(f, 9));
        r.setLAMP(longField(f, 10));
        r.setANALYZER(longField(f, 11));
        r.setSHUTTER(longField(f, 12));
        r.setPATH(vb::toInt16(longField(f, 13)));
        r.setMIC(intField(f, 14));
        r.setHBX_A(intField(f, 15));
        r.setHBX_B(intField(f, 16));
        r.setObj_Link(intField(f, 17));
        r.setPath_Link(intField(f, 18));
        r.setZoom_Link(intField(f, 19));
        out.items << r;
        const int16_t tab = intField(f, 0);
        if (tab < 1 || tab > 6) subscript(QStringLiteral("There is no tab %1").arg(tab));
        out.captions << qMakePair(int(tab), field(f, 1));
    }
    // The custom step reads the file again from its start.
    i = 0;
    bool found = false;
    while (!found && !atLineEnd()) found = lines[i++] == kCustomValue;
    if (!found) return out;
    while (!atLineEnd()) {
        const QStringList parts = lines[i++].split(QLatin1Char(','));
        const QStringList head = parts[0].split(QLatin1Char(' '));
        int kind = -1;
        for (int k = 0; k < 3; ++k)
            if (head[0] == QLatin1String(kKinds[k])) kind = k;
        if (kind < 0) continue;
        clsDefProfile& r = Profile_Item(out.items, vb::textToInt16(field(head, 1)));
        for (int16_t a = 1; a <= 7; ++a) putUmem(r, kind, a, vb::textToDouble(field(parts, a)));
    }
    return out;
}
