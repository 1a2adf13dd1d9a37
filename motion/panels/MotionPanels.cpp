#include "motion/panels/MotionPanels.h"

#include "motion/panels/frmSubStage.h"
#include "motion/panels/frmSubZ.h"
#include "panels/SubPanels.h"
#include "state/FormRegistry.h"

#include <QPointer>

namespace {
template <typename Panel>
void creator(const char* name, QWidget* owner)
{
    QPointer<QWidget> guard(owner);
    FormRegistry::setCreator(QLatin1String(name), [guard]() -> QWidget* { return new Panel(guard.data()); });
}
} // namespace

void registerMotionPanels(QWidget* owner)
{
    creator<frmSubZ>("frmSubZ", owner);
    creator<frmSubStage>("frmSubStage", owner);
}

QWidget* openMotionPanel(const QString& formName, const QString& caption, int index)
{
    auto* panel = qobject_cast<SubPanel*>(FormRegistry::instance(formName));
    if (!panel)
        return nullptr;
    if (panel->Caption() != caption) {
        panel->setCaption(caption);
        if (panel->isVisible())
            panel->readStatus();
    }
    if (index < 0)
        SubPanels::unlatchTwins(formName);
    return SubPanels::open(formName, int16_t(index < 0 ? 0 : index));
}
