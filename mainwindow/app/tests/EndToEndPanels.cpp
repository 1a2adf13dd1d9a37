// End to end, the device panels: the real main window against the real
// service process on a private session bus, in a real window under an X
// server. For every panel the main window can open: press its device button,
// wait until it shows the service's values, keep a picture of it beside the
// main panel, change its device through it and see the main panel's label
// follow, then have a second bus client (busctl) change the device and see
// the open panel follow. Afterwards every panel open at once, one picture,
// and after the window closed, each panel's place in the INI file.
//
// Run by CTest inside dbus-run-session and an X server of its own; pictures go to
// $ZENTOR_TEST_HOME/panels/.
#include "mainwindow/app/ServiceChoice.h"
#include "mainwindow/app/frmMain.h"
#include "core/settings/SettingsPaths.h"
#include "state/FormRegistry.h"
#include "state/MainState.h"
#include "state/MsgBox.h"
#include "widgets/PanelControls.h"
#include "widgets/usrAddress.h"
#include "widgets/usrButton.h"
#include "widgets/usrPath.h"
#include "widgets/usrXscroll.h"

#include <QApplication>
#include <QDBusConnection>
#include <QDBusConnectionInterface>
#include <QDir>
#include <QElapsedTimer>
#include <QFile>
#include <QPixmap>
#include <QProcess>
#include <QScreen>
#include <QTest>
#include <cmath>
#include <cstdio>
#include <functional>
#include <signal.h>

namespace {

int g_failures = 0;

void fail(const QString& what)
{
    ++g_failures;
    std::fprintf(stderr, "FAIL: %s\n", qPrintable(what));
}

void note(const QString& what) { std::printf("%s\n", qPrintable(what)); std::fflush(stdout); }

void pump(int ms)
{
    QElapsedTimer t;
    t.start();
    do
        QCoreApplication::processEvents(QEventLoop::AllEvents, 5);
    while (t.elapsed() < ms);
}

bool waitFor(const std::function<bool()>& done, int ms)
{
    QElapsedTimer t;
    t.start();
    while (!done()) {
        if (t.elapsed() > ms)
            return false;
        QCoreApplication::processEvents(QEventLoop::AllEvents, 10);
    }
    return true;
}

// What the operator reads on a panel: every label's caption.
QStringList readings(QWidget* panel)
{
    QStringList out;
    for (PanelLabel* l : panel->findChildren<PanelLabel*>())
        out << l->Caption();
    return out;
}

// The panel shows the service's values once its reading is filled in.
bool filled(QWidget* panel)
{
    auto* reading = panel->findChild<PanelLabel*>(QStringLiteral("txtSel"));
    return reading ? !reading->Caption().isEmpty() : !readings(panel).join(QString()).trimmed().isEmpty();
}

QString home() { return QString::fromLocal8Bit(qgetenv("ZENTOR_TEST_HOME")); }

// One device: its panel, twin buttons, label on the main panel, and how a
// second bus client changes it.
struct Device {
    const char* form;
    const char* section;
    usrButton* const* buttons;
    PanelLabel* const* label;
    const char* busMember;                 // the setter on the bus
    char busType;                          // 'n' position, 'd' value
    std::function<QString()> otherValue;   // a value other than the present one
};

// A position other than the present one, inside 1..count.
QString otherPosition(int16_t present, int count)
{
    return QString::number(present == 2 ? (count >= 3 ? 3 : 1) : 2);
}

// A value other than the present one inside the device's range.
QString otherValue(double present, int16_t limitIndex)
{
    MicroscopeService& svc = *mainState().micService;
    const double lo = svc.LowerLimit(limitIndex), hi = svc.UpperLimit(limitIndex);
    double v = std::round((lo + (hi - lo) * 0.4) * 10) / 10;
    if (std::abs(v - present) < 1e-6)
        v = std::round((lo + (hi - lo) * 0.6) * 10) / 10;
    return QString::number(v);
}

// Changes the device through the panel's own control, as the operator
// would: a row of the position list, an outlet, or one step of the slider.
void changeThroughPanel(QWidget* panel)
{
    if (auto* list = panel->findChild<usrAddress*>(QStringLiteral("txtAdd"))) {
        const int16_t target = list->Address() == list->First() ? int16_t(list->First() + 1) : list->First();
        QTest::mouseClick(list, Qt::LeftButton, {}, list->rowRect(target).center());
        return;
    }
    if (auto* path = panel->findChild<usrPath*>()) {
        const int16_t target = path->PathIndex() == 1 ? 2 : 1;
        QTest::mouseClick(path, Qt::LeftButton, {}, path->outletRect(target).center());
        return;
    }
    if (auto* slider = panel->findChild<usrSliderBase*>()) {
        slider->setFocus();
        QTest::keyClick(slider, slider->Value() < slider->Max() ? Qt::Key_Up : Qt::Key_Down);
    }
}

// busctl as a second client of the same microscope; the service delays its
// reply until the move is done, so the panel's events arrive meanwhile.
bool busCall(const char* interface, const char* member, char type, const QString& value)
{
    QProcess p;
    p.start(QStringLiteral("busctl"),
            {QStringLiteral("--user"), QStringLiteral("call"), QStringLiteral("org.zentor.Microscope"),
             QStringLiteral("/org/zentor/Microscope/0"), QLatin1String(interface),
             QLatin1String(member), QString(QLatin1Char(type)), value});
    if (!waitFor([&] { return p.state() == QProcess::NotRunning; }, 20000)) {
        p.kill();
        return false;
    }
    if (p.exitCode() != 0)
        note(QStringLiteral("busctl %1 %2: %3").arg(QLatin1String(member), value,
                                                    QString::fromLocal8Bit(p.readAllStandardError())));
    return p.exitStatus() == QProcess::NormalExit && p.exitCode() == 0;
}

bool busSet(const char* member, char type, const QString& value)
{
    return busCall("org.zentor.Microscope.Device", member, type, value);
}

void picture(const QString& name)
{
    QDir().mkpath(home() + QStringLiteral("/panels"));
    const QPixmap shot = QGuiApplication::primaryScreen()->grabWindow(0);
    if (shot.isNull() || !shot.save(home() + QStringLiteral("/panels/") + name + QStringLiteral(".png")))
        fail(QStringLiteral("no picture %1").arg(name));
}

// Puts a panel just right of the main window (inside the screen).
void besideMain(QWidget* panel, QWidget* main)
{
    const QRect screen = QGuiApplication::primaryScreen()->availableGeometry();
    const QRect m = main->frameGeometry();
    const int x = std::min(m.right() + 12, screen.right() - panel->frameGeometry().width());
    panel->move(x, m.top());
}

} // namespace

int main(int argc, char** argv)
{
    QApplication app(argc, argv);
    ServiceChoice::install();
    MsgBox::Recorder boxes;
    QFile::remove(SettingsPaths::MainIni());

    auto w = std::make_unique<frmMain>(QStringList{QStringLiteral("zentor"), QStringLiteral("/SIM")});
    w->move(0, 0);
    w->show();
    if (!waitFor([&] { return mainState().MicConnected && !w->FirstActivate; }, 30000)) {
        fail(QStringLiteral("the microscope did not open: %1").arg(boxes.texts().join(QLatin1Char('|'))));
        return 1;
    }
    pump(500);
    MainPanel* ui = w->ui;
    MicroscopeService& svc = *mainState().micService;
    svc.LampOn();

    const Device devices[] = {
        {"frmSubObj", "Objective", ui->btnObj, ui->ObjCmd, "setNosepiecePosition", 'n',
         [&] { return otherPosition(svc.NosepiecePosition(), mainState().mObj.MAX()); }},
        {"frmSubFilter", "Filter Cube", ui->btnFilter, ui->FilterCmd, "setFilterBlockCassettePosition", 'n',
         [&] { return otherPosition(svc.FilterBlockCassettePosition(), mainState().mFilter.MAX()); }},
        {"frmSubCond", "Condenser", ui->btnCond, ui->CONcmd, "setCondenserCassettePosition", 'n',
         [&] { return otherPosition(svc.CondenserCassettePosition(), mainState().mCon.MAX()); }},
        {"frmSubPath", "Light Path", ui->btnFrmPath, ui->LightPathCmd, "setLightPathDriveLightPath", 'n',
         [&] { return otherPosition(svc.LightPathDriveLightPath(), 3); }},
        {"frmSubAp", "Aperture Stop", ui->btnAp, ui->APcmd, "setApertureStopApertureStop", 'd',
         [&] { return otherValue(svc.ApertureStopApertureStop(), LimitIndex::ApertureStop); }},
        {"frmSubFS", "DIA Field Stop", ui->btnFS, ui->FieldS, "setFieldStopFieldStop", 'd',
         [&] { return otherValue(svc.FieldStopFieldStop(), LimitIndex::FieldStop); }},
        {"frmSubEpiFS", "EPI Field Stop", ui->btnEpiFS, ui->HBXField, "setEpiFieldStopFieldStop", 'd',
         [&] { return otherValue(svc.EpiFieldStopFieldStop(), LimitIndex::EpiFieldStop); }},
        {"frmSubND", "ND Filter", ui->btnND, ui->NDcmd, "setNDFilterTransmission", 'd',
         [&] { return otherValue(svc.NDFilterTransmission(), LimitIndex::NDFilter); }},
        {"frmSubLamp", "Lamp", ui->btnClamp, ui->LampCmd, "setLampControlVoltage", 'd',
         [&] { return otherValue(svc.LampControlVoltage(), LimitIndex::Lamp); }},
        {"frmSubZoom", "Zoom", ui->btnZoom, ui->ZoomCmd, "setOpticalZoomZoom", 'd',
         [&] { return otherValue(svc.OpticalZoomZoom(), LimitIndex::OpticalZoom); }},
    };

    QStringList opened;
    for (const Device& d : devices) {
        const QString form = QLatin1String(d.form);
        usrButton* button = d.buttons[0];
        if (!button->isVisible()) {
            fail(form + QStringLiteral(": its device button is not shown"));
            continue;
        }
        QTest::mouseClick(button, Qt::LeftButton, {}, button->rect().center());
        QWidget* panel = nullptr;
        if (!waitFor([&] { return (panel = FormRegistry::loaded(form)) && panel->isVisible(); }, 3000)) {
            note(form + QStringLiteral(": no panel of this name in this build, left out"));
            if (button->Latched())
                fail(form + QStringLiteral(": button latched without a panel"));
            continue;
        }
        opened << form;
        if (!waitFor([&] { return filled(panel); }, 3000))
            fail(form + QStringLiteral(": the panel did not fill in the service's values"));
        besideMain(panel, w.get());
        pump(400);
        picture(form);
        note(form + QStringLiteral(" open: ") + readings(panel).join(QStringLiteral(" | ")));

        // Through the panel: the main panel's label follows.
        const QString before = d.label[0]->Caption();
        changeThroughPanel(panel);
        if (!waitFor([&] { return d.label[0]->Caption() != before; }, 8000))
            fail(form + QStringLiteral(": the main panel's label stayed \"%1\" after a change on the panel").arg(before));
        else
            note(form + QStringLiteral(": main label \"%1\" -> \"%2\"").arg(before, d.label[0]->Caption()));
        pump(200);

        // A second client: the open panel follows.
        const QStringList shown = readings(panel);
        const QString value = d.otherValue();
        if (!busSet(d.busMember, d.busType, value))
            fail(form + QStringLiteral(": busctl %1 %2 failed").arg(QLatin1String(d.busMember), value));
        else if (!waitFor([&] { return readings(panel) != shown; }, 8000))
            fail(form + QStringLiteral(": the open panel did not follow busctl %1 %2").arg(QLatin1String(d.busMember), value));
        else
            note(form + QStringLiteral(": after busctl %1 %2: ").arg(QLatin1String(d.busMember), value) +
                 readings(panel).join(QStringLiteral(" | ")));
        pump(200);
        picture(form + QStringLiteral("-after"));

        // Closed by its button again; the twin comes up.
        QTest::mouseClick(button, Qt::LeftButton, {}, button->rect().center());
        if (!waitFor([&] { return FormRegistry::loaded(form) == nullptr; }, 3000))
            fail(form + QStringLiteral(": a second press did not close it"));
        if (button->Latched())
            fail(form + QStringLiteral(": the button stayed down after closing"));
    }

    // Refusals of the real service reach the operator as the panels' texts:
    // a stalled nosepiece times out, a position beyond the turret is a
    // limitation; the panel stays as it was and usable.
    if (!boxes.texts().isEmpty())
        fail(QStringLiteral("message boxes: ") + boxes.texts().join(QLatin1Char('|')));
    boxes.clear();
    QTest::mouseClick(ui->btnObj[0], Qt::LeftButton, {}, ui->btnObj[0]->rect().center());
    QWidget* obj = nullptr;
    if (waitFor([&] { return (obj = FormRegistry::loaded(QStringLiteral("frmSubObj"))) && obj->isVisible(); }, 3000)) {
        auto* list = obj->findChild<usrAddress*>(QStringLiteral("txtAdd"));
        waitFor([&] { return filled(obj); }, 3000);
        pump(300);
        const QStringList shown = readings(obj);
        busCall("org.zentor.StandControl", "StallDevice", 'n', QStringLiteral("1"));
        QTest::mouseClick(list, Qt::LeftButton, {}, list->rowRect(list->Address() == 1 ? 2 : 1).center());
        waitFor([&] { return !boxes.texts().isEmpty(); }, 20000);
        ui->downObj_Click();
        emit ui->txtAdd->AddressPicked(9);
        const QStringList expected{QStringLiteral("Position_Change TimeOut Error"), QStringLiteral("Position_Change Limitation")};
        if (boxes.texts() != expected)
            fail(QStringLiteral("refusals gave \"%1\"").arg(boxes.texts().join(QLatin1Char('|'))));
        else
            note(QStringLiteral("refusals: ") + boxes.texts().join(QStringLiteral(" | ")));
        if (readings(obj) != shown || !list->isEnabled())
            fail(QStringLiteral("the nosepiece panel changed after a refusal: %1 -> %2")
                     .arg(shown.join(QLatin1Char('|')), readings(obj).join(QLatin1Char('|'))));
        ui->CloseSelectors();
        QTest::mouseClick(ui->btnObj[0], Qt::LeftButton, {}, ui->btnObj[0]->rect().center());
        waitFor([&] { return FormRegistry::loaded(QStringLiteral("frmSubObj")) == nullptr; }, 3000);
        boxes.clear();
    } else {
        fail(QStringLiteral("the nosepiece panel did not open again"));
    }

    // Every panel at once, tiled in columns right of the main window, in the
    // order opened.
    const QRect screen = QGuiApplication::primaryScreen()->availableGeometry();
    int x = w->frameGeometry().right() + 12, y = 0, columnWidth = 0;
    for (const QString& form : opened) {
        const Device* d = nullptr;
        for (const Device& x : devices)
            if (form == QLatin1String(x.form))
                d = &x;
        QTest::mouseClick(d->buttons[0], Qt::LeftButton, {}, d->buttons[0]->rect().center());
        QWidget* panel = nullptr;
        if (waitFor([&] { return (panel = FormRegistry::loaded(form)) && panel->isVisible(); }, 3000)) {
            pump(100);
            const QSize size = panel->frameGeometry().size();
            if (y > 0 && y + size.height() > screen.bottom()) {
                x += columnWidth + 8;
                y = 0;
                columnWidth = 0;
            }
            panel->move(x, y);
            y += size.height() + 8;
            columnWidth = std::max(columnWidth, size.width());
        }
    }
    pump(600);
    picture(QStringLiteral("all-panels"));

    const QStringList texts = boxes.texts();
    if (!texts.isEmpty())
        fail(QStringLiteral("message boxes: ") + texts.join(QLatin1Char('|')));
    boxes.clear();

    // The service dies while the panels are open: a pick on the condenser
    // panel gives its text, nothing crashes, the window still closes in order.
    if (QWidget* cond = FormRegistry::loaded(QStringLiteral("frmSubCond"))) {
        const uint pid = QDBusConnection::sessionBus().interface()->servicePid(QStringLiteral("org.zentor.Microscope"));
        if (pid == 0 || ::kill(pid_t(pid), SIGKILL) != 0) {
            fail(QStringLiteral("could not end the service process"));
        } else {
            waitFor([&] { return !QDBusConnection::sessionBus().interface()->isServiceRegistered(
                                     QStringLiteral("org.zentor.Microscope")); }, 5000);
            auto* list = cond->findChild<usrAddress*>(QStringLiteral("txtAdd"));
            const QStringList shown = readings(cond);
            QTest::mouseClick(list, Qt::LeftButton, {}, list->rowRect(list->Address() == 1 ? 2 : 1).center());
            waitFor([&] { return !boxes.texts().isEmpty(); }, 30000);
            if (boxes.texts() != QStringList{QStringLiteral("CondenserCassette_Position Error")})
                fail(QStringLiteral("with the service dead a pick gave \"%1\"").arg(boxes.texts().join(QLatin1Char('|'))));
            else
                note(QStringLiteral("service dead: ") + boxes.texts().first());
            if (readings(cond) != shown || !list->isEnabled())
                fail(QStringLiteral("the condenser panel changed with the service dead"));
            picture(QStringLiteral("service-dead"));
        }
    }

    // Closing the window unloads every panel; each writes its place.
    w->close();
    pump(300);
    w.reset();
    QFile ini(SettingsPaths::MainIni());
    const QString text = ini.open(QIODevice::ReadOnly) ? QString::fromLocal8Bit(ini.readAll()) : QString();
    for (const Device& d : devices) {
        if (!opened.contains(QLatin1String(d.form)))
            continue;
        const int at = text.indexOf(QLatin1Char('[') + QLatin1String(d.section) + QLatin1Char(']'));
        if (at < 0 || text.indexOf(QStringLiteral("Top="), at) < 0)
            fail(QStringLiteral("no place of %1 in the INI file").arg(QLatin1String(d.section)));
    }
    note(QStringLiteral("panels driven: ") + opened.join(QLatin1Char(' ')));
    if (opened.size() < 6)
        fail(QStringLiteral("fewer panels than the six this build has"));
    std::printf(g_failures == 0 ? "PASS\n" : "FAILED (%d)\n", g_failures);
    return g_failures == 0 ? 0 : 1;
}
