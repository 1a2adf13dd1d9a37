#include "devicepanels/subpanel/PanelLook.h"

#include "widgets/PanelControls.h"
#include "widgets/Units.h"
#include "widgets/WidgetLook.h"
#include "widgets/usrButton.h"

#include <QFont>
#include <QGridLayout>
#include <algorithm>
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
    // Read as the name and the value shown ("Lamp voltage 4.5 V"), as the
    // main panel's readings are.
    l->setAccessiblePrefix(accessibleName);
    return l;
}

PanelLabel* caption(QWidget* parent, const QString& text)
{
    auto* l = new PanelLabel(text, parent);
    l->setTransparent(true);
    l->setForeColor(kDimText);
    return l;
}

void sliderLayout(QWidget* panel, QWidget* slider, QWidget* value, const QList<QWidget*>& buttons,
                  QWidget* close)
{
    auto* grid = new QGridLayout(panel);
    grid->setContentsMargins(10, 10, 10, 10);
    grid->setHorizontalSpacing(8);
    grid->setVerticalSpacing(8);
    const int last = std::max(3, int(buttons.size()) + 1);
    grid->addWidget(slider, 0, 0, 1, last);
    grid->addWidget(value, 0, last);
    int column = 0;
    for (QWidget* b : buttons)
        grid->addWidget(b, 1, column++);
    grid->addWidget(close, 1, last, Qt::AlignRight);
    grid->setColumnStretch(last - 1, 1);
    QWidget* previous = slider;
    for (QWidget* next : buttons + QList<QWidget*>{close}) {
        QWidget::setTabOrder(previous, next);
        previous = next;
    }
}

usrButton* oneShot(QWidget* parent, const char* name, const QString& caption, const QString& accessibleName)
{
    auto* b = new usrButton(parent);
    b->setObjectName(QLatin1String(name));
    b->setLatching(false);
    b->setCaption(caption);
    b->setAccessibleName(accessibleName);
    return b;
}

} // namespace panelLook
