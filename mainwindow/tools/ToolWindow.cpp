#include "mainwindow/tools/ToolWindow.h"

#include "devicepanels/subpanel/PanelLook.h"
#include "state/FormRegistry.h"
#include "widgets/usrButton.h"

#include <QTimer>

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
    b->setMinimumWidth(80);
    return b;
}
