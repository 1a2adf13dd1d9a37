#pragma once
// The process-wide state of the panel: the shared values every form reads
// (the service object, the units found, the observation in force, whether the
// microscope is open) and the device parameter objects and tables that the
// main window owns and every sub-panel reads and writes directly. No panel
// keeps device state of its own.
#include "core/service/MicroscopeService.h"
#include "core/settings/clsIniEdit.h"
#include "models/optics/FilterColorFile.h"
#include "models/optics/clsDefAddControl.h"
#include "models/optics/clsDefBase.h"
#include "models/optics/clsDefFillterCasette.h"
#include "models/optics/clsDefLamp.h"
#include "models/optics/clsDefLens.h"
#include "models/optics/clsDefLightPath.h"
#include "models/optics/clsDefStop.h"
#include "models/optics/clsDefZoom.h"
#include "models/motion/clsDefXYControl.h"
#include "models/motion/clsDefZControl.h"

#include <QVector>
#include <array>
#include <cstdint>

struct MainState {
    // --- shared values of the whole program ---------------------------------
    // Chief service object; every device call of every panel goes through it,
    // and its OnPropertyChanged is the event every panel redraws from.
    MicroscopeService* micService = nullptr;
    // Units found by Init, index 1..7 (see Init); 1 present, 0 absent.
    std::array<int16_t, 8> MicUnit{};
    // Observation mode last reported (1..6 built in, 7..12 user); 0 unknown.
    int16_t ObservationNow = 0;
    // micService is open. Written only by opening and closing.
    bool MicConnected = false;
    // /SIM was given.
    bool SimMode = false;

    // --- parameter objects --------------------------------------------------
    clsDefAddControl mObj, mFilter, mCon;
    clsDefZoom mZoom;
    clsDefStop mEpiFS, mFS, mAS, mND;
    clsDefLightPath mPath;
    clsDefLamp mLamp;
    clsDefZControl mZ;
    clsDefXYControl mXY;

    // --- definition tables, item n (1-based) at element n - 1 ---------------
    QVector<clsDefLens> mObjData;
    QVector<clsDefFillterCasette> mFilterData;
    QVector<clsDefBase> mConData;
    FilterColorList mFColor;

    // --- settings files -----------------------------------------------------
    clsIniEdit INI;
    clsIniEdit CameraINI;
};

// The one instance, created on first use.
MainState& mainState();
