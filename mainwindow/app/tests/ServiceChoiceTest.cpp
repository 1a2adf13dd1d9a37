// The executable's choice of the microscope service, made next to main().
#include "mainwindow/app/ServiceChoice.h"
#include "state/ServiceSource.h"
#include "core/service/dbus/DBusMicroscopeService.h"
#include "stand/SimulatedMicroscope.h"

#include <gtest/gtest.h>

TEST(ServiceChoice, TheRunningApplicationUsesTheBusUnlessToldOtherwise) {
    qunsetenv("ZENTOR_SERVICE");
    EXPECT_EQ(ServiceChoice::kind(), ServiceChoice::Kind::DBus);
    ServiceChoice::install();
    EXPECT_NE(dynamic_cast<DBusMicroscopeService*>(ServiceSource::create().get()), nullptr);
    qputenv("ZENTOR_SERVICE", "InProcess");
    EXPECT_EQ(ServiceChoice::kind(), ServiceChoice::Kind::InProcess);
    qunsetenv("ZENTOR_SERVICE");
}

TEST(ServiceChoice, InProcessObjectsShareOneSimulatedService) {
    qputenv("ZENTOR_SERVICE", "inprocess");
    qputenv("ZENTOR_STAND_SPEED", "0");
    ServiceChoice::install();
    ServiceObjects o = ServiceSource::createMainObjects();
    auto* a = dynamic_cast<SimulatedMicroscope*>(o.micService.get());
    auto* b = dynamic_cast<SimulatedMicroscope*>(o.MicHold.get());
    ASSERT_TRUE(a && b);
    EXPECT_EQ(a->simulatedService(), b->simulatedService());
    EXPECT_EQ(a->simulatedService(), ServiceChoice::inProcessService());
    ServiceSource::setMaker({});
    qunsetenv("ZENTOR_SERVICE");
}

TEST(ServiceChoice, DescriptionFilesAreTheShippedOnesInNameOrder) {
    const QStringList files = ServiceChoice::descriptionFiles();
    ASSERT_GE(files.size(), 8);
    QStringList sorted = files;
    sorted.sort();
    EXPECT_EQ(files, sorted);
}
