// delay_relay: a stream relay that holds every byte back for a set time in
// each direction, so that a program can be measured as if its peer were far
// away (a slow network link) while both run on this machine.
//
//   delay_relay --listen ENDPOINT --connect ENDPOINT [--delay-ms N]
//               [--to-server-ms N] [--to-client-ms N]
//
// ENDPOINT is unix:PATH (a stream socket; the listening one is made, and
// removed again at exit) or tcp:HOST:PORT with HOST a loopback address
// (127.0.0.1, ::1 or localhost); a listening port 0 takes a free port. Each
// client that connects gets a connection of its own to the --connect
// endpoint. Whatever one side sends reaches the other side the set time after
// the relay read it, in order; the end of a stream is passed on as late. So
// --delay-ms 25 adds 50 ms to every round trip. Bandwidth is not limited.
// Ancillary data (passed descriptors, credentials) is not carried: the far
// side sees the relay as its peer.
//
// When it listens, the relay prints "listening on ENDPOINT" (with the real
// port) on one line of its standard output. SIGTERM or SIGINT end it.
#include <arpa/inet.h>
#include <netdb.h>
#include <netinet/in.h>
#include <netinet/tcp.h>
#include <poll.h>
#include <sys/socket.h>
#include <sys/un.h>
#include <unistd.h>

#include <cerrno>
#include <chrono>
#include <csignal>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <deque>
#include <fcntl.h>
#include <memory>
#include <string>
#include <vector>

namespace {

using Clock = std::chrono::steady_clock;

volatile std::sig_atomic_t g_stop = 0;
void onStop(int) { g_stop = 1; }

[[noreturn]] void die(const std::string& what)
{
    std::fprintf(stderr, "delay_relay: %s\n", what.c_str());
    std::exit(2);
}

// One side of the relay's address book: where to listen or connect.
struct Endpoint {
    bool isUnix = false;
    std::string path;      // unix
    std::string host;      // tcp
    std::string port;      // tcp
};

Endpoint parseEndpoint(const std::string& text)
{
    Endpoint e;
    if (text.rfind("unix:", 0) == 0) {
        e.isUnix = true;
        e.path = text.substr(5);
        if (e.path.empty() || e.path.size() >= sizeof(sockaddr_un{}.sun_path))
            die("a unix socket path must have 1 to 107 characters: " + text);
        return e;
    }
    if (text.rfind("tcp:", 0) == 0) {
        const std::string rest = text.substr(4);
        const size_t colon = rest.rfind(':');
        if (colon == std::string::npos)
            die("a tcp endpoint is tcp:HOST:PORT: " + text);
        e.host = rest.substr(0, colon);
        e.port = rest.substr(colon + 1);
        if (!e.host.empty() && e.host.front() == '[' && e.host.back() == ']')
            e.host = e.host.substr(1, e.host.size() - 2);
        // Only this machine: the relay is a measuring tool, never a way out.
        if (e.host != "127.0.0.1" && e.host != "::1" && e.host != "localhost")
            die("a tcp endpoint must be on a loopback address (127.0.0.1, ::1, localhost): " + text);
        char* end = nullptr;
        const long port = std::strtol(e.port.c_str(), &end, 10);
        if (e.port.empty() || *end != '\0' || port < 0 || port > 65535)
            die("not a port number: " + e.port);
        return e;
    }
    die("an endpoint is unix:PATH or tcp:HOST:PORT: " + text);
}

void setNonBlocking(int fd)
{
    const int flags = fcntl(fd, F_GETFL, 0);
    fcntl(fd, F_SETFL, flags | O_NONBLOCK);
}

sockaddr_un unixAddress(const std::string& path)
{
    sockaddr_un a{};
    a.sun_family = AF_UNIX;
    std::memcpy(a.sun_path, path.c_str(), path.size());
    return a;
}

addrinfo* resolve(const Endpoint& e, bool passive)
{
    addrinfo hints{};
    hints.ai_family = AF_UNSPEC;
    hints.ai_socktype = SOCK_STREAM;
    hints.ai_flags = passive ? AI_PASSIVE : 0;
    addrinfo* found = nullptr;
    if (getaddrinfo(e.host.c_str(), e.port.c_str(), &hints, &found) != 0 || !found)
        die("cannot resolve " + e.host);
    return found;
}

// Listens; answers the socket and the endpoint's text with the real port.
int listenOn(const Endpoint& e, std::string& shown)
{
    if (e.isUnix) {
        const int fd = socket(AF_UNIX, SOCK_STREAM | SOCK_CLOEXEC, 0);
        const sockaddr_un a = unixAddress(e.path);
        if (fd < 0 || bind(fd, reinterpret_cast<const sockaddr*>(&a), sizeof a) != 0 || listen(fd, 64) != 0)
            die("cannot listen on unix:" + e.path + ": " + std::strerror(errno));
        shown = "unix:" + e.path;
        return fd;
    }
    addrinfo* found = resolve(e, true);
    const int fd = socket(found->ai_family, SOCK_STREAM | SOCK_CLOEXEC, 0);
    const int one = 1;
    setsockopt(fd, SOL_SOCKET, SO_REUSEADDR, &one, sizeof one);
    if (fd < 0 || bind(fd, found->ai_addr, found->ai_addrlen) != 0 || listen(fd, 64) != 0)
        die("cannot listen on " + e.host + ":" + e.port + ": " + std::strerror(errno));
    freeaddrinfo(found);
    sockaddr_storage bound{};
    socklen_t len = sizeof bound;
    getsockname(fd, reinterpret_cast<sockaddr*>(&bound), &len);
    const int port = bound.ss_family == AF_INET6 ? ntohs(reinterpret_cast<sockaddr_in6*>(&bound)->sin6_port)
                                                 : ntohs(reinterpret_cast<sockaddr_in*>(&bound)->sin_port);
    shown = "tcp:" + e.host + ":" + std::to_string(port);
    return fd;
}

int connectTo(const Endpoint& e)
{
    if (e.isUnix) {
        const int fd = socket(AF_UNIX, SOCK_STREAM | SOCK_CLOEXEC, 0);
        const sockaddr_un a = unixAddress(e.path);
        if (fd >= 0 && connect(fd, reinterpret_cast<const sockaddr*>(&a), sizeof a) == 0)
            return fd;
        if (fd >= 0)
            close(fd);
        return -1;
    }
    addrinfo* found = resolve(e, false);
    const int fd = socket(found->ai_family, SOCK_STREAM | SOCK_CLOEXEC, 0);
    const bool ok = fd >= 0 && connect(fd, found->ai_addr, found->ai_addrlen) == 0;
    freeaddrinfo(found);
    if (!ok) {
        if (fd >= 0)
            close(fd);
        return -1;
    }
    const int one = 1;
    setsockopt(fd, IPPROTO_TCP, TCP_NODELAY, &one, sizeof one);
    return fd;
}

// Bytes read at one moment, to be written once their time has come.
struct Chunk {
    Clock::time_point due;
    std::string bytes;
    size_t written = 0;
    bool end = false;   // the sender closed its side here
};

// One direction of one connection.
struct Direction {
    int from = -1;
    int to = -1;
    Clock::duration delay{};
    std::deque<Chunk> queue;
    bool readClosed = false;    // nothing more to read from `from`
    bool writeClosed = false;   // `to` was shut down for writing
    bool broken = false;        // `to` refused a write: the pair ends
    size_t queued = 0;          // bytes read and not yet written
};

// Reading pauses while this much waits in one direction, so that a receiver
// that does not read cannot grow the relay without bound.
constexpr size_t kMaxQueued = 16u << 20;

struct Pair {
    int client = -1;
    int server = -1;
    Direction up;     // client to server
    Direction down;   // server to client
    bool done() const
    {
        const auto finished = [](const Direction& d) { return d.broken || d.writeClosed; };
        return up.broken || down.broken || (finished(up) && finished(down));
    }
};

// Reads what is there into the queue, stamped with its release time.
void readSide(Direction& d)
{
    char buf[65536];
    for (;;) {
        const ssize_t n = read(d.from, buf, sizeof buf);
        if (n > 0) {
            d.queue.push_back(Chunk{Clock::now() + d.delay, std::string(buf, static_cast<size_t>(n))});
            d.queued += static_cast<size_t>(n);
            if (d.queued >= kMaxQueued)
                return;
            continue;
        }
        if (n == 0 || (errno != EAGAIN && errno != EWOULDBLOCK && errno != EINTR)) {
            d.readClosed = true;
            d.queue.push_back(Chunk{Clock::now() + d.delay, std::string(), 0, true});
        }
        if (n < 0 && errno == EINTR)
            continue;
        return;
    }
}

// Writes every chunk whose time has come, in order.
void writeSide(Direction& d, Clock::time_point now)
{
    while (!d.queue.empty() && d.queue.front().due <= now && !d.broken) {
        Chunk& c = d.queue.front();
        if (c.end) {
            shutdown(d.to, SHUT_WR);
            d.writeClosed = true;
            d.queue.pop_front();
            continue;
        }
        const ssize_t n = send(d.to, c.bytes.data() + c.written, c.bytes.size() - c.written, MSG_NOSIGNAL);
        if (n < 0) {
            if (errno == EAGAIN || errno == EWOULDBLOCK || errno == EINTR)
                return;
            d.broken = true;
            return;
        }
        c.written += static_cast<size_t>(n);
        d.queued -= static_cast<size_t>(n);
        if (c.written < c.bytes.size())
            return;
        d.queue.pop_front();
    }
}

long parseMs(const char* text)
{
    char* end = nullptr;
    const long v = std::strtol(text, &end, 10);
    if (*text == '\0' || *end != '\0' || v < 0 || v > 3600000)
        die(std::string("a delay is 0 to 3600000 ms: ") + text);
    return v;
}

void usage()
{
    std::fputs("Usage: delay_relay --listen ENDPOINT --connect ENDPOINT [--delay-ms N]\n"
               "                   [--to-server-ms N] [--to-client-ms N]\n"
               "ENDPOINT: unix:PATH or tcp:HOST:PORT (HOST a loopback address).\n"
               "--delay-ms sets both directions; the others set one each.\n",
               stderr);
}

} // namespace

int main(int argc, char** argv)
{
    std::string listenText, connectText;
    long toServerMs = 0, toClientMs = 0;
    for (int i = 1; i < argc; ++i) {
        const std::string a = argv[i];
        const bool hasValue = i + 1 < argc;
        if (a == "--help" || a == "-h") {
            usage();
            return 0;
        }
        if (!hasValue) {
            usage();
            return 2;
        }
        const char* v = argv[++i];
        if (a == "--listen")
            listenText = v;
        else if (a == "--connect")
            connectText = v;
        else if (a == "--delay-ms")
            toServerMs = toClientMs = parseMs(v);
        else if (a == "--to-server-ms")
            toServerMs = parseMs(v);
        else if (a == "--to-client-ms")
            toClientMs = parseMs(v);
        else {
            usage();
            return 2;
        }
    }
    if (listenText.empty() || connectText.empty()) {
        usage();
        return 2;
    }
    const Endpoint listenAt = parseEndpoint(listenText);
    const Endpoint target = parseEndpoint(connectText);

    struct sigaction sa {};
    sa.sa_handler = onStop;
    sigaction(SIGTERM, &sa, nullptr);
    sigaction(SIGINT, &sa, nullptr);
    signal(SIGPIPE, SIG_IGN);

    std::string shown;
    const int listener = listenOn(listenAt, shown);
    setNonBlocking(listener);
    std::printf("listening on %s\n", shown.c_str());
    std::fflush(stdout);

    std::vector<std::unique_ptr<Pair>> pairs;
    while (!g_stop) {
        std::vector<pollfd> fds{{listener, POLLIN, 0}};
        auto now = Clock::now();
        auto next = now + std::chrono::hours(1);
        for (auto& p : pairs) {
            for (Direction* d : {&p->up, &p->down}) {
                if (!d->readClosed && d->queued < kMaxQueued)
                    fds.push_back({d->from, POLLIN, 0});
                if (!d->queue.empty()) {
                    if (d->queue.front().due <= now)
                        fds.push_back({d->to, POLLOUT, 0});
                    else if (d->queue.front().due < next)
                        next = d->queue.front().due;
                }
            }
        }
        const auto wait = std::chrono::duration_cast<std::chrono::milliseconds>(next - now).count();
        const int rc = poll(fds.data(), fds.size(), static_cast<int>(wait < 0 ? 0 : wait + 1));
        if (rc < 0 && errno != EINTR)
            die(std::string("poll: ") + std::strerror(errno));
        if (fds[0].revents & POLLIN) {
            for (;;) {
                const int client = accept4(listener, nullptr, nullptr, SOCK_CLOEXEC);
                if (client < 0)
                    break;
                const int server = connectTo(target);
                if (server < 0) {
                    std::fprintf(stderr, "delay_relay: cannot reach %s: %s\n", connectText.c_str(),
                                 std::strerror(errno));
                    close(client);
                    continue;
                }
                setNonBlocking(client);
                setNonBlocking(server);
                auto p = std::make_unique<Pair>();
                p->client = client;
                p->server = server;
                p->up.from = client;
                p->up.to = server;
                p->up.delay = std::chrono::milliseconds(toServerMs);
                p->down.from = server;
                p->down.to = client;
                p->down.delay = std::chrono::milliseconds(toClientMs);
                pairs.push_back(std::move(p));
            }
        }
        // Read everything that is there first, then release what is due.
        for (auto& p : pairs) {
            for (Direction* d : {&p->up, &p->down})
                if (!d->readClosed && d->queued < kMaxQueued)
                    readSide(*d);
        }
        now = Clock::now();
        for (auto& p : pairs) {
            writeSide(p->up, now);
            writeSide(p->down, now);
        }
        for (auto it = pairs.begin(); it != pairs.end();) {
            if ((*it)->done()) {
                close((*it)->client);
                close((*it)->server);
                it = pairs.erase(it);
            } else {
                ++it;
            }
        }
    }
    for (auto& p : pairs) {
        close(p->client);
        close(p->server);
    }
    close(listener);
    if (listenAt.isUnix)
        unlink(listenAt.path.c_str());
    return 0;
}
