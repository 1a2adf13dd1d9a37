#pragma once
// An address that takes peer-to-peer connections (no bus daemon), served in
// this thread: how the service's objects are driven in one process by tests
// and fuzzing, with every call marshalled for real.
#include "stand/service/BusConnection.h"

#include <QObject>
#include <QString>
#include <memory>

class LibDbusLoop;

class PeerServer : public QObject {
    Q_OBJECT
public:
    // Listens at a D-Bus address such as "unix:dir=/tmp/x".
    explicit PeerServer(const QString& address, QObject* parent = nullptr);
    ~PeerServer() override;

    bool isListening() const { return m_server != nullptr; }
    // Why it does not listen.
    QString error() const { return m_error; }
    // The address a client connects to.
    QString address() const;

signals:
    // A client has connected; the connection is this server's child.
    void newConnection(BusConnection* connection);

private:
    static void accept(DBusServer*, DBusConnection* connection, void* self);

    DBusServer* m_server = nullptr;
    std::unique_ptr<LibDbusLoop> m_loop;
    QString m_error;
};
