// floor_bare: the bare programs that bench_floor measures the service
// against. Plain libdbus and POSIX, no Qt, each doing the least the work
// needs:
//   floor_bare serve NAME        a bus service that answers Ping, Set(i) (a
//                                change: one event, then the reply), Flood(s, i)
//                                (that many events as fast as the bus takes
//                                them) and Stream(i, i, i, i) (position reports
//                                of a move at a steady beat)
//   floor_bare listen SENDER PATH PREFIX
//                                a listener of the events of PATH from SENDER;
//                                keeps the arrival time of each whose text
//                                begins with PREFIX; on "dump" from its input
//                                it prints them and forgets them
//   floor_bare echo              a TCP echo server on the loopback; prints its port
// Every program prints "ready" once it is in place. Times are CLOCK_MONOTONIC
// nanoseconds, comparable across the processes of one machine.
#include <dbus/dbus.h>

#include <arpa/inet.h>
#include <netinet/in.h>
#include <netinet/tcp.h>
#include <poll.h>
#include <sys/socket.h>
#include <unistd.h>

#include <cerrno>
#include <cstdint>
#include <cstdio>
#include <cstring>
#include <ctime>
#include <string>
#include <vector>

namespace {

const char* const kPath = "/org/zentor/Microscope/0";
const char* const kInterface = "org.zentor.Microscope.Device";
const char* const kEvent = "OnPropertyChanged";
// The bound of the service's own flood pacing: messages queued for the bus.
const long kMaxOutgoingBytes = 256 * 1024;

int64_t nowNs()
{
    timespec t{};
    clock_gettime(CLOCK_MONOTONIC, &t);
    return int64_t(t.tv_sec) * 1000000000 + t.tv_nsec;
}

DBusConnection* connect()
{
    DBusError error;
    dbus_error_init(&error);
    DBusConnection* c = dbus_bus_get_private(DBUS_BUS_SESSION, &error);
    if (!c) {
        std::fprintf(stderr, "floor_bare: no session bus: %s\n", error.message);
        std::exit(1);
    }
    dbus_connection_set_exit_on_disconnect(c, false);
    return c;
}

void ready()
{
    std::printf("ready\n");
    std::fflush(stdout);
}

bool sendEvent(DBusConnection* c, const char* text)
{
    DBusMessage* m = dbus_message_new_signal(kPath, kInterface, kEvent);
    const bool ok = m && dbus_message_append_args(m, DBUS_TYPE_STRING, &text, DBUS_TYPE_INVALID) &&
                    dbus_connection_send(c, m, nullptr);
    if (m)
        dbus_message_unref(m);
    return ok;
}

void reply(DBusConnection* c, DBusMessage* call)
{
    DBusMessage* r = dbus_message_new_method_return(call);
    dbus_connection_send(c, r, nullptr);
    dbus_message_unref(r);
}

// Waits until the bus has taken enough of what is queued, as the service's
// flood does.
void pace(DBusConnection* c)
{
    while (dbus_connection_get_outgoing_size(c) > kMaxOutgoingBytes)
        dbus_connection_read_write(c, 1);
}

DBusHandlerResult serveCall(DBusConnection* c, DBusMessage* m, void*)
{
    if (dbus_message_get_type(m) != DBUS_MESSAGE_TYPE_METHOD_CALL)
        return DBUS_HANDLER_RESULT_NOT_YET_HANDLED;
    const std::string member = dbus_message_get_member(m);
    DBusError error;
    dbus_error_init(&error);
    if (member == "Ping") {
        reply(c, m);
    } else if (member == "Set") {
        int32_t v = 0;
        dbus_message_get_args(m, &error, DBUS_TYPE_INT32, &v, DBUS_TYPE_INVALID);
        const std::string text = "AppEpiShutterIsOpened:" + std::to_string(v);
        sendEvent(c, text.c_str());
        reply(c, m);
    } else if (member == "Flood") {
        const char* text = "";
        int32_t count = 0;
        dbus_message_get_args(m, &error, DBUS_TYPE_STRING, &text, DBUS_TYPE_INT32, &count, DBUS_TYPE_INVALID);
        for (int32_t i = 0; i < count; ++i) {
            pace(c);
            sendEvent(c, text);
        }
        reply(c, m);
    } else if (member == "Stream") {
        // `count` reports of a move from `from` to `to`, one every `periodMs`,
        // sleeping between them, the last at `to`; then the reply.
        int32_t periodMs = 40, count = 0, from = 0, to = 0;
        dbus_message_get_args(m, &error, DBUS_TYPE_INT32, &periodMs, DBUS_TYPE_INT32, &count, DBUS_TYPE_INT32, &from,
                              DBUS_TYPE_INT32, &to, DBUS_TYPE_INVALID);
        const int64_t start = nowNs();
        for (int i = 1; i <= count; ++i) {
            const int64_t due = start + int64_t(i) * periodMs * 1000000;
            for (int64_t left = due - nowNs(); left > 0; left = due - nowNs()) {
                timespec t{time_t(left / 1000000000), long(left % 1000000000)};
                nanosleep(&t, nullptr);
            }
            const int position = from + int(int64_t(to - from) * i / count);
            sendEvent(c, ("AppZDriveZPosition:" + std::to_string(position)).c_str());
        }
        reply(c, m);
    } else {
        DBusMessage* e = dbus_message_new_error(m, DBUS_ERROR_UNKNOWN_METHOD, "no such method");
        dbus_connection_send(c, e, nullptr);
        dbus_message_unref(e);
    }
    dbus_error_free(&error);
    return DBUS_HANDLER_RESULT_HANDLED;
}

int serve(const char* name)
{
    DBusConnection* c = connect();
    dbus_connection_add_filter(c, serveCall, nullptr, nullptr);
    DBusError error;
    dbus_error_init(&error);
    if (dbus_bus_request_name(c, name, DBUS_NAME_FLAG_DO_NOT_QUEUE, &error) != DBUS_REQUEST_NAME_REPLY_PRIMARY_OWNER) {
        std::fprintf(stderr, "floor_bare: cannot own %s\n", name);
        return 1;
    }
    ready();
    while (dbus_connection_read_write_dispatch(c, -1)) {
    }
    return 0;
}

struct Listener {
    std::string prefix;
    std::vector<int64_t> arrivals;
};

DBusHandlerResult listenSignal(DBusConnection*, DBusMessage* m, void* data)
{
    auto* l = static_cast<Listener*>(data);
    const int64_t at = nowNs();
    if (dbus_message_get_type(m) != DBUS_MESSAGE_TYPE_SIGNAL || !dbus_message_has_member(m, kEvent))
        return DBUS_HANDLER_RESULT_NOT_YET_HANDLED;
    const char* text = nullptr;
    if (dbus_message_get_args(m, nullptr, DBUS_TYPE_STRING, &text, DBUS_TYPE_INVALID) &&
        std::strncmp(text, l->prefix.c_str(), l->prefix.size()) == 0)
        l->arrivals.push_back(at);
    return DBUS_HANDLER_RESULT_HANDLED;
}

int listen(const char* sender, const char* path, const char* prefix)
{
    DBusConnection* c = connect();
    Listener l{prefix, {}};
    l.arrivals.reserve(1 << 20);
    dbus_connection_add_filter(c, listenSignal, &l, nullptr);
    const std::string rule = std::string("type='signal',sender='") + sender + "',path='" + path + "',member='" +
                             kEvent + "'";
    DBusError error;
    dbus_error_init(&error);
    dbus_bus_add_match(c, rule.c_str(), &error);   // blocking: in place before "ready"
    if (dbus_error_is_set(&error)) {
        std::fprintf(stderr, "floor_bare: match rule refused: %s\n", error.message);
        return 1;
    }
    int fd = -1;
    dbus_connection_get_unix_fd(c, &fd);
    ready();
    std::string line;
    for (;;) {
        while (dbus_connection_dispatch(c) == DBUS_DISPATCH_DATA_REMAINS) {
        }
        pollfd p[2] = {{fd, POLLIN, 0}, {0, POLLIN, 0}};
        if (poll(p, 2, -1) < 0 && errno != EINTR)
            return 1;
        if (p[0].revents & (POLLHUP | POLLERR))
            return 0;
        if (p[0].revents & POLLIN)
            dbus_connection_read_write(c, 0);
        if (p[1].revents) {
            char buf[64];
            const ssize_t n = read(0, buf, sizeof buf);
            if (n <= 0)
                return 0;   // the bench has gone
            line.append(buf, size_t(n));
            for (size_t nl; (nl = line.find('\n')) != std::string::npos; line.erase(0, nl + 1)) {
                if (line.compare(0, nl, "dump") != 0)
                    continue;
                while (dbus_connection_dispatch(c) == DBUS_DISPATCH_DATA_REMAINS) {
                }
                std::printf("%zu", l.arrivals.size());
                for (int64_t t : l.arrivals)
                    std::printf(" %lld", static_cast<long long>(t));
                std::printf("\n");
                std::fflush(stdout);
                l.arrivals.clear();
            }
        }
    }
}

int echo()
{
    const int s = socket(AF_INET, SOCK_STREAM, 0);
    sockaddr_in a{};
    a.sin_family = AF_INET;
    a.sin_addr.s_addr = htonl(INADDR_LOOPBACK);
    socklen_t len = sizeof a;
    if (bind(s, reinterpret_cast<sockaddr*>(&a), sizeof a) != 0 || ::listen(s, 1) != 0 ||
        getsockname(s, reinterpret_cast<sockaddr*>(&a), &len) != 0) {
        std::perror("floor_bare: echo");
        return 1;
    }
    std::printf("ready %d\n", ntohs(a.sin_port));
    std::fflush(stdout);
    const int c = accept(s, nullptr, nullptr);
    const int one = 1;
    setsockopt(c, IPPROTO_TCP, TCP_NODELAY, &one, sizeof one);
    char buf[4096];
    for (ssize_t n; (n = read(c, buf, sizeof buf)) > 0;)
        if (write(c, buf, size_t(n)) != n)
            return 1;
    return 0;
}

} // namespace

int main(int argc, char** argv)
{
    const std::string mode = argc > 1 ? argv[1] : "";
    if (mode == "serve" && argc == 3)
        return serve(argv[2]);
    if (mode == "listen" && argc == 5)
        return listen(argv[2], argv[3], argv[4]);
    if (mode == "echo")
        return echo();
    std::fprintf(stderr, "usage: floor_bare serve NAME | listen SENDER PATH PREFIX | echo\n");
    return 2;
}
