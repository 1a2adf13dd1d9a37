#include "devicepanels/profiles/ColourPicker.h"

#include "widgets/Units.h"
#include "widgets/usrButton.h"
#include "widgets/usrPath_M.h"
#include "models/optics/WaveColor.h"
#include "devicepanels/profiles/Dialogs.h"

#include <QHBoxLayout>
#include <QKeyEvent>
#include <QLabel>
#include <QMouseEvent>
#include <QPainter>
#include <QVBoxLayout>

namespace {
QPointer<ColourPicker> g_open;

// The colour dialog's last answer for each part, for the run: the sample
// patch of a picker shows it, as the frame's own patch kept it while the
// frame was hidden.
struct DialogAnswers {
    bool given[3] = {false, false, false};
    int32_t colour[3] = {0, 0, 0};
};
DialogAnswers& dialogAnswers() {
    static DialogAnswers answers;
    return answers;
}

void paintSample(QFrame* sample, ColourPicks::Part part) {
    const DialogAnswers& a = dialogAnswers();
    if (!a.given[part]) {
        sample->setAutoFillBackground(false);
        return;
    }
    QPalette p = sample->palette();
    p.setColor(QPalette::Window, zentor::colorFromBgr(a.colour[part]));
    sample->setPalette(p);
    sample->setAutoFillBackground(true);
}
} // namespace

ColourStrip::ColourStrip(QWidget* parent) : QWidget(parent) {
    setFocusPolicy(Qt::StrongFocus);
    setCursor(Qt::CrossCursor);
    setMinimumSize(160, 22);
}

void ColourStrip::setColors(int32_t left, int32_t right) {
    m_left = left;
    m_right = right;
    update();
}

int32_t ColourStrip::colorAt(int x) const { return Strip_LineColor(m_left, m_right, width(), x); }

void ColourStrip::paintEvent(QPaintEvent*) {
    QPainter p(this);
    for (int x = 0; x < width(); ++x) {
        p.setPen(zentor::colorFromBgr(colorAt(x)));
        p.drawLine(x, 0, x, height() - 1);
    }
    if (hasFocus()) {
        p.setPen(QPen(Qt::white, 1, Qt::DotLine));
        p.drawRect(rect().adjusted(0, 0, -1, -1));
    }
}

void ColourStrip::mouseReleaseEvent(QMouseEvent* e) {
    if (e->button() == Qt::LeftButton && rect().contains(e->position().toPoint()))
        emit picked(colorAt(int(e->position().x())));
}

// From the keyboard the strip gives its middle colour.
void ColourStrip::keyPressEvent(QKeyEvent* e) {
    if (e->key() == Qt::Key_Return || e->key() == Qt::Key_Enter || e->key() == Qt::Key_Space)
        emit picked(colorAt(width() / 2));
    else
        QWidget::keyPressEvent(e);
}

ColourPicker* ColourPicker::current() { return g_open; }

ColourPicker* ColourPicker::open(ColourPicks::Part part, usrPath_M* path, QWidget* anchor) {
    if (g_open) g_open->close();
    if (!ColourPicks::Choosable(mainState(), part)) return nullptr;
    auto* picker = new ColourPicker(part, path, anchor->window());
    g_open = picker;
    picker->adjustSize();
    picker->move(anchor->mapToGlobal(QPoint(anchor->width() - picker->width(), anchor->height() + 2)));
    picker->show();
    picker->strip->isVisible() ? picker->strip->setFocus() : picker->selColor->setFocus();
    return picker;
}

ColourPicker::ColourPicker(ColourPicks::Part part, usrPath_M* path, QWidget* owner)
    : QFrame(owner, Qt::Popup), m_part(part), m_path(path), m_owner(owner) {
    setAttribute(Qt::WA_DeleteOnClose);
    const bool ex = part == ColourPicks::Excitation;
    setObjectName(ex ? QStringLiteral("frmExColor") : QStringLiteral("frmBaColor"));
    setAccessibleName(ex ? QStringLiteral("Excitation light colour") : QStringLiteral("Barrier filter colour"));
    setFrameShape(QFrame::Box);
    setStyleSheet(QStringLiteral("ColourPicker { background: #20243a; border: 1px solid #5c678d; }"
                                 "QLabel { color: #c0d0ff; }"));
    auto* box = new QVBoxLayout(this);
    box->setContentsMargins(8, 6, 8, 8);
    caption = new QLabel(ex ? QStringLiteral("Excitation colour") : QStringLiteral("Barrier colour"), this);
    box->addWidget(caption);
    strip = new ColourStrip(this);
    strip->setObjectName(ex ? QStringLiteral("ExPicture") : QStringLiteral("BaPicture"));
    strip->setAccessibleName(ex ? QStringLiteral("Excitation wavelengths") : QStringLiteral("Barrier wavelengths"));
    strip->setToolTip(QStringLiteral("Click the colour to take"));
    box->addWidget(strip);
    auto* row = new QHBoxLayout;
    selColor = new usrButton(this);
    selColor->setObjectName(ex ? QStringLiteral("selColor") : QStringLiteral("selBaColor"));
    selColor->setCaption(QStringLiteral("Colour..."));
    selColor->setAccessibleName(QStringLiteral("Choose any colour"));
    selColor->setMinimumSize(100, 28);
    sample = new QFrame(this);
    sample->setObjectName(ex ? QStringLiteral("ExFColor") : QStringLiteral("BaFColor"));
    sample->setAccessibleName(QStringLiteral("Colour last chosen in the dialog"));
    sample->setFrameShape(QFrame::Box);
    sample->setMinimumSize(40, 28);
    paintSample(sample, part);
    row->addWidget(selColor);
    row->addWidget(sample);
    row->addStretch(1);
    box->addLayout(row);
    setTabOrder(strip, selColor);

    // The strip runs through the filter's wavelengths, when its text names them.
    MainState& s = mainState();
    int32_t left = 0, right = 0;
    const clsDefFillterCasette& cube = s.mFilterData[s.mFilter.Address() - 1];
    const WaveReading reading = ex ? Wave_Read(cube.Reiki(), cube.EXName()) : Wave_Read(cube.Kyusyu(), cube.BAName());
    if (reading.kind == WaveReading::Catalogue && reading.hasStrip) {
        Strip_Set(reading.left, reading.right, left, right);
        strip->setColors(left, right);
    } else {
        strip->hide();
    }

    connect(strip, &ColourStrip::picked, this, [this](int32_t c) { keep(c); });
    connect(selColor, &usrButton::Released, this, [this] {
        // The dialog starts at the main panel's back colour; its answer is kept
        // as it stands, the -1 of a cancel included. The picker closes first,
        // so only what the dialog needs is kept here.
        const ColourPicks::Part part = m_part;
        const QPointer<usrPath_M> path = m_path;
        const QPointer<QWidget> owner = m_owner;
        const int32_t initial = owner ? zentor::bgrFromColor(owner->palette().color(QPalette::Window)) : 0;
        close();
        const int32_t colour = Dialogs::Color_Dialog(owner, initial);
        dialogAnswers().given[part] = true;
        dialogAnswers().colour[part] = colour;
        if (path) ColourPicks::Pick(mainState(), path, part, colour);
    });
}

void ColourPicker::keep(int32_t colour) {
    if (m_path) ColourPicks::Pick(mainState(), m_path, m_part, colour);
    close();
}
