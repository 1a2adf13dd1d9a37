// The conformance suite run against the in-process simulated microscope.
#include "core/service/conformance/suite/ConformanceRig.h"
#include "stand/SimulatedFiber.h"
#include "stand/SimulatedMicroscope.h"

#include <QCoreApplication>
#include <gtest/gtest.h>

namespace {

class SimulatedRig : public ConformanceRig {
public:
    SimulatedRig(const QStringList& descriptions, double speedFactor)
        : m_clock(speedFactor > 0 ? StandClock::realTime(speedFactor) : StandClock::instant()),
          m_microscope(m_clock, descriptions), m_fiber(m_clock) {}
    MicroscopeService& service() override { return m_microscope; }
    StandControl& control() override {
        SimulatedStand* stand = m_microscope.simulatedService()->stand(1);
        if (!stand) throw RunTimeError(RunTimeError::ServiceInvalidArgument, QStringLiteral("No microscope at index 1"));
        return stand->control();
    }
    FiberService* fiber() override { return &m_fiber; }

private:
    StandClock m_clock;
    SimulatedMicroscope m_microscope;
    SimulatedFiber m_fiber;
};

} // namespace

int main(int argc, char** argv) {
    QCoreApplication app(argc, argv);
    ::testing::InitGoogleTest(&argc, argv);
    registerConformanceSuite("SimulatedMicroscope", [](const QStringList& d, double speed) {
        return std::make_unique<SimulatedRig>(d, speed);
    });
    return RUN_ALL_TESTS();
}
