#pragma once
// The panel rig with what opening the microscope loads for the turrets and
// the light path: the objective, cube and condenser tables, their set-up
// words and limits, the light path's set-up, link and path.
#include "devicepanels/optics/tests/PanelRig.h"
#include "state/DeviceTables.h"
#include "widgets/usrAddress.h"

#include <QRegularExpression>

struct TurretRig : PanelRig {
    explicit TurretRig(const QStringList& descriptions = {shippedStand("full-system.json")},
                       const StandClock& clock = StandClock::instant())
        : PanelRig(descriptions, clock) {
        MainState& s = mainState();
        ObjectiveData_Init(s);
        FilterCube_Init(s);
        CondenserData_Init(s);
        const auto setup = [&](int16_t device) -> int16_t {
            if (mic.IsMounted(device) == 0)
                return 0;
            return mic.IsReadOnly(device) != 0 ? 3 : 1;
        };
        s.mObj.setSETUP(setup(DeviceIndex::Nosepiece));
        s.mFilter.setSETUP(setup(DeviceIndex::FilterBlockCassette));
        s.mCon.setSETUP(setup(DeviceIndex::CondenserCassette));
        s.mPath.setSETUP(setup(DeviceIndex::LightPathDrive));
        if (s.mPath.SETUP() != 0) {
            s.mPath.setPATH(mic.LightPathDriveLightPath());
            s.mPath.setLINK(mic.LightPathDriveIsInterlockEnabled());
        }
        s.mObj.setAddress(mic.NosepiecePosition());
        boxes.clear();
    }

    // The panel is activated again (as by the operator's click), which reads it afresh.
    static void reactivate(PanelRig& rig, QWidget* panel) {
        rig.owner.activateWindow();
        pumpEvents();
        panel->activateWindow();
        pumpEvents();
    }

    // The list's rows as the operator reads them, First to Last.
    static QStringList rows(const usrAddress* list) {
        QStringList out;
        for (int n = list->First(); n <= list->Last(); ++n)
            out << list->Label(int16_t(n));
        return out;
    }

    // The INI file as it stands on disk.
    static QString iniOnDisk() {
        QFile f(iniPath());
        if (!f.open(QIODevice::ReadOnly))
            return QString();
        return QString::fromLocal8Bit(f.readAll());
    }

    // A section of the file on disk, its lines up to the next section.
    static QStringList sectionOnDisk(const QString& section) {
        QStringList lines, out;
        lines = iniOnDisk().split(QRegularExpression(QStringLiteral("\r?\n")));
        bool in = false;
        for (const QString& l : lines) {
            if (l.startsWith(QLatin1Char('[')))
                in = l.compare(QLatin1Char('[') + section + QLatin1Char(']'), Qt::CaseInsensitive) == 0;
            else if (in && !l.isEmpty())
                out << l;
        }
        return out;
    }
};
