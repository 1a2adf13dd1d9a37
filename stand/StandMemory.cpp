#include "stand/StandMemory.h"

#include "core/base/RunTimeError.h"
#include "core/base/WholeFile.h"

#include <QDir>
#include <QFile>
#include <QJsonArray>
#include <QJsonDocument>
#include <cmath>

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
    QFile f(m_path);
    if (!f.exists()) return true;
    try {
        if (!f.open(QIODevice::ReadOnly)) damaged(QStringLiteral("it cannot be read: %1").arg(f.errorString()));
        m_stands = parse(f.readAll());
        return true;
    } catch (const RunTimeError& e) {
        f.close();
        setAside(e.description());
        return false;
    }
}

QJsonObject StandMemory::parse(const QByteArray& bytes) {
    QJsonParseError error{};
    const QJsonDocument doc = QJsonDocument::fromJson(bytes, &error);
    if (error.error != QJsonParseError::NoError)
        damaged(QStringLiteral("it is not JSON (%1 at offset %2)").arg(error.errorString()).arg(error.offset));
    if (!doc.isObject() || doc.object().value(QLatin1String("format")).toString() != QLatin1String(kFormat))
        damaged(QStringLiteral("it is not a memory of zentor-service"));
    const QJsonObject root = doc.object();
    if (root.value(QLatin1String("version")).toInt(-1) != kVersion)
        damaged(QStringLiteral("it is of another version (%1, this service reads %2)")
                    .arg(root.value(QLatin1String("version")).toVariant().toString()).arg(kVersion));
    const QJsonValue stands = root.value(QLatin1String("stands"));
    if (!stands.isObject()) damaged(QStringLiteral("it holds no list of stands"));
    // Every entry is read now, so that a damaged one is found at start.
    const QJsonObject o = stands.toObject();
    for (auto it = o.begin(); it != o.end(); ++it) {
        if (!it.value().isObject()) damaged(QStringLiteral("the entry of %1 is not an object").arg(it.key()));
        methodsFromJson(it.value().toObject(), it.key());
    }
    return o;
}

QByteArray StandMemory::toJson(const QJsonObject& stands) {
    QJsonObject root;
    root.insert(QLatin1String("format"), QLatin1String(kFormat));
    root.insert(QLatin1String("version"), kVersion);
    root.insert(QLatin1String("stands"), stands);
    return QJsonDocument(root).toJson(QJsonDocument::Indented);
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

bool StandMemory::keep(const QString& key, const StandUserMethods& methods) {
    m_stands.insert(key, methodsToJson(methods));
    QString error;
    if (WholeFile::write(m_path, toJson(m_stands), &error)) return true;
    m_tell(QStringLiteral("the user observation methods could not be kept in %1: %2").arg(m_path, error));
    return false;
}

void StandMemory::reject(const QString& key, const QString& why) {
    setAside(QStringLiteral("%1: %2").arg(key, why));
    m_stands.remove(key);
}

void StandMemory::setAside(const QString& why) {
    const QString aside = m_path + QStringLiteral(".damaged");
    QFile::remove(aside);
    const bool kept = QFile::copy(m_path, aside);
    m_tell(QStringLiteral("the memory file %1 is damaged (%2); the stands start from their descriptions%3")
               .arg(m_path, why,
                    kept ? QStringLiteral(", the damaged file is kept as %1").arg(aside)
                         : QStringLiteral(", and it could not be kept aside")));
}
