// The places of another computer's bus: what --host and ZENTOR_BUS_ADDRESS
// accept, what they refuse, and the ssh command line the address carries.
#include "core/service/dbus/BusAddress.h"

#include <dbus/dbus.h>
#include <gtest/gtest.h>

namespace {

// The program and arguments of a unixexec address, as the bus library reads
// them back.
QStringList execArguments(const QString& address, QString* path = nullptr)
{
    DBusError err;
    dbus_error_init(&err);
    DBusAddressEntry** entries = nullptr;
    int count = 0;
    const QByteArray utf8 = address.toUtf8();
    if (!dbus_parse_address(utf8.constData(), &entries, &count, &err)) {
        ADD_FAILURE() << "not an address: " << err.message;
        dbus_error_free(&err);
        return {};
    }
    QStringList args;
    EXPECT_EQ(count, 1);
    EXPECT_STREQ(dbus_address_entry_get_method(entries[0]), "unixexec");
    if (path)
        *path = QString::fromUtf8(dbus_address_entry_get_value(entries[0], "path"));
    for (int i = 0;; ++i) {
        const char* v = dbus_address_entry_get_value(entries[0], QByteArray("argv" + QByteArray::number(i)).constData());
        if (!v)
            break;
        args << QString::fromUtf8(v);
    }
    dbus_address_entries_free(entries);
    return args;
}

} // namespace

TEST(BusAddress, AHostBecomesSshToTheBridgeOfItsSessionBus)
{
    BusAddress::Place place;
    QString error;
    ASSERT_TRUE(BusAddress::fromHost(QStringLiteral("alice@lab-pc.example.org"), place, error)) << error.toStdString();
    QString path;
    const QStringList args = execArguments(place.address, &path);
    EXPECT_EQ(path, QStringLiteral("ssh"));   // the ssh found on PATH
    EXPECT_EQ(args, BusAddress::sshArguments(QStringLiteral("alice"), QStringLiteral("lab-pc.example.org")));
    // The destination follows "--", so nothing after it is read as an option.
    const int dashes = args.indexOf(QStringLiteral("--"));
    ASSERT_GT(dashes, 0);
    EXPECT_EQ(args.at(dashes + 1), QStringLiteral("alice@lab-pc.example.org"));
    EXPECT_EQ(args.at(dashes + 2), BusAddress::farCommand());
    EXPECT_EQ(args.size(), dashes + 3);
    // Never a prompt; forwardings cleared.
    EXPECT_TRUE(args.contains(QStringLiteral("BatchMode=yes")));
    EXPECT_TRUE(args.contains(QStringLiteral("ClearAllForwardings=yes")));
    EXPECT_EQ(place.label, QStringLiteral("lab-pc.example.org"));
    EXPECT_EQ(place.shownAs, QStringLiteral("the session bus of alice@lab-pc.example.org"));
    EXPECT_EQ(BusAddress::labelOf(place.address), place.label);
}

TEST(BusAddress, HostsWithoutUserAndAddressesOfIPv4AndIPv6)
{
    struct Case {
        const char* given;
        const char* destination;
        const char* label;
    };
    for (const Case& c : {Case{"stand", "stand", "stand"}, Case{"127.0.0.1", "127.0.0.1", "127.0.0.1"},
                          Case{"root@::1", "root@::1", "::1"}, Case{"[::1]", "::1", "::1"},
                          Case{"fe80::1%eth0", "fe80::1%eth0", "fe80::1%eth0"},
                          Case{"op_1.x@Scope-3", "op_1.x@Scope-3", "Scope-3"}}) {
        BusAddress::Place place;
        QString error;
        ASSERT_TRUE(BusAddress::fromHost(QString::fromUtf8(c.given), place, error)) << c.given << ": "
                                                                                   << error.toStdString();
        const QStringList args = execArguments(place.address);
        EXPECT_EQ(args.at(args.indexOf(QStringLiteral("--")) + 1), QString::fromUtf8(c.destination)) << c.given;
        EXPECT_EQ(place.label, QString::fromUtf8(c.label)) << c.given;
    }
}

TEST(BusAddress, HostsAndUsersThatAreNoNamesAreRefusedWithTheReason)
{
    struct Case {
        const char* given;
        const char* reason;
    };
    for (const Case& c : {
             Case{"lab pc", "holds ' '"},
             Case{"lab;reboot", "holds ';'"},
             Case{"$(reboot)", "holds '$'"},
             Case{"`id`", "holds '`'"},
             Case{"lab|cat", "holds '|'"},
             Case{"lab&", "holds '&'"},
             Case{"lab'x", "holds '''"},
             Case{"lab\"x", "holds '\"'"},
             Case{"lab\\x", "holds '\\'"},
             Case{"lab>x", "holds '>'"},
             Case{"lab/x", "holds '/'"},
             Case{"lab*", "holds '*'"},
             Case{"~lab", "holds '~'"},
             Case{"lab\nreboot", "holds '\n'"},
             Case{"lab\tx", "holds '\t'"},
             Case{"-oProxyCommand=reboot", "starts with '-'"},
             Case{"-l", "starts with '-'"},
             Case{"-oProxyCommand=x@lab", "user name '-oProxyCommand=x' starts with '-'"},
             Case{"-x@lab", "starts with '-'"},
             Case{"al ice@lab", "user name 'al ice' holds ' '"},
             Case{"al$ice@lab", "holds '$'"},
             Case{"@lab", "user name before '@' is empty"},
             Case{"alice@", "no host name"},
             Case{"", "no host name"},
             Case{"a@b@c", "more than one '@'"},
             Case{"lab\xc3\xa9", "holds '\xc3\xa9'"},
         }) {
        BusAddress::Place place;
        QString error;
        EXPECT_FALSE(BusAddress::fromHost(QString::fromUtf8(c.given), place, error)) << c.given;
        EXPECT_TRUE(error.contains(QStringLiteral("--host"))) << error.toStdString();
        EXPECT_TRUE(error.contains(QString::fromUtf8(c.reason))) << c.given << ": " << error.toStdString();
        EXPECT_TRUE(place.address.isEmpty());
    }
    BusAddress::Place place;
    QString error;
    EXPECT_FALSE(BusAddress::fromHost(QString(300, QLatin1Char('a')), place, error));
    EXPECT_TRUE(error.contains(QStringLiteral("longer than 253")));
    EXPECT_FALSE(BusAddress::fromHost(QString(65, QLatin1Char('u')) + QStringLiteral("@lab"), place, error));
    EXPECT_TRUE(error.contains(QStringLiteral("longer than 64")));
}

TEST(BusAddress, TheFarCommandIsOneQuotedShellLineOfItsOwn)
{
    const QString command = BusAddress::farCommand();
    // The far user's shell, whatever it is, hands one single-quoted text to
    // sh: no quote inside it may end it early.
    EXPECT_TRUE(command.startsWith(QStringLiteral("sh -c '")));
    EXPECT_TRUE(command.endsWith(QLatin1Char('\'')));
    EXPECT_EQ(command.count(QLatin1Char('\'')), 2);
    EXPECT_FALSE(command.contains(QLatin1Char('!')));   // no history expansion in any shell
    EXPECT_TRUE(command.contains(QStringLiteral("${XDG_RUNTIME_DIR:-/run/user/$(id -u)}/bus")));
    EXPECT_TRUE(command.contains(QStringLiteral("exec systemd-stdio-bridge --bus-path=")));
    EXPECT_FALSE(command.contains(QStringLiteral("--user")));
}

TEST(BusAddress, AnyDBusAddressIsTakenAndItsComputerNamed)
{
    struct Case {
        const char* address;
        const char* label;
    };
    for (const Case& c : {
             Case{"unix:path=/run/user/1000/bus", ""},
             Case{"unix:abstract=/tmp/dbus-x", ""},
             Case{"tcp:host=lab-pc,port=5555", "lab-pc"},
             Case{"nonce-tcp:host=10.1.2.3,port=1,noncefile=/tmp/n", "10.1.2.3"},
             Case{"unixexec:path=ssh,argv1=-p,argv2=2222,argv3=bob%40lab2,argv4=systemd-stdio-bridge", "lab2"},
             Case{"unixexec:path=/usr/bin/ssh,argv1=-xT,argv2=-oBatchMode%3dyes,argv3=ssh%3a//bob%40lab3%3a22", "lab3"},
             Case{"unixexec:path=ssh,argv0=ssh,argv1=-lbob,argv2=-i,argv3=/k,argv4=lab4", "lab4"},
             Case{"unixexec:path=/opt/tunnel/bin/reach-stand,argv1=x", "reach-stand"},
             Case{"unix:path=/a;tcp:host=b,port=1", ""},
         }) {
        BusAddress::Place place;
        QString error;
        ASSERT_TRUE(BusAddress::fromAddress(QString::fromUtf8(c.address), place, error))
            << c.address << ": " << error.toStdString();
        EXPECT_EQ(place.address, QString::fromUtf8(c.address));
        EXPECT_EQ(place.label, QString::fromUtf8(c.label)) << c.address;
        EXPECT_EQ(place.shownAs, QStringLiteral("the bus at ") + QString::fromUtf8(c.address));
    }
}

TEST(BusAddress, TextsThatAreNoDBusAddressAreRefusedWithTheReason)
{
    for (const char* text : {"", "   ", "lab-pc", "unix", "unix:path=/tmp/a b", "unix:path", "=x", ":path=x",
                             "unix:path=/a,path", "\x01", "unix:path=%zz"}) {
        BusAddress::Place place;
        QString error;
        EXPECT_FALSE(BusAddress::fromAddress(QString::fromUtf8(text), place, error)) << text;
        EXPECT_TRUE(error.startsWith(QStringLiteral("ZENTOR_BUS_ADDRESS is not a D-Bus address ("))) << text << ": "
                                                                                                    << error.toStdString();
    }
}

TEST(BusAddress, EveryByteOfAValueSurvivesEscaping)
{
    QString all;
    for (int c = 1; c < 0x250; ++c)
        all += QChar(c);
    const QString address = QStringLiteral("unixexec:path=x,argv0=") + BusAddress::escapeValue(all);
    EXPECT_EQ(execArguments(address).value(0), all);
    EXPECT_EQ(BusAddress::escapeValue(QStringLiteral("a-z_A/.9")), QStringLiteral("a-z_A/.9"));
    EXPECT_EQ(BusAddress::escapeValue(QStringLiteral("a=b,c;d:e f")), QStringLiteral("a%3db%2cc%3bd%3ae%20f"));
}
