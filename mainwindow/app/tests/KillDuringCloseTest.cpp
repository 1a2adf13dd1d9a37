// Killed while it closes, the panel loses no file: the real zentor (stand in
// process, offscreen) is started again and again, asked to close (SIGTERM, the
// orderly close that writes every settings file) and killed with SIGKILL at a
// random moment of that close. After every kill each file is one of the whole
// versions a finished close writes, never empty or torn, and the next start
// reaches the connected panel.
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
        QByteArray err;
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
};

// A main INI of the operator's with lines of its own: a comment, a section
// the panel never writes, CR LF line ends. A close keeps them as they stand.
const QByteArray kOperatorsIni = "; written by hand\r\n"
                                 "[Form_Position]\r\n"
                                 "Top=0\r\nLeft=0\r\nWidth=12600\r\nHeight=8400\r\n"
                                 "[Operator Notes]\r\n"
                                 "Slide=kidney section 4\r\n";

} // namespace

TEST(KillDuringClose, EveryFileIsOldOrNewAndTheNextStartConnects)
{
    writeAll(SettingsPaths::MainIni(), kOperatorsIni);

    // Two finished closes: what they leave is the whole version of each file
    // (the second close finds the first one's files and writes them again).
    std::map<QString, std::set<QByteArray>> whole;
    // The quicker of the two closes: on a loaded machine one close may take
    // several times its usual length, and kills spread over that length
    // would mostly fall after the close.
    qint64 closeMs = -1;
    for (int run = 0; run < 2; ++run) {
        Panel panel;
        QString why;
        ASSERT_TRUE(panel.startConnected(why)) << why.toStdString();
        QElapsedTimer t;
        t.start();
        panel.terminate();
        ASSERT_TRUE(panel.waitEnded());
        ASSERT_TRUE(panel.endedNormally());
        closeMs = closeMs < 0 ? t.elapsed() : std::min(closeMs, t.elapsed());
        for (const QString& f : watchedFiles())
            whole[f].insert(readAll(f));
    }
    for (const QString& f : watchedFiles()) {
        ASSERT_EQ(whole[f].size(), 1u) << f.toStdString() << ": two finished closes wrote different files";
        const QByteArray content = *whole[f].begin();
        ASSERT_FALSE(content.isEmpty()) << f.toStdString();
        ASSERT_NE(content, QByteArray("<missing>")) << f.toStdString();
    }
    const QByteArray ini = *whole[SettingsPaths::MainIni()].begin();
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
            EXPECT_TRUE(whole[f].count(now) == 1)
                << f.toStdString() << " after a kill " << afterMs << " ms into the close (seed " << seed
                << ") is neither old nor new: " << now.size() << " bytes";
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

int main(int argc, char** argv)
{
    QCoreApplication app(argc, argv);
    ::testing::InitGoogleTest(&argc, argv);
    return RUN_ALL_TESTS();
}
