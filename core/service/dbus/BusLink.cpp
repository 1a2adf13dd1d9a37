#include "core/service/dbus/BusLink.h"

#include "core/service/dbus/BusLayout.h"

#include <QDBusError>
#include <QDBusMessage>
#include <QDir>
#include <QElapsedTimer>
#include <QSocketNotifier>

#include <cerrno>
#include <chrono>
#include <condition_variable>
#include <csignal>
#include <cstdio>
#include <cstring>
#include <fcntl.h>
#include <mutex>
#include <poll.h>
#include <set>
#include <thread>
#include <vector>
#include <unistd.h>

namespace {

const QString kLocalPath = QStringLiteral("/org/freedesktop/DBus/Local");
const QString kLocalInterface = QStringLiteral("org.freedesktop.DBus.Local");

// The processes whose parent is `parent`, from /proc.
std::set<pid_t> childrenOf(pid_t parent)
{
    std::set<pid_t> children;
    const QStringList entries = QDir(QStringLiteral("/proc")).entryList(QDir::Dirs | QDir::NoDotAndDotDot);
    for (const QString& entry : entries) {
        bool isPid = false;
        const pid_t pid = entry.toInt(&isPid);
        if (!isPid)
            continue;
        char buf[512];
        FILE* f = std::fopen(QStringLiteral("/proc/%1/stat").arg(pid).toLatin1().constData(), "r");
        if (!f)
            continue;
        const size_t n = std::fread(buf, 1, sizeof buf - 1, f);
        std::fclose(f);
        buf[n] = '\0';
        // "pid (name) state ppid ...": the name may hold anything, so the
        // fields are read after its last ')'.
        const char* close = std::strrchr(buf, ')');
        char state = 0;
        int ppid = 0;
        if (close && std::sscanf(close + 1, " %c %d", &state, &ppid) == 2 && ppid == parent)
            children.insert(pid);
    }
    return children;
}

// Ends the programs the opening started (the bus library starts the
// address's program as a child of this process) when the opening has not
// finished in time; their end ends the opening.
class OpeningWatchdog {
public:
    explicit OpeningWatchdog(int timeoutMs)
        : m_before(childrenOf(::getpid())), m_thread([this, timeoutMs] { watch(timeoutMs); })
    {
    }
    ~OpeningWatchdog() { finish(); }
    void finish()
    {
        {
            std::lock_guard<std::mutex> lock(m_mutex);
            m_done = true;
        }
        m_wake.notify_all();
        if (m_thread.joinable())
            m_thread.join();
    }
    bool fired() const { return m_fired; }

private:
    void watch(int timeoutMs)
    {
        std::unique_lock<std::mutex> lock(m_mutex);
        if (m_wake.wait_for(lock, std::chrono::milliseconds(timeoutMs), [this] { return m_done; }))
            return;
        m_fired = true;
        endStarted(SIGTERM);
        if (m_wake.wait_for(lock, std::chrono::seconds(1), [this] { return m_done; }))
            return;
        endStarted(SIGKILL);
    }
    // The programs started meanwhile and everything they started: any of
    // them may hold the connection's socket.
    void endStarted(int signal)
    {
        std::vector<pid_t> todo;
        for (pid_t pid : childrenOf(::getpid()))
            if (!m_before.count(pid))
                todo.push_back(pid);
        while (!todo.empty()) {
            const pid_t pid = todo.back();
            todo.pop_back();
            for (pid_t child : childrenOf(pid))
                todo.push_back(child);
            ::kill(pid, signal);
        }
    }

    const std::set<pid_t> m_before;
    std::mutex m_mutex;
    std::condition_variable m_wake;
    bool m_done = false;
    bool m_fired = false;
    std::thread m_thread;
};

// Standard error goes into a pipe while the bus library starts the address's
// program, so that the program's messages can be read; the panel's own
// standard error comes back afterwards.
class CaughtStandardError {
public:
    CaughtStandardError()
    {
        // A panel started with its standard error closed: the pipe must not
        // take descriptor 2 for itself.
        if (::fcntl(STDERR_FILENO, F_GETFD) < 0) {
            const int null = ::open("/dev/null", O_WRONLY);
            if (null >= 0 && null != STDERR_FILENO) {
                ::dup2(null, STDERR_FILENO);
                ::close(null);
            }
        }
        int fds[2];
        if (::pipe2(fds, O_CLOEXEC) != 0)
            return;
        m_saved = ::fcntl(STDERR_FILENO, F_DUPFD_CLOEXEC, 3);
        std::fflush(stderr);
        // dup2 leaves close-on-exec off: the program inherits the pipe.
        ::dup2(fds[1], STDERR_FILENO);
        ::close(fds[1]);
        m_read = fds[0];
    }
    ~CaughtStandardError() { restore(); }
    // Gives the panel its standard error back; answers the pipe's read end.
    int restore()
    {
        if (m_saved >= 0) {
            std::fflush(stderr);
            ::dup2(m_saved, STDERR_FILENO);
            ::close(m_saved);
            m_saved = -1;
        }
        const int fd = m_read;
        m_read = -1;
        return fd;
    }

private:
    int m_saved = -1;
    int m_read = -1;
};

QString seconds(int ms) { return QString::number(ms / 1000.0, 'g', 3); }

} // namespace

BusLink::BusLink(const BusAddress::Place& place, QObject* parent)
    : QObject(parent), m_place(place), m_name(QStringLiteral("zentor-link"))
{
}

BusLink::~BusLink()
{
    if (m_connected)
        QDBusConnection::disconnectFromBus(m_name);
    if (m_outputFd >= 0)
        ::close(m_outputFd);
}

QDBusConnection BusLink::connection() const { return QDBusConnection(m_name); }

bool BusLink::open(int openTimeoutMs, int serviceTimeoutMs)
{
    m_error.clear();
    if (!connectBus(openTimeoutMs) || !checkService(serviceTimeoutMs)) {
        if (!m_error.isEmpty())
            m_error[0] = m_error.at(0).toUpper();
        return false;
    }
    connection().connect(QString(), kLocalPath, kLocalInterface, QStringLiteral("Disconnected"), this,
                         SLOT(onDisconnected()));
    // What the program said while the link opened was passed on; a later
    // loss is explained by what it says from now on.
    m_output.clear();
    return true;
}

bool BusLink::connectBus(int timeoutMs)
{
    QDBusConnection bus(m_name);
    {
        CaughtStandardError caught;
        OpeningWatchdog watchdog(timeoutMs);
        bus = QDBusConnection::connectToBus(m_place.address, m_name);
        watchdog.finish();
        m_outputFd = caught.restore();
        if (m_outputFd >= 0)
            ::fcntl(m_outputFd, F_SETFL, ::fcntl(m_outputFd, F_GETFL) | O_NONBLOCK);
        if (bus.isConnected()) {
            m_connected = true;
        } else {
            // The program has ended, or ends now: its last words explain.
            readOutput(1000);
            const QString words = lastWords();
            const QDBusError error = bus.lastError();
            if (watchdog.fired())
                m_error = QStringLiteral("%1 did not answer within %2 s: what came back was not D-Bus (is "
                                         "systemd-stdio-bridge there, and is the log-in free of scripts that "
                                         "print?)%3")
                              .arg(m_place.shownAs, seconds(timeoutMs),
                                   words.isEmpty() ? QString() : QStringLiteral(" ") + words);
            else if (!words.isEmpty())
                m_error = QStringLiteral("Cannot reach %1: %2").arg(m_place.shownAs, words);
            else if (error.type() == QDBusError::NoReply || error.type() == QDBusError::Disconnected)
                m_error = QStringLiteral("Cannot reach %1: what came back was not D-Bus (%2)")
                              .arg(m_place.shownAs, error.message());
            else
                m_error = QStringLiteral("Cannot reach %1: %2").arg(m_place.shownAs, error.message());
            QDBusConnection::disconnectFromBus(m_name);
            return false;
        }
    }
    if (m_outputFd >= 0) {
        m_notifier = new QSocketNotifier(m_outputFd, QSocketNotifier::Read, this);
        connect(m_notifier, &QSocketNotifier::activated, this, &BusLink::onProgramOutput);
    }
    return true;
}

bool BusLink::checkService(int timeoutMs)
{
    QDBusMessage ping = QDBusMessage::createMethodCall(ZentorBus::MicroscopeService, ZentorBus::ManagerPath,
                                                       ZentorBus::ManagerInterface, QStringLiteral("Ping"));
    const QDBusMessage reply = connection().call(ping, QDBus::Block, timeoutMs);
    if (reply.type() == QDBusMessage::ReplyMessage)
        return true;
    const QString name = reply.errorName();
    const QString text = reply.errorMessage();
    const QString computer = m_place.label.isEmpty() ? QStringLiteral("this computer") : m_place.label;
    if (!connection().isConnected()) {
        readOutput(1000);
        const QString words = lastWords();
        m_error = QStringLiteral("The link to %1 dropped: %2").arg(m_place.shownAs, words.isEmpty() ? text : words);
    } else if (name == QLatin1String("org.freedesktop.DBus.Error.ServiceUnknown")) {
        m_error = QStringLiteral("%1 has no microscope service (%2): zentor is not installed on %3, or that "
                                 "bus does not start it (%4)")
                      .arg(m_place.shownAs, ZentorBus::MicroscopeService, computer, text);
    } else if (name.startsWith(QLatin1String("org.freedesktop.DBus.Error.Spawn"))) {
        m_error = QStringLiteral("%1 could not start the microscope service: %2").arg(m_place.shownAs, text);
    } else if (name == QLatin1String("org.freedesktop.DBus.Error.NoReply") ||
               name == QLatin1String("org.freedesktop.DBus.Error.Timeout")) {
        m_error = QStringLiteral("The microscope service on %1 did not answer within %2 s")
                      .arg(m_place.shownAs, seconds(timeoutMs));
    } else {
        m_error = QStringLiteral("The microscope service on %1 answered %2: %3").arg(m_place.shownAs, name, text);
    }
    return false;
}

void BusLink::readOutput(int waitMs)
{
    if (m_outputFd < 0)
        return;
    QElapsedTimer clock;
    clock.start();
    for (;;) {
        char buf[4096];
        const ssize_t n = ::read(m_outputFd, buf, sizeof buf);
        if (n > 0) {
            // Passed on as written: the operator's terminal shows ssh's words.
            [[maybe_unused]] const ssize_t w = ::write(STDERR_FILENO, buf, static_cast<size_t>(n));
            m_partial.append(buf, static_cast<int>(n));
            int nl;
            while ((nl = m_partial.indexOf('\n')) >= 0) {
                const QString line = QString::fromLocal8Bit(m_partial.left(nl)).trimmed();
                m_partial.remove(0, nl + 1);
                if (!line.isEmpty())
                    m_output << line;
            }
            while (m_output.size() > 20)
                m_output.removeFirst();
            continue;
        }
        if (n == 0) {
            // The program has ended: nothing more will come.
            if (!m_partial.trimmed().isEmpty())
                m_output << QString::fromLocal8Bit(m_partial).trimmed();
            m_partial.clear();
            if (m_notifier)
                m_notifier->setEnabled(false);
            ::close(m_outputFd);
            m_outputFd = -1;
            return;
        }
        const int left = waitMs - static_cast<int>(clock.elapsed());
        if (errno == EINTR)
            continue;
        if (left <= 0)
            return;
        pollfd p{m_outputFd, POLLIN, 0};
        ::poll(&p, 1, left);
    }
}

QString BusLink::lastWords() const
{
    return m_output.isEmpty() ? QString() : m_output.last();
}

void BusLink::onProgramOutput()
{
    readOutput(0);
}

void BusLink::onDisconnected()
{
    if (m_lost)
        return;
    m_lost = true;
    // The program's farewell (ssh's reason) is written as it ends.
    readOutput(500);
    const QString words = lastWords();
    const QString why = words.isEmpty() ? QStringLiteral("the connection closed") : words;
    std::fprintf(stderr, "zentor: the link to %s is lost: %s\n", m_place.shownAs.toLocal8Bit().constData(),
                 why.toLocal8Bit().constData());
    std::fflush(stderr);
    emit lost(why);
}
