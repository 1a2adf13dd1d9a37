#include "mainwindow/tools/ToolWindow.h"

#include "devicepanels/subpanel/PanelLook.h"
#include "state/FormRegistry.h"
#include "widgets/usrButton.h"

#include <QLayout>
#include <QScreen>
#include <QTimer>

#include <algorithm>

ToolWindow::ToolWindow(const QString& formName, const QString& caption, QWidget* owner)
    : QWidget(owner, Qt::Tool) {
    setObjectName(formName);
    setWindowTitle(caption);
    setAttribute(Qt::WA_DeleteOnClose);
    panelLook::applyTo(this);
    FormRegistry::add(formName, this);
}

void ToolWindow::unload() {
    QTimer::singleShot(0, this, [this] { close(); });
}

usrButton* ToolWindow::button(const char* name, const QString& caption, const QString& accessibleName) {
    auto* b = new usrButton(this);
    b->setObjectName(QLatin1String(name));
    b->setLatching(false);
    b->setCaption(caption);
    b->setAccessibleName(accessibleName);
    // Whole in any layout: a squeezed row keeps the button's own height.
    b->setMinimumSize(std::max(80, b->sizeHint().width()), b->sizeHint().height());
    return b;
}

void ToolWindow::showEvent(QShowEvent* e) {
    if (!m_placed) {
        m_placed = true;
        fitAndPlace();
    }
    QWidget::showEvent(e);
}

void ToolWindow::fitAndPlace() {
    if (layout()) {
        layout()->activate();
        // A window made smaller by hand still shows every control whole.
        setMinimumSize(layout()->totalMinimumSize());
    }
    const QWidget* owner = parentWidget() ? parentWidget()->window() : nullptr;
    const QScreen* where = owner ? owner->screen() : screen();
    const QRect room = where ? where->availableGeometry() : QRect(0, 0, 1024, 768);
    // The frame the window system adds is not known before the first
    // showing: a margin is kept for it.
    const QSize frame(16, 40);
    QSize wanted = size().expandedTo(sizeHint()).expandedTo(minimumSize());
    wanted = wanted.boundedTo(room.size() - frame);
    resize(wanted);
    QPoint centre = owner ? owner->frameGeometry().center() : room.center();
    QRect placed(QPoint(0, 0), wanted + frame);
    placed.moveCenter(centre);
    placed.moveLeft(std::clamp(placed.left(), room.left(), std::max(room.left(), room.right() + 1 - placed.width())));
    placed.moveTop(std::clamp(placed.top(), room.top(), std::max(room.top(), room.bottom() + 1 - placed.height())));
    move(placed.topLeft());
}
