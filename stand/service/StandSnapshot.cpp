#include "stand/service/StandSnapshot.h"

#include "core/base/RunTimeError.h"
#include "core/service/MicroscopeService.h"
#include "core/service/dbus/BusLayout.h"
#include "stand/SimulatedService.h"
#include "stand/SimulatedStand.h"
#include "stand/StandDescription.h"
#include "stand/service/BusValues.h"

#include <QDBusArgument>
#include <QDBusMetaType>
#include <QDBusVariant>
#include <QHash>
#include <QStringList>
#include <memory>

namespace {

// A read the stand refused: its code and text, one entry of `failures`.
struct SnapshotFailure {
    int32_t code = 0;
    QString text;
};

} // namespace

Q_DECLARE_METATYPE(SnapshotFailure)

namespace {

QDBusArgument& operator<<(QDBusArgument& out, const SnapshotFailure& f)
{
    out.beginStructure();
    out << f.code << f.text;
    out.endStructure();
    return out;
}

const QDBusArgument& operator>>(const QDBusArgument& in, SnapshotFailure& f)
{
    in.beginStructure();
    in >> f.code >> f.text;
    in.endStructure();
    return in;
}

// The two dictionaries of a reply, filled read by read.
class SnapshotWriter {
public:
    SnapshotWriter()
    {
        static const bool registered = [] {
            qDBusRegisterMetaType<SnapshotFailure>();
            return true;
        }();
        (void)registered;
        m_values.beginMap(QMetaType::fromType<QString>(), QMetaType::fromType<QDBusVariant>());
        m_failures.beginMap(QMetaType::fromType<QString>(), QMetaType::fromType<SnapshotFailure>());
    }

    void value(const QString& key, const QVariant& busTyped)
    {
        m_values.beginMapEntry();
        m_values << key << QDBusVariant(busTyped);
        m_values.endMapEntry();
    }

    void failure(const QString& key, int32_t code, const QString& text)
    {
        m_failures.beginMapEntry();
        m_failures << key << SnapshotFailure{code, text};
        m_failures.endMapEntry();
    }

    QDBusMessage reply(const QDBusMessage& request, uint64_t sequence)
    {
        m_values.endMap();
        m_failures.endMap();
        return request.createReply(
            {QVariant::fromValue<qulonglong>(sequence), QVariant::fromValue(m_values), QVariant::fromValue(m_failures)});
    }

private:
    QDBusArgument m_values;
    QDBusArgument m_failures;
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

} // namespace

QDBusMessage microscopeSnapshot(const QDBusMessage& request, SimulatedService& service, SimulatedStand& stand,
                                uint64_t sequence)
{
    const int microscopes = static_cast<int>(service.deviceNames().size());
    SnapshotWriter writer;
    for (const PreparedRead& prepared : preparedReads(microscopes)) {
        const SnapshotRead& read = prepared.read;
        const QString& key = prepared.key;
        const ZentorBus::Method* method = prepared.method;
        if (read.member == QLatin1String("IsCameraPresent")) {
            // The service answers it from its list, as the single call.
            const int16_t present = service.cameraPresent(read.args.at(0).toInt());
            writer.value(key, QVariant::fromValue<short>(present));
            continue;
        }
        // Reads answer at once; one that would not is a failure here rather
        // than a reply that waits.
        auto answer = std::make_shared<StandResult>();
        auto answered = std::make_shared<bool>(false);
        stand.invoke(read.member, read.args, [answer, answered](const StandResult& r) {
            *answer = r;
            *answered = true;
        });
        if (!*answered)
            writer.failure(key, RunTimeError::ServiceFailure, QStringLiteral("%1 did not answer at once").arg(key));
        else if (answer->error != 0)
            writer.failure(key, answer->error, answer->errorText);
        else
            writer.value(key, busValue(answer->value, method->out));
    }
    return writer.reply(request, sequence);
}

QDBusMessage managerSnapshot(const QDBusMessage& request, const SimulatedService& service, const QString& version)
{
    SnapshotWriter writer;
    writer.value(QStringLiteral("InterfaceVersion"), QVariant(version));
    const QStringList names = service.deviceNames();
    writer.value(QStringLiteral("GetDeviceNames"), QVariant::fromValue(names));
    for (int index = 0; index < names.size(); ++index)
        writer.value(ZentorBus::snapshotKey(QStringLiteral("IsDeviceAvailable"), ints({index})),
                     QVariant::fromValue<short>(static_cast<short>(service.isDeviceAvailable(index))));
    return writer.reply(request, 0);
}
