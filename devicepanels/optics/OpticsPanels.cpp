#include "devicepanels/optics/OpticsPanels.h"

#include "devicepanels/optics/CondenserPanel.h"
#include "devicepanels/optics/FilterCubePanel.h"
#include "devicepanels/optics/LampPanel.h"
#include "devicepanels/optics/LightPathPanel.h"
#include "devicepanels/optics/ObjectivePanel.h"
#include "devicepanels/optics/StopPanel.h"
#include "devicepanels/optics/ZoomPanel.h"
#include "state/FormRegistry.h"

void registerOpticsPanels(QWidget* owner)
{
    FormRegistry::registerForm<frmSubAp>("frmSubAp", owner);
    FormRegistry::registerForm<frmSubFS>("frmSubFS", owner);
    FormRegistry::registerForm<frmSubEpiFS>("frmSubEpiFS", owner);
    FormRegistry::registerForm<frmSubND>("frmSubND", owner);
    FormRegistry::registerForm<frmSubLamp>("frmSubLamp", owner);
    FormRegistry::registerForm<frmSubZoom>("frmSubZoom", owner);
    FormRegistry::registerForm<frmSubObj>("frmSubObj", owner);
    FormRegistry::registerForm<frmSubFilter>("frmSubFilter", owner);
    FormRegistry::registerForm<frmSubCond>("frmSubCond", owner);
    FormRegistry::registerForm<frmSubPath>("frmSubPath", owner);
}
