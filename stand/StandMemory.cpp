#include "stand/StandMemory.h"

#include "core/base/FileRead.h"
#include "core/base/RunTimeError.h"
#include "core/base/WholeFile.h"
#include "stand/JsonMembers.h"

#include <QDateTime>
#include <QDir>
#include <QFile>
#include <QFileInfo>
#include <QJsonArray>
#include <QJsonDocument>
#include <QRegularExpression>

#include <algorithm>
#include <cerrno>
#include <cmath>
#include <cstdio>
#include <cstring>
#include <vector>

namespace {

const char* const kFormat = "zentor-service memory";
constexpr int kVersion = 1;
const char* const kCustomKeys[3] = {"apertureStop", "fieldStop", "nd"};

[[noreturn]] void damaged(const QString& why) { throw RunTimeError(RunTimeError::TypeMismatch, why); }

int32_t wholeNumber(const QJsonValue& v, const QString& what) {
    const double d = v.toDouble(std::nan(""));
    if (!v.isDouble() || d != std::floor(d) || d < INT32_MIN || d > INT32_MAX)
        damaged(QStringLiteral("%1 is not a whole number").arg(what));
    return int32_t(d);
}

// One value's text read as JSON; undefined when it is none.
QJsonValue jsonValue(const QByteArray& text) {
    const QJsonArray a = QJsonDocument::fromJson('[' + text + ']').array();
    return a.size() == 1 ? a[0] : QJsonValue(QJsonValue::Undefined);
}

int32_t* codeAt(ObservationPositions& p, int i) {
    int32_t* f[11] = {&p.lamp, &p.nd, &p.fieldStop, &p.condenser, &p.apertureStop, &p.filter,
                      &p.shutter, &p.analyzer, &p.objective, &p.path, &p.zoom};
    return f[i];
}

} // namespace

QString StandMemory::defaultPath() {
    QString base = qEnvironmentVariable("XDG_STATE_HOME");
    if (base.isEmpty() || !QDir::isAbsolutePath(base)) base = QDir::homePath() + QStringLiteral("/.local/state");
    return base + QStringLiteral("/zentor/zentor-service.json");
}

StandMemory::StandMemory(const QString& path, std::function<void(const QString&)> tell)
    : m_path(path), m_tell(std::move(tell)) {}

QString StandMemory::keyOf(int index, const QString& name) { return QStringLiteral("%1 %2").arg(index).arg(name); }

bool StandMemory::load() {
    m_stands = {};
    const FileRead::Result file = FileRead::read(m_path);
    if (file.missing()) return true;
    if (file.refused()) {
        if (file.refusal == FileRead::Refusal::TooLarge) {
            // Too large to read or copy: the file itself goes aside.
            QString error;
            const QString copy = moveAside(error);
            tellDamage(file.why, QStringLiteral("the stands start from their descriptions"), copy, error);
        } else {
            m_tell(QStringLiteral("the memory file %1 cannot be used (%2); the stands start from their descriptions, "
                                  "and no change of a user method can be kept until it is a regular file the "
                                  "service may write")
                       .arg(m_path, file.why));
        }
        return false;
    }
    QStringList damaged;
    bool whole = false;
    try {
        m_stands = parse(file.bytes, &damaged);
    } catch (const RunTimeError& e) {
        damaged = QStringList{e.description()};
        whole = true;
    }
    if (damaged.isEmpty()) return true;
    QString error;
    const QString copy = keepAside(file.bytes, error);
    tellDamage(damaged.join(QStringLiteral("; ")),
               whole ? QStringLiteral("the stands start from their descriptions")
                     : QStringLiteral("the stands of those entries start from their descriptions, every other "
                                      "stand keeps its methods"),
               copy, error);
    if (!copy.isEmpty()) rewrite();
    return false;
}

QJsonObject StandMemory::parse(const QByteArray& bytes, QStringList* damagedEntries) {
    // Member by member, so that a value that is no JSON costs its own entry.
    const JsonMembers root = splitJsonObject(bytes);
    if (!root.isObject) damaged(QStringLiteral("it is not a JSON object"));
    const JsonMember* format = root.find(QStringLiteral("format"));
    if (!format || jsonValue(format->value).toString() != QLatin1String(kFormat))
        damaged(QStringLiteral("it is not a memory of zentor-service"));
    const JsonMember* version = root.find(QStringLiteral("version"));
    const QJsonValue v = version ? jsonValue(version->value) : QJsonValue();
    if (v.toInt(-1) != kVersion)
        damaged(QStringLiteral("it is of another version (%1, this service reads %2)")
                    .arg(version ? QString::fromUtf8(version->value.left(40)) : QStringLiteral("none")).arg(kVersion));
    const JsonMember* stands = root.find(QStringLiteral("stands"));
    const JsonMembers entries = stands ? splitJsonObject(stands->value) : JsonMembers();
    if (!entries.isObject) damaged(QStringLiteral("it holds no list of stands"));

    QStringList problems;
    QJsonObject sound;
    // Every entry is read now, so that a damaged one is found at start.
    for (const JsonMember& entry : entries.members) {
        try {
            if (!entry.whole) damaged(QStringLiteral("the file ends inside it"));
            QJsonParseError error{};
            const QJsonDocument doc = QJsonDocument::fromJson(entry.value, &error);
            if (error.error != QJsonParseError::NoError)
                damaged(QStringLiteral("it is not JSON (%1 at offset %2 of the entry)")
                            .arg(error.errorString()).arg(error.offset));
            if (!doc.isObject()) damaged(QStringLiteral("it is not an object of JSON"));
            // Kept as the service writes it: what it reads, nothing else.
            sound.insert(entry.key, methodsToJson(methodsFromJson(doc.object(), entry.key)));
        } catch (const RunTimeError& e) {
            const QString why = e.description();
            problems << (why.startsWith(entry.key + QLatin1Char(':')) ? why : entry.key + QStringLiteral(": ") + why);
        }
    }
    const bool cutShort = !entries.complete && (entries.members.isEmpty() || entries.members.last().whole);
    if (cutShort) problems << QStringLiteral("the list of stands breaks off after %1 entries").arg(entries.members.size());
    else if (entries.complete && (!root.complete || root.trailing))
        problems << QStringLiteral("the file does not end where its memory ends");
    if (damagedEntries) *damagedEntries = problems;
    return sound;
}

QByteArray StandMemory::toJson(const QJsonObject& stands) {
    // The format and version go first (a JSON object would sort them after
    // the stands), so that a file cut short still says what it is.
    QByteArray body = QJsonDocument(stands).toJson(QJsonDocument::Indented).trimmed();
    body.replace('\n', "\n    ");
    return QByteArray("{\n    \"format\": \"") + kFormat + "\",\n    \"version\": " + QByteArray::number(kVersion) +
           ",\n    \"stands\": " + body + "\n}\n";
}

QJsonObject StandMemory::methodsToJson(const StandUserMethods& m) {
    QJsonArray methods;
    for (int i = 0; i < StandUserMethods::kCount; ++i) {
        QJsonObject one;
        one.insert(QLatin1String("observation"), StandUserMethods::kFirst + i);
        one.insert(QLatin1String("name"), m.methods[i].name);
        ObservationPositions p = m.methods[i].positions;
        QJsonArray codes;
        for (int c = 0; c < 11; ++c) codes.append(*codeAt(p, c));
        one.insert(QLatin1String("positions"), codes);
        for (int d = 0; d < 3; ++d) {
            QJsonArray values;
            for (double v : m.custom[d][i]) values.append(v);
            one.insert(QLatin1String(kCustomKeys[d]), values);
        }
        methods.append(one);
    }
    return QJsonObject{{QLatin1String("methods"), methods}};
}

StandUserMethods StandMemory::methodsFromJson(const QJsonObject& o, const QString& where) {
    const QJsonValue list = o.value(QLatin1String("methods"));
    if (!list.isArray() || list.toArray().size() != StandUserMethods::kCount)
        damaged(QStringLiteral("%1: \"methods\" is not a list of %2").arg(where).arg(StandUserMethods::kCount));
    StandUserMethods m;
    const QJsonArray methods = list.toArray();
    for (int i = 0; i < StandUserMethods::kCount; ++i) {
        const QJsonObject one = methods[i].toObject();
        const QString at = QStringLiteral("%1: observation %2").arg(where).arg(StandUserMethods::kFirst + i);
        if (wholeNumber(one.value(QLatin1String("observation")), at) != StandUserMethods::kFirst + i)
            damaged(QStringLiteral("%1 is out of order").arg(at));
        if (!one.value(QLatin1String("name")).isString()) damaged(QStringLiteral("%1 has no name").arg(at));
        m.methods[i].name = one.value(QLatin1String("name")).toString();
        const QJsonArray codes = one.value(QLatin1String("positions")).toArray();
        if (codes.size() != 11) damaged(QStringLiteral("%1 does not hold 11 command codes").arg(at));
        for (int c = 0; c < 11; ++c) *codeAt(m.methods[i].positions, c) = wholeNumber(codes[c], at);
        for (int d = 0; d < 3; ++d) {
            const QJsonArray values = one.value(QLatin1String(kCustomKeys[d])).toArray();
            if (values.size() != StandUserMethods::kAddresses)
                damaged(QStringLiteral("%1 does not hold %2 values of %3").arg(at).arg(StandUserMethods::kAddresses)
                            .arg(QLatin1String(kCustomKeys[d])));
            for (int a = 0; a < StandUserMethods::kAddresses; ++a) {
                if (!values[a].isDouble() || !std::isfinite(values[a].toDouble()))
                    damaged(QStringLiteral("%1 holds a %2 value that is no number").arg(at, QLatin1String(kCustomKeys[d])));
                m.custom[d][i][a] = values[a].toDouble();
            }
        }
    }
    return m;
}

bool StandMemory::recall(const QString& key, StandUserMethods& methods) const {
    if (!m_stands.contains(key)) return false;
    methods = methodsFromJson(m_stands.value(key).toObject(), key);
    return true;
}

QString StandMemory::keep(const QString& key, const StandUserMethods& methods) {
    const QJsonObject before = m_stands;
    m_stands.insert(key, methodsToJson(methods));
    QString error;
    if (WholeFile::write(m_path, toJson(m_stands), &error)) return {};
    m_stands = before;
    const QString why = QStringLiteral("the user observation methods could not be kept (%1); nothing was changed")
                            .arg(error);
    m_tell(why);
    return why;
}

void StandMemory::reject(const QString& key, const QString& why) {
    // What is kept aside is the file as it stands.
    const FileRead::Result file = FileRead::read(m_path);
    QString error;
    const QString copy = keepAside(file.read() ? file.bytes : toJson(m_stands), error);
    m_stands.remove(key);
    tellDamage(QStringLiteral("%1: %2").arg(key, why), QStringLiteral("that stand starts from its description"), copy,
               error);
    if (!copy.isEmpty()) rewrite();
}

void StandMemory::tellDamage(const QString& what, const QString& consequence, const QString& copy,
                             const QString& asideError) {
    m_tell(QStringLiteral("the memory file %1 is damaged (%2); %3, %4")
               .arg(m_path, what, consequence,
                    copy.isEmpty() ? QStringLiteral("and the damaged file could not be kept aside (%1)").arg(asideError)
                                   : QStringLiteral("the damaged file is kept as %1 (the last %2 damaged files are "
                                                    "kept)").arg(copy).arg(kDamagedCopiesKept)));
}

void StandMemory::rewrite() {
    QString error;
    if (!WholeFile::write(m_path, toJson(m_stands), &error))
        m_tell(QStringLiteral("the memory file %1 could not be written again with what was sound: %2").arg(m_path, error));
}

QString StandMemory::newAsideName() const {
    const QString stamp = QDateTime::currentDateTimeUtc().toString(QStringLiteral("yyyyMMdd'T'HHmmss'Z'"));
    const QString stem = m_path + QStringLiteral(".damaged-") + stamp;
    // Beyond every copy of this second, so that a newer copy never sorts
    // before an older one (a name freed by pruning is not taken again).
    int last = 0;   // the highest number of this second's copies; the plain name is 1
    for (const QString& copy : damagedCopies()) {
        if (copy == stem) last = std::max(last, 1);
        else if (copy.startsWith(stem + QLatin1Char('-'))) last = std::max(last, copy.mid(stem.size() + 1).toInt());
    }
    int n = last + 1;
    QString name = n == 1 ? stem : stem + QStringLiteral("-%1").arg(n);
    while (QFileInfo(name).exists() || QFileInfo(name).isSymLink()) name = stem + QStringLiteral("-%1").arg(++n);
    return name;
}

QString StandMemory::keepAside(const QByteArray& bytes, QString& error) {
    const QString copy = newAsideName();
    if (!WholeFile::write(copy, bytes, &error)) return {};
    pruneDamagedCopies();
    return copy;
}

QString StandMemory::moveAside(QString& error) {
    const QString copy = newAsideName();
    if (::rename(QFile::encodeName(m_path).constData(), QFile::encodeName(copy).constData()) != 0) {
        error = QString::fromLocal8Bit(std::strerror(errno));
        return {};
    }
    pruneDamagedCopies();
    return copy;
}

QStringList StandMemory::damagedCopies() const {
    const QFileInfo file(m_path);
    const QRegularExpression pattern(QStringLiteral("^%1\\.damaged-(\\d{8}T\\d{6}Z)(?:-(\\d{1,9}))?$")
                                         .arg(QRegularExpression::escape(file.fileName())));
    struct Copy { QString stamp; int n; QString path; };
    std::vector<Copy> copies;
    const QFileInfoList entries = QDir(file.absolutePath()).entryInfoList(
        {file.fileName() + QStringLiteral(".damaged-*")}, QDir::Files | QDir::Hidden | QDir::System);
    for (const QFileInfo& e : entries) {
        const QRegularExpressionMatch m = pattern.match(e.fileName());
        // Only the service's own copies: regular files, never a link.
        if (m.hasMatch() && !e.isSymLink() && e.isFile())
            copies.push_back({m.captured(1), m.captured(2).isEmpty() ? 1 : m.captured(2).toInt(), e.filePath()});
    }
    std::sort(copies.begin(), copies.end(),
              [](const Copy& a, const Copy& b) { return a.stamp != b.stamp ? a.stamp < b.stamp : a.n < b.n; });
    QStringList paths;
    for (const Copy& c : copies) paths << c.path;
    return paths;
}

void StandMemory::pruneDamagedCopies() {
    QStringList copies = damagedCopies();
    while (copies.size() > kDamagedCopiesKept) QFile::remove(copies.takeFirst());
}
