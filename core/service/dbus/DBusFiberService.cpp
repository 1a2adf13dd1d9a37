#include "core/service/dbus/DBusFiberService.h"

#include "core/service/dbus/BusLayout.h"

#include <QCoreApplication>

DBusFiberService::DBusFiberService(QObject* parent)
    : DBusFiberService(QDBusConnection::sessionBus(), ZentorBus::FiberService, parent)
{
}

DBusFiberService::DBusFiberService(const QDBusConnection& bus, const QString& serviceName, QObject* parent)
    : FiberService(parent), m_bus(bus), m_serviceName(serviceName)
{
    // Subscribing by well-known name needs no running server: the events
    // start to flow whenever an illuminator server owns the name.
    m_subscribed = m_bus.connect(m_serviceName, ZentorBus::FiberPath, ZentorBus::FiberInterface,
                                 ZentorBus::EventSignal, this, SLOT(onEvent(QString)));
}

DBusFiberService::~DBusFiberService()
{
    if (m_subscribed)
        m_bus.disconnect(m_serviceName, ZentorBus::FiberPath, ZentorBus::FiberInterface,
                         ZentorBus::EventSignal, this, SLOT(onEvent(QString)));
}

void DBusFiberService::onEvent(const QString& message)
{
    emit OnPropertyChanged(message);
}

QDBusMessage DBusFiberService::send(const QString& member, const QVariantList& args)
{
    if (!m_bus.isConnected())
        throw RunTimeError(RunTimeError::ServiceGone,
                           QStringLiteral("No session bus: ") + m_bus.lastError().message());
    QDBusMessage msg = QDBusMessage::createMethodCall(m_serviceName, ZentorBus::FiberPath,
                                                      ZentorBus::FiberInterface, member);
    msg.setArguments(args);
    const QDBusMessage reply = m_bus.call(msg, QDBus::BlockWithGui, m_timeoutMs);
    QCoreApplication::sendPostedEvents(this, QEvent::MetaCall);
    if (reply.type() == QDBusMessage::ErrorMessage && !m_bus.isConnected())
        throw RunTimeError(RunTimeError::ServiceGone,
                           QStringLiteral("The connection to the fiber illuminator server is lost: ") +
                               reply.errorMessage());
    if (reply.type() == QDBusMessage::ErrorMessage)
        throw ZentorBus::errorFromMessage(reply);
    if (reply.type() != QDBusMessage::ReplyMessage)
        throw RunTimeError(RunTimeError::ServiceFailure,
                           QStringLiteral("No answer from the fiber illuminator server to ") + member);
    return reply;
}

QVariant DBusFiberService::call(const char* member, const QVariantList& args)
{
    if (m_version.isEmpty())
        m_version = ZentorBus::askVersion([this] { return send(QStringLiteral("InterfaceVersion"), {}); },
                                          QStringLiteral("The fiber illuminator server on the bus (%1)").arg(m_serviceName),
                                          ZentorBus::FiberInterface);
    const QString name = QLatin1String(member);
    const QDBusMessage reply = send(name, args);
    if (const ZentorBus::Method* m = ZentorBus::findMethod(ZentorBus::fiberMethods(), name)) {
        const QString problem = ZentorBus::replyTypeProblem(name, m->out, reply.signature());
        if (!problem.isEmpty())
            throw RunTimeError(RunTimeError::ServiceFailure, problem);
    }
    const QVariantList out = reply.arguments();
    return out.isEmpty() ? QVariant() : out.first();
}

#define N(v) QVariant::fromValue<short>(v)

int16_t DBusFiberService::ConnectionStatus() { return static_cast<int16_t>(call("ConnectionStatus").toInt()); }
void DBusFiberService::Connect(int32_t timeoutMs) { call("Connect", {QVariant::fromValue<int>(timeoutMs)}); }
void DBusFiberService::Disconnect() { call("Disconnect"); }
int16_t DBusFiberService::Port() { return static_cast<int16_t>(call("Port").toInt()); }
int16_t DBusFiberService::NDPosition() { return static_cast<int16_t>(call("NDPosition").toInt()); }
void DBusFiberService::setNDPosition(int16_t position) { call("setNDPosition", {N(position)}); }
int16_t DBusFiberService::NDWheelModel() { return static_cast<int16_t>(call("NDWheelModel").toInt()); }
int16_t DBusFiberService::ShutterIsOpened() { return static_cast<int16_t>(call("ShutterIsOpened").toInt()); }
void DBusFiberService::ShutterOpen() { call("ShutterOpen"); }
void DBusFiberService::ShutterClose() { call("ShutterClose"); }
void DBusFiberService::ShutterOpenTimed(double seconds) { call("ShutterOpenTimed", {QVariant(seconds)}); }
void DBusFiberService::ShutterCloseTimed(double seconds) { call("ShutterCloseTimed", {QVariant(seconds)}); }
int16_t DBusFiberService::LampIsOn() { return static_cast<int16_t>(call("LampIsOn").toInt()); }
void DBusFiberService::LampOn() { call("LampOn"); }
void DBusFiberService::LampOff() { call("LampOff"); }
int16_t DBusFiberService::Status(const QString& name) { return static_cast<int16_t>(call("Status", {QVariant(name)}).toInt()); }

#undef N
