#include "panels/DevicePanels.h"

#include "panels/CondenserPanel.h"
#include "panels/FilterCubePanel.h"
#include "panels/LightPathPanel.h"
#include "panels/ObjectivePanel.h"
#include "panels/StopPanel.h"
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

void registerDevicePanels(QWidget* owner)
{
    creator<frmSubAp>("frmSubAp", owner);
    creator<frmSubFS>("frmSubFS", owner);
    creator<frmSubObj>("frmSubObj", owner);
    creator<frmSubFilter>("frmSubFilter", owner);
    creator<frmSubCond>("frmSubCond", owner);
    creator<frmSubPath>("frmSubPath", owner);
}
