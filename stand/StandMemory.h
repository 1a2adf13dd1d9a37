#pragma once
// The non-volatile memory of the service: what a stand keeps over a power cut,
// here over a restart of zentor-service. A stand keeps its six user
// observation methods (7 to 12): their names, their eleven command codes and
// their custom stop and ND values per nosepiece address.
//
// One JSON file holds the memory of every stand the service serves, each under
// its own key (list index and name). It is read once at start and written
// whole (WholeFile) after every change of a user method. A file that cannot be
// read as such a memory is damaged: it is moved aside, beside itself as
// "<file>.damaged", the operator is told, and every stand starts from its
// description.
#include "stand/StandDescription.h"

#include <QJsonObject>
#include <QString>
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

    // Reads the file. No file: an empty memory. A damaged file is set aside
    // and the memory starts empty. Answers false when it was damaged.
    bool load();

    // The methods kept for the stand `key`; false when none are kept.
    bool recall(const QString& key, StandUserMethods& methods) const;
    // Keeps the methods of the stand `key` and writes the whole file. Answers
    // false (and tells why) when the file could not be written.
    bool keep(const QString& key, const StandUserMethods& methods);
    // A stand refused what the file held for it: the file is set aside as
    // damaged and that stand's entry forgotten.
    void reject(const QString& key, const QString& why);

    // The key of a stand: its list index and its name.
    static QString keyOf(int index, const QString& name);

    // The file's text for a memory, and back (throws RunTimeError with a
    // reason). Public for the tests and the fuzz target.
    static QByteArray toJson(const QJsonObject& stands);
    static QJsonObject parse(const QByteArray& bytes);
    static QJsonObject methodsToJson(const StandUserMethods& methods);
    static StandUserMethods methodsFromJson(const QJsonObject& o, const QString& where);

private:
    void setAside(const QString& why);

    QString m_path;
    std::function<void(const QString&)> m_tell;
    QJsonObject m_stands;
};
