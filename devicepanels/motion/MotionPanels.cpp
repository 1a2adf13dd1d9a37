#include "devicepanels/motion/MotionPanels.h"

#include "devicepanels/motion/frmSubStage.h"
#include "devicepanels/motion/frmSubZ.h"
#include "devicepanels/subpanel/SubPanels.h"
#include "state/FormRegistry.h"

void registerMotionPanels(QWidget* owner)
{
    FormRegistry::registerForm<frmSubZ>("frmSubZ", owner);
    FormRegistry::registerForm<frmSubStage>("frmSubStage", owner);
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
