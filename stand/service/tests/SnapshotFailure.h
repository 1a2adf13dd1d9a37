#pragma once
// One entry of a Snapshot reply's failures, `(is)`: the code and the text a
// single read of that value would have failed with. For the services written
// by tests and fuzz targets, which answer snapshots of their own making.
#include <QDBusArgument>
#include <QMetaType>
#include <QString>
#include <cstdint>

struct SnapshotFailure {
    int32_t code = 0;
    QString text;
};

Q_DECLARE_METATYPE(SnapshotFailure)

inline QDBusArgument& operator<<(QDBusArgument& out, const SnapshotFailure& f)
{
    out.beginStructure();
    out << f.code << f.text;
    out.endStructure();
    return out;
}

inline const QDBusArgument& operator>>(const QDBusArgument& in, SnapshotFailure& f)
{
    in.beginStructure();
    in >> f.code >> f.text;
    in.endStructure();
    return in;
}
