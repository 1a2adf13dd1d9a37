#include "core/settings/clsIniEdit.h"

#include "core/base/WholeFile.h"

#include <QDir>
#include <QFile>
#include <QFileInfo>

#include <vector>

namespace {

bool isBlank(QChar c) {
    return c == QLatin1Char(' ') || c == QLatin1Char('\t') || c == QLatin1Char('\r') ||
           c == QLatin1Char('\v') || c == QLatin1Char('\f');
}

QString trimBlanks(const QString& s) {
    int b = 0, e = s.size();
    while (b < e && isBlank(s[b]))
        ++b;
    while (e > b && isBlank(s[e - 1]))
        --e;
    return s.mid(b, e - b);
}

QString trimTrailingBlanks(const QString& s) {
    int e = s.size();
    while (e > 0 && isBlank(s[e - 1]))
        --e;
    return s.left(e);
}

bool sameName(const QString& a, const QString& b) {
    return QString::compare(a, b, Qt::CaseInsensitive) == 0;
}

// One line of the file as it stands: its bytes are data[begin, end), its line
// end (if any) runs to next.
struct Line {
    enum Kind { Other, Comment, Section, Key };
    Kind kind = Other;
    QString name;        // section or key name, blanks around it dropped
    QString value;       // key value as read
    bool hasValue = false;
    qsizetype begin = 0, end = 0, next = 0;
    bool blank = true;
    bool terminated = false; // ends in LF (a CR alone at the end of the file does not end a line)
};

QString unquote(const QString& v) {
    if (v.size() > 1) {
        const QChar first = v.front(), last = v.back();
        if (first == last && (first == QLatin1Char('"') || first == QLatin1Char('\'')))
            return v.mid(1, v.size() - 2);
    }
    return v;
}

std::vector<Line> scan(const QByteArray& data) {
    std::vector<Line> lines;
    qsizetype pos = 0;
    // A UTF-8 byte order mark belongs to no line.
    if (data.startsWith("\xEF\xBB\xBF"))
        pos = 3;
    const qsizetype n = data.size();
    while (pos < n) {
        Line line;
        line.begin = pos;
        qsizetype nl = data.indexOf('\n', pos);
        if (nl < 0) {
            line.next = n;
            line.end = n;
        } else {
            line.next = nl + 1;
            line.end = nl;
            line.terminated = true;
        }
        if (line.end > line.begin && data[line.end - 1] == '\r')
            --line.end;
        pos = line.next;

        const QString text = trimBlanks(QString::fromUtf8(data.constData() + line.begin, line.end - line.begin));
        line.blank = text.isEmpty();
        if (line.blank) {
            line.kind = Line::Other;
        } else if (text.startsWith(QLatin1Char(';'))) {
            line.kind = Line::Comment;
        } else if (text.startsWith(QLatin1Char('[')) && text.lastIndexOf(QLatin1Char(']')) > 0) {
            line.kind = Line::Section;
            line.name = trimBlanks(text.mid(1, text.lastIndexOf(QLatin1Char(']')) - 1));
        } else {
            line.kind = Line::Key;
            const int eq = text.indexOf(QLatin1Char('='));
            if (eq < 0) {
                line.name = text;
            } else {
                line.name = trimBlanks(text.left(eq));
                line.value = unquote(trimBlanks(text.mid(eq + 1)));
                line.hasValue = true;
            }
        }
        lines.push_back(std::move(line));
    }
    return lines;
}

// Where a section stands: its header line and the lines up to the next header.
struct SectionSpan {
    int header = -1;
    int bodyEnd = -1; // index of the next header, or the line count
    bool found() const { return header >= 0; }
};

SectionSpan findSection(const std::vector<Line>& lines, const QString& name) {
    SectionSpan s;
    const int count = static_cast<int>(lines.size());
    for (int i = 0; i < count; ++i) {
        if (lines[i].kind == Line::Section && sameName(lines[i].name, name)) {
            s.header = i;
            s.bodyEnd = count;
            for (int j = i + 1; j < count; ++j) {
                if (lines[j].kind == Line::Section) {
                    s.bodyEnd = j;
                    break;
                }
            }
            return s;
        }
    }
    return s;
}

int findKey(const std::vector<Line>& lines, const SectionSpan& s, const QString& key) {
    if (!s.found())
        return -1;
    for (int i = s.header + 1; i < s.bodyEnd; ++i)
        if (lines[i].kind == Line::Key && sameName(lines[i].name, key))
            return i;
    return -1;
}

enum class Load { Ok, Missing, Failed };

Load loadFile(const QString& path, QByteArray& data) {
    data.clear();
    if (path.isEmpty())
        return Load::Missing;
    QFile f(path);
    if (!f.exists())
        return Load::Missing;
    if (!f.open(QIODevice::ReadOnly))
        return Load::Failed;
    data = f.readAll();
    return f.error() == QFileDevice::NoError ? Load::Ok : Load::Failed;
}

bool saveFile(const QString& path, const QByteArray& data) { return WholeFile::write(path, data); }

// A NUL-separated, double-NUL-terminated list as the platform hands it over,
// cut to a buffer of `size` characters: a list too long for it ends in a cut
// last name and two NULs.
QString nulList(const QStringList& names, int size) {
    QString buf;
    for (const QString& n : names) {
        buf += n;
        buf += QChar(0);
    }
    buf += QChar(0);
    if (buf.size() > size) {
        buf.truncate(size - 2);
        buf += QChar(0);
        buf += QChar(0);
    }
    return buf;
}

void appendUnique(QStringList& list, const QString& name) {
    if (name.isEmpty())
        return;
    for (const QString& n : list)
        if (sameName(n, name))
            return;
    list.append(name);
}

} // namespace

int32_t clsIniEdit::Ini_Write(const QString& SectionName, const QString& KeyName, const QString& WriteData) {
    if (KeyName.isEmpty() || WriteData.isEmpty())
        return 0;
    const QString section = trimBlanks(SectionName);
    const QString key = trimBlanks(KeyName);
    QByteArray data;
    if (loadFile(m_filePath, data) == Load::Failed)
        return 0;
    const std::vector<Line> lines = scan(data);
    const SectionSpan s = findSection(lines, section);
    if (s.found()) {
        const int k = findKey(lines, s, key);
        if (k >= 0) {
            // The key keeps its spelling; only its line changes.
            const Line& l = lines[k];
            data.replace(l.begin, l.end - l.begin, (l.name + QLatin1Char('=') + WriteData).toUtf8());
        } else {
            // A new key goes behind the last line of the section that is not blank.
            int last = s.header;
            for (int i = s.header + 1; i < s.bodyEnd; ++i)
                if (!lines[i].blank)
                    last = i;
            const Line& l = lines[last];
            QByteArray insert;
            if (!l.terminated)
                insert += "\r\n";
            insert += (key + QLatin1Char('=') + WriteData).toUtf8() + "\r\n";
            data.insert(l.next, insert);
        }
    } else {
        if (!data.isEmpty() && !data.endsWith('\n'))
            data += "\r\n";
        data += (QLatin1Char('[') + section + QStringLiteral("]\r\n") + key + QLatin1Char('=') + WriteData)
                    .toUtf8() + "\r\n";
    }
    return saveFile(m_filePath, data) ? 1 : 0;
}

QString clsIniEdit::Ini_ReadStr(const QString& SectionName, const QString& KeyName, const QString& Default) const {
    QString result = trimTrailingBlanks(Default);
    QByteArray data;
    if (!KeyName.isEmpty() && loadFile(m_filePath, data) == Load::Ok) {
        const std::vector<Line> lines = scan(data);
        const int k = findKey(lines, findSection(lines, trimBlanks(SectionName)), trimBlanks(KeyName));
        if (k >= 0 && lines[k].hasValue)
            result = lines[k].value;
    }
    result.truncate(kBufferSize - 1);
    return result;
}

int32_t clsIniEdit::Ini_ReadInt(const QString& SectionName, const QString& KeyName, int32_t Default) const {
    const QString text = Ini_ReadStr(SectionName, KeyName, QString());
    if (text.isEmpty())
        return Default;
    int i = 0;
    const int n = text.size();
    while (i < n && isBlank(text[i]))
        ++i;
    bool negative = false;
    if (i < n && (text[i] == QLatin1Char('-') || text[i] == QLatin1Char('+')))
        negative = text[i++] == QLatin1Char('-');
    // The platform's conversion works in an unsigned 32-bit word and wraps.
    uint32_t v = 0;
    for (; i < n && text[i] >= QLatin1Char('0') && text[i] <= QLatin1Char('9'); ++i)
        v = v * 10u + static_cast<uint32_t>(text[i].unicode() - '0');
    if (negative)
        v = 0u - v;
    return static_cast<int32_t>(v);
}

int32_t clsIniEdit::Ini_Sections(QStringList& SectionBuffer) const {
    QStringList names;
    QByteArray data;
    if (loadFile(m_filePath, data) == Load::Ok)
        for (const Line& l : scan(data))
            if (l.kind == Line::Section)
                appendUnique(names, l.name);
    return Ini_Split(nulList(names, kBufferSize), SectionBuffer);
}

int32_t clsIniEdit::Ini_Keys(const QString& SectionName, QStringList& KeyBuffer) const {
    QStringList names;
    QByteArray data;
    if (loadFile(m_filePath, data) == Load::Ok) {
        const std::vector<Line> lines = scan(data);
        const SectionSpan s = findSection(lines, trimBlanks(SectionName));
        if (s.found())
            for (int i = s.header + 1; i < s.bodyEnd; ++i)
                if (lines[i].kind == Line::Key)
                    appendUnique(names, lines[i].name);
    }
    return Ini_Split(nulList(names, kBufferSize), KeyBuffer);
}

int32_t clsIniEdit::Ini_DelSection(const QString& SectionName) {
    QByteArray data;
    const Load load = loadFile(m_filePath, data);
    if (load == Load::Failed)
        return 0;
    if (load == Load::Missing)
        return m_filePath.isEmpty() ? 0 : 1;
    const std::vector<Line> lines = scan(data);
    const SectionSpan s = findSection(lines, trimBlanks(SectionName));
    if (!s.found())
        return 1;
    const qsizetype from = lines[s.header].begin;
    const qsizetype to = s.bodyEnd < static_cast<int>(lines.size()) ? lines[s.bodyEnd].begin : data.size();
    data.remove(from, to - from);
    return saveFile(m_filePath, data) ? 1 : 0;
}

int32_t clsIniEdit::Ini_DelKey(const QString& SectionName, const QString& KeyName) {
    if (KeyName.isEmpty())
        return 0;
    QByteArray data;
    const Load load = loadFile(m_filePath, data);
    if (load == Load::Failed)
        return 0;
    if (load == Load::Missing)
        return m_filePath.isEmpty() ? 0 : 1;
    const std::vector<Line> lines = scan(data);
    const int k = findKey(lines, findSection(lines, trimBlanks(SectionName)), trimBlanks(KeyName));
    if (k < 0)
        return 1;
    data.remove(lines[k].begin, lines[k].next - lines[k].begin);
    return saveFile(m_filePath, data) ? 1 : 0;
}

int32_t clsIniEdit::Ini_Split(const QString& Buffer, QStringList& Array) {
    int32_t count = 0;
    int pos = 0;
    for (int i = 0; i < Array.size(); ++i) {
        const int nul = Buffer.indexOf(QChar(0), pos);
        if (nul < 0 || nul == pos)
            break;
        Array[i] = Buffer.mid(pos, nul - pos);
        ++count;
        pos = nul + 1;
    }
    return count;
}
