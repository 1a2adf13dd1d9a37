// The stand descriptions the service finds in the shipped folder and the XDG
// configuration folders: order, a file replacing another of its name, and
// what is reported and left out when a folder or a file cannot be used.
#include "stand/service/StandFolders.h"

#include "StandFiles.h"

#include <QDir>
#include <QFile>
#include <QTemporaryDir>
#include <gtest/gtest.h>

#include <sys/stat.h>
#include <unistd.h>

namespace {

using standfiles::stand;
using standfiles::write;

struct Collected {
    QStringList files;
    QStringList problems;
    QStringList notes;
};

Collected collect(const QStringList& folders)
{
    Collected c;
    c.files = StandFolders::collect(
        folders, [&c](const QString& t) { c.problems << t; }, [&c](const QString& t) { c.notes << t; });
    return c;
}

QStringList names(const QVector<StandDescription>& stands)
{
    QStringList out;
    for (const StandDescription& d : stands)
        out << d.name;
    return out;
}

bool mentions(const QStringList& lines, const QString& what)
{
    for (const QString& l : lines)
        if (l.contains(what))
            return true;
    return false;
}

} // namespace

TEST(StandFolders, ConfigFoldersAreTheXdgOnesLeastImportantFirst)
{
    qputenv("XDG_CONFIG_HOME", "/home/op/.config");
    qputenv("XDG_CONFIG_DIRS", "/etc/lab-first:/etc/xdg");
    const QStringList folders = StandFolders::configFolders();
    qunsetenv("XDG_CONFIG_DIRS");
    EXPECT_EQ(folders, (QStringList{QStringLiteral("/etc/xdg/zentor/stands"), QStringLiteral("/etc/lab-first/zentor/stands"),
                                    QStringLiteral("/home/op/.config/zentor/stands")}));
    // Unset, the system's folder is /etc/xdg.
    EXPECT_TRUE(StandFolders::configFolders().contains(QStringLiteral("/etc/xdg/zentor/stands")));
}

TEST(StandFolders, NewStandsFollowTheShippedOnesAndAMoreImportantFileTakesItsPlace)
{
    QTemporaryDir tmp;
    const QString shipped = tmp.filePath(QStringLiteral("shipped"));
    const QString lab = tmp.filePath(QStringLiteral("etc/zentor/stands"));
    const QString user = tmp.filePath(QStringLiteral("home/zentor/stands"));
    write(shipped + QStringLiteral("/full-system.json"), stand("Shipped Full"));
    write(shipped + QStringLiteral("/other.json"), stand("Shipped Other"));
    write(lab + QStringLiteral("/lab.json"), stand("Lab Stand"));
    write(lab + QStringLiteral("/full-system.json"), stand("Lab Full"));
    write(user + QStringLiteral("/full-system.json"), stand("My Full"));
    write(user + QStringLiteral("/a-mine.json"), stand("Mine"));
    write(user + QStringLiteral("/notes.txt"), "not a description");

    const Collected c = collect({shipped, lab, user, tmp.filePath(QStringLiteral("absent/zentor/stands"))});
    EXPECT_TRUE(c.problems.isEmpty()) << c.problems.join('\n').toStdString();
    const QVector<StandDescription> stands = StandFolders::loadEach(c.files, [](const QString&) {});
    // The shipped order first (a shipped stand keeps its index), new names after.
    EXPECT_EQ(names(stands), (QStringList{QStringLiteral("My Full"), QStringLiteral("Shipped Other"),
                                          QStringLiteral("Lab Stand"), QStringLiteral("Mine")}));
    EXPECT_EQ(c.files.first(), QDir(user).absoluteFilePath(QStringLiteral("full-system.json")));
    EXPECT_TRUE(mentions(c.notes, QStringLiteral("takes the place of"))) << c.notes.join('\n').toStdString();
}

TEST(StandFolders, FilesThatAreNoDescriptionAreReportedByNameAndLeftOut)
{
    QTemporaryDir tmp;
    const QString user = tmp.filePath(QStringLiteral("stands"));
    write(user + QStringLiteral("/good.json"), stand("Good Stand"));
    write(user + QStringLiteral("/broken.json"), "{ \"name\": ");
    write(user + QStringLiteral("/wrong-type.json"), "{ \"name\": 5, \"units\": [\"Q7s\"] }");
    ASSERT_EQ(::mkfifo(QFile::encodeName(user + QStringLiteral("/fifo.json")).constData(), 0600), 0);
    ASSERT_TRUE(QFile::link(tmp.filePath(QStringLiteral("nowhere.json")), user + QStringLiteral("/dangling.json")));
    ASSERT_TRUE(QFile::link(QStringLiteral("/dev/zero"), user + QStringLiteral("/zero.json")));
    ASSERT_TRUE(QDir().mkpath(user + QStringLiteral("/folder.json")));
    {
        QFile huge(user + QStringLiteral("/huge.json"));
        ASSERT_TRUE(huge.open(QIODevice::WriteOnly));
        ASSERT_TRUE(huge.resize(StandFolders::kMaxDescriptionBytes + 1));
    }

    const Collected c = collect({user});
    QStringList problems = c.problems;
    const QVector<StandDescription> stands =
        StandFolders::loadEach(c.files, [&problems](const QString& t) { problems << t; });
    EXPECT_EQ(names(stands), QStringList{QStringLiteral("Good Stand")});
    for (const char* bad : {"broken.json", "wrong-type.json", "fifo.json", "dangling.json", "zero.json", "folder.json",
                            "huge.json"})
        EXPECT_TRUE(mentions(problems, QDir(user).absoluteFilePath(QLatin1String(bad))))
            << bad << " not reported:\n" << problems.join('\n').toStdString();
    EXPECT_EQ(problems.size(), 7) << problems.join('\n').toStdString();
}

TEST(StandFolders, AFolderThatIsNoFolderOrCannotBeReadIsReportedAndTheOthersServed)
{
    QTemporaryDir tmp;
    const QString notAFolder = tmp.filePath(QStringLiteral("file-instead"));
    write(notAFolder, "a file where the folder should be");
    const QString user = tmp.filePath(QStringLiteral("user"));
    write(user + QStringLiteral("/mine.json"), stand("Mine"));

    Collected c = collect({notAFolder, user});
    EXPECT_EQ(c.files.size(), 1);
    EXPECT_TRUE(mentions(c.problems, notAFolder + QStringLiteral(" is not a folder"))) << c.problems.join('\n').toStdString();

    // A folder without read permission: root reads it anyway, so only an
    // ordinary user can see this refusal (the service test drops root's
    // override to see it).
    if (::geteuid() == 0)
        GTEST_SKIP() << "root reads every folder";
    const QString locked = tmp.filePath(QStringLiteral("locked"));
    write(locked + QStringLiteral("/lab.json"), stand("Lab"));
    ASSERT_TRUE(QFile::setPermissions(locked, QFileDevice::Permissions()));
    c = collect({locked, user});
    QFile::setPermissions(locked, QFileDevice::ReadOwner | QFileDevice::WriteOwner | QFileDevice::ExeOwner);
    EXPECT_EQ(c.files.size(), 1);
    EXPECT_TRUE(mentions(c.problems, locked + QStringLiteral(" cannot be read"))) << c.problems.join('\n').toStdString();
}
