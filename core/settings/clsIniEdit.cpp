#include "core/settings/clsIniEdit.h"

#include "core/base/FileRead.h"
#include "core/base/WholeFile.h"

#include <QDir>
#include <QFile>
#include <QFileInfo>

#include <map>
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

bool isBlankByte(char c) { return c == ' ' || c == '\t' || c == '\r' || c == '\v' || c == '\f'; }

// One line of the file as it stands, as byte positions only: its bytes are
// data[begin, end), its line end (if any) runs to next; the name and value
// lie at [nameBegin, nameEnd) and [valueBegin, valueEnd), blanks dropped.
// Nothing is copied while the file is scanned: a look-up of one key reads a
// file of many lines without making a string of each (the blanks and the
// marks "[", "]", "=" and ";" are ASCII, so they stand where they stand in
// the text the bytes encode).
struct Line {
    enum Kind { Other, Comment, Section, Key };
    Kind kind = Other;
    qsizetype nameBegin = 0, nameEnd = 0;
    qsizetype valueBegin = 0, valueEnd = 0;
    bool hasValue = false;
    qsizetype begin = 0, end = 0, next = 0;
    bool blank = true;
    bool terminated = false; // ends in LF (a CR alone at the end of the file does not end a line)
};

void trimRange(const QByteArray& d, qsizetype& b, qsizetype& e) {
    while (b < e && isBlankByte(d[b]))
        ++b;
    while (e > b && isBlankByte(d[e - 1]))
        --e;
}

QString unquote(const QString& v) {
    if (v.size() > 1) {
        const QChar first = v.front(), last = v.back();
        if (first == last && (first == QLatin1Char('"') || first == QLatin1Char('\'')))
            return v.mid(1, v.size() - 2);
    }
    return v;
}

QString nameOf(const QByteArray& d, const Line& l) {
    return QString::fromUtf8(d.constData() + l.nameBegin, l.nameEnd - l.nameBegin);
}

QString valueOf(const QByteArray& d, const Line& l) {
    return unquote(QString::fromUtf8(d.constData() + l.valueBegin, l.valueEnd - l.valueBegin));
}

// A name looked for: compared byte by byte while both sides are ASCII, as
// text (case folded) otherwise.
struct Needle {
    QString text;
    QByteArray utf8;
    bool ascii = true;
    explicit Needle(const QString& t) : text(t), utf8(t.toUtf8()) {
        for (char c : utf8)
            ascii = ascii && static_cast<unsigned char>(c) < 0x80;
    }
};

bool sameName(const QByteArray& d, const Line& l, const Needle& n) {
    const qsizetype len = l.nameEnd - l.nameBegin;
    const char* p = d.constData() + l.nameBegin;
    bool ascii = n.ascii;
    for (qsizetype i = 0; ascii && i < len; ++i)
        ascii = static_cast<unsigned char>(p[i]) < 0x80;
    if (!ascii)
        return sameName(nameOf(d, l), n.text);
    if (len != n.utf8.size())
        return false;
    return qstrnicmp(p, n.utf8.constData(), static_cast<size_t>(len)) == 0;
}

// The last "]" of data[b, e), or -1.
qsizetype lastBracket(const QByteArray& d, qsizetype b, qsizetype e) {
    for (qsizetype i = e - 1; i >= b; --i)
        if (d[i] == ']')
            return i;
    return -1;
}

std::vector<Line> scan(const QByteArray& data) {
    std::vector<Line> lines;
    lines.reserve(static_cast<size_t>(data.count('\n')) + 1);
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

        qsizetype b = line.begin, e = line.end;
        trimRange(data, b, e);
        line.blank = b == e;
        if (line.blank) {
            line.kind = Line::Other;
        } else if (data[b] == ';') {
            line.kind = Line::Comment;
        } else if (data[b] == '[' && lastBracket(data, b, e) > b) {
            line.kind = Line::Section;
            line.nameBegin = b + 1;
            line.nameEnd = lastBracket(data, b, e);
            trimRange(data, line.nameBegin, line.nameEnd);
        } else {
            line.kind = Line::Key;
            const qsizetype eq = data.indexOf('=', b);
            line.nameBegin = b;
            if (eq < 0 || eq >= e) {
                line.nameEnd = e;
            } else {
                line.nameEnd = eq;
                trimRange(data, line.nameBegin, line.nameEnd);
                line.valueBegin = eq + 1;
                line.valueEnd = e;
                trimRange(data, line.valueBegin, line.valueEnd);
                line.hasValue = true;
            }
        }
        lines.push_back(line);
    }
    return lines;
}

// Where a section stands: its header line and the lines up to the next header.
struct SectionSpan {
    int header = -1;
    int bodyEnd = -1; // index of the next header, or the line count
    bool found() const { return header >= 0; }
};

SectionSpan findSection(const QByteArray& d, const std::vector<Line>& lines, const Needle& name) {
    SectionSpan s;
    const int count = static_cast<int>(lines.size());
    for (int i = 0; i < count; ++i) {
        if (lines[i].kind == Line::Section && sameName(d, lines[i], name)) {
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

int findKey(const QByteArray& d, const std::vector<Line>& lines, const SectionSpan& s, const Needle& key) {
    if (!s.found())
        return -1;
    for (int i = s.header + 1; i < s.bodyEnd; ++i)
        if (lines[i].kind == Line::Key && sameName(d, lines[i], key))
            return i;
    return -1;
}

enum class Load { Ok, Missing, Failed };

// A file that is not a regular file, or is beyond the bound, is told (once)
// and taken as one that cannot be read: its keys read as absent, and it is
// not written.
Load readFromDisk(const QString& path, QByteArray& data) {
    data.clear();
    if (path.isEmpty())
        return Load::Missing;
    FileRead::Result file = FileRead::read(path);
    if (file.missing())
        return Load::Missing;
    if (file.refused()) {
        FileRead::tellOnce(file);
        return Load::Failed;
    }
    data = std::move(file.bytes);
    return Load::Ok;
}

bool writeToDisk(const QString& path, const QByteArray& data) {
    QString error;
    if (WholeFile::write(path, data, &error))
        return true;
    FileRead::tellOnce(error);
    return false;
}

} // namespace

// One file of an open batch, as it is to become.
struct IniPendingFile {
    Load load = Load::Missing;
    QByteArray data;
    bool changed = false;
};

struct IniBatch::Files {
    std::map<QString, IniPendingFile> files;   // by absolute path
};

// The files of the open batch, for the reads and writes below.
class IniBatchFiles {
public:
    static std::map<QString, IniPendingFile>& of(IniBatch& batch) { return batch.m_files->files; }
};

namespace {

IniBatch* g_openBatch = nullptr;

QString batchKey(const QString& path) { return QFileInfo(path).absoluteFilePath(); }

} // namespace

IniBatch::IniBatch() : m_files(std::make_unique<Files>()) {
    if (!g_openBatch)
        g_openBatch = this;
}

IniBatch::~IniBatch() { commit(); }

bool IniBatch::commit() {
    if (g_openBatch != this)
        return true;
    g_openBatch = nullptr;
    bool all = true;
    for (const auto& [path, file] : m_files->files)
        if (file.changed)
            all = writeToDisk(path, file.data) && all;
    m_files->files.clear();
    return all;
}

namespace {

Load loadFile(const QString& path, QByteArray& data) {
    if (!g_openBatch || path.isEmpty())
        return readFromDisk(path, data);
    auto& files = IniBatchFiles::of(*g_openBatch);
    const QString key = batchKey(path);
    auto it = files.find(key);
    if (it == files.end()) {
        IniPendingFile file;
        file.load = readFromDisk(path, file.data);
        it = files.emplace(key, std::move(file)).first;
    }
    data = it->second.data;
    return it->second.load;
}

bool saveFile(const QString& path, const QByteArray& data) {
    if (!g_openBatch || path.isEmpty())
        return writeToDisk(path, data);
    IniPendingFile& file = IniBatchFiles::of(*g_openBatch)[batchKey(path)];
    file.data = data;
    file.load = Load::Ok;
    file.changed = true;
    return true;
}

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
    const SectionSpan s = findSection(data, lines, Needle(section));
    if (s.found()) {
        const int k = findKey(data, lines, s, Needle(key));
        if (k >= 0) {
            // The key keeps its spelling; only its line changes.
            const Line& l = lines[k];
            data.replace(l.begin, l.end - l.begin, (nameOf(data, l) + QLatin1Char('=') + WriteData).toUtf8());
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
        const int k = findKey(data, lines, findSection(data, lines, Needle(trimBlanks(SectionName))),
                              Needle(trimBlanks(KeyName)));
        if (k >= 0 && lines[k].hasValue)
            result = valueOf(data, lines[k]);
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
                appendUnique(names, nameOf(data, l));
    return Ini_Split(nulList(names, kBufferSize), SectionBuffer);
}

int32_t clsIniEdit::Ini_Keys(const QString& SectionName, QStringList& KeyBuffer) const {
    QStringList names;
    QByteArray data;
    if (loadFile(m_filePath, data) == Load::Ok) {
        const std::vector<Line> lines = scan(data);
        const SectionSpan s = findSection(data, lines, Needle(trimBlanks(SectionName)));
        if (s.found())
            for (int i = s.header + 1; i < s.bodyEnd; ++i)
                if (lines[i].kind == Line::Key)
                    appendUnique(names, nameOf(data, lines[i]));
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
    const SectionSpan s = findSection(data, lines, Needle(trimBlanks(SectionName)));
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
    const int k = findKey(data, lines, findSection(data, lines, Needle(trimBlanks(SectionName))),
                          Needle(trimBlanks(KeyName)));
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
