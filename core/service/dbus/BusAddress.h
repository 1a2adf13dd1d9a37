#pragma once
// Where the panel finds the microscope service when it is not on this
// computer's own session bus: another computer's session bus reached through
// ssh (`zentor --host [USER@]HOST`), or any D-Bus address
// (ZENTOR_BUS_ADDRESS). Nothing here is handed to a shell on this computer:
// the host and the user are checked and become single arguments of ssh, which
// the bus library starts itself (a unixexec: address).
//
// On the far side ssh runs one fixed command (farCommand()): it finds the
// user's session bus at $XDG_RUNTIME_DIR/bus (/run/user/UID/bus when the
// variable is unset, as on a log-in without pam_systemd) and runs
// systemd-stdio-bridge on it. The bridge's own --user option is not used: on
// Debian 12 (systemd 252) it still connects to the system bus.
#include <QString>
#include <QStringList>

namespace BusAddress {

// A place the panel reaches the microscope service at.
struct Place {
    QString address;   // the D-Bus address to connect to
    QString label;     // the computer as the operator is shown it; empty: this computer
    QString shownAs;   // what messages call it: "the session bus of USER@HOST", "the bus at ADDRESS"
};

// `zentor --host [USER@]HOST`. False with `error` naming what is wrong when
// the text is no user and host name (spaces, shell characters, a name
// starting with '-', ...).
bool fromHost(const QString& userAtHost, Place& place, QString& error);

// ZENTOR_BUS_ADDRESS. False with `error` when the text is not a D-Bus address.
bool fromAddress(const QString& address, Place& place, QString& error);

// The ssh command line of a host: ssh with its options, the destination,
// the far command. Not for a shell: each element is one argument.
QStringList sshArguments(const QString& user, const QString& host);
// What ssh runs on the far computer (by the far user's shell, which hands it
// to sh, so that any log-in shell reads it alike).
QString farCommand();

// One value of a D-Bus address, escaped as the address syntax asks.
QString escapeValue(const QString& value);

// The computer an address names, for the operator: the host of a tcp
// address, the destination of ssh in a unixexec address, the program of any
// other unixexec address; empty for addresses on this computer (unix:).
QString labelOf(const QString& address);

} // namespace BusAddress
