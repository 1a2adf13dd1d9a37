#include "stand/SimulatedStand.h"

#include "stand/StandEngine.h"

SimulatedStand::SimulatedStand(const StandDescription& description, const StandClock& clock, QObject* parent)
    : QObject(parent), m_engine(std::make_unique<StandEngine>(this, description, clock)) {}

SimulatedStand::~SimulatedStand() = default;

void SimulatedStand::invoke(const QString& member, const QVariantList& args, StandReply done) {
    m_engine->invoke(member, args, std::move(done));
}

QStringList SimulatedStand::members() { return StandEngine::members(); }

const StandDescription& SimulatedStand::description() const { return m_engine->description(); }

StandControl& SimulatedStand::control() { return *m_engine; }

StandUserMethods SimulatedStand::userMethods() const { return m_engine->userMethods(); }

int16_t SimulatedStand::focusSpeedCode() const { return m_engine->focusSpeedCode(); }

QString SimulatedStand::restoreUserMethods(const StandUserMethods& methods) {
    return m_engine->restoreUserMethods(methods);
}

void SimulatedStand::keepUserMethodsWith(std::function<QString(const StandUserMethods&)> keeper) {
    m_engine->keepUserMethods = std::move(keeper);
}
