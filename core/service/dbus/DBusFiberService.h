#pragma once
// The fiber illuminator's server as the application reaches it on the session
// bus (org.zentor.Fiber). It is a service of its own and may be absent: then
// every call throws RunTimeError (the bus knows no such name), which the panel
// reports as the illuminator not being found. Calls block like the
// microscope's, with the user's input held back, but not for long: the
// illuminator's calls answer at once (Connect within its own time-out), so a
// server that has not answered after kCallTimeoutMs is hanging, and the call
// fails with the time-out code instead of freezing the panel.
#include "core/service/FiberService.h"

#include <QDBusConnection>
#include <QDBusMessage>
#include <QVariant>
#include <QVariantList>

class DBusFiberService : public FiberService {
    Q_OBJECT
public:
    static constexpr int kCallTimeoutMs = 15000;

    explicit DBusFiberService(QObject* parent = nullptr);
    DBusFiberService(const QDBusConnection& bus, const QString& serviceName, QObject* parent = nullptr);
    ~DBusFiberService() override;

    int16_t ConnectionStatus() override;
    void Connect(int32_t timeoutMs) override;
    void Disconnect() override;
    int16_t Port() override;

    int16_t NDPosition() override;
    void setNDPosition(int16_t position) override;
    int16_t NDWheelModel() override;
    int16_t ShutterIsOpened() override;
    void ShutterOpen() override;
    void ShutterClose() override;
    void ShutterOpenTimed(double seconds) override;
    void ShutterCloseTimed(double seconds) override;
    int16_t LampIsOn() override;
    void LampOn() override;
    void LampOff() override;
    int16_t Status(const QString& name) override;

    // How long a call waits for the server's answer (tests of a hanging server).
    void setCallTimeout(int ms) { m_timeoutMs = ms; }

private slots:
    void onEvent(const QString& message);

private:
    QVariant call(const char* member, const QVariantList& args = {});
    // Sends one call and gives its reply; throws for an error or no reply.
    QDBusMessage send(const QString& member, const QVariantList& args);

    QDBusConnection m_bus;
    QString m_serviceName;
    bool m_subscribed = false;
    int m_timeoutMs = kCallTimeoutMs;
    QString m_version;   // the server's interface version, asked before the first call
};
