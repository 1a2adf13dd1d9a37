// Killed while it closes, the panel loses no file: the real zentor (stand in
// process, offscreen) is started again and again from the same files, asked
// to close (SIGTERM, the orderly close that writes every settings file) and
// killed with SIGKILL at a random moment of that close. After every kill each
// file is either as it was before the close or as a finished close leaves it,
// never a mix of old and new values, never empty or torn, and the next start
// reaches the connected panel. Files that are no files (pipes, links to
// devices) neither hold up the start nor the close.
#include "core/settings/SettingsPaths.h"
#include "models/optics/FilterColorFile.h"

#include <QCoreApplication>
#include <QDeadlineTimer>
#include <QDir>
#include <QElapsedTimer>
#include <QFile>
#include <QFileInfo>
#include <QProcess>
#include <QStandardPaths>
#include <QThread>
#include <gtest/gtest.h>

#include <csignal>
#include <map>
#include <sys/stat.h>
#include <unistd.h>
#include <random>
#include <set>

namespace {

QByteArray readAll(const QString& path)
{
    QFile f(path);
    if (!f.open(QIODevice::ReadOnly))
        return QByteArray("<missing>");
    return f.readAll();
}

void writeAll(const QString& path, const QByteArray& bytes)
{
    QDir().mkpath(QFileInfo(path).absolutePath());
    QFile f(path);
    ASSERT_TRUE(f.open(QIODevice::WriteOnly | QIODevice::Truncate));
    f.write(bytes);
}

// The per-user store of the three link settings (QSettings, native format).
QString linkStorePath()
{
    return QStandardPaths::writableLocation(QStandardPaths::GenericConfigLocation) +
           QStringLiteral("/Zentor/Zentor.conf");
}

QStringList watchedFiles()
{
    return {SettingsPaths::MainIni(), FilterColor_Path(), linkStorePath()};
}

QByteArray native(const QString& path) { return QFile::encodeName(path); }

class Panel {
public:
    Panel()
    {
        QProcessEnvironment env = QProcessEnvironment::systemEnvironment();
        env.insert(QStringLiteral("QT_QPA_PLATFORM"), QStringLiteral("offscreen"));
        env.insert(QStringLiteral("ZENTOR_SERVICE"), QStringLiteral("inprocess"));
        env.insert(QStringLiteral("ZENTOR_STAND_SPEED"), QStringLiteral("0"));
        env.insert(QStringLiteral("ZENTOR_PRINT_CAPTION"), QStringLiteral("1"));
        m_process.setProcessEnvironment(env);
        m_process.setProgram(QStringLiteral(ZENTOR_EXE));
        m_process.setArguments({QStringLiteral("/SIM")});
    }
    ~Panel()
    {
        if (m_process.state() != QProcess::NotRunning) {
            m_process.kill();
            m_process.waitForFinished(10000);
        }
    }
    // Starts the panel; true once it has printed its connected caption.
    bool startConnected(QString& why)
    {
        m_process.start();
        if (!m_process.waitForStarted(10000)) {
            why = m_process.errorString();
            return false;
        }
        QByteArray& err = m_err;
        QDeadlineTimer deadline(30000);
        while (!deadline.hasExpired()) {
            m_process.setReadChannel(QProcess::StandardError);
            m_process.waitForReadyRead(100);
            err += m_process.readAllStandardError();
            if (err.contains("caption: Zentor  [ "))
                return true;
            if (m_process.state() == QProcess::NotRunning)
                break;
        }
        why = QString::fromLocal8Bit(err.right(400));
        return false;
    }
    // What it has said on standard error until now.
    QString said()
    {
        m_err += m_process.readAllStandardError();
        return QString::fromLocal8Bit(m_err);
    }
    void terminate() { ::kill(static_cast<pid_t>(m_process.processId()), SIGTERM); }
    void killNow()
    {
        if (m_process.state() != QProcess::NotRunning)
            ::kill(static_cast<pid_t>(m_process.processId()), SIGKILL);
    }
    bool waitEnded() { return m_process.waitForFinished(30000); }
    bool endedNormally() const
    {
        return m_process.exitStatus() == QProcess::NormalExit && m_process.exitCode() == 0;
    }

private:
    QProcess m_process;
    QByteArray m_err;
};

// A main INI of the operator's with lines of its own: a comment, a section
// the panel never writes, CR LF line ends. A close keeps them as they stand.
const QByteArray kOperatorsIni = "; written by hand\r\n"
                                 "[Form_Position]\r\n"
                                 "Top=0\r\nLeft=0\r\nWidth=12600\r\nHeight=8400\r\n"
                                 "[Operator Notes]\r\n"
                                 "Slide=kidney section 4\r\n";

} // namespace

// The files as the operator left them before each run: the main INI of
// kOperatorsIni, no colour file, no link settings.
void operatorsFiles()
{
    writeAll(SettingsPaths::MainIni(), kOperatorsIni);
    QFile::remove(FilterColor_Path());
    QFile::remove(linkStorePath());
}

std::map<QString, QByteArray> filesNow()
{
    std::map<QString, QByteArray> now;
    for (const QString& f : watchedFiles())
        now[f] = readAll(f);
    return now;
}

TEST(KillDuringClose, EveryFileIsAllOldOrAllNewAndTheNextStartConnects)
{
    // Two finished closes from the same files: what they leave is the new
    // version of each file; it must differ from the old one, or the kills
    // below would prove nothing.
    std::map<QString, QByteArray> before, after;
    // The quicker of the two closes: on a loaded machine one close may take
    // several times its usual length, and kills spread over that length
    // would mostly fall after the close.
    qint64 closeMs = -1;
    for (int run = 0; run < 2; ++run) {
        operatorsFiles();
        Panel panel;
        QString why;
        ASSERT_TRUE(panel.startConnected(why)) << why.toStdString();
        before = filesNow();
        QElapsedTimer t;
        t.start();
        panel.terminate();
        ASSERT_TRUE(panel.waitEnded());
        ASSERT_TRUE(panel.endedNormally());
        closeMs = closeMs < 0 ? t.elapsed() : std::min(closeMs, t.elapsed());
        const std::map<QString, QByteArray> now = filesNow();
        if (run == 1) {
            ASSERT_EQ(now, after) << "two finished closes from the same files wrote different files";
        }
        after = now;
    }
    for (const QString& f : watchedFiles()) {
        ASSERT_NE(after[f], before[f]) << f.toStdString() << ": the close changed nothing";
        ASSERT_FALSE(after[f].isEmpty()) << f.toStdString();
        ASSERT_NE(after[f], QByteArray("<missing>")) << f.toStdString();
    }
    ASSERT_EQ(before[SettingsPaths::MainIni()], kOperatorsIni);
    const QByteArray ini = after[SettingsPaths::MainIni()];
    EXPECT_TRUE(ini.startsWith("; written by hand\r\n[Form_Position]\r\n")) << ini.toStdString();
    EXPECT_TRUE(ini.contains("[Operator Notes]\r\nSlide=kidney section 4\r\n")) << ini.toStdString();

    // Kills at random moments from the request to close to a little after
    // a close normally ends.
    std::random_device seeder;
    const unsigned seed = seeder();
    std::mt19937 random(seed);
    std::uniform_int_distribution<int> moment(0, static_cast<int>(closeMs + closeMs / 2 + 5));
    const int kills = 25;
    int killedMidway = 0;
    for (int i = 0; i < kills; ++i) {
        operatorsFiles();
        Panel panel;
        QString why;
        ASSERT_TRUE(panel.startConnected(why))
            << "start " << i << " after a kill did not reach the connected panel (seed " << seed
            << "): " << why.toStdString();
        const int afterMs = moment(random);
        panel.terminate();
        QThread::usleep(static_cast<unsigned long>(afterMs) * 1000UL);
        panel.killNow();
        ASSERT_TRUE(panel.waitEnded());
        if (!panel.endedNormally())
            ++killedMidway;
        for (const QString& f : watchedFiles()) {
            const QByteArray now = readAll(f);
            EXPECT_TRUE(now == before[f] || now == after[f])
                << f.toStdString() << " after a kill " << afterMs << " ms into the close (seed " << seed
                << ") is neither all old nor all new: " << now.size() << " bytes\n" << now.toStdString();
        }
    }
    // Enough moments must have fallen inside closes, or nothing was tried; how
    // many do depends on the machine's load, so only a few are asked for.
    EXPECT_GE(killedMidway, kills / 8) << "close takes " << closeMs << " ms";
    Panel last;
    QString why;
    EXPECT_TRUE(last.startConnected(why)) << why.toStdString();
}

TEST(DamagedFilesAtStart, EmptyOrGarbledSettingsGiveTheirDefaultsAndTheStartConnects)
{
    const QByteArray garbage("\x00\xff[[[=\r\r\n=]\x01\x02Top=\xfe\xfe\n[Form_Position\nWidth=-99999999999\n", 49);
    for (const QByteArray& bad : {QByteArray(), garbage}) {
        writeAll(SettingsPaths::MainIni(), bad);
        writeAll(linkStorePath(), bad);
        writeAll(SettingsPaths::CameraIni(), bad);
        writeAll(SettingsPaths::SetupIni(), bad);
        Panel panel;
        QString why;
        EXPECT_TRUE(panel.startConnected(why)) << bad.size() << " bytes: " << why.toStdString();
        panel.terminate();
        ASSERT_TRUE(panel.waitEnded());
        EXPECT_TRUE(panel.endedNormally());
        // The close wrote a main INI that a later start reads.
        EXPECT_TRUE(readAll(SettingsPaths::MainIni()).contains("[Form_Position]"));
    }
}


TEST(SpecialFilesAtStart, PipesAndDevicesInThePlaceOfSettingsFilesAreToldAndPassedOver)
{
    const QString mainIni = SettingsPaths::MainIni();
    const QString cameraIni = SettingsPaths::CameraIni();
    const QString setupIni = SettingsPaths::SetupIni();
    const QString colours = FilterColor_Path();
    const QString links = linkStorePath();
    for (const QString& f : {mainIni, cameraIni, setupIni, colours, links}) {
        QFile::remove(f);
        QDir().mkpath(QFileInfo(f).absolutePath());
    }
    ASSERT_EQ(::mkfifo(native(mainIni).constData(), 0600), 0);
    ASSERT_EQ(::symlink("/dev/zero", native(cameraIni).constData()), 0);
    ASSERT_EQ(::mkfifo(native(setupIni).constData(), 0600), 0);
    ASSERT_EQ(::mkfifo(native(colours).constData(), 0600), 0);
    ASSERT_EQ(::mkfifo(native(links).constData(), 0600), 0);

    Panel panel;
    QString why;
    ASSERT_TRUE(panel.startConnected(why)) << why.toStdString();
    panel.terminate();
    ASSERT_TRUE(panel.waitEnded());
    EXPECT_TRUE(panel.endedNormally());
    const QString said = panel.said();
    for (const QString& f : {mainIni, cameraIni, colours, links})
        EXPECT_TRUE(said.contains(f)) << f.toStdString() << " was not told:\n" << said.toStdString();
    EXPECT_TRUE(said.contains(QStringLiteral("named pipe"))) << said.toStdString();
    EXPECT_TRUE(said.contains(QStringLiteral("/dev/zero, which is a character device"))) << said.toStdString();
    // Each is still what it was: nothing was written through or over them.
    struct stat st {};
    for (const QString& f : {mainIni, setupIni, colours, links}) {
        ASSERT_EQ(::lstat(native(f).constData(), &st), 0);
        EXPECT_TRUE(S_ISFIFO(st.st_mode)) << f.toStdString();
    }
    EXPECT_TRUE(QFileInfo(cameraIni).isSymLink());
    for (const QString& f : {mainIni, cameraIni, setupIni, colours, links})
        QFile::remove(f);
}

int main(int argc, char** argv)
{
    QCoreApplication app(argc, argv);
    ::testing::InitGoogleTest(&argc, argv);
    return RUN_ALL_TESTS();
}
