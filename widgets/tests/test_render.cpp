// Renders every widget of the family offscreen into PNG files in the test's
// home folder, and checks that each drawing shows something.
#include "EventSpy.h"
#include "widgets/usrAddress.h"
#include "widgets/usrButton.h"
#include "widgets/usrPath.h"
#include "widgets/usrPath_M.h"
#include "widgets/usrStage.h"
#include "widgets/usrXscroll.h"
#include "widgets/usrYscroll.h"

#include <QDir>
#include <QImage>
#include <QPixmap>
#include <QSet>

#include <gtest/gtest.h>

namespace {

QString outDir()
{
    const QByteArray home = qgetenv("ZENTOR_TEST_HOME");
    const QString dir = home.isEmpty() ? QDir::tempPath() : QString::fromLocal8Bit(home);
    QDir().mkpath(dir + QStringLiteral("/screens"));
    return dir + QStringLiteral("/screens");
}

// Saves the drawing and answers how many different colours it has.
int render(QWidget& w, const QString& name)
{
    const QPixmap pm = w.grab();
    const QString file = outDir() + QLatin1Char('/') + name + QStringLiteral(".png");
    EXPECT_TRUE(pm.save(file)) << file.toStdString();
    EXPECT_TRUE(QFile::exists(file));
    const QImage img = pm.toImage();
    QSet<QRgb> colours;
    for (int y = 0; y < img.height(); y += 2)
        for (int x = 0; x < img.width(); x += 2)
            colours.insert(img.pixel(x, y));
    return int(colours.size());
}

} // namespace

TEST(Render, EveryWidgetDrawsToAPngFile)
{
    usrButton b;
    b.setCaption(QStringLiteral("Objective"));
    b.setLatching(true);
    b.resize(100, 30);
    EXPECT_GT(render(b, QStringLiteral("usrButton")), 3);

    usrXscroll x;
    x.setMin(0);
    x.setMax(12);
    x.setValue(8);
    x.setOrigin(3);
    x.setStyle(2);
    x.setBarColor(0xFFD0C0);
    x.resize(220, 30);
    EXPECT_GT(render(x, QStringLiteral("usrXscroll")), 5);

    usrScroll z;
    z.setMin(0.8);
    z.setMax(4);
    z.setValue(2);
    z.resize(220, 30);
    EXPECT_GT(render(z, QStringLiteral("usrScroll")), 5);

    usrYscroll y;
    y.setScaleMin(0);
    y.setScaleMax(1000);
    y.setLimitMin(200);
    y.setLimitMax(800);
    y.setOrigin(300);
    y.setPosition(600);
    y.resize(64, 300);
    EXPECT_GT(render(y, QStringLiteral("usrYscroll")), 5);

    usrAddress a;
    a.setFirst(1);
    a.setLast(6);
    a.setAddress(3);
    a.SetLabel(QStringLiteral("3 :Fluor  20x"), 3);
    a.resize(200, 150);
    EXPECT_GT(render(a, QStringLiteral("usrAddress")), 5);

    usrPath p;
    p.setPathIndex(2);
    p.resize(260, 96);
    EXPECT_GT(render(p, QStringLiteral("usrPath")), 5);

    for (int32_t type : {0, 1, 2, 4}) {
        usrPath_M m;
        m.setScopeType(type);
        m.setPathState(1);
        m.ShowLampOn();
        m.ShowShutterOpen();
        m.setExColor(0xFF6A00);
        m.setBaColor(0x40FF60);
        m.resize(300, 232);
        EXPECT_GT(render(m, QStringLiteral("usrPath_M_type%1").arg(type)), 10) << type;
    }

    usrStage s;
    s.setXScaleMin(-1000);
    s.setXScaleMax(1000);
    s.setYScaleMin(-1000);
    s.setYScaleMax(1000);
    s.setXLimitMin(-500);
    s.setXLimitMax(700);
    s.setYLimitMin(-300);
    s.setYLimitMax(400);
    s.setXValue(250);
    s.setYValue(-120);
    s.setXMemoryPos(0, -600);
    s.setYMemoryPos(0, 300);
    s.resize(250, 272);
    EXPECT_GT(render(s, QStringLiteral("usrStage")), 5);
}
