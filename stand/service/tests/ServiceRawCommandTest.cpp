// A raw command is bounded on the bus: a huge one is refused without being
// repeated back, an unknown one is answered quoting only its beginning, and
// the service answers on afterwards.
#include "ServiceProcess.h"
#include "core/service/dbus/DBusMicroscopeService.h"
#include "stand/SimulatedStand.h"

#include <gtest/gtest.h>

TEST(ServiceRawCommand, AHugeCommandIsRefusedAndNotRepeatedBack) {
    ServiceProcess service;
    ASSERT_TRUE(service.start({QStringLiteral("--speed"), QStringLiteral("0"), QStringLiteral("--no-fiber")}))
        << service.error().toStdString();
    DBusMicroscopeService s;
    s.Connect(0);
    QString reply = QStringLiteral("untouched");
    try {
        s.SendCommand(QString(16 * 1024 * 1024, QLatin1Char('x')), reply);
        ADD_FAILURE() << "a 16 Mi character command was answered, " << reply.size() << " characters";
    } catch (const RunTimeError& e) {
        EXPECT_EQ(e.number(), RunTimeError::ServiceInvalidArgument) << e.hexNumber().toStdString();
        EXPECT_LT(e.description().size(), 200) << e.description().left(200).toStdString();
        EXPECT_TRUE(e.description().contains(QString::number(SimulatedStand::kLongestCommand)));
    }
    EXPECT_EQ(reply, QStringLiteral("untouched"));

    s.SendCommand(QString(SimulatedStand::kLongestCommand, QLatin1Char('y')), reply);
    EXPECT_TRUE(reply.startsWith(QStringLiteral("ERR,unknown command \"yyyy"))) << reply.left(80).toStdString();
    EXPECT_LT(reply.size(), 100);

    s.SendCommand(QStringLiteral("rSPR"), reply);
    bool isNumber = false;
    reply.toInt(&isNumber);
    EXPECT_TRUE(isNumber) << reply.toStdString();
    s.Disconnect();
    service.stop();
}
