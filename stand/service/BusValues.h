#pragma once
// Values between the bus and the simulated stand: a call's arguments in the
// stand's encoding, and the stand's answer in the D-Bus type a method declares.
#include <QDBusMessage>
#include <QString>
#include <QVariant>
#include <QVariantList>

// Call arguments in the stand's encoding: every integer as int, doubles as
// double, texts as QString, the observation positions as 11 ints.
QVariantList standArguments(const QDBusMessage& msg);

// The stand's answer in the D-Bus type `type` ("n", "i", "d", "s", "as", "ai",
// "ad" or the observation positions' structure).
QVariant busValue(const QVariant& v, const QString& type);
