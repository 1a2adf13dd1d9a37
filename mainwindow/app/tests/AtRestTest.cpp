// A connected main window with no device changing does nothing: no paint, no
// relayout and no timer of the window or any of its widgets, in both looks.
// Counted with an application-wide event filter over a second of quiet; the
// counts are asserted, never a time.
#include "MainWindowTestSupport.h"
#include "widgets/usrPath_M.h"
#include "devicepanels/subpanel/SubPanels.h"
#include "state/FormRegistry.h"

#include <QEvent>
#include <QSet>
#include <QWidget>
#include <gtest/gtest.h>

namespace {

// Counts the events of the windows and of every widget inside them that mean
// work: a paint, a relayout, a timer firing.
class WorkCounter : public QObject {
public:
    explicit WorkCounter(QWidget* window) : WorkCounter(QList<QWidget*>{window}) {}
    explicit WorkCounter(const QList<QWidget*>& windows)
    {
        for (QWidget* w : windows)
            m_windows.insert(w);
        qApp->installEventFilter(this);
    }
    ~WorkCounter() override { qApp->removeEventFilter(this); }
    int paints = 0;
    int relayouts = 0;
    int timers = 0;
    QStringList painted;
    QSet<QObject*> paintedObjects;

protected:
    bool eventFilter(QObject* watched, QEvent* event) override
    {
        if (!isInside(watched))
            return false;
        switch (event->type()) {
        case QEvent::Paint:
            ++paints;
            paintedObjects.insert(watched);
            if (painted.size() < 10)
                painted << QString::fromLatin1(watched->metaObject()->className()) + QLatin1Char(' ') +
                               watched->objectName();
            break;
        case QEvent::LayoutRequest:
            ++relayouts;
            break;
        case QEvent::Timer:
            ++timers;
            break;
        default:
            break;
        }
        return false;
    }

private:
    bool isInside(QObject* o) const
    {
        for (QObject* p = o; p; p = p->parent())
            if (m_windows.contains(p))
                return true;
        return false;
    }
    QSet<QObject*> m_windows;
};

// Lets the window settle after a change, then counts what it does during a
// second in which nothing changes.
void expectNothingDoneAtRest(const QList<QWidget*>& windows, const char* look)
{
    pump(500);
    WorkCounter counter(windows);
    pump(1000);
    EXPECT_EQ(counter.paints, 0) << look << ": painted " << counter.painted.join(QStringLiteral(", ")).toStdString();
    EXPECT_EQ(counter.relayouts, 0) << look;
    EXPECT_EQ(counter.timers, 0) << look;
}

void expectNothingDoneAtRest(frmMain* w, const char* look) { expectNothingDoneAtRest(QList<QWidget*>{w}, look); }

} // namespace

TEST(AtRest, AConnectedWindowPaintsNothingWhileNoDeviceChanges)
{
    MsgBox::Recorder rec;
    MainRun run({standFile("full-system.json")});
    frmMain* w = run.start({QStringLiteral("/SIM")});
    ASSERT_TRUE(mainState().MicConnected);
    ASSERT_TRUE(w->isVisible());
    expectNothingDoneAtRest(w, "large look");

    run.ui()->btnGUIClose_Released();
    expectNothingDoneAtRest(w, "compact look");

    // A change is still drawn: the rest above is not a window that never
    // paints. The labels lying over the drawing may paint with it, but ask
    // for no paint of their own, so the window comes to rest again.
    run.ui()->btnGUIOpen_Released();
    pump(200);
    WorkCounter counter(w);
    const bool open = run.ui()->usrMainPath->ShutterOpen();
    if (open)
        run.ui()->usrMainPath->ShowShutterClose();
    else
        run.ui()->usrMainPath->ShowShutterOpen();
    pump(200);
    EXPECT_TRUE(counter.paintedObjects.contains(run.ui()->usrMainPath));
    EXPECT_EQ(run.ui()->usrMainPath->ShutterOpen(), !open);
    // ... and the window is at rest again afterwards.
    expectNothingDoneAtRest(w, "after a change");
}

TEST(AtRest, EveryOpenDevicePanelIsAtRestWithTheWindow)
{
    MsgBox::Recorder rec;
    MainRun run({standFile("full-system.json")});
    frmMain* w = run.start({QStringLiteral("/SIM")});
    ASSERT_TRUE(mainState().MicConnected);
    QList<QWidget*> windows{w};
    QStringList opened;
    for (const QString& name : SubPanels::order()) {
        if (QWidget* panel = SubPanels::open(name, 0)) {
            windows << panel;
            opened << name;
        }
    }
    // The full stand has every device with a panel (the fiber has its own server).
    EXPECT_GE(opened.size(), SubPanels::order().size() - 1) << opened.join(QLatin1Char(' ')).toStdString();
    expectNothingDoneAtRest(windows, "every panel open");
    for (const QString& name : opened)
        EXPECT_TRUE(FormRegistry::loaded(name) && FormRegistry::loaded(name)->isVisible()) << name.toStdString();
}
