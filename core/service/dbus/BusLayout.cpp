#include "core/service/dbus/BusLayout.h"

#include <QDBusError>
#include <QDBusMessage>
#include <QRegularExpression>
#include <QStringList>

namespace ZentorBus {

QString devicePath(int index)
{
    return ManagerPath + QLatin1Char('/') + QString::number(index);
}

namespace {

// The methods of an interface as its file describes them, in its order.
QVector<Method> methodsOf(const QString& interfaceName, const QStringList& only = {}, const QStringList& except = {})
{
    QVector<Method> methods;
    for (const InterfaceMember& m : interfaceInfo(interfaceName).members) {
        if (m.kind != InterfaceMember::Kind::Method || except.contains(m.name) ||
            (!only.isEmpty() && !only.contains(m.name)))
            continue;
        QStringList argNames;
        for (const InterfaceArg& a : m.args)
            if (a.direction == QLatin1String("in"))
                argNames << a.name;
        methods.append(Method{m.name, m.in(), m.out(), argNames});
    }
    return methods;
}

// Members of the device interface that the service answers itself, not the stand.
const QStringList kServiceAnswered{QStringLiteral("Disconnect"), QStringLiteral("Ping"), SnapshotMember,
                                   SnapshotOfMember};

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

const Method* readOfKey(const QString& key, const QVector<Method>& methods, QVariantList& args)
{
    args.clear();
    const int open = key.indexOf(QLatin1Char('('));
    if (open >= 0 && !key.endsWith(QLatin1Char(')')))
        return nullptr;
    const Method* m = findMethod(methods, open < 0 ? key : key.left(open));
    if (!m || m->out.isEmpty())
        return nullptr;
    if (open < 0)
        return m->in.isEmpty() ? m : nullptr;
    const QString inner = key.mid(open + 1, key.size() - open - 2);
    // A text argument is the whole of it, commas included (SendCommand).
    const QStringList parts = m->in == QLatin1String("s") ? QStringList{inner} : inner.split(QLatin1Char(','));
    if (parts.size() != m->in.size())
        return nullptr;
    for (int i = 0; i < parts.size(); ++i) {
        bool ok = true;
        switch (m->in.at(i).toLatin1()) {
        case 'n': {
            const int v = parts[i].toInt(&ok);
            ok = ok && v >= -32768 && v <= 32767;
            args << QVariant::fromValue<short>(static_cast<short>(v));
            break;
        }
        case 'i': args << QVariant::fromValue<int>(parts[i].toInt(&ok)); break;
        case 'd': args << QVariant::fromValue<double>(parts[i].toDouble(&ok)); break;
        case 's': args << QVariant(parts[i]); break;
        default: ok = false;
        }
        if (!ok)
            return nullptr;
    }
    return m;
}

const QVector<Method>& deviceMethods()
{
    static const QVector<Method> methods = methodsOf(DeviceInterface, {}, kServiceAnswered);
    return methods;
}

const QVector<Method>& deviceServiceMethods()
{
    static const QVector<Method> methods = methodsOf(DeviceInterface, kServiceAnswered);
    return methods;
}

const QVector<Method>& managerMethods()
{
    static const QVector<Method> methods = methodsOf(ManagerInterface);
    return methods;
}

const QVector<Method>& controlMethods()
{
    static const QVector<Method> methods = methodsOf(ControlInterface);
    return methods;
}

const QVector<Method>& fiberMethods()
{
    static const QVector<Method> methods = methodsOf(FiberInterface);
    return methods;
}

const QVector<Method>& fiberControlMethods()
{
    static const QVector<Method> methods = methodsOf(FiberControlInterface);
    return methods;
}

const Method* findMethod(const QVector<Method>& methods, const QString& name)
{
    for (const Method& m : methods)
        if (m.name == name)
            return &m;
    return nullptr;
}

QString interfaceXml(const QString& interfaceName)
{
    return introspectionXml(interfaceInfo(interfaceName));
}

// --- versions ------------------------------------------------------------------------

InterfaceVersion servedVersion()
{
    return InterfaceVersion::parse(interfaceInfo(ManagerInterface).version);
}

QString versionProblem(const QString& answered, const InterfaceVersion& needed, const QString& who)
{
    const InterfaceVersion v = InterfaceVersion::parse(answered);
    const QString wanted = QStringLiteral("version %1.x (at least %2)").arg(needed.major).arg(needed.text());
    if (!v.valid())
        return QStringLiteral("%1 answered its interface version as \"%2\", which is not MAJOR.MINOR; "
                              "this program needs %3.").arg(who, answered.left(64), wanted);
    if (v.major != needed.major || v.minor < needed.minor)
        return QStringLiteral("%1 serves interface version %2; this program needs %3. "
                              "Install a service and a program of matching versions.").arg(who, v.text(), wanted);
    return {};
}

QString askVersion(const std::function<QDBusMessage()>& ask, const QString& who, const QString& interfaceName)
{
    QDBusMessage reply;
    try {
        reply = ask();
    } catch (const RunTimeError& e) {
        // A service that does not know the question predates versions or is
        // not one of this interface; any other failure stays what it is.
        if (e.number() == RunTimeError::ServiceInvalidArgument)
            throw RunTimeError(IncompatibleService,
                               QStringLiteral("%1 does not tell its interface version (%2); this program needs "
                                              "version %3.x of %4.")
                                   .arg(who, e.description()).arg(kClientNeeds.major).arg(interfaceName));
        throw;
    }
    const QString answered = reply.signature() == QLatin1String("s")
                                 ? reply.arguments().value(0).toString()
                                 : QStringLiteral("(an answer of type '%1')").arg(reply.signature());
    const QString problem = versionProblem(answered, kClientNeeds, who);
    if (!problem.isEmpty())
        throw RunTimeError(IncompatibleService, problem);
    return answered;
}

QString replyTypeProblem(const QString& member, const QString& expected, const QString& answered)
{
    if (answered == expected)
        return {};
    return QStringLiteral("%1 answered %2 where the interface says %3")
        .arg(member,
             answered.isEmpty() ? QStringLiteral("nothing") : QStringLiteral("type '%1'").arg(answered),
             expected.isEmpty() ? QStringLiteral("nothing") : QStringLiteral("'%1'").arg(expected));
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
