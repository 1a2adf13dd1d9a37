#pragma once
// The non-volatile memory of the service: what a stand keeps over a power cut,
// here over a restart of zentor-service. A stand keeps its six user
// observation methods (7 to 12): their names, their eleven command codes and
// their custom stop and ND values per nosepiece address.
//
// One JSON file holds the memory of every stand the service serves, each under
// its own key (list index and name). It is read once at start (FileRead: a
// pipe, device or huge file is refused, never waited on) and written whole
// (WholeFile) after every change of a user method; a change that cannot be
// written is undone and refused to its caller.
//
// Damage costs what is damaged alone: an entry that cannot be read (a bad
// number, a code out of range, a torn end) is left out and the other stands
// keep theirs; a file that is no memory at all leaves every stand to its
// description. Either way the damaged file is first kept beside itself, as
// "<file>.damaged-<UTC time>" (the last kDamagedCopiesKept of them), the
// operator is told where, and the file is written again with what was sound.
#include "stand/StandDescription.h"

#include <QJsonObject>
#include <QString>
#include <QStringList>
#include <array>
#include <functional>

struct StandUserMethods {
    static constexpr int kFirst = 7;      // observation number of methods[0]
    static constexpr int kCount = 6;
    static constexpr int kAddresses = 9;  // custom values per nosepiece address 0 to 8
    std::array<StandObservation, kCount> methods;
    // [0 aperture stop, 1 field stop, 2 ND][method][address]
    std::array<std::array<std::array<double, kAddresses>, kCount>, 3> custom{};
};

class StandMemory {
public:
    // $XDG_STATE_HOME/zentor/zentor-service.json; XDG_STATE_HOME defaults to
    // ~/.local/state.
    static QString defaultPath();

    // `tell` receives what the operator should know (a damaged file set aside,
    // a write that failed).
    StandMemory(const QString& path, std::function<void(const QString&)> tell);

    const QString& path() const { return m_path; }

    // How many damaged copies are kept beside the file; older ones go.
    static constexpr int kDamagedCopiesKept = 10;

    // Reads the file. No file: an empty memory. Damaged entries are left out
    // (see above). Answers false when anything was damaged or refused.
    bool load();

    // The methods kept for the stand `key`; false when none are kept.
    bool recall(const QString& key, StandUserMethods& methods) const;
    // Keeps the methods of the stand `key` and writes the whole file. When
    // the file could not be written the memory stays as it was, and the
    // answer (also told) says why; else it is empty.
    QString keep(const QString& key, const StandUserMethods& methods);
    // A stand refused what the file held for it: the file is kept aside as
    // damaged and that stand's entry forgotten.
    void reject(const QString& key, const QString& why);

    // The key of a stand: its list index and its name.
    static QString keyOf(int index, const QString& name);

    // The file's text for a memory, and back. parse() answers the sound
    // entries and lists every left-out entry in `damaged` ("<key>: why");
    // it throws RunTimeError (with a reason) only for a file that is no
    // memory at all. Public for the tests.
    static QByteArray toJson(const QJsonObject& stands);
    static QJsonObject parse(const QByteArray& bytes, QStringList* damaged = nullptr);
    static QJsonObject methodsToJson(const StandUserMethods& methods);
    static StandUserMethods methodsFromJson(const QJsonObject& o, const QString& where);

    // The damaged copies beside the file, oldest first.
    QStringList damagedCopies() const;

private:
    // A free name beside the file: "<file>.damaged-<UTC time>", with "-2",
    // "-3" ... for more in the same second.
    QString newAsideName() const;
    // Keeps `bytes` beside the file under a new time-stamped name, then lets
    // the oldest copies go. Answers the copy's path, or empty with `error`.
    QString keepAside(const QByteArray& bytes, QString& error);
    // The same for a file too large to read: it is renamed.
    QString moveAside(QString& error);
    void pruneDamagedCopies();
    // Tells of damage; `copy` is where the damaged file was kept (empty: it
    // could not be, for `asideError`).
    void tellDamage(const QString& what, const QString& consequence, const QString& copy,
                    const QString& asideError);
    // After damage was kept aside: the file holds what was sound.
    void rewrite();

    QString m_path;
    std::function<void(const QString&)> m_tell;
    QJsonObject m_stands;
};
