#include "stand/service/LibDbusLoop.h"

#include <QSocketNotifier>
#include <QTimer>

namespace {

// Messages handled in one turn of the event loop before the rest waits for
// the next turn, so that timers and other sockets are not starved.
constexpr int kDispatchBatch = 32;

// The notifiers of one watch: libdbus asks for reading and writing together
// or apart, on the same socket.
struct WatchNotifiers {
    QSocketNotifier* read = nullptr;
    QSocketNotifier* write = nullptr;
};

void applyEnabled(DBusWatch* watch)
{
    auto* n = static_cast<WatchNotifiers*>(dbus_watch_get_data(watch));
    if (!n)
        return;
    const bool on = dbus_watch_get_enabled(watch);
    if (n->read)
        n->read->setEnabled(on);
    if (n->write)
        n->write->setEnabled(on);
}

void retire(QObject* o)
{
    if (!o)
        return;
    if (auto* notifier = qobject_cast<QSocketNotifier*>(o))
        notifier->setEnabled(false);
    else if (auto* timer = qobject_cast<QTimer*>(o))
        timer->stop();
    // Later: the library may remove a watch from inside its own notifier's signal.
    o->deleteLater();
}

} // namespace

LibDbusLoop::LibDbusLoop(DBusConnection* connection, QObject* parent) : QObject(parent), m_connection(connection)
{
    dbus_connection_set_watch_functions(connection, addWatch, removeWatch, toggleWatch, this, nullptr);
    dbus_connection_set_timeout_functions(connection, addTimeout, removeTimeout, toggleTimeout, this, nullptr);
    dbus_connection_set_dispatch_status_function(connection, dispatchStatusChanged, this, nullptr);
    // Messages read before the hook (the bus's greeting) are dispatched now.
    if (dbus_connection_get_dispatch_status(connection) == DBUS_DISPATCH_DATA_REMAINS)
        scheduleDispatch();
}

LibDbusLoop::LibDbusLoop(DBusServer* server, QObject* parent) : QObject(parent), m_server(server)
{
    dbus_server_set_watch_functions(server, addWatch, removeWatch, toggleWatch, this, nullptr);
    dbus_server_set_timeout_functions(server, addTimeout, removeTimeout, toggleTimeout, this, nullptr);
}

LibDbusLoop::~LibDbusLoop()
{
    if (m_connection) {
        dbus_connection_set_dispatch_status_function(m_connection, nullptr, nullptr, nullptr);
        dbus_connection_set_watch_functions(m_connection, nullptr, nullptr, nullptr, nullptr, nullptr);
        dbus_connection_set_timeout_functions(m_connection, nullptr, nullptr, nullptr, nullptr, nullptr);
    }
    if (m_server) {
        dbus_server_set_watch_functions(m_server, nullptr, nullptr, nullptr, nullptr, nullptr);
        dbus_server_set_timeout_functions(m_server, nullptr, nullptr, nullptr, nullptr, nullptr);
    }
}

template <typename Handle>
void LibDbusLoop::handleThenDispatch(Handle handle)
{
    m_handling = true;
    m_dispatchWanted = false;
    handle();
    m_handling = false;
    if (!m_connection)
        return;
    if (m_dispatchWanted || dbus_connection_get_dispatch_status(m_connection) == DBUS_DISPATCH_DATA_REMAINS)
        dispatch();
}

void LibDbusLoop::scheduleDispatch()
{
    if (m_handling || m_dispatching) {
        m_dispatchWanted = true;   // dispatched as soon as the handling returns
        return;
    }
    postDispatch();
}

void LibDbusLoop::postDispatch()
{
    if (!m_connection || m_dispatchQueued)
        return;
    m_dispatchQueued = true;
    QMetaObject::invokeMethod(
        this,
        [this] {
            m_dispatchQueued = false;
            dispatch();
        },
        Qt::QueuedConnection);
}

void LibDbusLoop::dispatch()
{
    // libdbus dispatches one message at a time per connection: a handler that
    // ran an event loop of its own would otherwise wait here on itself.
    if (m_dispatching) {
        postDispatch();
        return;
    }
    m_dispatching = true;
    bool more = true;
    for (int i = 0; i < kDispatchBatch && more; ++i)
        more = dbus_connection_dispatch(m_connection) == DBUS_DISPATCH_DATA_REMAINS;
    m_dispatching = false;
    if (more)
        postDispatch();
}

dbus_bool_t LibDbusLoop::addWatch(DBusWatch* watch, void* data)
{
    auto* loop = static_cast<LibDbusLoop*>(data);
    const int fd = dbus_watch_get_unix_fd(watch);
    const unsigned flags = dbus_watch_get_flags(watch);
    auto* n = new WatchNotifiers;
    const auto notifier = [&](QSocketNotifier::Type type, unsigned flag) {
        auto* s = new QSocketNotifier(fd, type, loop);
        QObject::connect(s, &QSocketNotifier::activated, loop,
                         [loop, watch, flag] { loop->handleThenDispatch([&] { dbus_watch_handle(watch, flag); }); });
        return s;
    };
    if (flags & DBUS_WATCH_READABLE)
        n->read = notifier(QSocketNotifier::Read, DBUS_WATCH_READABLE);
    if (flags & DBUS_WATCH_WRITABLE)
        n->write = notifier(QSocketNotifier::Write, DBUS_WATCH_WRITABLE);
    dbus_watch_set_data(watch, n, nullptr);
    applyEnabled(watch);
    return true;
}

void LibDbusLoop::removeWatch(DBusWatch* watch, void*)
{
    auto* n = static_cast<WatchNotifiers*>(dbus_watch_get_data(watch));
    if (!n)
        return;
    dbus_watch_set_data(watch, nullptr, nullptr);
    retire(n->read);
    retire(n->write);
    delete n;
}

void LibDbusLoop::toggleWatch(DBusWatch* watch, void*)
{
    applyEnabled(watch);
}

dbus_bool_t LibDbusLoop::addTimeout(DBusTimeout* timeout, void* data)
{
    auto* loop = static_cast<LibDbusLoop*>(data);
    auto* timer = new QTimer(loop);
    QObject::connect(timer, &QTimer::timeout, loop,
                     [loop, timeout] { loop->handleThenDispatch([&] { dbus_timeout_handle(timeout); }); });
    dbus_timeout_set_data(timeout, timer, nullptr);
    toggleTimeout(timeout, data);
    return true;
}

void LibDbusLoop::removeTimeout(DBusTimeout* timeout, void*)
{
    auto* timer = static_cast<QTimer*>(dbus_timeout_get_data(timeout));
    dbus_timeout_set_data(timeout, nullptr, nullptr);
    retire(timer);
}

void LibDbusLoop::toggleTimeout(DBusTimeout* timeout, void*)
{
    auto* timer = static_cast<QTimer*>(dbus_timeout_get_data(timeout));
    if (!timer)
        return;
    if (dbus_timeout_get_enabled(timeout))
        timer->start(dbus_timeout_get_interval(timeout));
    else
        timer->stop();
}

void LibDbusLoop::dispatchStatusChanged(DBusConnection*, DBusDispatchStatus status, void* data)
{
    if (status == DBUS_DISPATCH_DATA_REMAINS)
        static_cast<LibDbusLoop*>(data)->scheduleDispatch();
}
