// Every widget of the family shows plainly when it is greyed: its drawing
// loses colour and brightness, and a click on it raises nothing.
#include "EventSpy.h"
#include "widgets/PanelControls.h"
#include "widgets/usrAddress.h"
#include "widgets/usrButton.h"
#include "widgets/usrPath.h"
#include "widgets/usrPath_M.h"
#include "widgets/usrStage.h"
#include "widgets/usrXscroll.h"
#include "widgets/usrYscroll.h"

#include <QImage>
#include <QSignalSpy>

#include <gtest/gtest.h>
#include <algorithm>
#include <functional>
#include <memory>

namespace {

// Mean colourfulness (largest minus smallest channel) and mean lightness
// of the widget's drawing.
struct Ink {
    double chroma = 0;
    double lightness = 0;
    int mostColourful = 0;  // the largest chroma of any one pixel
};

Ink inkOf(QWidget& w)
{
    const QImage img = w.grab().toImage();
    Ink ink;
    double n = 0;
    for (int y = 0; y < img.height(); ++y)
        for (int x = 0; x < img.width(); ++x) {
            const QColor c = img.pixelColor(x, y);
            const int chroma = std::max({c.red(), c.green(), c.blue()}) - std::min({c.red(), c.green(), c.blue()});
            ink.chroma += chroma;
            ink.mostColourful = std::max(ink.mostColourful, chroma);
            ink.lightness += c.lightness();
            ++n;
        }
    ink.chroma /= n;
    ink.lightness /= n;
    return ink;
}

struct Case {
    const char* name;
    std::function<std::unique_ptr<QWidget>()> make;
};

// Each widget as a panel shows it: with a value, a selection, a latch.
std::vector<Case> family()
{
    return {
        {"usrButton", [] {
             auto b = std::make_unique<usrButton>();
             b->setCaption(QStringLiteral("Objective"));
             b->setLatching(true);
             b->resize(110, 30);
             return std::unique_ptr<QWidget>(std::move(b));
         }},
        {"usrXscroll", [] {
             auto x = std::make_unique<usrXscroll>();
             x->setMin(0);
             x->setMax(12);
             x->setValue(8);
             x->setOrigin(3);
             x->setStyle(2);
             x->setBarColor(0xFFD0C0);
             x->resize(220, 30);
             return std::unique_ptr<QWidget>(std::move(x));
         }},
        {"usrScroll", [] {
             auto z = std::make_unique<usrScroll>();
             z->setMin(0.8);
             z->setMax(4);
             z->setValue(2);
             z->resize(220, 30);
             return std::unique_ptr<QWidget>(std::move(z));
         }},
        {"usrYscroll", [] {
             auto y = std::make_unique<usrYscroll>();
             y->setScaleMin(0);
             y->setScaleMax(1000);
             y->setLimitMin(200);
             y->setLimitMax(800);
             y->setOrigin(300);
             y->setPosition(600);
             y->resize(64, 300);
             return std::unique_ptr<QWidget>(std::move(y));
         }},
        {"usrAddress", [] {
             auto a = std::make_unique<usrAddress>();
             a->setFirst(1);
             a->setLast(6);
             a->setAddress(3);
             a->resize(200, 150);
             return std::unique_ptr<QWidget>(std::move(a));
         }},
        {"usrPath", [] {
             auto p = std::make_unique<usrPath>();
             p->setPathIndex(2);
             p->resize(260, 96);
             return std::unique_ptr<QWidget>(std::move(p));
         }},
        {"usrPath_M", [] {
             auto m = std::make_unique<usrPath_M>();
             m->setScopeType(1);
             m->setPathState(1);
             m->ShowLampOn();
             m->ShowShutterOpen();
             m->setExColor(0xFF6A00);
             m->setBaColor(0x40FF60);
             m->resize(300, 232);
             return std::unique_ptr<QWidget>(std::move(m));
         }},
        {"usrStage", [] {
             auto s = std::make_unique<usrStage>();
             s->setXScaleMin(-1000);
             s->setXScaleMax(1000);
             s->setYScaleMin(-1000);
             s->setYScaleMax(1000);
             s->setXLimitMin(-500);
             s->setXLimitMax(700);
             s->setYLimitMin(-300);
             s->setYLimitMax(400);
             s->setXValue(250);
             s->setYValue(-120);
             s->resize(250, 272);
             return std::unique_ptr<QWidget>(std::move(s));
         }},
        {"PanelLabel", [] {
             // An observation entry: light face, dark text.
             auto l = std::make_unique<PanelLabel>(QStringLiteral(" Brightfield"));
             l->setBackColor(0xFFD0C0);
             l->setForeColor(0);
             l->resize(160, 24);
             return std::unique_ptr<QWidget>(std::move(l));
         }},
        {"PanelLabel on the dark face", [] {
             // A control pad entry: the panel's own dark blue face.
             auto l = std::make_unique<PanelLabel>(QStringLiteral(" Bright"));
             l->setBackColor(0x8D675C);
             l->setFrameShape(QFrame::Box);
             l->resize(90, 24);
             return std::unique_ptr<QWidget>(std::move(l));
         }},
    };
}

} // namespace

TEST(Greyed, EveryWidgetLosesColourAndLightWhenDisabled)
{
    for (const Case& c : family()) {
        std::unique_ptr<QWidget> w = c.make();
        w->show();
        const Ink live = inkOf(*w);
        w->setEnabled(false);
        const Ink greyed = inkOf(*w);
        EXPECT_LT(greyed.chroma, live.chroma * 0.75 + 0.5) << c.name;
        EXPECT_LT(greyed.lightness, live.lightness) << c.name;
        EXPECT_LT(greyed.chroma, 12) << c.name << ": a greyed face has no colour";
        EXPECT_LT(greyed.mostColourful, 40) << c.name << ": no mark of it stays coloured";
    }
}

TEST(Greyed, NoWidgetRaisesAnEventFromAClickOrAKeyWhileDisabled)
{
    for (const Case& c : family()) {
        std::unique_ptr<QWidget> w = c.make();
        w->show();
        w->setEnabled(false);
        EventSpy spy(w.get());
        std::unique_ptr<QSignalSpy> labelClick;
        if (auto* l = qobject_cast<PanelLabel*>(w.get()))
            labelClick = std::make_unique<QSignalSpy>(l, &PanelLabel::Click);
        for (const QPoint& at : {QPoint(5, 5), QPoint(w->width() / 2, w->height() / 2),
                                 QPoint(w->width() - 5, w->height() - 5)})
            QTest::mouseClick(w.get(), Qt::LeftButton, {}, at);
        QTest::keyClick(w.get(), Qt::Key_Space);
        QTest::keyClick(w.get(), Qt::Key_Up);
        EXPECT_EQ(spy.total(), 0) << c.name;
        if (labelClick)
            EXPECT_EQ(labelClick->count(), 0) << c.name;
    }
}

TEST(Greyed, ASlidersEnabledReadsWhatWasWrittenAlsoInsideAGreyedFrame)
{
    QWidget frame;
    auto* slider = new usrXscroll(&frame);
    frame.setEnabled(false);
    slider->setEnabled(true);
    EXPECT_TRUE(slider->Enabled()) << "written true, read true, though the frame greys it";
    EXPECT_FALSE(slider->isEnabled());
    slider->setEnabled(false);
    EXPECT_FALSE(slider->Enabled());
    frame.setEnabled(true);
    EXPECT_FALSE(slider->Enabled());
    slider->setEnabled(true);
    EXPECT_TRUE(slider->Enabled());
}
