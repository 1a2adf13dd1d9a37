#include "stand/SimulatedService.h"

namespace {
QVector<StandDescription> loadAll(const QStringList& files) {
    QVector<StandDescription> stands;
    for (const QString& path : files) stands << StandDescription::load(path);
    return stands;
}
} // namespace

SimulatedService::SimulatedService(const StandClock& clock, const QStringList& descriptionFiles, QObject* parent)
    : SimulatedService(clock, Stands{loadAll(descriptionFiles)}, parent) {}

std::unique_ptr<SimulatedService> SimulatedService::fromDescriptions(const StandClock& clock,
                                                                     const QVector<StandDescription>& stands) {
    return std::unique_ptr<SimulatedService>(new SimulatedService(clock, Stands{stands}, nullptr));
}

SimulatedService::SimulatedService(const StandClock& clock, Stands stands, QObject* parent)
    : QObject(parent), m_clock(clock) {
    m_descriptions << StandDescription::builtIn() << stands.list;
    m_stands.fill(nullptr, m_descriptions.size());
}

SimulatedService::~SimulatedService() = default;

QStringList SimulatedService::deviceNames() const {
    QStringList names;
    for (const StandDescription& d : m_descriptions) names << d.name;
    return names;
}

int16_t SimulatedService::isDeviceAvailable(int index) const {
    return index >= 0 && index < m_descriptions.size() ? 1 : 0;
}

int16_t SimulatedService::cameraPresent(int index) const {
    if (index < 0 || index >= m_descriptions.size()) return -1;
    return m_descriptions[index].camera ? 1 : 0;
}

SimulatedStand* SimulatedService::stand(int index) {
    if (index < 0 || index >= m_descriptions.size()) return nullptr;
    if (!m_stands[index]) {
        SimulatedStand* stand = new SimulatedStand(m_descriptions[index], m_clock, this);
        m_stands[index] = stand;
        if (m_memory) {
            const QString key = StandMemory::keyOf(index, m_descriptions[index].name);
            StandUserMethods kept;
            if (m_memory->recall(key, kept)) {
                const QString refused = stand->restoreUserMethods(kept);
                if (!refused.isEmpty()) m_memory->reject(key, refused);
            }
            stand->keepUserMethodsWith([this, key](const StandUserMethods& m) { return m_memory->keep(key, m); });
        }
    }
    return m_stands[index];
}
