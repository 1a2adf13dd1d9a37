#include "core/service/conformance/InterfaceChecks.h"

#include "core/service/dbus/BusLayout.h"

#include <QDBusMessage>

namespace InterfaceChecks {

namespace {
// Introspection and the version answer at once; a minute is beyond any service that works.
constexpr int kAnswerMs = 60000;
} // namespace

bool checkVersion(const QDBusConnection& bus, const QString& busName, CheckReport& report, QString* version)
{
    const QString who = QStringLiteral("the service %1").arg(busName);
    const QString expected = QStringLiteral("\"MAJOR.MINOR\" with major %1 and minor %2 or more")
                                 .arg(ZentorBus::kClientNeeds.major).arg(ZentorBus::kClientNeeds.minor);
    try {
        const QString told = ZentorBus::askVersion(
            [&] {
                const QDBusMessage reply = bus.call(
                    QDBusMessage::createMethodCall(busName, ZentorBus::ManagerPath, ZentorBus::ManagerInterface,
                                                   QStringLiteral("InterfaceVersion")),
                    QDBus::Block, kAnswerMs);
                if (reply.type() != QDBusMessage::ReplyMessage)
                    throw ZentorBus::errorFromMessage(reply);
                return reply;
            },
            who, ZentorBus::ManagerInterface);
        report.pass(QStringLiteral("InterfaceVersion()"), expected, QStringLiteral("\"%1\"").arg(told));
        if (version)
            *version = told;
        return true;
    } catch (const RunTimeError& e) {
        report.fail(QStringLiteral("InterfaceVersion()"), expected, e.description());
        return false;
    }
}

void checkIntrospection(const QDBusConnection& bus, const QString& busName, const QString& path,
                        const QString& interfaceName, const QString& servedVersion, CheckReport& report)
{
    const ZentorBus::InterfaceInfo file = ZentorBus::asOfVersion(ZentorBus::interfaceInfo(interfaceName),
                                                                 ZentorBus::InterfaceVersion::parse(servedVersion));
    const QString what = QStringLiteral("introspection of %1").arg(path);
    const QString expected = QStringLiteral("%1 as its file describes it at version %2 (%3 members)")
                                 .arg(interfaceName, file.version).arg(file.members.size());
    const QDBusMessage reply = bus.call(QDBusMessage::createMethodCall(busName, path,
                                                                       QStringLiteral("org.freedesktop.DBus.Introspectable"),
                                                                       QStringLiteral("Introspect")),
                                        QDBus::Block, kAnswerMs);
    if (reply.type() != QDBusMessage::ReplyMessage || reply.signature() != QLatin1String("s")) {
        report.fail(what, expected,
                    reply.type() == QDBusMessage::ErrorMessage
                        ? reply.errorName() + QStringLiteral(": ") + reply.errorMessage()
                        : QStringLiteral("an answer of type '%1'").arg(reply.signature()));
        return;
    }
    QString error;
    const QVector<ZentorBus::InterfaceInfo> served = ZentorBus::parseInterfaces(reply.arguments().first().toString(), &error);
    if (!error.isEmpty()) {
        report.fail(what, expected, QStringLiteral("introspection XML that does not parse: ") + error);
        return;
    }
    for (const ZentorBus::InterfaceInfo& i : served) {
        if (i.name != interfaceName)
            continue;
        const QStringList differences = ZentorBus::interfaceDifferences(file, i, ZentorBus::Agreement::Wire);
        report.check(differences.isEmpty(), what, expected,
                     differences.isEmpty() ? QStringLiteral("it agrees") : differences.join(QStringLiteral("; ")));
        return;
    }
    report.fail(what, expected, QStringLiteral("no interface %1 there").arg(interfaceName));
}

} // namespace InterfaceChecks
