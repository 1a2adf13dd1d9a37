#include "stand/service/StandSnapshot.h"

#include "core/base/RunTimeError.h"
#include "core/service/MicroscopeService.h"
#include "core/service/dbus/BusLayout.h"
#include "stand/SimulatedService.h"
#include "stand/SimulatedStand.h"
#include "stand/StandDescription.h"
#include "stand/service/BusMessage.h"

#include <QHash>
#include <QSet>
#include <QStringList>
#include <memory>
#include <utility>
#include <vector>

namespace {

// The two dictionaries of a reply, gathered read by read and written into the
// reply at the end (the values come first in the message, the failures after).
class SnapshotWriter {
public:
    void value(const QString& key, const QVariant& value, const QString& type)
    {
        m_values.push_back({key, value, type.toLatin1()});
    }

    void failure(const QString& key, int32_t code, const QString& text) { m_failures.push_back({key, code, text}); }

    void reply(const BusCall& call, uint64_t sequence) const
    {
        BusMessage r = call.newReply();
        if (!r)
            return;
        DBusMessageIter out;
        dbus_message_iter_init_append(r.get(), &out);
        dbus_uint64_t s = sequence;
        bool ok = dbus_message_iter_append_basic(&out, DBUS_TYPE_UINT64, &s);
        ok = ok && dictionary(&out, "{sv}", m_values, [](DBusMessageIter* entry, const Value& v) {
            return appendString(entry, v.key) && appendVariant(entry, v.value, v.type);
        });
        ok = ok && dictionary(&out, "{s(is)}", m_failures, [](DBusMessageIter* entry, const Failure& f) {
            DBusMessageIter s;
            dbus_int32_t code = f.code;
            if (!appendString(entry, f.key) || !dbus_message_iter_open_container(entry, DBUS_TYPE_STRUCT, nullptr, &s))
                return false;
            const bool written = dbus_message_iter_append_basic(&s, DBUS_TYPE_INT32, &code) && appendString(&s, f.text);
            return dbus_message_iter_close_container(entry, &s) && written;
        });
        if (ok)
            call.send(r);
        else
            call.error(DBUS_ERROR_NO_MEMORY, QStringLiteral("the snapshot could not be written"));
    }

private:
    struct Value {
        QString key;
        QVariant value;
        QByteArray type;
    };
    struct Failure {
        QString key;
        int32_t code;
        QString text;
    };

    template <typename Entry, typename Write>
    static bool dictionary(DBusMessageIter* out, const char* entryType, const std::vector<Entry>& entries, Write write)
    {
        DBusMessageIter array;
        if (!dbus_message_iter_open_container(out, DBUS_TYPE_ARRAY, entryType, &array))
            return false;
        bool ok = true;
        for (const Entry& e : entries) {
            DBusMessageIter entry;
            if (!dbus_message_iter_open_container(&array, DBUS_TYPE_DICT_ENTRY, nullptr, &entry))
                return false;
            ok = write(&entry, e) && ok;
            ok = dbus_message_iter_close_container(&array, &entry) && ok;
        }
        return dbus_message_iter_close_container(out, &array) && ok;
    }

    std::vector<Value> m_values;
    std::vector<Failure> m_failures;
};

QVariantList ints(std::initializer_list<int> values)
{
    QVariantList out;
    for (int v : values)
        out << QVariant(v);
    return out;
}

// The reads of a microscope's values that take no argument, in the order of
// the device interface.
const char* const kValueReads[] = {
    "CameraUnit", "CameraHead",
    "NosepiecePosition", "NosepieceIsInterlockEnabled", "NosepieceXYMode", "NosepieceZMode",
    "FilterBlockCassettePosition", "LightPathDriveLightPath", "LightPathDriveIsInterlockEnabled",
    "CondenserCassettePosition",
    "ApertureStopApertureStop", "FieldStopFieldStop", "EpiFieldStopFieldStop", "NDFilterTransmission",
    "LampIsOn", "LampIsPreset", "LampControlVoltage",
    "OpticalZoomZoom", "OpticalZoomIsInterlockEnabled", "AnalyzerIsInserted", "EpiShutterIsOpened",
    "ZDriveZPosition", "ZDriveIsZEscape", "ZUpperLimit",
    "XYDriveXPosition", "XYDriveYPosition", "XYDriveIsEscape", "XYDriveMode",
    "PresetsObservationMode",
    "ObjectiveNumbers", "ObjectiveNames", "ObjectiveSeriesNames", "ObjectiveTypeNames",
    "ObjectiveRates", "ObjectiveWDs", "ObjectiveNAs",
    "FilterNumbers", "FilterNames", "FilterReikis", "FilterDMs", "FilterKyusyus",
    "FilterEXNames", "FilterDMNames", "FilterBANames",
    "CondenserNumbers", "CondenserNames",
};

const int16_t kLimitIndices[] = {
    LimitIndex::Nosepiece, LimitIndex::FilterBlockCassette, LimitIndex::CondenserCassette,
    LimitIndex::OpticalZoom, LimitIndex::EpiFieldStop, LimitIndex::Lamp, LimitIndex::ZDrive,
    LimitIndex::XYDriveX, LimitIndex::XYDriveY, LimitIndex::ApertureStop, LimitIndex::FieldStop,
    LimitIndex::NDFilter,
};

// Nosepiece addresses whose custom stop values and stored stage offsets are
// kept (the stand keeps 0 to 8; the panel reads 1 to the turret's last).
constexpr int kFirstAddress = 0;
constexpr int kLastAddress = 8;

} // namespace

QVector<SnapshotRead> microscopeSnapshotReads(int microscopes)
{
    QVector<SnapshotRead> reads;
    const auto add = [&](const char* member, QVariantList args = {}) {
        reads.append({QString::fromLatin1(member), std::move(args)});
    };
    for (int unit = 1; unit <= StandDescription::kUnits; ++unit)
        add("DeviceStatus", ints({unit}));
    for (int unit = 1; unit <= StandDescription::kUnits; ++unit)
        add("Version", ints({unit}));
    for (int device = 1; device <= StandDescription::kDevices; ++device)
        add("IsMounted", ints({device}));
    for (int device = DeviceIndex::Nosepiece; device <= DeviceIndex::OpticalZoom; ++device)
        add("IsReadOnly", ints({device}));
    add("PathSubType", ints({DeviceIndex::LightPathDrive}));
    for (int16_t limit : kLimitIndices) {
        add("UpperLimit", ints({limit}));
        add("LowerLimit", ints({limit}));
        add("Step", ints({limit}));
    }
    for (int index = 0; index < microscopes; ++index)
        add("IsCameraPresent", ints({index}));
    for (const char* member : kValueReads)
        add(member);
    for (int n = 7; n <= 12; ++n)
        add("ObservationName", ints({n}));
    for (int device : {DeviceIndex::ApertureStop, DeviceIndex::FieldStop, DeviceIndex::NDFilter})
        for (int n = 7; n <= 12; ++n)
            for (int a = kFirstAddress; a <= kLastAddress; ++a)
                add("CustomValue", ints({device, n, a}));
    for (int a = 1; a <= kLastAddress; ++a)
        add("SendCommand", {QVariant(QStringLiteral("rXPR%1").arg(a))});
    return reads;
}

namespace {

// A read of the snapshot with its key and its member's description, made
// once for each length of the list (the reads do not change).
struct PreparedRead {
    SnapshotRead read;
    QString key;
    const ZentorBus::Method* method;
};

const QVector<PreparedRead>& preparedReads(int microscopes)
{
    static QHash<int, QVector<PreparedRead>> prepared;
    auto it = prepared.find(microscopes);
    if (it == prepared.end()) {
        QVector<PreparedRead> reads;
        for (const SnapshotRead& read : microscopeSnapshotReads(microscopes))
            reads.append({read, ZentorBus::snapshotKey(read.member, read.args),
                          ZentorBus::findMethod(ZentorBus::deviceMethods(), read.member)});
        it = prepared.insert(microscopes, reads);
    }
    return *it;
}

// The prepared reads by key, for SnapshotOf.
const QHash<QString, const PreparedRead*>& preparedByKey(int microscopes)
{
    static QHash<int, QHash<QString, const PreparedRead*>> byCount;
    auto it = byCount.find(microscopes);
    if (it == byCount.end()) {
        QHash<QString, const PreparedRead*> byKey;
        for (const PreparedRead& p : preparedReads(microscopes))
            byKey.insert(p.key, &p);
        it = byCount.insert(microscopes, byKey);
    }
    return *it;
}

// One read of a snapshot, answered as its single call would be now.
void answer(SnapshotWriter& writer, const PreparedRead& prepared, SimulatedService& service, SimulatedStand& stand)
{
    const SnapshotRead& read = prepared.read;
    const QString& key = prepared.key;
    if (read.member == QLatin1String("IsCameraPresent")) {
        // The service answers it from its list, as the single call.
        const int16_t present = service.cameraPresent(read.args.at(0).toInt());
        writer.value(key, present, QStringLiteral("n"));
        return;
    }
    // Reads answer at once; one that would not is a failure here rather
    // than a reply that waits.
    auto result = std::make_shared<StandResult>();
    auto answered = std::make_shared<bool>(false);
    stand.invoke(read.member, read.args, [result, answered](const StandResult& r) {
        *result = r;
        *answered = true;
    });
    if (!*answered)
        writer.failure(key, RunTimeError::ServiceFailure, QStringLiteral("%1 did not answer at once").arg(key));
    else if (result->error != 0)
        writer.failure(key, result->error, result->errorText);
    else
        writer.value(key, result->value, prepared.method->out);
}

} // namespace

void replyMicroscopeSnapshot(const BusCall& call, SimulatedService& service, SimulatedStand& stand, uint64_t sequence)
{
    const int microscopes = static_cast<int>(service.deviceNames().size());
    SnapshotWriter writer;
    for (const PreparedRead& prepared : preparedReads(microscopes))
        answer(writer, prepared, service, stand);
    writer.reply(call, sequence);
}

void replyMicroscopeSnapshotOf(const BusCall& call, const QStringList& keys, SimulatedService& service,
                               SimulatedStand& stand, uint64_t sequence)
{
    const auto& byKey = preparedByKey(static_cast<int>(service.deviceNames().size()));
    SnapshotWriter writer;
    QSet<QString> given;
    for (const QString& key : keys) {
        const auto it = byKey.constFind(key);
        if (it == byKey.constEnd() || given.contains(key))
            continue;   // not a read of the snapshot, or named twice
        given.insert(key);
        answer(writer, **it, service, stand);
    }
    writer.reply(call, sequence);
}

void replyManagerSnapshot(const BusCall& call, const SimulatedService& service, const QString& version)
{
    SnapshotWriter writer;
    writer.value(QStringLiteral("InterfaceVersion"), version, QStringLiteral("s"));
    const QStringList names = service.deviceNames();
    writer.value(QStringLiteral("GetDeviceNames"), names, QStringLiteral("as"));
    for (int index = 0; index < names.size(); ++index)
        writer.value(ZentorBus::snapshotKey(QStringLiteral("IsDeviceAvailable"), ints({index})),
                     int(service.isDeviceAvailable(index)), QStringLiteral("n"));
    writer.reply(call, 0);
}
