#pragma once
// The few controls of the main window's panel that device panels write
// themselves: the EPI field stop's setter writes both HBXField labels, the
// lamp's setter both LampCmd labels, the zoom's link box mirrors ZoomLink,
// the focus panel's ZDriveValue_Set both Zcmd labels and the stage panel's
// XYPosition_Refresh both Xcmd and Ycmd labels (an origin changes what they
// show without any move of the drive).
// The panels are built before the main window, so the main window hands them
// its controls when it attaches the panels; a control not handed over (or
// gone) is simply not written.
#include "widgets/PanelControls.h"

#include <QPointer>

struct MainPanelSide {
    QPointer<PanelLabel> HBXField[2];
    QPointer<PanelLabel> LampCmd[2];
    QPointer<PanelCheck> ZoomLink;
    QPointer<PanelLabel> Zcmd[2];
    QPointer<PanelLabel> Xcmd[2];
    QPointer<PanelLabel> Ycmd[2];
};

MainPanelSide& mainPanelSide();

// The large twin (index 0) first, then the compact one, as the dispatch writes them.
void setBothTwins(const QPointer<PanelLabel> (&labels)[2], const QString& text);
