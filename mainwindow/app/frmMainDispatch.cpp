// The property-change dispatch: every change of every device arrives as one
// text "<name>:<value>"; this keeps the parameter objects, both twin labels
// and the open sub-panels current. Nothing else redraws the panel after a
// device call.
#include "mainwindow/app/frmMain.h"

#include "devicepanels/optics/LampPanel.h"
#include "state/FormRegistry.h"
#include "state/MainState.h"
#include "state/MsgBox.h"
#include "core/base/VbConvert.h"
#include "widgets/usrPath_M.h"
#include "models/optics/FilterColorFile.h"
#include "models/optics/WaveColor.h"
#include "devicepanels/profiles/ColourPicks.h"

namespace {

int16_t toI16(const QString& v) { return vb::toInt16(vb::textToDouble(v)); }
int32_t toI32(const QString& v) { return vb::toInt32(vb::textToDouble(v)); }
double toDbl(const QString& v) { return vb::textToDouble(v); }

template <typename T>
const T& item(const QVector<T>& list, int n) {
    if (n < 1 || n > list.size())
        throw RunTimeError(RunTimeError::SubscriptOutOfRange, QStringLiteral("Subscript out of range"));
    return list.at(n - 1);
}

void setBoth(PanelLabel* const labels[2], const QString& text) {
    labels[0]->setCaption(text);
    labels[1]->setCaption(text);
}

// What each value of the zoom branch's Step is called in the error report.
QString stepWord(int16_t Step) {
    switch (Step) {
    case 1:
    case 2: return QStringLiteral("Zoom Value problem");
    case 3: return QStringLiteral("Scrollbar problem");
    case 4:
    case 5: return QStringLiteral("TextBox problem");
    default: return QStringLiteral("Split problem");
    }
}

} // namespace

void frmMain::micEvent_OnPropertyChanged(const QString& bstrMessage) {
    // Init reads every value itself; what arrives meanwhile is dropped.
    if (OpenInProgress)
        return;
    int16_t Step = 0;
    QString value;
    try {
        const QStringList parts = bstrMessage.split(QLatin1Char(':'));
        if (parts.size() < 2)
            throw RunTimeError(RunTimeError::SubscriptOutOfRange, QStringLiteral("Subscript out of range"));
        value = parts.at(1);
        dispatch(parts.at(0), value, Step);
    } catch (const std::exception&) {
        QString text = QStringLiteral("Error : ") + bstrMessage + QStringLiteral("  check: ") + stepWord(Step);
        if (Step == 1 || Step == 2)
            text += QStringLiteral("  ") + value;
        else if (Step == 3)
            text += QStringLiteral("  ") + QString::number(ui->imgClick->Left());
        else if (Step == 4 || Step == 5)
            text += QStringLiteral("  ") + vb::numberText(mainState().mZoom.ZOOM());
        MsgBox::show(text);
    }
}

void frmMain::dispatch(const QString& name, const QString& v, int16_t& Step) {
    MainState& s = mainState();
    const int order = m_names.value(name, 0);
    switch (order) {
    case 1: { // light path
        s.mPath.setPATH(toI16(v));
        ui->usrMainPath->setPathState(s.mPath.PATH());
        setBoth(ui->LightPathCmd, s.mPath.PathName_Get());
        break;
    }
    case 2: { // nosepiece
        const int16_t a = toI16(v);
        if (a < 1 || a > 6) {
            MsgBox::show(QStringLiteral("Nosepiece Address : ") + v);
            break;
        }
        s.mObj.setAddress(a);
        showObjective(a);
        FormRegistry::refresh(QStringLiteral("frmSubObj"), "ObjChg_Set", a);
        FormRegistry::refresh(QStringLiteral("frmSubND"), "Origin_Chg", a);
        FormRegistry::refresh(QStringLiteral("frmSubAp"), "Origin_Chg", a);
        FormRegistry::refresh(QStringLiteral("frmSubFS"), "Origin_Chg", a);
        break;
    }
    case 3: { // lamp preset
        const int16_t preset = toI16(v);
        s.mLamp.setPreset(preset);
        if (preset != 0)
            setBoth(ui->LampCmd, QStringLiteral("Preset"));
        break;
    }
    case 4: { // lamp on or off
        const int16_t on = toI16(v);
        s.mLamp.setONOFF(on);
        if (on == 0) {
            setBoth(ui->LampCmd, QString());
            ui->usrMainPath->setLampState(0);
            // The frame's own Enabled, not its window's: the window is disabled
            // while a microscope opens. A stand without an epi shutter (Init
            // hid its frames) has no state to ask for.
            const bool shutterFitted = !ui->frmShutter[0]->isHidden();
            if (shutterFitted && !ui->frmShutter[0]->testAttribute(Qt::WA_ForceDisabled) &&
                s.micService->EpiShutterIsOpened() == 0)
                ui->usrMainPath->ShowShutterClose();
            if (s.mPath.LINK() != 0)
                ui->usrMainPath->setPathState(s.mPath.PATH());
        } else {
            // The lamp's voltage is read and shown whether its panel is open or
            // not; a closed panel is not loaded for it.
            if (auto* lamp = qobject_cast<frmSubLamp*>(FormRegistry::loaded(QStringLiteral("frmSubLamp"))))
                lamp->LampValue_Set();
            else
                frmSubLamp::ShowLampOnMainPanel();
            ui->usrMainPath->setLampState(2);
        }
        break;
    }
    case 5: { // lamp voltage; a preset never overwrites the manual voltage
        if (s.mLamp.ONOFF() == 0) {
            setBoth(ui->LampCmd, QString());
        } else if (s.mLamp.Preset() != 0) {
            setBoth(ui->LampCmd, QStringLiteral("Preset"));
        } else {
            s.mLamp.setPOWER(toDbl(v));
            setBoth(ui->LampCmd, vb::numberText(s.mLamp.POWER()) + QStringLiteral(" V"));
        }
        break;
    }
    case 6: { // zoom, with its stages for the error report
        Step = 1;
        s.mZoom.setZOOM(toDbl(v));
        Step = 2;
        const double left = (toDbl(v) - 0.8) * 10 * 135 + ui->ZoomScaleLeft - MainPanel::kZoomHalfWidth;
        ui->imgClick->setLeft(vb::toInt32(left));
        Step = 3;
        ui->img1->setLeft(ui->imgClick->Left());
        Step = 4;
        ui->ZoomCmd[0]->setCaption(vb::numberText(s.mZoom.ZOOM()) + QStringLiteral(" x"));
        Step = 5;
        ui->ZoomCmd[1]->setCaption(vb::numberText(s.mZoom.ZOOM()) + QStringLiteral(" x"));
        break;
    }
    case 7: { // field stop
        s.mFS.setDiameter(toDbl(v));
        setBoth(ui->FieldS, vb::numberText(s.mFS.Diameter()) + QStringLiteral(" mm"));
        FormRegistry::refresh(QStringLiteral("frmSubFS"), "FStopValue_Set");
        break;
    }
    case 8: { // ND filter
        s.mND.setDiameter(toDbl(v));
        setBoth(ui->NDcmd, vb::numberText(s.mND.Diameter()) + QStringLiteral(" %"));
        FormRegistry::refresh(QStringLiteral("frmSubND"), "NDValue_Set");
        break;
    }
    case 9: { // aperture stop
        s.mAS.setDiameter(toDbl(v));
        setBoth(ui->APcmd, vb::numberText(s.mAS.Diameter()) + QStringLiteral(" mm"));
        FormRegistry::refresh(QStringLiteral("frmSubAp"), "AStopValue_Set");
        break;
    }
    case 10: { // condenser
        const int16_t a = toI16(v);
        if (a == 0)
            break;
        s.mCon.setAddress(a);
        setBoth(ui->CONcmd, QString::number(a) + QStringLiteral(" : ") + item(s.mConData, a).Name());
        FormRegistry::refresh(QStringLiteral("frmSubCond"), "CondenserChg_Set");
        break;
    }
    case 11: { // epi field stop
        s.mEpiFS.setDiameter(toDbl(v));
        setBoth(ui->HBXField, vb::numberText(s.mEpiFS.Diameter()) + QStringLiteral(" mm"));
        break;
    }
    case 12: { // filter cube
        const int16_t a = toI16(v);
        if (a == 0)
            break;
        showFilter(a, false);
        break;
    }
    case 13: { // analyzer: 2 is out
        if (toI16(v) == 2) {
            ui->AnaCmd[1]->setCaption(QStringLiteral("OUT"));
            ui->usrMainPath->ShowAnalyzerOut();
        } else {
            ui->AnaCmd[1]->setCaption(QStringLiteral("IN"));
            ui->usrMainPath->ShowAnalyzerIn();
        }
        break;
    }
    case 14: { // epi shutter
        if (toI16(v) == 1) {
            ui->ShutterCmd[1]->setCaption(QStringLiteral("OPEN"));
            ui->usrMainPath->ShowShutterOpen();
        } else {
            ui->ShutterCmd[1]->setCaption(QStringLiteral("CLOSE"));
            ui->usrMainPath->ShowShutterClose();
        }
        ui->usrMainPath->setPathState(s.mPath.PATH());
        break;
    }
    case 15: { // focus
        s.mZ.setValue(toI32(v));
        setBoth(ui->Zcmd, s.mZ.Format_Count() + QStringLiteral(" um"));
        FormRegistry::refresh(QStringLiteral("frmSubZ"), "ZDriveValue_Set");
        break;
    }
    case 16: { // stage X
        s.mXY.setXCount(toI32(v));
        setBoth(ui->Xcmd, s.mXY.Format_XCount() + QStringLiteral(" um"));
        break;
    }
    case 17: { // stage Y
        s.mXY.setYCount(toI32(v));
        setBoth(ui->Ycmd, s.mXY.Format_YCount() + QStringLiteral(" um"));
        break;
    }
    case 18: { // observation method
        s.ObservationNow = toI16(v);
        if (s.ObservationNow == 0)
            s.ObservationNow = s.micService->PresetsObservationMode();
        ObservationIndex = s.ObservationNow;
        // The same steps as the status read: what is lit depends on the
        // units and on whether objective and condenser are fitted.
        ui->ShowObservation();
        break;
    }
    case 19: // focus escape
    case 21: // the stage's escape shares the one escape state
        s.mZ.setEsc(toI16(v));
        break;
    case 20: // nosepiece positions changed: the service tells the new maximum
        s.mObj.setMAX(vb::toInt16(s.micService->LowerLimit(LimitIndex::Nosepiece)));
        break;
    default: // not a property of this panel
        break;
    }
}

void frmMain::showObjective(int16_t a) {
    const clsDefLens& d = item(mainState().mObjData, a);
    const QString pos = QString::number(a);
    ui->ObjCmd[0]->setCaption(pos + QStringLiteral(": ") + d.SeriesName().trimmed() + QStringLiteral("  ") +
                              d.Name().trimmed());
    if (d.Number() == 0) {
        ui->ObjCmd[0]->setToolTipText(QString());
        ui->ObjCmd[1]->setToolTipText(QString());
        ui->ObjCmd[1]->setCaption(pos + QStringLiteral(" : ") + QStringLiteral("---"));
    } else {
        const QString optics = QStringLiteral("W.D. ") + vb::singleText(d.WD()) + QStringLiteral("  N.A. ") +
                               vb::singleText(d.NA());
        ui->ObjCmd[1]->setCaption(pos + QStringLiteral(" : ") + vb::singleText(d.Rate()) + QStringLiteral("x"));
        ui->ObjCmd[0]->setToolTipText(optics);
        ui->ObjCmd[1]->setToolTipText(pos + QStringLiteral(" : ") + d.SeriesName().trimmed() + QStringLiteral("  ") +
                                      optics);
    }
}

// The mounted cube's texts and colours. The event writes "a : name" and the
// compact "a: first word", whose tool tip is the main one after a blank; the
// read at opening writes "a: name" and the compact "a : name", both trimmed,
// and puts the cube's name before the compact tool tip.
void frmMain::showFilter(int16_t a, bool statusRead) {
    MainState& s = mainState();
    s.mFilter.setAddress(a);
    const clsDefFillterCasette& d = item(s.mFilterData, a);
    const QString pos = QString::number(a);
    const QString name = d.Name().trimmed();
    const QString tip = QStringLiteral("EX: ") + d.EXName().trimmed() + QStringLiteral(",  DM: ") +
                        d.DMName().trimmed() + QStringLiteral(",  BA: ") + d.BAName().trimmed();
    if (statusRead) {
        ui->FilterCmd[0]->setCaption(pos + QStringLiteral(": ") + name);
        ui->FilterCmd[1]->setCaption(pos + QStringLiteral(" : ") + name);
    } else {
        ui->FilterCmd[0]->setCaption(pos + QStringLiteral(" : ") + d.Name());
        ui->FilterCmd[1]->setCaption(pos + QStringLiteral(": ") + name.section(QLatin1Char(' '), 0, 0));
    }
    ui->FilterCmd[0]->setToolTipText(tip);
    ui->FilterCmd[1]->setToolTipText((statusRead ? name : QString()) + QStringLiteral(" ") + tip);
    if (d.Number() == 0 || d.Number() == 1) {
        ui->usrMainPath->ClearExColor();
        ui->usrMainPath->ClearBaColor();
        ui->FilterCmd[0]->setToolTipText(QString());
        ui->FilterCmd[1]->setToolTipText(QString());
    } else {
        ExColor_Set();
        BaColor_Set();
    }
}

// Colour of the excitation light of the mounted cube (and, with BaColor_Set,
// of the light its barrier filter passes): from the wavelengths in its text,
// or the operator's own choice.
void frmMain::ExColor_Set() { cubeColour_Set(true); }
void frmMain::BaColor_Set() { cubeColour_Set(false); }

void frmMain::cubeColour_Set(bool excitation) {
    ColourPicks::Color_Set(mainState(), ui->usrMainPath, excitation ? ColourPicks::Excitation : ColourPicks::Barrier,
                           excitation ? ExLeftColor : BaLeftColor, excitation ? ExRightColor : BaRightColor);
}
