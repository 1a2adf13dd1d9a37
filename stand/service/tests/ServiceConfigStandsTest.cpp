// The service process with stands a lab and a user installed in the XDG
// configuration folders: served after the shipped ones, a damaged one
// reported in the log with its file while the others are served, and the
// log's levels as the journal reads them.
#include "ServiceProcess.h"
#include "core/service/dbus/BusLayout.h"
#include "core/service/dbus/DBusMicroscopeService.h"
#include "stand/service/ServiceLog.h"

#include "StandFiles.h"

#include <QDir>
#include <QFile>
#include <QProcess>
#include <QProcessEnvironment>
#include <QTemporaryDir>
#include <gtest/gtest.h>

#include <sys/stat.h>
#include <unistd.h>

namespace {

using standfiles::stand;
using standfiles::write;

// Set as JOURNAL_STREAM, names the log file as the journal's stream is named.
const QString kThisLog = QStringLiteral("named by the log file");

// A service started with this environment and command; its standard error
// goes to a file, read once it has stopped.
class RunningService {
public:
    RunningService(const QTemporaryDir& tmp, const QProcessEnvironment& env, const QString& program,
                   const QStringList& args)
        : m_log(tmp.filePath(QStringLiteral("service.log")))
    {
        QProcessEnvironment e = env;
        QFile(m_log).open(QIODevice::WriteOnly); // exists before it starts: a journal stream is named by it
        if (e.value(QStringLiteral("JOURNAL_STREAM")) == kThisLog) {
            struct stat st {};
            ::stat(QFile::encodeName(m_log).constData(), &st);
            e.insert(QStringLiteral("JOURNAL_STREAM"), QStringLiteral("%1:%2").arg(st.st_dev).arg(st.st_ino));
        }
        m_process.setProcessEnvironment(e);
        m_process.setStandardErrorFile(m_log, QIODevice::Append);
        m_process.start(program, args);
        m_started = m_process.waitForStarted(10000) &&
                    ServiceProcess::waitForName(ZentorBus::FiberService, true, 20000);
    }
    ~RunningService() { stop(); }
    bool started() const { return m_started; }
    QString log()
    {
        stop();
        QFile f(m_log);
        f.open(QIODevice::ReadOnly);
        return QString::fromLocal8Bit(f.readAll());
    }

private:
    void stop()
    {
        if (m_process.state() == QProcess::NotRunning)
            return;
        m_process.terminate();
        if (!m_process.waitForFinished(10000)) {
            m_process.kill();
            m_process.waitForFinished();
        }
        ServiceProcess::waitForName(ZentorBus::MicroscopeService, false);
    }

    QString m_log;
    QProcess m_process;
    bool m_started = false;
};

QProcessEnvironment configuredIn(const QTemporaryDir& tmp)
{
    QProcessEnvironment env = QProcessEnvironment::systemEnvironment();
    env.insert(QStringLiteral("XDG_CONFIG_DIRS"), tmp.filePath(QStringLiteral("etc-xdg")));
    env.insert(QStringLiteral("XDG_CONFIG_HOME"), tmp.filePath(QStringLiteral("config")));
    env.insert(QStringLiteral("XDG_STATE_HOME"), tmp.filePath(QStringLiteral("state")));
    env.remove(QStringLiteral("JOURNAL_STREAM"));
    return env;
}

const QStringList kArgs{QStringLiteral("--speed"), QStringLiteral("0")};

} // namespace

TEST(ServiceConfigStands, TheLabsAndTheUsersStandsAreServedAfterTheShippedOnes)
{
    QTemporaryDir tmp;
    const QString shipped = tmp.filePath(QStringLiteral("shipped"));
    write(shipped + QStringLiteral("/full-system.json"), stand("Shipped Full"));
    write(tmp.filePath(QStringLiteral("etc-xdg/zentor/stands/lab.json")), stand("Lab Stand"));
    write(tmp.filePath(QStringLiteral("config/zentor/stands/mine.json")), stand("My Stand"));

    RunningService service(tmp, configuredIn(tmp), ServiceProcess::executable(),
                           kArgs + QStringList{QStringLiteral("--descriptions-dir"), shipped});
    ASSERT_TRUE(service.started()) << service.log().toStdString();
    DBusMicroscopeService client;
    EXPECT_EQ(client.GetDeviceNames(), (QStringList{QStringLiteral("Simulated Microscope"), QStringLiteral("Shipped Full"),
                                                    QStringLiteral("Lab Stand"), QStringLiteral("My Stand")}));
    // A stand of the lab is a microscope like any other.
    client.Connect(2);
    EXPECT_EQ(client.DeviceStatus(UnitIndex::Q7s), 1);
}

TEST(ServiceConfigStands, ADamagedStandThereIsReportedWithItsFileAndTheOthersAreServed)
{
    QTemporaryDir tmp;
    const QString user = tmp.filePath(QStringLiteral("config/zentor/stands"));
    write(user + QStringLiteral("/good.json"), stand("Good Stand"));
    write(user + QStringLiteral("/broken.json"), "{ \"name\": ");
    ASSERT_EQ(::mkfifo(QFile::encodeName(user + QStringLiteral("/fifo.json")).constData(), 0600), 0);
    ASSERT_TRUE(QFile::link(QStringLiteral("/dev/zero"), user + QStringLiteral("/zero.json")));
    // Where the lab's folder should be, a file.
    write(tmp.filePath(QStringLiteral("etc-xdg/zentor/stands")), "not a folder");

    RunningService service(tmp, configuredIn(tmp), ServiceProcess::executable(), kArgs);
    ASSERT_TRUE(service.started()) << service.log().toStdString();
    DBusMicroscopeService client;
    EXPECT_EQ(client.GetDeviceNames(), (QStringList{QStringLiteral("Simulated Microscope"), QStringLiteral("Good Stand")}));
    const QString log = service.log();
    for (const char* bad : {"broken.json", "fifo.json", "zero.json"})
        EXPECT_TRUE(log.contains(QStringLiteral("warning: Stand description %1/%2").arg(user, QLatin1String(bad))))
            << bad << " not reported:\n" << log.toStdString();
    EXPECT_TRUE(log.contains(tmp.filePath(QStringLiteral("etc-xdg/zentor/stands")) + QStringLiteral(" is not a folder")))
        << log.toStdString();
}

TEST(ServiceConfigStands, AnUnreadableFolderOrFileIsReportedAndTheOthersAreServed)
{
    QTemporaryDir tmp;
    const QString lab = tmp.filePath(QStringLiteral("etc-xdg/zentor/stands"));
    write(lab + QStringLiteral("/lab.json"), stand("Lab Stand"));
    ASSERT_TRUE(QFile::setPermissions(lab, QFileDevice::Permissions()));
    const QString user = tmp.filePath(QStringLiteral("config/zentor/stands"));
    write(user + QStringLiteral("/good.json"), stand("Good Stand"));
    write(user + QStringLiteral("/locked.json"), stand("Locked Stand"));
    ASSERT_TRUE(QFile::setPermissions(user + QStringLiteral("/locked.json"), QFileDevice::Permissions()));

    // Root reads everything: the service runs without that override, as an
    // ordinary user's would.
    QString program = ServiceProcess::executable();
    QStringList args = kArgs;
    if (::geteuid() == 0) {
        args = QStringList{QStringLiteral("--bounding-set=-dac_override,-dac_read_search"), QStringLiteral("--"), program} +
               args;
        program = QStringLiteral("setpriv");
    }
    RunningService service(tmp, configuredIn(tmp), program, args);
    const bool started = service.started();
    const QString log = service.log();
    QFile::setPermissions(lab, QFileDevice::ReadOwner | QFileDevice::WriteOwner | QFileDevice::ExeOwner);
    ASSERT_TRUE(started) << log.toStdString();
    EXPECT_TRUE(log.contains(QStringLiteral("the stand folder %1 cannot be read (Permission denied)").arg(lab)))
        << log.toStdString();
    EXPECT_TRUE(log.contains(QStringLiteral("Stand description %1/locked.json").arg(user))) << log.toStdString();
    EXPECT_TRUE(log.contains(QStringLiteral("\"Good Stand\""))) << log.toStdString();
    EXPECT_FALSE(log.contains(QStringLiteral("\"Lab Stand\""))) << log.toStdString();
}

TEST(ServiceLog, UnderTheJournalEveryLineCarriesItsLevel)
{
    QTemporaryDir tmp;
    write(tmp.filePath(QStringLiteral("config/zentor/stands/broken.json")), "{ \"name\": ");
    QProcessEnvironment env = configuredIn(tmp);
    env.insert(QStringLiteral("JOURNAL_STREAM"), kThisLog);
    RunningService service(tmp, env, ServiceProcess::executable(), kArgs);
    ASSERT_TRUE(service.started()) << service.log().toStdString();
    const QString log = service.log();
    EXPECT_TRUE(log.contains(QStringLiteral("\n<6>serving org.zentor.Microscope")) ||
                log.startsWith(QStringLiteral("<6>serving org.zentor.Microscope")))
        << log.toStdString();
    EXPECT_TRUE(log.contains(QStringLiteral("<4>warning: Stand description "))) << log.toStdString();
    EXPECT_FALSE(log.contains(QStringLiteral("zentor-service: "))) << log.toStdString();
    for (const QString& line : log.split('\n', Qt::SkipEmptyParts))
        EXPECT_TRUE(line.startsWith('<')) << "a line without its level: " << line.toStdString();
}

TEST(ServiceLog, OnATerminalOrInAFileTheLinesNameTheProgramAndTheLevel)
{
    QTemporaryDir tmp;
    write(tmp.filePath(QStringLiteral("config/zentor/stands/broken.json")), "{ \"name\": ");
    QProcessEnvironment env = configuredIn(tmp);
    // A journal stream inherited from a parent is not this process's.
    env.insert(QStringLiteral("JOURNAL_STREAM"), QStringLiteral("8:12345"));
    RunningService service(tmp, env, ServiceProcess::executable(), kArgs);
    ASSERT_TRUE(service.started()) << service.log().toStdString();
    const QString log = service.log();
    EXPECT_TRUE(log.contains(QStringLiteral("zentor-service: serving org.zentor.Microscope"))) << log.toStdString();
    EXPECT_TRUE(log.contains(QStringLiteral("zentor-service: warning: Stand description "))) << log.toStdString();
    EXPECT_FALSE(log.contains(QStringLiteral("<4>"))) << log.toStdString();
}

TEST(ServiceLog, OneMessageIsOneLine)
{
    EXPECT_EQ(ServiceLog::line(ServiceLog::Level::Error, QStringLiteral("two\nlines"), true),
              QByteArray("<3>error: two lines\n"));
    EXPECT_EQ(ServiceLog::line(ServiceLog::Level::Warning, QStringLiteral("w"), false),
              QByteArray("zentor-service: warning: w\n"));
    EXPECT_EQ(ServiceLog::line(ServiceLog::Level::Info, QStringLiteral("i"), true), QByteArray("<6>i\n"));
}
