#include "devicepanels/motion/MotionPanelParts.h"

#include "core/base/BlockingWait.h"
#include "core/base/RunTimeError.h"
#include "core/base/VbConvert.h"
#include "widgets/usrButton.h"

#include <QEventLoop>
#include <QPainter>
#include <QPainterPath>
#include <QTimer>

namespace motionParts {

namespace {
usrButton* button(QWidget* parent, const char* name, const QString& caption, const QString& accessible,
                  bool latches)
{
    auto* b = new usrButton(parent);
    b->setObjectName(QLatin1String(name));
    b->setLatching(latches);
    b->setCaption(caption);
    b->setAccessibleName(accessible);
    b->setFocusPolicy(Qt::StrongFocus);
    return b;
}

QPixmap escapePicture(bool escaped)
{
    QPixmap pm(40, 28);
    pm.fill(Qt::transparent);
    QPainter p(&pm);
    p.setRenderHint(QPainter::Antialiasing);
    // Amber when escaped: the drive is away from the sample.
    const QColor ink = escaped ? QColor(0xE6, 0xBE, 0x28) : QColor(0xC0, 0xD0, 0xFF);
    p.setPen(QPen(ink, 2));
    p.drawLine(6, 4, 34, 4);                       // the sample plane
    QPainterPath arrow;
    if (escaped) {                                  // press to come back up
        arrow.moveTo(20, 8);
        arrow.lineTo(13, 16);
        arrow.lineTo(27, 16);
    } else {                                        // press to go down and away
        arrow.moveTo(20, 24);
        arrow.lineTo(13, 16);
        arrow.lineTo(27, 16);
    }
    arrow.closeSubpath();
    p.fillPath(arrow, ink);
    p.drawLine(20, escaped ? 16 : 8, 20, escaped ? 24 : 16);
    return pm;
}
} // namespace

usrButton* oneShot(QWidget* parent, const char* name, const QString& caption, const QString& accessible)
{
    return button(parent, name, caption, accessible, false);
}

usrButton* latching(QWidget* parent, const char* name, const QString& caption, const QString& accessible)
{
    return button(parent, name, caption, accessible, true);
}

std::array<QPixmap, 2> escapeImages() { return {escapePicture(false), escapePicture(true)}; }

int32_t roundCount(double v) { return vb::toInt32(v); }

void pause(int ms)
{
    QEventLoop loop;
    QTimer::singleShot(ms, &loop, &QEventLoop::quit);
    blockingWait::run(loop);
}

ScaleWindow scaleWindow(double value, double min, double max, double percent)
{
    ScaleWindow sw;
    const double w = double(roundCount(max * percent / 100)) - roundCount(min * percent / 100);
    const double hi = roundCount(value + w / 2);
    double excess = 0;
    if (max <= hi) {
        sw.high = max;
        excess = hi - max;
    } else {
        sw.high = hi;
    }
    const double lo = roundCount(value - w / 2);
    if (min >= lo) {
        sw.low = min;
        sw.high -= lo - min;
    } else {
        sw.low = lo + excess;
    }
    return sw;
}


} // namespace motionParts
