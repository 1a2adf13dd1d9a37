#include "mainwindow/tools/ToolForms.h"

#include "mainwindow/tools/frmCommand.h"
#include "mainwindow/tools/frmEvent.h"
#include "mainwindow/tools/frmVersion2.h"
#include "state/FormRegistry.h"

void registerToolForms(QWidget* owner) {
    FormRegistry::registerForm<frmEvent>("frmEvent", owner);
    FormRegistry::registerForm<frmVersion2>("frmVersion2", owner);
    FormRegistry::registerForm<frmCommand>("frmCommand", owner);
}

QWidget* showToolForm(const QString& formName) {
    QWidget* w = FormRegistry::instance(formName);
    if (!w)
        return nullptr;
    w->show();
    w->raise();
    w->activateWindow();
    return w;
}
