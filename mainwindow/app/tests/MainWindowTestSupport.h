#pragma once
// Starting the main window against a simulated service in this process, with
// every message box recorded.
#include "state/MainState.h"
#include "state/MsgBox.h"
#include "state/ServiceSource.h"
#include "mainwindow/app/SelScopeDlg.h"
#include "mainwindow/app/frmMain.h"
#include "mainwindow/mainpanel/MainPanel.h"
#include "stand/SimulatedMicroscope.h"
#include "stand/SimulatedService.h"

#include <QApplication>
#include <QDir>
#include <QElapsedTimer>
#include <QFile>
#include <QFileInfo>
#include <QPushButton>
#include <QTimer>
#include <functional>
#include <utility>
#include <vector>
#include <memory>

inline QString standFile(const char* file) {
    return QStringLiteral(ZENTOR_STAND_DESCRIPTIONS) + QLatin1Char('/') + QLatin1String(file);
}

inline QString testHome() { return QString::fromLocal8Bit(qgetenv("ZENTOR_TEST_HOME")); }

inline void writeText(const QString& path, const QByteArray& bytes) {
    QDir().mkpath(QFileInfo(path).absolutePath());
    QFile f(path);
    f.open(QIODevice::WriteOnly | QIODevice::Truncate);
    f.write(bytes);
}

inline QByteArray readText(const QString& path) {
    QFile f(path);
    if (!f.open(QIODevice::ReadOnly))
        return QByteArray("<missing>");
    return f.readAll();
}

// A description written for the test, in the test's home.
inline QString customStand(const QString& name, const QByteArray& json) {
    const QString path = testHome() + QStringLiteral("/stands/") + name + QStringLiteral(".json");
    writeText(path, json);
    return path;
}

inline void pump(int ms = 20) {
    QElapsedTimer t;
    t.start();
    do {
        QCoreApplication::processEvents(QEventLoop::AllEvents, 5);
    } while (t.elapsed() < ms);
}

// Answers the microscope dialog once it is up: the row to pick, or -3 for Cancel.
inline void answerDialogLater(int row) {
    auto* timer = new QTimer;
    timer->setInterval(10);
    QObject::connect(timer, &QTimer::timeout, [timer, row] {
        auto* dlg = qobject_cast<SelScopeDlg*>(QApplication::activeModalWidget());
        if (!dlg)
            return;
        timer->stop();
        timer->deleteLater();
        if (row < 0) {
            dlg->btnCancel->click();
        } else {
            dlg->List1->setCurrentRow(row);
            dlg->btnOK->click();
        }
    });
    timer->start();
}

struct MainRun {
    std::unique_ptr<SimulatedService> service;
    std::unique_ptr<frmMain> w;

    explicit MainRun(const QStringList& descriptions, StandClock clock = StandClock::instant()) {
        service = std::make_unique<SimulatedService>(clock, descriptions);
        SimulatedService* shared = service.get();
        ServiceSource::setMaker([shared]() -> std::unique_ptr<MicroscopeService> {
            return std::make_unique<SimulatedMicroscope>(shared);
        });
    }
    ~MainRun() {
        w.reset();
        ServiceSource::setMaker({});
    }
    // Loads the window with this command line (without the program) and
    // shows it; returns once the first activation has run.
    frmMain* start(const QStringList& args = {}, bool show = true) {
        w = std::make_unique<frmMain>(QStringList{QStringLiteral("zentor")} + args);
        if (show) {
            w->show();
            QElapsedTimer t;
            t.start();
            while (w->FirstActivate && !w->unloaded() && t.elapsed() < 5000)
                QCoreApplication::processEvents(QEventLoop::AllEvents, 5);
        }
        return w.get();
    }
    MainPanel* ui() const { return w->ui; }
};

// The device panels' forms and the main panel's buttons that open them.
inline std::vector<std::pair<const char*, usrButton*>> devicePanelButtons(MainPanel* ui) {
    return {
        {"frmSubObj", ui->btnObj[0]},     {"frmSubFilter", ui->btnFilter[0]}, {"frmSubCond", ui->btnCond[0]},
        {"frmSubPath", ui->btnFrmPath[0]}, {"frmSubAp", ui->btnAp[0]},        {"frmSubFS", ui->btnFS[0]},
        {"frmSubEpiFS", ui->btnEpiFS[0]}, {"frmSubND", ui->btnND[0]},         {"frmSubLamp", ui->btnClamp[0]},
        {"frmSubZoom", ui->btnZoom[0]},   {"frmSubZ", ui->btnZ[0]},           {"frmSubStage", ui->btnXY[0]},
    };
}
