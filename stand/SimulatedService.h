#pragma once
// The whole simulated microscope service: index 0 is its own simulated
// microscope (a full system), 1.. the stands of its configuration, one per
// description file. A stand is created on first use and shared by every client.
#include "stand/SimulatedStand.h"
#include "stand/StandClock.h"
#include "stand/StandDescription.h"

#include <QObject>
#include <QStringList>
#include <QVector>
#include <cstdint>
#include <memory>

class SimulatedService : public QObject {
    Q_OBJECT
public:
    // Reads every description at once; a malformed file throws RunTimeError
    // naming the file and the problem.
    SimulatedService(const StandClock& clock, const QStringList& descriptionFiles,
                     QObject* parent = nullptr);
    // The same from descriptions already read: index 1.. in this order.
    static std::unique_ptr<SimulatedService> fromDescriptions(const StandClock& clock,
                                                              const QVector<StandDescription>& stands);
    ~SimulatedService() override;

    QStringList deviceNames() const;
    int16_t isDeviceAvailable(int index) const;
    // 1 when the microscope of that index has a camera, 0 when it has none,
    // -1 for an index outside the list. Any client may ask about any index.
    int16_t cameraPresent(int index) const;
    // nullptr for an index outside the list.
    SimulatedStand* stand(int index);
    const StandClock& clock() const { return m_clock; }
    // Keeps the stands' user observation methods in `memory` (not owned):
    // each stand takes what is kept for it when it is created, and every
    // change is written back. Without it they live for the run only.
    void keepUserMethodsIn(StandMemory* memory) { m_memory = memory; }

private:
    // Explicit, so that a braced list still means the list of files.
    struct Stands {
        explicit Stands(QVector<StandDescription> stands) : list(std::move(stands)) {}
        QVector<StandDescription> list;
    };
    SimulatedService(const StandClock& clock, Stands stands, QObject* parent);

    StandClock m_clock;
    QVector<StandDescription> m_descriptions;
    QVector<SimulatedStand*> m_stands;
    StandMemory* m_memory = nullptr;
};
