#include "devicepanels/subpanel/PropertyEvent.h"

#include "core/base/RunTimeError.h"

#include <QStringList>

QString propertyValue(const QString& message, const char* property)
{
    const QStringList parts = message.split(QLatin1Char(':'));
    if (parts.size() < 2)
        throw RunTimeError(RunTimeError::SubscriptOutOfRange, QStringLiteral("Subscript out of range"));
    if (parts.at(0) != QLatin1String(property))
        return QString();
    return parts.at(1).isNull() ? QStringLiteral("") : parts.at(1);
}
