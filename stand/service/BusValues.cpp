#include "stand/service/BusValues.h"

#include "core/service/dbus/BusLayout.h"

#include <QDBusArgument>
#include <QMetaType>

QVariantList standArguments(const QDBusMessage& msg)
{
    QVariantList out;
    for (const QVariant& a : msg.arguments()) {
        switch (a.metaType().id()) {
        case QMetaType::Short:
        case QMetaType::Int:
            out << QVariant(a.toInt());
            break;
        case QMetaType::Double:
            out << QVariant(a.toDouble());
            break;
        case QMetaType::QString:
            out << QVariant(a.toString());
            break;
        default:
            if (a.userType() == qMetaTypeId<QDBusArgument>()) {
                const QDBusArgument arg = a.value<QDBusArgument>();
                QVariantList fields;
                arg.beginStructure();
                while (!arg.atEnd()) {
                    int v = 0;
                    arg >> v;
                    fields << QVariant(v);
                }
                arg.endStructure();
                out << QVariant(fields);
            } else {
                out << a;
            }
        }
    }
    return out;
}

QVariant busValue(const QVariant& v, const QString& type)
{
    if (type == QLatin1String("n"))
        return QVariant::fromValue<short>(static_cast<short>(v.toInt()));
    if (type == QLatin1String("i"))
        return QVariant::fromValue<int>(v.toInt());
    if (type == QLatin1String("d"))
        return QVariant::fromValue<double>(v.toDouble());
    if (type == QLatin1String("s"))
        return QVariant::fromValue(v.toString());
    if (type == QLatin1String("as"))
        return QVariant::fromValue(v.toStringList());
    if (type == QLatin1String("ai")) {
        QList<int> list;
        for (const QVariant& x : v.toList())
            list << x.toInt();
        return QVariant::fromValue(list);
    }
    if (type == QLatin1String("ad")) {
        QList<double> list;
        for (const QVariant& x : v.toList())
            list << x.toDouble();
        return QVariant::fromValue(list);
    }
    if (type == ZentorBus::ObservationSignature) {
        const QVariantList fields = v.toList();
        QDBusArgument arg;
        arg.beginStructure();
        for (int i = 0; i < 11; ++i)
            arg << (i < fields.size() ? fields[i].toInt() : 0);
        arg.endStructure();
        return QVariant::fromValue(arg);
    }
    return v;
}
