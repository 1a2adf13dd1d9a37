#include "main/tools/ToolForms.h"

#include "main/tools/frmCommand.h"
#include "main/tools/frmEvent.h"
#include "main/tools/frmVersion2.h"
#include "state/FormRegistry.h"

#include <QPointer>

namespace {
template <typename Form>
void creator(const char* name, QWidget* owner) {
    QPointer<QWidget> guard(owner);
    FormRegistry::setCreator(QLatin1String(name), [guard]() -> QWidget* { return new Form(guard.data()); });
}
} // namespace

void registerToolForms(QWidget* owner) {
    creator<frmEvent>("frmEvent", owner);
    creator<frmVersion2>("frmVersion2", owner);
    creator<frmCommand>("frmCommand", owner);
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
