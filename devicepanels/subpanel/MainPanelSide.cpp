#include "devicepanels/subpanel/MainPanelSide.h"

MainPanelSide& mainPanelSide()
{
    static MainPanelSide side;
    return side;
}

void setBothTwins(const QPointer<PanelLabel> (&labels)[2], const QString& text)
{
    for (const QPointer<PanelLabel>& label : labels)
        if (label)
            label->setCaption(text);
}
