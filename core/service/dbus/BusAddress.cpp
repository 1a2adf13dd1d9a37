#include "core/service/dbus/BusAddress.h"

#include <QFileInfo>
#include <dbus/dbus.h>

namespace BusAddress {
namespace {

// ssh's options that take a value (its getopt string), so that the
// destination of an ssh command line can be told from an option's value.
const QString kSshOptionsWithValue = QStringLiteral("bceilmopBDEFIJLOPQRSwW");

bool isNameCharacter(QChar c)
{
    return (c >= QLatin1Char('a') && c <= QLatin1Char('z')) || (c >= QLatin1Char('A') && c <= QLatin1Char('Z')) ||
           (c >= QLatin1Char('0') && c <= QLatin1Char('9')) || c == QLatin1Char('.') || c == QLatin1Char('_') ||
           c == QLatin1Char('-');
}

// A user name as login accepts it portably: letters, digits, '.', '_', '-',
// not starting with '-' (ssh would read it as an option).
QString userRefusal(const QString& user)
{
    if (user.isEmpty())
        return QStringLiteral("the user name before '@' is empty");
    if (user.startsWith(QLatin1Char('-')))
        return QStringLiteral("the user name '%1' starts with '-'").arg(user);
    if (user.size() > 64)
        return QStringLiteral("the user name is longer than 64 characters");
    for (QChar c : user)
        if (!isNameCharacter(c))
            return QStringLiteral("the user name '%1' holds '%2'; a user name has letters, digits, '.', '_' "
                                  "and '-' only").arg(user, QString(c));
    return QString();
}

// A host name or ssh alias (letters, digits, '.', '_', '-'), or an IPv4 or
// IPv6 address (with ':' and a zone after '%'), in brackets or not.
QString hostRefusal(const QString& host)
{
    if (host.isEmpty())
        return QStringLiteral("no host name is given");
    if (host.startsWith(QLatin1Char('-')))
        return QStringLiteral("the host name '%1' starts with '-'").arg(host);
    if (host.size() > 253)
        return QStringLiteral("the host name is longer than 253 characters");
    for (QChar c : host)
        if (!isNameCharacter(c) && c != QLatin1Char(':') && c != QLatin1Char('%'))
            return QStringLiteral("the host name '%1' holds '%2'; a host name has letters, digits, '.', '_', "
                                  "'-' (and ':' in an IPv6 address) only").arg(host, QString(c));
    return QString();
}

// The host of an ssh destination ("user@host", "ssh://user@host:port").
QString hostOfDestination(QString destination)
{
    if (destination.startsWith(QLatin1String("ssh://"))) {
        destination = destination.mid(6);
        const int slash = destination.indexOf(QLatin1Char('/'));
        if (slash >= 0)
            destination.truncate(slash);
        const int at = destination.lastIndexOf(QLatin1Char('@'));
        destination = destination.mid(at + 1);
        if (destination.startsWith(QLatin1Char('['))) {
            const int close = destination.indexOf(QLatin1Char(']'));
            return destination.mid(1, close > 0 ? close - 1 : -1);
        }
        const int colon = destination.indexOf(QLatin1Char(':'));
        return colon >= 0 && destination.count(QLatin1Char(':')) == 1 ? destination.left(colon) : destination;
    }
    return destination.mid(destination.lastIndexOf(QLatin1Char('@')) + 1);
}

// The destination of ssh's arguments (after the program name), or empty.
QString sshDestination(const QStringList& args)
{
    for (int i = 0; i < args.size(); ++i) {
        const QString& a = args.at(i);
        if (a == QLatin1String("--"))
            return i + 1 < args.size() ? args.at(i + 1) : QString();
        if (!a.startsWith(QLatin1Char('-')) || a.size() == 1)
            return a;
        // Flags may be bundled (-xT); an option with a value takes the rest
        // of the word, or the next word.
        for (int k = 1; k < a.size(); ++k) {
            if (kSshOptionsWithValue.contains(a.at(k))) {
                if (k + 1 == a.size())
                    ++i;
                break;
            }
        }
    }
    return QString();
}

QString fromLibdbus(const char* text) { return text ? QString::fromUtf8(text) : QString(); }

} // namespace

QString farCommand()
{
    // Messages name the computer (uname -n) so that the operator's screen
    // says where the trouble is. The bridge logs to its standard error, which
    // ssh brings back, rather than to that computer's journal.
    return QStringLiteral(
        "sh -c '"
        "b=\"${XDG_RUNTIME_DIR:-/run/user/$(id -u)}/bus\"; "
        "command -v systemd-stdio-bridge >/dev/null || "
        "{ echo \"$(uname -n): systemd-stdio-bridge is not installed (Debian package systemd)\" >&2; exit 127; }; "
        "[ -S \"$b\" ] || "
        "{ echo \"$(uname -n): no session bus of user $(id -un) at $b\" >&2; exit 1; }; "
        "SYSTEMD_LOG_TARGET=console; export SYSTEMD_LOG_TARGET; "
        "exec systemd-stdio-bridge --bus-path=\"unix:path=$b\"'");
}

QStringList sshArguments(const QString& user, const QString& host)
{
    QStringList args{
        QStringLiteral("ssh"),
        // No terminal, no X11 or agent forwarding, and none of the ports the
        // user's configuration may forward: the link carries the bus only.
        QStringLiteral("-xaT"),
        QStringLiteral("-o"), QStringLiteral("ClearAllForwardings=yes"),
        // Never a password or passphrase prompt: a key must do, or the start
        // ends with ssh's reason.
        QStringLiteral("-o"), QStringLiteral("BatchMode=yes"),
        // An unreachable host fails within seconds, and a link whose network
        // went away is given up after about 9 s of silence.
        QStringLiteral("-o"), QStringLiteral("ConnectTimeout=5"),
        QStringLiteral("-o"), QStringLiteral("ServerAliveInterval=3"),
        QStringLiteral("-o"), QStringLiteral("ServerAliveCountMax=3"),
        QStringLiteral("--"),
        user.isEmpty() ? host : user + QLatin1Char('@') + host,
        farCommand(),
    };
    return args;
}

QString escapeValue(const QString& value)
{
    // Bytes outside [-0-9A-Za-z_/.\*] are written %XX.
    QString out;
    for (const char b : value.toUtf8()) {
        const unsigned char c = static_cast<unsigned char>(b);
        if ((c >= 'a' && c <= 'z') || (c >= 'A' && c <= 'Z') || (c >= '0' && c <= '9') || c == '-' || c == '_' ||
            c == '/' || c == '.' || c == '\\' || c == '*')
            out += QLatin1Char(static_cast<char>(c));
        else
            out += QStringLiteral("%%1").arg(c, 2, 16, QLatin1Char('0'));
    }
    return out;
}

bool fromHost(const QString& userAtHost, Place& place, QString& error)
{
    const QString text = userAtHost;
    if (text.count(QLatin1Char('@')) > 1) {
        error = QStringLiteral("--host %1: more than one '@'; give [USER@]HOST").arg(text);
        return false;
    }
    const int at = text.indexOf(QLatin1Char('@'));
    const QString user = at >= 0 ? text.left(at) : QString();
    QString host = at >= 0 ? text.mid(at + 1) : text;
    QString why = at >= 0 ? userRefusal(user) : QString();
    if (why.isEmpty() && host.startsWith(QLatin1Char('[')) && host.endsWith(QLatin1Char(']')))
        host = host.mid(1, host.size() - 2);
    if (why.isEmpty())
        why = hostRefusal(host);
    if (!why.isEmpty()) {
        error = QStringLiteral("--host: %1.").arg(why);
        return false;
    }
    const QStringList args = sshArguments(user, host);
    QString address = QStringLiteral("unixexec:path=ssh");
    for (int i = 0; i < args.size(); ++i)
        address += QStringLiteral(",argv%1=%2").arg(i).arg(escapeValue(args.at(i)));
    place.address = address;
    place.label = host;
    place.shownAs = QStringLiteral("the session bus of ") + text;
    return true;
}

bool fromAddress(const QString& address, Place& place, QString& error)
{
    const QByteArray utf8 = address.trimmed().toUtf8();
    DBusError err;
    dbus_error_init(&err);
    DBusAddressEntry** entries = nullptr;
    int count = 0;
    const bool ok = !utf8.isEmpty() && dbus_parse_address(utf8.constData(), &entries, &count, &err);
    if (!ok) {
        const QString why =
            dbus_error_is_set(&err) ? fromLibdbus(err.message).trimmed() : QStringLiteral("it is empty");
        dbus_error_free(&err);
        error = QStringLiteral("ZENTOR_BUS_ADDRESS is not a D-Bus address (%1).").arg(why);
        return false;
    }
    bool typed = count > 0;
    for (int i = 0; i < count; ++i)
        if (!dbus_address_entry_get_method(entries[i]) || !*dbus_address_entry_get_method(entries[i]))
            typed = false;
    dbus_address_entries_free(entries);
    if (!typed) {
        error = QStringLiteral("ZENTOR_BUS_ADDRESS is not a D-Bus address (an entry names no transport before ':').");
        return false;
    }
    place.address = QString::fromUtf8(utf8);
    place.label = labelOf(place.address);
    place.shownAs = QStringLiteral("the bus at ") + place.address;
    return true;
}

QString labelOf(const QString& address)
{
    const QByteArray utf8 = address.toUtf8();
    DBusError err;
    dbus_error_init(&err);
    DBusAddressEntry** entries = nullptr;
    int count = 0;
    if (!dbus_parse_address(utf8.constData(), &entries, &count, &err)) {
        dbus_error_free(&err);
        return QString();
    }
    QString label;
    if (count > 0) {
        DBusAddressEntry* e = entries[0];
        const QString method = fromLibdbus(dbus_address_entry_get_method(e));
        if (method == QLatin1String("tcp") || method == QLatin1String("nonce-tcp")) {
            label = fromLibdbus(dbus_address_entry_get_value(e, "host"));
            if (label.isEmpty())
                label = QStringLiteral("localhost");
        } else if (method == QLatin1String("unixexec")) {
            const QString path = fromLibdbus(dbus_address_entry_get_value(e, "path"));
            QStringList args;
            for (int i = 1;; ++i) {
                const char* v = dbus_address_entry_get_value(e, QStringLiteral("argv%1").arg(i).toLatin1().constData());
                if (!v)
                    break;
                args << QString::fromUtf8(v);
            }
            const QString program = QFileInfo(path).fileName();
            const QString destination = program == QLatin1String("ssh") ? sshDestination(args) : QString();
            label = destination.isEmpty() ? program : hostOfDestination(destination);
        }
    }
    dbus_address_entries_free(entries);
    return label;
}

} // namespace BusAddress
