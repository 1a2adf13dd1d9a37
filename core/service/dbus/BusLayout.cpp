#include "core/service/dbus/BusLayout.h"

#include <QDBusError>
#include <QDBusMessage>
#include <QStringList>

namespace ZentorBus {

QString devicePath(int index)
{
    return ManagerPath + QLatin1Char('/') + QString::number(index);
}

namespace {
Method M(const char* name, const char* in, const char* out, QStringList args = {})
{
    return Method{QString::fromLatin1(name), QString::fromLatin1(in), QString::fromLatin1(out), args};
}
} // namespace

const QVector<Method>& deviceMethods()
{
    static const QVector<Method> methods = {
        // inventory and units
        M("DeviceStatus", "n", "i", {"unit"}),
        M("IsMounted", "n", "i", {"device"}),
        M("IsReadOnly", "n", "i", {"device"}),
        M("PathSubType", "n", "n", {"device"}),
        M("UpperLimit", "n", "d", {"limitIndex"}),
        M("LowerLimit", "n", "d", {"limitIndex"}),
        M("Step", "n", "d", {"limitIndex"}),
        M("Version", "n", "s", {"unit"}),
        M("EventLog", "nn", "s", {"unit", "entry"}),
        M("IsCameraPresent", "n", "n", {"index"}),
        M("CameraUnit", "", "n"),
        M("CameraHead", "", "n"),
        // nosepiece
        M("NosepiecePosition", "", "n"),
        M("setNosepiecePosition", "n", "", {"position"}),
        M("NosepieceIsInterlockEnabled", "", "n"),
        M("setNosepieceIsInterlockEnabled", "n", "", {"enabled"}),
        M("NosepieceXYMode", "", "n"),
        M("setNosepieceXYMode", "n", "", {"mode"}),
        M("NosepieceZMode", "", "n"),
        M("setNosepieceZMode", "n", "", {"mode"}),
        // filter cubes, light path, condenser
        M("FilterBlockCassettePosition", "", "n"),
        M("setFilterBlockCassettePosition", "n", "", {"position"}),
        M("LightPathDriveLightPath", "", "n"),
        M("setLightPathDriveLightPath", "n", "", {"path"}),
        M("LightPathDriveIsInterlockEnabled", "", "n"),
        M("setLightPathDriveIsInterlockEnabled", "n", "", {"enabled"}),
        M("CondenserCassettePosition", "", "n"),
        M("setCondenserCassettePosition", "n", "", {"position"}),
        // stops and ND
        M("ApertureStopApertureStop", "", "d"),
        M("setApertureStopApertureStop", "d", "", {"mm"}),
        M("FieldStopFieldStop", "", "d"),
        M("setFieldStopFieldStop", "d", "", {"mm"}),
        M("EpiFieldStopFieldStop", "", "d"),
        M("setEpiFieldStopFieldStop", "d", "", {"mm"}),
        M("NDFilterTransmission", "", "d"),
        M("setNDFilterTransmission", "d", "", {"percent"}),
        M("NDFilterStepDown", "", ""),
        M("NDFilterStepUp", "", ""),
        // lamp
        M("LampOn", "", ""),
        M("LampOff", "", ""),
        M("LampIsOn", "", "n"),
        M("LampIsPreset", "", "n"),
        M("LampControlVoltage", "", "d"),
        M("setLampControlVoltage", "d", "", {"volts"}),
        M("LampPreset", "", ""),
        // zoom, analyzer, shutter
        M("OpticalZoomZoom", "", "d"),
        M("setOpticalZoomZoom", "d", "", {"magnification"}),
        M("OpticalZoomIsInterlockEnabled", "", "n"),
        M("setOpticalZoomIsInterlockEnabled", "n", "", {"enabled"}),
        M("AnalyzerIn", "", ""),
        M("AnalyzerOut", "", ""),
        M("AnalyzerIsInserted", "", "n"),
        M("EpiShutterOpen", "", ""),
        M("EpiShutterClose", "", ""),
        M("EpiShutterIsOpened", "", "n"),
        // Z focus drive
        M("ZDriveZPosition", "", "i"),
        M("setZDriveZPosition", "i", "", {"counts"}),
        M("ZDriveIsZEscape", "", "n"),
        M("setZDriveIsZEscape", "n", "", {"escape"}),
        M("setZDriveSpeed", "n", "", {"speed"}),
        M("ZDriveAutoFocus", "", "i"),
        M("ZUpperLimit", "", "i"),
        M("setZUpperLimit", "i", "", {"counts"}),
        // XY stage
        M("XYDriveXPosition", "", "i"),
        M("setXYDriveXPosition", "i", "", {"counts"}),
        M("XYDriveYPosition", "", "i"),
        M("setXYDriveYPosition", "i", "", {"counts"}),
        M("XYDriveIsEscape", "", "n"),
        M("setXYDriveIsEscape", "n", "", {"escape"}),
        M("XYDriveMove", "ii", "", {"x", "y"}),
        M("XYDriveMode", "", "n"),
        M("setXYDriveMode", "n", "", {"mode"}),
        // observation methods
        M("PresetsObservationMode", "", "n"),
        M("setPresetsObservationMode", "n", "", {"observation"}),
        M("ObservationName", "n", "s", {"observation"}),
        M("setObservationName", "ns", "", {"observation", "name"}),
        Method{QStringLiteral("ObservationPosition"), QStringLiteral("n"), ObservationSignature,
               {QStringLiteral("observation")}},
        Method{QStringLiteral("setObservationPosition"), QStringLiteral("n") + ObservationSignature,
               QString(), {QStringLiteral("observation"), QStringLiteral("positions")}},
        M("CustomValue", "nnn", "d", {"device", "observation", "address"}),
        M("CustomObservation", "nnnd", "", {"device", "observation", "address", "value"}),
        // tables
        M("ObjectiveNumbers", "", "ai"),
        M("ObjectiveNames", "", "as"),
        M("ObjectiveSeriesNames", "", "as"),
        M("ObjectiveTypeNames", "", "as"),
        M("ObjectiveRates", "", "ad"),
        M("ObjectiveWDs", "", "ad"),
        M("ObjectiveNAs", "", "ad"),
        M("FilterNumbers", "", "ai"),
        M("FilterNames", "", "as"),
        M("FilterReikis", "", "ai"),
        M("FilterDMs", "", "ai"),
        M("FilterKyusyus", "", "ai"),
        M("FilterEXNames", "", "as"),
        M("FilterDMNames", "", "as"),
        M("FilterBANames", "", "as"),
        M("CondenserNumbers", "", "ai"),
        M("CondenserNames", "", "as"),
        // raw commands
        M("SendCommand", "s", "s", {"command"}),
    };
    return methods;
}

namespace {
Method snapshotMethod()
{
    return Method{SnapshotMember, QString(), SnapshotSignature, {},
                  {QStringLiteral("sequence"), QStringLiteral("values"), QStringLiteral("failures")}};
}
} // namespace

QString snapshotKey(const QString& member, const QVariantList& args)
{
    if (args.isEmpty())
        return member;
    QStringList parts;
    for (const QVariant& a : args)
        parts << a.toString();
    return member + QLatin1Char('(') + parts.join(QLatin1Char(',')) + QLatin1Char(')');
}

const QVector<Method>& deviceServiceMethods()
{
    static const QVector<Method> methods = {
        M("Disconnect", "", ""),
        M("Ping", "", ""),
        snapshotMethod(),
    };
    return methods;
}

const QVector<Method>& managerMethods()
{
    static const QVector<Method> methods = {
        M("GetDeviceNames", "", "as"),
        M("IsDeviceAvailable", "n", "n", {"index"}),
        M("Connect", "n", "o", {"index"}),
        M("Ping", "", ""),
        snapshotMethod(),
    };
    return methods;
}

const QVector<Method>& controlMethods()
{
    static const QVector<Method> methods = {
        M("KillUnit", "n", "", {"unit"}),
        M("ReviveUnit", "n", "", {"unit"}),
        M("StallDevice", "n", "", {"device"}),
        M("ClearFaults", "", ""),
        M("SetSpeedFactor", "d", "", {"factor"}),
        // Sends `count` copies of an event text to every client of this
        // microscope, as fast as the bus takes them (load tests).
        M("EmitEvents", "si", "", {"message", "count"}),
    };
    return methods;
}

const QVector<Method>& fiberMethods()
{
    static const QVector<Method> methods = {
        M("ConnectionStatus", "", "n"),
        M("Connect", "i", "", {"timeoutMs"}),
        M("Disconnect", "", ""),
        M("Port", "", "n"),
        M("NDPosition", "", "n"),
        M("setNDPosition", "n", "", {"position"}),
        M("NDWheelModel", "", "n"),
        M("ShutterIsOpened", "", "n"),
        M("ShutterOpen", "", ""),
        M("ShutterClose", "", ""),
        M("ShutterOpenTimed", "d", "", {"seconds"}),
        M("ShutterCloseTimed", "d", "", {"seconds"}),
        M("LampIsOn", "", "n"),
        M("LampOn", "", ""),
        M("LampOff", "", ""),
        M("Status", "s", "n", {"name"}),
    };
    return methods;
}

const QVector<Method>& fiberControlMethods()
{
    static const QVector<Method> methods = {
        // A safety sensor (Interlock_Status, HeatSensitive_Status,
        // LampCoolingFun_Status, PowerCoolingFun_Status) reads `value`.
        M("SetSensor", "sn", "", {"name", "value"}),
        // false: the illuminator is unplugged (Connect finds nothing).
        M("SetPresent", "b", "", {"present"}),
        M("SetSpeedFactor", "d", "", {"factor"}),
    };
    return methods;
}

const Method* findMethod(const QVector<Method>& methods, const QString& name)
{
    for (const Method& m : methods)
        if (m.name == name)
            return &m;
    return nullptr;
}

namespace {
// Splits a signature into its complete types ("n(ii)a{sv}" -> n, (ii), a{sv}).
QStringList completeTypes(const QString& sig)
{
    const auto opens = [](QChar c) { return c == QLatin1Char('(') || c == QLatin1Char('{'); };
    const auto closes = [](QChar c) { return c == QLatin1Char(')') || c == QLatin1Char('}'); };
    QStringList types;
    int i = 0;
    while (i < sig.size()) {
        int start = i;
        while (i < sig.size() && sig[i] == QLatin1Char('a'))
            ++i;
        if (i < sig.size() && opens(sig[i])) {
            int depth = 0;
            do {
                if (opens(sig[i]))
                    ++depth;
                else if (closes(sig[i]))
                    --depth;
                ++i;
            } while (i < sig.size() && depth > 0);
        } else {
            ++i;
        }
        types << sig.mid(start, i - start);
    }
    return types;
}
} // namespace

QString interfaceXml(const QString& interfaceName, const QVector<Method>& methods, bool withEvent)
{
    QString xml = QStringLiteral("  <interface name=\"%1\">\n").arg(interfaceName);
    for (const Method& m : methods) {
        xml += QStringLiteral("    <method name=\"%1\">\n").arg(m.name);
        const QStringList in = completeTypes(m.in);
        for (int i = 0; i < in.size(); ++i) {
            const QString name = i < m.argNames.size() ? m.argNames[i] : QStringLiteral("arg%1").arg(i);
            xml += QStringLiteral("      <arg name=\"%1\" type=\"%2\" direction=\"in\"/>\n").arg(name, in[i]);
        }
        const QStringList out = completeTypes(m.out);
        for (int i = 0; i < out.size(); ++i) {
            const QString name = i < m.outNames.size() ? m.outNames[i] : QStringLiteral("result");
            xml += QStringLiteral("      <arg name=\"%1\" type=\"%2\" direction=\"out\"/>\n").arg(name, out[i]);
        }
        xml += QStringLiteral("    </method>\n");
    }
    if (withEvent)
        xml += QStringLiteral("    <signal name=\"%1\">\n      <arg name=\"message\" type=\"s\"/>\n"
                              "    </signal>\n").arg(EventSignal);
    xml += QStringLiteral("  </interface>\n");
    return xml;
}

QString errorName(int32_t code)
{
    return ErrorPrefix + QStringLiteral("%1").arg(static_cast<uint32_t>(code), 8, 16, QLatin1Char('0')).toUpper();
}

QString errorText(int32_t code, const QString& description)
{
    const QString hex = QStringLiteral("%1").arg(static_cast<uint32_t>(code), 8, 16, QLatin1Char('0')).toUpper();
    return description.isEmpty() ? hex : hex + QStringLiteral(": ") + description;
}

QDBusMessage errorReply(const QDBusMessage& request, int32_t code, const QString& description)
{
    return request.createErrorReply(errorName(code), errorText(code, description));
}

RunTimeError errorFromMessage(const QDBusMessage& error)
{
    const QString name = error.errorName();
    const QString text = error.errorMessage();
    if (name.startsWith(ErrorPrefix)) {
        bool ok = false;
        const uint32_t code = name.mid(ErrorPrefix.size()).toUInt(&ok, 16);
        if (ok) {
            // The text repeats the code; the description follows it.
            QString description = text;
            const int colon = description.indexOf(QStringLiteral(": "));
            if (colon == 8)
                description = description.mid(10);
            return RunTimeError(static_cast<int32_t>(code), description);
        }
    }
    const QDBusError::ErrorType type = QDBusError(error).type();
    const QString description = text.isEmpty() ? name : name + QStringLiteral(": ") + text;
    switch (type) {
    case QDBusError::InvalidArgs:
    case QDBusError::UnknownMethod:
    case QDBusError::UnknownObject:
    case QDBusError::UnknownInterface:
    case QDBusError::InvalidSignature:
        return RunTimeError(RunTimeError::ServiceInvalidArgument, description);
    case QDBusError::NoReply:
        // The bus answers NoReply both when the service died holding the call
        // and when the wait ran out.
        if (text.contains(QLatin1String("disconnected"), Qt::CaseInsensitive))
            return RunTimeError(RunTimeError::ServiceGone, description);
        return RunTimeError(RunTimeError::ServiceTimeOut, description);
    case QDBusError::Timeout:
    case QDBusError::TimedOut:
        return RunTimeError(RunTimeError::ServiceTimeOut, description);
    default:
        // The service is gone (its name has no owner, the bus closed the call)
        // or failed in a way it did not describe.
        return RunTimeError(RunTimeError::ServiceGone, description);
    }
}

} // namespace ZentorBus
