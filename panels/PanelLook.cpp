#include "panels/PanelLook.h"

#include "main/widgets/PanelControls.h"
#include "main/widgets/Units.h"
#include "main/widgets/WidgetLook.h"

#include <QFont>
#include <QPalette>

namespace panelLook {
namespace {
constexpr int32_t kFace = 0x3A2420;       // the device frames' face on the main panel
constexpr int32_t kValueText = 0xFFE8DC;  // device values, the panel's main reading
constexpr int32_t kDimText = 0xB09890;    // captions
} // namespace

void applyTo(QWidget* panel)
{
    zentor::look::applyTo(panel);
    QPalette pal = panel->palette();
    pal.setColor(QPalette::Window, zentor::colorFromBgr(kFace));
    panel->setPalette(pal);
    panel->setAutoFillBackground(true);
    QFont f = panel->font();
    f.setPointSizeF(9.0);
    panel->setFont(f);
}

PanelLabel* valueLabel(QWidget* parent, const QString& name, const QString& accessibleName)
{
    auto* l = new PanelLabel(QString(), parent);
    l->setObjectName(name);
    l->setTransparent(true);
    l->setForeColor(kValueText);
    QFont f = l->font();
    f.setPointSizeF(11.0);
    f.setBold(true);
    l->setFont(f);
    l->setMinimumWidth(zentor::twipsToPixels(1300));
    l->setAlignment(Qt::AlignRight | Qt::AlignVCenter);
    l->setAccessibleName(accessibleName);
    return l;
}

PanelLabel* caption(QWidget* parent, const QString& text)
{
    auto* l = new PanelLabel(text, parent);
    l->setTransparent(true);
    l->setForeColor(kDimText);
    return l;
}

} // namespace panelLook
