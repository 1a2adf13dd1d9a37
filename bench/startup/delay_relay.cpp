// delay_relay LISTEN_PATH BUS_ADDRESS ONE_WAY_MS
// A unix-socket relay in front of a D-Bus bus that holds every chunk of bytes
// ONE_WAY_MS milliseconds in each direction, so that a client connected to
// LISTEN_PATH sees its bus twice that much further away (25 gives the 50 ms
// added round trip of an office to a lab across a campus or a VPN). Bytes go
// through unchanged and in order; the bus authenticates the relay's own
// connection, which is the same user's. Prints "ready" once it listens; runs
// until killed.
#include <algorithm>
#include <cerrno>
#include <cstddef>
#include <cstdlib>
#include <chrono>
#include <cstdio>
#include <cstring>
#include <deque>
#include <memory>
#include <poll.h>
#include <string>
#include <sys/socket.h>
#include <sys/un.h>
#include <unistd.h>
#include <vector>

namespace {

using Clock = std::chrono::steady_clock;

struct Chunk {
    Clock::time_point due;
    std::string bytes;
};

// One direction of one relayed connection.
struct Direction {
    int from = -1;
    int to = -1;
    std::deque<Chunk> held;
    bool ended = false;   // `from` has closed; `to` is shut once `held` is out
};

struct Pair {
    Direction up;     // client to bus
    Direction down;   // bus to client
    bool closed = false;
};

// The socket address of a D-Bus address "unix:path=..." or "unix:abstract=...".
bool busSocket(const std::string& address, sockaddr_un& sa, socklen_t& len)
{
    std::memset(&sa, 0, sizeof sa);
    sa.sun_family = AF_UNIX;
    for (const char* key : {"path=", "abstract="}) {
        const size_t at = address.find(key);
        if (at == std::string::npos)
            continue;
        std::string value = address.substr(at + std::strlen(key));
        value = value.substr(0, value.find(','));
        const bool abstract = key[0] == 'a';
        if (value.size() + 2 > sizeof sa.sun_path)
            return false;
        std::memcpy(sa.sun_path + (abstract ? 1 : 0), value.data(), value.size());
        len = static_cast<socklen_t>(offsetof(sockaddr_un, sun_path) + value.size() + (abstract ? 1 : 0));
        return true;
    }
    return false;
}

bool writeAll(int fd, const char* data, size_t size)
{
    while (size > 0) {
        const ssize_t n = ::write(fd, data, size);
        if (n < 0 && errno == EINTR)
            continue;
        if (n <= 0)
            return false;
        data += n;
        size -= static_cast<size_t>(n);
    }
    return true;
}

} // namespace

int main(int argc, char** argv)
{
    if (argc != 4) {
        std::fprintf(stderr, "usage: delay_relay LISTEN_PATH BUS_ADDRESS ONE_WAY_MS\n");
        return 2;
    }
    const std::string listenPath = argv[1];
    const auto delay = std::chrono::milliseconds(std::atoi(argv[3]));
    sockaddr_un bus{};
    socklen_t busLen = 0;
    if (!busSocket(argv[2], bus, busLen)) {
        std::fprintf(stderr, "delay_relay: not a unix D-Bus address: %s\n", argv[2]);
        return 2;
    }
    const int listener = ::socket(AF_UNIX, SOCK_STREAM | SOCK_CLOEXEC, 0);
    sockaddr_un here{};
    here.sun_family = AF_UNIX;
    if (listenPath.size() + 1 > sizeof here.sun_path) {
        std::fprintf(stderr, "delay_relay: the path %s is too long\n", listenPath.c_str());
        return 2;
    }
    std::memcpy(here.sun_path, listenPath.c_str(), listenPath.size());
    ::unlink(listenPath.c_str());
    if (::bind(listener, reinterpret_cast<sockaddr*>(&here), sizeof here) != 0 || ::listen(listener, 16) != 0) {
        std::perror("delay_relay: listen");
        return 1;
    }
    std::printf("ready\n");
    std::fflush(stdout);

    std::vector<std::unique_ptr<Pair>> pairs;
    std::vector<char> buffer(1 << 16);
    for (;;) {
        // Wake for new bytes, new clients, and the next chunk that is due.
        std::vector<pollfd> fds{{listener, POLLIN, 0}};
        std::vector<Direction*> owners{nullptr};
        int timeout = -1;
        const Clock::time_point now = Clock::now();
        for (auto& p : pairs) {
            for (Direction* d : {&p->up, &p->down}) {
                if (!d->ended) {
                    fds.push_back({d->from, POLLIN, 0});
                    owners.push_back(d);
                }
                if (!d->held.empty()) {
                    const auto wait = std::chrono::duration_cast<std::chrono::milliseconds>(d->held.front().due - now);
                    const int ms = wait.count() < 0 ? 0 : static_cast<int>(wait.count()) + 1;
                    timeout = timeout < 0 ? ms : std::min(timeout, ms);
                }
            }
        }
        if (::poll(fds.data(), fds.size(), timeout) < 0 && errno != EINTR) {
            std::perror("delay_relay: poll");
            return 1;
        }
        if (fds[0].revents & POLLIN) {
            const int client = ::accept4(listener, nullptr, nullptr, SOCK_CLOEXEC);
            const int upstream = ::socket(AF_UNIX, SOCK_STREAM | SOCK_CLOEXEC, 0);
            if (client >= 0 && ::connect(upstream, reinterpret_cast<sockaddr*>(&bus), busLen) == 0) {
                auto p = std::make_unique<Pair>();
                p->up.from = client;
                p->up.to = upstream;
                p->down.from = upstream;
                p->down.to = client;
                pairs.push_back(std::move(p));
            } else {
                if (client >= 0)
                    ::close(client);
                ::close(upstream);
            }
        }
        for (size_t i = 1; i < fds.size(); ++i) {
            if (!(fds[i].revents & (POLLIN | POLLHUP | POLLERR)))
                continue;
            Direction* d = owners[i];
            const ssize_t n = ::read(d->from, buffer.data(), buffer.size());
            if (n > 0)
                d->held.push_back({Clock::now() + delay, std::string(buffer.data(), static_cast<size_t>(n))});
            else if (n == 0 || (errno != EINTR && errno != EAGAIN))
                d->ended = true;
        }
        const Clock::time_point later = Clock::now();
        for (auto& p : pairs) {
            for (Direction* d : {&p->up, &p->down}) {
                while (!d->held.empty() && d->held.front().due <= later) {
                    if (!writeAll(d->to, d->held.front().bytes.data(), d->held.front().bytes.size()))
                        d->ended = true;
                    d->held.pop_front();
                }
                if (d->ended && d->held.empty())
                    p->closed = true;
            }
        }
        for (auto it = pairs.begin(); it != pairs.end();) {
            if ((*it)->closed) {
                ::close((*it)->up.from);
                ::close((*it)->up.to);
                it = pairs.erase(it);
            } else {
                ++it;
            }
        }
    }
}
