// widget_gallery: every widget of the panel family in one window, set up as a
// running stand would show them, for looking at the family by eye.
//   widget_gallery               shows the window
//   widget_gallery --grab F.png  renders the window to F.png and exits
//   widget_gallery --greyed      every widget of the family greyed (disabled)
#include "widgets/WidgetLook.h"
#include "widgets/usrAddress.h"
#include "widgets/usrButton.h"
#include "widgets/usrPath.h"
#include "widgets/usrPath_M.h"
#include "widgets/usrStage.h"
#include "widgets/usrXscroll.h"
#include "widgets/usrYscroll.h"

#include <QApplication>
#include <QGridLayout>
#include <QGroupBox>
#include <QHBoxLayout>
#include <QLabel>
#include <QMouseEvent>
#include <QTimer>
#include <QVBoxLayout>

#include <cstdio>

namespace {

QGroupBox* box(const QString& title, QWidget* content)
{
    auto* g = new QGroupBox(title);
    g->setStyleSheet(QStringLiteral(
        "QGroupBox { color: #c8ccd2; border: 1px solid #4a4e55; border-radius: 4px; margin-top: 14px; "
        "padding: 6px; } QGroupBox::title { subcontrol-origin: margin; left: 8px; padding: 0 4px; }"));
    auto* l = new QVBoxLayout(g);
    l->addWidget(content);
    return g;
}

QLabel* label(const QString& text)
{
    auto* l = new QLabel(text);
    QPalette pal = l->palette();
    pal.setColor(QPalette::WindowText, zentor::look::text());
    l->setPalette(pal);
    return l;
}

} // namespace

int main(int argc, char** argv)
{
    QApplication app(argc, argv);
    QString grabFile;
    const QStringList args = app.arguments();
    const int gi = args.indexOf(QStringLiteral("--grab"));
    if (gi >= 0 && gi + 1 < args.size())
        grabFile = args.at(gi + 1);

    QWidget window;
    window.setWindowTitle(QStringLiteral("Zentor widget gallery"));
    zentor::look::applyTo(&window);
    auto* grid = new QGridLayout(&window);
    grid->setSpacing(10);

    // Device buttons: a latched one, a plain one, a locked and a disabled one.
    auto* buttons = new QWidget;
    auto* bl = new QGridLayout(buttons);
    const char* names[] = {"Objective", "Filter Cube", "Light Path", "Condenser", "Close", "Reset"};
    usrButton* first = nullptr;
    for (int i = 0; i < 6; ++i) {
        auto* b = new usrButton;
        b->setCaption(QString::fromLatin1(names[i]));
        b->setLatching(i < 4);
        b->setMinimumSize(96, 28);
        bl->addWidget(b, i / 2, i % 2);
        if (!first)
            first = b;
        if (i == 3)
            b->setEnabled(false);
        if (i == 5)
            b->setLocked(true);
    }
    grid->addWidget(box(QStringLiteral("usrButton"), buttons), 0, 0);
    QTimer::singleShot(0, first, [first] {
        // Latch the first device button as an open panel would show it.
        QMouseEvent press(QEvent::MouseButtonPress, QPointF(5, 5), first->mapToGlobal(QPointF(5, 5)),
                          Qt::LeftButton, Qt::LeftButton, Qt::NoModifier);
        QApplication::sendEvent(first, &press);
        QMouseEvent release(QEvent::MouseButtonRelease, QPointF(5, 5), first->mapToGlobal(QPointF(5, 5)),
                            Qt::LeftButton, Qt::NoButton, Qt::NoModifier);
        QApplication::sendEvent(first, &release);
    });

    // Sliders: aperture stop, lamp on and off, zoom.
    auto* sliders = new QWidget;
    auto* sl = new QVBoxLayout(sliders);
    auto* ap = new usrXscroll;
    ap->setMin(0.8);
    ap->setMax(28);
    ap->setValue(12.4);
    ap->setOrigin(6);
    ap->setBarColor(0x705a48);
    ap->setStyle(1);
    sl->addWidget(label(QStringLiteral("Aperture Stop  12.4 mm")));
    sl->addWidget(ap);
    auto* lampOn = new usrXscroll;
    lampOn->setMin(0);
    lampOn->setMax(12);
    lampOn->setValue(9);
    lampOn->setStyle(2);
    lampOn->setBarColor(0xFFD0C0);
    sl->addWidget(label(QStringLiteral("Lamp  9 V (on)")));
    sl->addWidget(lampOn);
    auto* lampOff = new usrXscroll;
    lampOff->setMin(0);
    lampOff->setMax(12);
    lampOff->setValue(9);
    lampOff->setStyle(0);
    lampOff->setBarColor(0x241410);
    sl->addWidget(label(QStringLiteral("Lamp  (off)")));
    sl->addWidget(lampOff);
    auto* zoom = new usrScroll;
    zoom->setMin(0.8);
    zoom->setMax(4);
    zoom->setValue(2);
    zoom->setLocked(true);
    sl->addWidget(label(QStringLiteral("Zoom  2 x (not motorised)")));
    sl->addWidget(zoom);
    grid->addWidget(box(QStringLiteral("usrXscroll / usrScroll"), sliders), 1, 0);

    // Focus slider.
    auto* z = new usrYscroll;
    z->setScaleMin(0);
    z->setScaleMax(200000);
    z->setLimitMin(30000);
    z->setLimitMax(150000);
    z->setOrigin(60000);
    z->setPosition(112000);
    z->setMinimumHeight(300);
    auto* zRange = new usrYscroll;
    zRange->setScaleMin(0);
    zRange->setScaleMax(200000);
    zRange->setLimitMin(30000);
    zRange->setLimitMax(150000);
    zRange->setOrigin(60000);
    zRange->setPosition(112000);
    zRange->setmode(2);
    auto* zs = new QWidget;
    auto* zl = new QHBoxLayout(zs);
    zl->addWidget(z);
    zl->addWidget(zRange);
    grid->addWidget(box(QStringLiteral("usrYscroll (mode 1, 2)"), zs), 0, 1, 2, 1);

    // Position selector as the nosepiece list.
    auto* add = new usrAddress;
    add->setFirst(1);
    add->setLast(6);
    const char* objectives[] = {"Plan  4x", "Fluor  10x", "Fluor  20x", "Apo  40x", "Apo  60x Oil", ""};
    for (int16_t i = 1; i <= 6; ++i)
        add->SetLabel(QStringLiteral("%1 :%2").arg(i).arg(QString::fromLatin1(objectives[i - 1])), i);
    add->setAddress(3);
    add->setMinimumSize(200, 156);
    grid->addWidget(box(QStringLiteral("usrAddress"), add), 0, 2);

    auto* path = new usrPath;
    path->setPathIndex(1);
    grid->addWidget(box(QStringLiteral("usrPath"), path), 1, 2);

    auto* mainPath = new usrPath_M;
    mainPath->setScopeType(1);
    mainPath->setPathState(1);
    mainPath->ShowLampOn();
    mainPath->ShowShutterOpen();
    mainPath->ShowAnalyzerIn();
    mainPath->ShowObserve(1);
    mainPath->setExColor(0xFF6A00);  // blue excitation
    mainPath->setBaColor(0x40FF60);  // green emission
    mainPath->setMinimumSize(300, 232);
    grid->addWidget(box(QStringLiteral("usrPath_M"), mainPath), 0, 3);

    auto* stage = new usrStage;
    stage->setXScaleMin(-100000);
    stage->setXScaleMax(100000);
    stage->setYScaleMin(-60000);
    stage->setYScaleMax(60000);
    stage->setXLimitMin(-50000);
    stage->setXLimitMax(70000);
    stage->setYLimitMin(-30000);
    stage->setYLimitMax(40000);
    stage->setXOrigin(-20000);
    stage->setYOrigin(10000);
    stage->setXValue(25000);
    stage->setYValue(-12000);
    stage->setXMemoryPos(0, -60000);
    stage->setYMemoryPos(0, 30000);
    stage->setXMemoryPos(2, 80000);
    stage->setYMemoryPos(2, -40000);
    stage->setMinimumSize(250, 272);
    grid->addWidget(box(QStringLiteral("usrStage"), stage), 1, 3);

    if (args.contains(QStringLiteral("--greyed"))) {
        for (QWidget* w : window.findChildren<QWidget*>())
            if (QByteArray(w->metaObject()->className()).startsWith("usr"))
                w->setEnabled(false);
    }
    window.resize(window.sizeHint());
    if (grabFile.isEmpty()) {
        window.show();
        return app.exec();
    }
    window.show();
    QTimer::singleShot(50, &window, [&] {
        const bool ok = window.grab().save(grabFile);
        std::fprintf(stderr, ok ? "saved %s\n" : "could not save %s\n", qPrintable(grabFile));
        app.exit(ok ? 0 : 1);
    });
    return app.exec();
}
