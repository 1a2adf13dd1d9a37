#include "core/service/dbus/SnapshotPicture.h"

#include <QDBusArgument>
#include <QDBusMetaType>
#include <QDBusVariant>
#include <QHash>
#include <QSet>
#include <QStringView>
#include <limits>

namespace {

// The D-Bus type of a value as it came out of a message.
QString signatureOf(const QVariant& v)
{
    if (v.userType() == qMetaTypeId<QDBusArgument>())
        return v.value<QDBusArgument>().currentSignature();
    const char* s = QDBusMetaType::typeToSignature(v.metaType());
    return s ? QString::fromLatin1(s) : QString();
}

// The elements of an array value, at most `bound` of them; false when there
// are more.
template <typename T>
bool arrayElements(const QVariant& v, int bound, QVariantList& out)
{
    if (v.userType() == qMetaTypeId<QDBusArgument>()) {
        const QDBusArgument arg = v.value<QDBusArgument>();
        arg.beginArray();
        while (!arg.atEnd()) {
            if (out.size() >= bound)
                return false;
            T item{};
            arg >> item;
            out << QVariant::fromValue(item);
        }
        arg.endArray();
        return true;
    }
    const QList<T> list = v.value<QList<T>>();
    if (list.size() > bound)
        return false;
    for (const T& item : list)
        out << QVariant::fromValue(item);
    return true;
}

// The value in the form a single call's reply takes; empty `why` when it is
// one, else why it is left out. `kept` false: a type the picture does not
// answer (the read goes to the service, and nothing is wrong).
struct Normalised {
    QVariant value;
    QString why;
    bool kept = true;
};

Normalised normalise(const QVariant& raw, const QString& type)
{
    Normalised n;
    const QString got = signatureOf(raw);
    if (got != type) {
        n.why = QStringLiteral("type %1, not %2").arg(got.isEmpty() ? QStringLiteral("?") : got, type);
        return n;
    }
    if (type == QLatin1String("n") || type == QLatin1String("i") || type == QLatin1String("d")) {
        n.value = raw;
    } else if (type == QLatin1String("s")) {
        if (raw.toString().size() > SnapshotPicture::kMaxText)
            n.why = QStringLiteral("a text beyond %1 characters").arg(SnapshotPicture::kMaxText);
        else
            n.value = raw;
    } else if (type == QLatin1String("as")) {
        const QStringList list = raw.toStringList();
        bool tooLong = list.size() > SnapshotPicture::kMaxArray;
        for (const QString& s : list)
            tooLong = tooLong || s.size() > SnapshotPicture::kMaxText;
        if (tooLong)
            n.why = QStringLiteral("an array beyond %1 texts or %2 characters")
                        .arg(SnapshotPicture::kMaxArray).arg(SnapshotPicture::kMaxText);
        else
            n.value = list;
    } else if (type == QLatin1String("ai") || type == QLatin1String("ad")) {
        QVariantList list;
        const bool within = type == QLatin1String("ai")
                                ? arrayElements<int>(raw, SnapshotPicture::kMaxArray, list)
                                : arrayElements<double>(raw, SnapshotPicture::kMaxArray, list);
        if (!within)
            n.why = QStringLiteral("an array beyond %1 elements").arg(SnapshotPicture::kMaxArray);
        else
            n.value = list;
    } else {
        n.kept = false;
    }
    return n;
}

// The reads of an interface by name, looked up once per entry of a reply.
using ReadsByName = QHash<QStringView, const ZentorBus::Method*>;

ReadsByName byName(const QVector<ZentorBus::Method>& methods)
{
    ReadsByName reads;
    reads.reserve(methods.size());
    for (const ZentorBus::Method& m : methods)
        if (!m.out.isEmpty())
            reads.insert(QStringView(m.name), &m);
    return reads;
}

// The same, made once for the interfaces' own tables (a picture is taken at
// every opening of a panel).
ReadsByName readsByName(const QVector<ZentorBus::Method>& methods)
{
    static const ReadsByName device = byName(ZentorBus::deviceMethods());
    static const ReadsByName manager = byName(ZentorBus::managerMethods());
    if (&methods == &ZentorBus::deviceMethods())
        return device;
    if (&methods == &ZentorBus::managerMethods())
        return manager;
    return byName(methods);
}

// The read a key names, when it is one of `reads`.
const ZentorBus::Method* readOf(const QString& key, const ReadsByName& reads)
{
    const int open = key.indexOf(QLatin1Char('('));
    if (open == 0 || (open > 0 && !key.endsWith(QLatin1Char(')'))))
        return nullptr;
    return reads.value(open < 0 ? QStringView(key) : QStringView(key).left(open), nullptr);
}

} // namespace

SnapshotPicture::Taken SnapshotPicture::take(const QDBusMessage& reply, const QVector<ZentorBus::Method>& methods)
{
    clear();
    Taken taken;
    if (reply.type() != QDBusMessage::ReplyMessage || reply.signature() != ZentorBus::SnapshotSignature) {
        taken.problem = QStringLiteral("a reply of signature '%1', not '%2'")
                            .arg(reply.signature(), ZentorBus::SnapshotSignature);
        return taken;
    }
    const QVariantList args = reply.arguments();
    m_sequence = args.at(0).toULongLong();
    const ReadsByName reads = readsByName(methods);

    QSet<QString> seen;
    QSet<QString> twice;
    int count = 0;
    const auto counted = [&]() {
        if (++count <= kMaxEntries)
            return true;
        taken.problem = QStringLiteral("more than %1 entries").arg(kMaxEntries);
        return false;
    };
    const auto once = [&](const QString& key) {
        if (!seen.contains(key)) {
            seen.insert(key);
            return true;
        }
        if (!twice.contains(key)) {
            twice.insert(key);
            m_entries.remove(key);
            taken.leftOut << key + QStringLiteral(" (given twice)");
        }
        return false;
    };

    const QDBusArgument values = args.at(1).value<QDBusArgument>();
    values.beginMap();
    while (!values.atEnd()) {
        if (!counted()) {
            // Closing the map lets go of its reader; a return inside it leaks one.
            values.endMap();
            clear();
            return taken;
        }
        QString key;
        QDBusVariant boxed;
        values.beginMapEntry();
        values >> key >> boxed;
        values.endMapEntry();
        const ZentorBus::Method* read = readOf(key, reads);
        if (!read || !once(key))
            continue;
        const Normalised n = normalise(boxed.variant(), read->out);
        if (!n.why.isEmpty())
            taken.leftOut << key + QStringLiteral(" (") + n.why + QLatin1Char(')');
        else if (n.kept)
            m_entries.insert(key, Entry{n.value, 0, QString()});
    }
    values.endMap();

    const QDBusArgument failures = args.at(2).value<QDBusArgument>();
    failures.beginMap();
    while (!failures.atEnd()) {
        if (!counted()) {
            failures.endMap();
            clear();
            return taken;
        }
        QString key;
        int32_t code = 0;
        QString text;
        failures.beginMapEntry();
        failures >> key;
        failures.beginStructure();
        failures >> code >> text;
        failures.endStructure();
        failures.endMapEntry();
        const ZentorBus::Method* read = readOf(key, reads);
        if (!read || !once(key))
            continue;
        if (code == 0)
            taken.leftOut << key + QStringLiteral(" (a failure without a code)");
        else
            m_entries.insert(key, Entry{QVariant(), code, text.left(kMaxText)});
    }
    failures.endMap();
    taken.usable = true;
    return taken;
}

QStringList SnapshotPicture::keys() const
{
    QStringList out = m_entries.keys();
    out.sort();
    return out;
}

bool SnapshotPicture::asKept(const QVariant& raw, const QString& type, QVariant& value, QString& why)
{
    const Normalised n = normalise(raw, type);
    value = n.value;
    why = n.kept ? n.why : QStringLiteral("a type the picture does not keep (%1)").arg(type);
    return why.isEmpty();
}

const SnapshotPicture::Entry* SnapshotPicture::find(const QString& key) const
{
    const auto it = m_entries.constFind(key);
    return it == m_entries.constEnd() ? nullptr : &it.value();
}

void SnapshotPicture::forget(const QString& key) { m_entries.remove(key); }

SnapshotPicture::Taken SnapshotPicture::takeOne(const QString& key, const QDBusMessage& reply,
                                                const ZentorBus::Method& read)
{
    clear();
    Taken taken;
    if (reply.type() != QDBusMessage::ReplyMessage || reply.signature() != read.out) {
        taken.problem = QStringLiteral("a reply of signature '%1', not '%2'").arg(reply.signature(), read.out);
        return taken;
    }
    taken.usable = true;
    const Normalised n = normalise(reply.arguments().value(0), read.out);
    if (!n.why.isEmpty())
        taken.leftOut << key + QStringLiteral(" (") + n.why + QLatin1Char(')');
    else if (n.kept)
        m_entries.insert(key, Entry{n.value, 0, QString()});
    return taken;
}

void SnapshotPicture::clear()
{
    m_entries.clear();
    m_sequence = 0;
}

namespace {

// How an event's value becomes the value of the read it reports.
enum class Form { Int16, Int32, Double, Analyzer, ObservationMode, ForgetOnly };

struct EventRead {
    const char* read;
    Form form;
    const char* alsoForget = nullptr;
};

const QHash<QString, EventRead>& eventReads()
{
    static const QHash<QString, EventRead> table = {
        {QStringLiteral("AppLightPathDriveLightPath"), {"LightPathDriveLightPath", Form::Int16}},
        {QStringLiteral("AppNosepiecePosition"), {"NosepiecePosition", Form::Int16}},
        {QStringLiteral("AppLampIsPreset"), {"LampIsPreset", Form::Int16}},
        {QStringLiteral("AppLampIsOn"), {"LampIsOn", Form::Int16}},
        {QStringLiteral("AppLampControlVoltage"), {"LampControlVoltage", Form::Double}},
        {QStringLiteral("AppOpticalZoomZoom"), {"OpticalZoomZoom", Form::Double}},
        {QStringLiteral("AppFieldStopFieldStop"), {"FieldStopFieldStop", Form::Double}},
        {QStringLiteral("AppNDFilterTransmission"), {"NDFilterTransmission", Form::Double}},
        {QStringLiteral("AppApertureStopApertureStop"), {"ApertureStopApertureStop", Form::Double}},
        {QStringLiteral("AppCondenserCassettePosition"), {"CondenserCassettePosition", Form::Int16}},
        {QStringLiteral("AppEpiFieldStopFieldStop"), {"EpiFieldStopFieldStop", Form::Double}},
        {QStringLiteral("AppFilterBlockCassettePosition"), {"FilterBlockCassettePosition", Form::Int16}},
        // The event says 2 where the read answers 0 (out).
        {QStringLiteral("AppAnalyzerIsInserted"), {"AnalyzerIsInserted", Form::Analyzer}},
        {QStringLiteral("AppEpiShutterIsOpened"), {"EpiShutterIsOpened", Form::Int16}},
        {QStringLiteral("AppZDriveZPosition"), {"ZDriveZPosition", Form::Int32}},
        {QStringLiteral("AppXYDriveXPosition"), {"XYDriveXPosition", Form::Int32}},
        {QStringLiteral("AppXYDriveYPosition"), {"XYDriveYPosition", Form::Int32}},
        // 0 tells the panel to ask the service: it is no mode of its own.
        {QStringLiteral("AppPresetsObservationMode"), {"PresetsObservationMode", Form::ObservationMode}},
        {QStringLiteral("AppZDriveIsZEscape"), {"ZDriveIsZEscape", Form::Int16}},
        // The nosepiece's usable range changed; the limits say how.
        {QStringLiteral("AppNosepieceMaxValue"), {"LowerLimit(1)", Form::ForgetOnly, "UpperLimit(1)"}},
        // One escape state under two names: both reads are asked afresh.
        {QStringLiteral("AppXYZDriveIsEscape"), {"XYDriveIsEscape", Form::ForgetOnly, "ZDriveIsZEscape"}},
    };
    return table;
}

// The read's value from the event's text; invalid when it is none.
QVariant readValue(Form form, const QString& text)
{
    bool ok = false;
    switch (form) {
    case Form::Int16:
    case Form::ObservationMode: {
        const int v = text.toInt(&ok);
        if (!ok || v < std::numeric_limits<int16_t>::min() || v > std::numeric_limits<int16_t>::max())
            return {};
        if (form == Form::ObservationMode && v == 0)
            return {};
        return QVariant::fromValue<short>(static_cast<short>(v));
    }
    case Form::Int32: {
        const int v = text.toInt(&ok);
        return ok ? QVariant::fromValue<int>(v) : QVariant();
    }
    case Form::Double: {
        const double v = text.toDouble(&ok);
        return ok ? QVariant::fromValue<double>(v) : QVariant();
    }
    case Form::Analyzer:
        if (text == QLatin1String("1"))
            return QVariant::fromValue<short>(1);
        if (text == QLatin1String("2"))
            return QVariant::fromValue<short>(0);
        return {};
    case Form::ForgetOnly:
        return {};
    }
    return {};
}

} // namespace

void SnapshotPicture::apply(const QString& message)
{
    if (m_entries.isEmpty())
        return;
    const int colon = message.indexOf(QLatin1Char(':'));
    if (colon < 0)
        return;
    const auto it = eventReads().constFind(message.left(colon));
    if (it == eventReads().constEnd())
        return;
    // Only the first part is the value, as the dispatch reads it.
    const QString text = message.mid(colon + 1).section(QLatin1Char(':'), 0, 0);
    const QString read = QLatin1String(it->read);
    if (it->alsoForget)
        forget(QLatin1String(it->alsoForget));
    const QVariant value = readValue(it->form, text);
    if (value.isValid())
        m_entries.insert(read, Entry{value, 0, QString()});
    else
        forget(read);
}
