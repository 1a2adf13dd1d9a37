#pragma once
// What the slider panels' tests share beyond PanelRig: stand-ins for the main
// panel's controls the panels write themselves, the operator's clicks on a
// slider's parts, and the INI file read back from disk.
#include "devicepanels/subpanel/MainPanelSide.h"
#include "devicepanels/optics/tests/PanelRig.h"
#include "widgets/PanelControls.h"
#include "widgets/usrXscroll.h"

#include <QTextStream>

struct MainSideStandIn {
    PanelLabel HBXField[2];
    PanelLabel LampCmd[2];
    PanelCheck ZoomLink;
    MainSideStandIn() {
        MainPanelSide& side = mainPanelSide();
        for (int i = 0; i < 2; ++i) {
            side.HBXField[i] = &HBXField[i];
            side.LampCmd[i] = &LampCmd[i];
        }
        side.ZoomLink = &ZoomLink;
    }
    ~MainSideStandIn() { mainPanelSide() = MainPanelSide(); }
};

// The operator's clicks on a slider: the end buttons and the track near its
// left end.
inline void clickStepUp(usrSliderBase* s) {
    QTest::mouseClick(s, Qt::LeftButton, {}, QPoint(s->width() - 6, s->height() / 2));
}
inline void clickStepDown(usrSliderBase* s) { QTest::mouseClick(s, Qt::LeftButton, {}, QPoint(6, s->height() / 2)); }
inline void clickTrackLeftEnd(usrSliderBase* s) {
    QTest::mouseClick(s, Qt::LeftButton, {}, QPoint(38, s->height() / 2));
}

// The section of the main INI file as it stands on disk, key=value lines.
inline QStringList sectionOnDisk(const QString& section) {
    QFile f(PanelRig::iniPath());
    if (!f.open(QIODevice::ReadOnly | QIODevice::Text))
        return {};
    QStringList lines;
    bool inside = false;
    QTextStream in(&f);
    while (!in.atEnd()) {
        const QString line = in.readLine().trimmed();
        if (line.startsWith(QLatin1Char('[')))
            inside = line.compare(QLatin1Char('[') + section + QLatin1Char(']'), Qt::CaseInsensitive) == 0;
        else if (inside && !line.isEmpty())
            lines << line;
    }
    return lines;
}

// Opens a panel, moves it, closes it with its own button, and answers the
// section written on disk.
template <typename Panel>
QStringList placeWrittenOnClose(PanelRig& rig, const QString& form, const QString& section,
                                SubPanels::OpensOn gesture) {
    auto pair = rig.buttons(form, gesture);
    PanelRig::click(pair.second);
    pumpEvents();
    auto* panel = qobject_cast<Panel*>(FormRegistry::loaded(form));
    if (!panel)
        return {QStringLiteral("<not opened>")};
    panel->move(120, 75);
    PanelRig::click(panel->btnClose);
    pumpEvents();
    if (FormRegistry::loaded(form) || pair.first->Latched() || pair.second->Latched())
        return {QStringLiteral("<still open or latched>")};
    return sectionOnDisk(section);
}
