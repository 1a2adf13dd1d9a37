// The main window's side of the fiber illuminator: the Connection menu's
// fiber page (open, close, status), the two fiber frames with the ND text,
// the fiber shutter on the light path drawing, and the illuminator's events
// (cFiberEvents), which make the fiber frames usable only while the last
// state reported is 1.
#include "mainwindow/app/frmMain.h"

#include "devicepanels/fiber/mdlFiber.h"
#include "state/FormRegistry.h"
#include "state/MsgBox.h"
#include "state/UiHelpers.h"
#include "core/base/VbConvert.h"
#include "core/base/mdlCommon.h"
#include "widgets/usrButton.h"
#include "widgets/usrPath_M.h"

namespace {
const QString kFiberPanel = QStringLiteral("frmSubFiber");
} // namespace

void frmMain::attachFiber() {
    connect(ui->btnFiberOpen, &usrButton::Released, this, [this] { btnFiberOpen_Click(); });
    connect(ui->btnFiberClose, &usrButton::Released, this, [this] { btnFiberClose_Click(); });
    connect(ui->btnFiberRStatus, &usrButton::Released, this, [this] { Fiber_Display(); });
    ui->btnFiberOpen->setAccessibleName(QStringLiteral("Connect the fiber illuminator"));
    ui->btnFiberClose->setAccessibleName(QStringLiteral("Disconnect the fiber illuminator"));
    ui->btnFiberRStatus->setAccessibleName(QStringLiteral("Read the fiber illuminator's state"));
    ui->lstFiber->setAccessibleName(QStringLiteral("Fiber illuminator port"));
    // The fiber frames appear with the first connection attempt (the quiet
    // one of the first activation), found or not.
    setFrames(ui->frmFiber, false);
}

// cFiber and its event object (the same server object) are made at load.
void frmMain::loadFiber() {
    FiberState& f = fiberState();
    cFiber = mdlFiber::create();
    f.cFiber = cFiber.get();
    f.FiberUnit = 0;
    if (cFiber)
        connect(cFiber.get(), &FiberService::OnPropertyChanged, this, &frmMain::cFiberEvents_OnPropertyChanged);
}

void frmMain::releaseFiber() {
    FiberState& f = fiberState();
    if (cFiber && f.FiberUnit == 1) {
        try {
            cFiber->Disconnect();
        } catch (const std::exception&) {
            // A server that is gone has nothing to let go of.
        }
    }
    f.cFiber = nullptr;
    f.FiberUnit = 0;
    cFiber.reset();
}

void frmMain::btnFiberOpen_Click() {
    FiberState& f = fiberState();
    WaitCursor wait;
    auto notFound = [&] {
        f.FiberUnit = 0;
        if (!f.QuietStart)
            MsgBox::show(QStringLiteral("Fiber illumination device was not found."));
        ui->btnFiberOpen->setEnabled(true);
        ui->btnFiberClose->setEnabled(false);
        ui->btnFiberRStatus->setEnabled(true);
    };
    try {
        if (!cFiber) {
            notFound();   // a run without the illuminator's server
        } else if (cFiber->ConnectionStatus() != 1 || f.FiberUnit != 1) {
            if (cFiber->ConnectionStatus() != 1)
                cFiber->Connect(1000);
            const int16_t port = cFiber->Port();
            if (port == -1) {
                notFound();
            } else {
                f.WheelModel = cFiber->NDWheelModel();
                f.FiberUnit = 1;
                ui->lstFiber->clear();
                ui->lstFiber->addItem(QString::number(port) + QStringLiteral("COM"));
                ui->btnFiberOpen->setEnabled(false);
                ui->btnFiberClose->setEnabled(true);
                ui->btnFiberRStatus->setEnabled(true);
            }
        }
    } catch (const RunTimeError& e) {
        // No server on the bus at all is an illuminator that is not there.
        if (e.number() == RunTimeError::ServiceGone)
            notFound();
        else
            MsgBox::show(QStringLiteral("Fiber Illumination Connect Error"));
    } catch (const std::exception&) {
        MsgBox::show(QStringLiteral("Fiber Illumination Connect Error"));
    }
    Fiber_Display();
    Common_Flush();
}

void frmMain::btnFiberClose_Click() {
    FiberState& f = fiberState();
    try {
        if (cFiber)
            cFiber->Disconnect();
    } catch (const std::exception&) {
        MsgBox::show(QStringLiteral("Fiber Illumination Disconnect Error"));
    }
    f.FiberUnit = 0;
    ui->lstFiber->clear();
    ui->btnFiberOpen->setEnabled(true);
    ui->btnFiberClose->setEnabled(false);
    ui->btnFiberRStatus->setEnabled(true);
    // Its panel has nothing left to show.
    FormRegistry::unload(kFiberPanel);
    Fiber_Display();
}

// The frames are always shown; without a connected illuminator they read
// "None" and the drawing has no fiber to mark.
void frmMain::Fiber_Display() {
    const FiberState& f = fiberState();
    const bool there = cFiber && f.FiberUnit == 1;
    setFrames(ui->frmFiber, true);
    ui->usrMainPath->ShowFiber(there);
    if (!there) {
        ui->FiberTxt[0]->setCaption(mdlFiber::ND_Text(0));
        ui->FiberTxt[1]->setCaption(mdlFiber::ND_Text(0));
        return;
    }
    try {
        const QString text = mdlFiber::ND_Text(cFiber->NDPosition());
        ui->FiberTxt[0]->setCaption(text);
        ui->FiberTxt[1]->setCaption(text);
        if (cFiber->ShutterIsOpened() == 1)
            ui->usrMainPath->ShowFiberShutterOpen();
        else
            ui->usrMainPath->ShowFiberShutterClose();
    } catch (const std::exception&) {
        MsgBox::show(QStringLiteral("Fiber_Status Read Error"));
    }
}

void frmMain::cFiberEvents_OnPropertyChanged(const QString& bstrMessage) {
    QString name, value;
    if (!mdlFiber::SplitEvent(bstrMessage, name, value))
        return;
    try {
        const int16_t v = vb::toInt16(Common_Val(value));
        if (name == QLatin1String("ND_Position")) {
            ui->FiberTxt[0]->setCaption(mdlFiber::ND_Text(v));
            ui->FiberTxt[1]->setCaption(mdlFiber::ND_Text(v));
        } else if (name == QLatin1String("Shutter_IsOpened")) {
            if (v == 1)
                ui->usrMainPath->ShowFiberShutterOpen();
            else
                ui->usrMainPath->ShowFiberShutterClose();
        } else if (mdlFiber::StateNames().contains(name)) {
            ui->frmFiber[0]->setEnabled(v == 1);
            ui->frmFiber[1]->setEnabled(v == 1);
        }
    } catch (const std::exception& e) {
        const auto* rt = dynamic_cast<const RunTimeError*>(&e);
        MsgBox::show(QStringLiteral("Error : ") + (rt ? rt->description() : QString::fromUtf8(e.what())));
    }
}
