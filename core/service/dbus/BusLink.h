#pragma once
// The panel's connection to a bus other than this computer's session bus
// (see BusAddress.h), opened before the window: quickly, or with a message
// that names the cause.
//
// Opening runs the address's program (ssh) through the bus library. What
// that program writes on its standard error (ssh's reason, the far command's
// message) is caught, passed on to the panel's own standard error, and kept
// for the message. The whole opening, the bus's greeting included, is given
// kOpenTimeoutMs: a far side that answers with something other than D-Bus (a
// log-in script that prints, a broken bridge) would otherwise hold the
// greeting for ever, so the program is ended then. Then the microscope
// service must answer on that bus within kServiceTimeoutMs (the bus starts it
// on demand).
//
// Once open, the link may drop (ssh killed, the network gone): lost() tells,
// with the program's last words; every call on the connection fails from
// then on, as with a dead service.
#include "core/service/dbus/BusAddress.h"

#include <QDBusConnection>
#include <QObject>
#include <QString>
#include <QStringList>

class QSocketNotifier;

class BusLink : public QObject {
    Q_OBJECT
public:
    static constexpr int kOpenTimeoutMs = 10000;
    static constexpr int kServiceTimeoutMs = 15000;

    explicit BusLink(const BusAddress::Place& place, QObject* parent = nullptr);
    ~BusLink() override;

    // Opens the connection and asks the microscope service for an answer.
    // False with error() when either fails.
    bool open(int openTimeoutMs = kOpenTimeoutMs, int serviceTimeoutMs = kServiceTimeoutMs);
    QDBusConnection connection() const;
    const BusAddress::Place& place() const { return m_place; }
    // Why the opening failed, in words for the operator.
    QString error() const { return m_error; }
    // The open link has dropped (lost() was emitted).
    bool isLost() const { return m_lost; }
    // What the link's program has written on its standard error so far.
    QStringList programOutput() const { return m_output; }

signals:
    // The open link dropped; `why` holds what the link's program said last.
    void lost(const QString& why);

private slots:
    void onDisconnected();
    void onProgramOutput();

private:
    bool connectBus(int timeoutMs);
    bool checkService(int timeoutMs);
    // Takes in what the program has written; waits up to `waitMs` for it to
    // close its standard error (it ended) when asked.
    void readOutput(int waitMs = 0);
    QString lastWords() const;

    BusAddress::Place m_place;
    QString m_name;
    bool m_connected = false;
    bool m_lost = false;
    int m_outputFd = -1;
    QSocketNotifier* m_notifier = nullptr;
    QByteArray m_partial;
    QStringList m_output;
    QString m_error;
};
