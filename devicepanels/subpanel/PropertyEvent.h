#pragma once
// A panel's own event object reads the service's "Name:Value" texts itself.
#include <QString>

// The value part of `message` when its name is `property`, else a null
// string. A text without ":" is a subscript error, as splitting it was.
QString propertyValue(const QString& message, const char* property);
