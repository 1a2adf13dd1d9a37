#pragma once
// Drives a libdbus connection or server from the Qt event loop of the thread
// that made it: each socket the library watches gets a QSocketNotifier, each
// time-out it asks for a QTimer, and the messages it has read are dispatched
// from the event loop (never from inside the library's own callbacks).
//
// Nothing polls: a notifier fires only when its socket is ready, and the
// library asks for a time-out only while something waits on one (a pending
// call, authentication), so at rest nothing wakes.
#include <QObject>

#include <dbus/dbus.h>

class LibDbusLoop : public QObject {
    Q_OBJECT
public:
    // Hooks `connection` to this thread's event loop until this object is
    // destroyed (which unhooks it; the connection itself stays the caller's).
    explicit LibDbusLoop(DBusConnection* connection, QObject* parent = nullptr);
    // Hooks a listening server: its new connections arrive through the
    // server's own new-connection function.
    explicit LibDbusLoop(DBusServer* server, QObject* parent = nullptr);
    ~LibDbusLoop() override;

private:
    // Runs `handle` (a watch's or a time-out's), then dispatches what it read
    // right there: one turn of the loop for a message, not two.
    template <typename Handle>
    void handleThenDispatch(Handle handle);
    // A dispatch as soon as the current handling or dispatch returns, else
    // in the next turn of the loop.
    void scheduleDispatch();
    void postDispatch();
    void dispatch();

    static dbus_bool_t addWatch(DBusWatch* watch, void* loop);
    static void removeWatch(DBusWatch* watch, void* loop);
    static void toggleWatch(DBusWatch* watch, void* loop);
    static dbus_bool_t addTimeout(DBusTimeout* timeout, void* loop);
    static void removeTimeout(DBusTimeout* timeout, void* loop);
    static void toggleTimeout(DBusTimeout* timeout, void* loop);
    static void dispatchStatusChanged(DBusConnection* connection, DBusDispatchStatus status, void* loop);

    DBusConnection* m_connection = nullptr;
    DBusServer* m_server = nullptr;
    bool m_dispatchQueued = false;
    bool m_dispatching = false;
    bool m_handling = false;   // inside a watch's or a time-out's handling
    bool m_dispatchWanted = false;
};
