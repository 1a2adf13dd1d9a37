#pragma once
// One picture taken by Snapshot (see ZentorBus::SnapshotSignature), as the
// client answers reads from it: each read's value in the form its single
// call's reply takes, or the failure that call gives, by the read's key
// (ZentorBus::snapshotKey). The events that follow the reply keep it current,
// applied in their order.
//
// A reply is not believed blindly: an entry of the wrong type, a key given
// twice, an array or text beyond the bounds below, or a failure without a
// code is left out, so that its read goes to the service singly; a reply of
// the wrong form or with more entries than the bound is not used at all.
#include "core/service/dbus/BusLayout.h"

#include <QDBusMessage>
#include <QHash>
#include <QString>
#include <QStringList>
#include <QVariant>
#include <cstdint>

class SnapshotPicture {
public:
    static constexpr int kMaxEntries = 4096;   // reads in one reply
    static constexpr int kMaxArray = 1024;     // elements of one array value
    static constexpr int kMaxText = 65536;     // characters of one text

    struct Entry {
        QVariant value;       // as the single call's reply gives it
        int32_t failure = 0;  // not 0: the read fails with this code
        QString failureText;
    };

    struct Taken {
        bool usable = false;
        QString problem;       // why the reply is not used at all
        QStringList leftOut;   // "key (why)" of each entry left out
    };

    // Replaces the picture by the one in a Snapshot reply; `methods` are the
    // interface whose reads it holds (their result types).
    Taken take(const QDBusMessage& reply, const QVector<ZentorBus::Method>& methods);

    // Replaces the picture by one read's own reply (`read`, named `key`):
    // a picture of that read alone, taken where its reply stands among the
    // events as a Snapshot's would. It tells no sequence number.
    Taken takeOne(const QString& key, const QDBusMessage& reply, const ZentorBus::Method& read);

    const Entry* find(const QString& key) const;
    // The keys of the entries it holds, sorted.
    QStringList keys() const;
    // A value of D-Bus type `type` as it came out of a message (a reply, or a
    // snapshot's variant), in the form the picture keeps: false with the
    // reason when it is not of that type or beyond the bounds.
    static bool asKept(const QVariant& raw, const QString& type, QVariant& value, QString& why);
    void forget(const QString& key);
    void clear();
    bool isEmpty() const { return m_entries.isEmpty(); }
    // The sequence number the reply gave.
    uint64_t sequence() const { return m_sequence; }

    // An event "<name>:<value>" of the microscope: the read it reports takes
    // its value; where the event's value is not what the read answers (or
    // cannot be read), the read is forgotten and goes to the service.
    void apply(const QString& message);

private:
    QHash<QString, Entry> m_entries;
    uint64_t m_sequence = 0;
};
