#include "devicepanels/optics/AddressPanel.h"

#include "devicepanels/subpanel/PanelLook.h"
#include "core/base/RunTimeError.h"
#include "widgets/PanelControls.h"
#include "widgets/usrAddress.h"
#include "widgets/usrButton.h"

#include <QGridLayout>

AddressPanel::AddressPanel(const TurretRow& row, QWidget* owner)
    : SubPanel(QLatin1String(row.formName), QLatin1String(row.caption), owner), m_row(row)
{
    panelLook::applyTo(this);
    txtSel = panelLook::valueLabel(this, QStringLiteral("txtSel"), Caption() + QStringLiteral(" in place"));
    txtSel->setAlignment(Qt::AlignLeft | Qt::AlignVCenter);
    txtSel->setMinimumWidth(220);
    txtAdd = new usrAddress(this);
    txtAdd->setObjectName(QStringLiteral("txtAdd"));
    txtAdd->setAccessibleName(Caption() + QStringLiteral(" positions"));
    txtAdd->setFocusPolicy(Qt::StrongFocus);
    // The names arrive after the panel is laid out: room for them from the start.
    txtAdd->setMinimumWidth(180);
    // The design's selection: the first position, so that a panel with no
    // microscope reads a position and not a bounds error.
    txtAdd->setAddress(1);
    setFixedCaptions();
    txtAdd->setLast(int16_t(m_row.fixedLabels.size()));
    btnClose = makeCloseButton();

    m_grid = new QGridLayout(this);
    m_grid->setContentsMargins(10, 10, 10, 10);
    m_grid->setHorizontalSpacing(10);
    m_grid->setVerticalSpacing(8);
    m_grid->addWidget(txtSel, 0, 0, 1, 2);
    m_grid->addWidget(txtAdd, 1, 0);
    m_grid->addWidget(btnClose, 2, 0, 1, 2, Qt::AlignRight);
    m_grid->setRowStretch(1, 1);
    setTabOrder(txtAdd, btnClose);

    connect(txtAdd, &usrAddress::AddressPicked, this, [this](int16_t a) { txtAdd_AddressPicked(a); });
}

void AddressPanel::setFixedCaptions()
{
    const QStringList& labels = m_row.fixedLabels;
    txtAdd->setCaption1(labels.value(0));
    txtAdd->setCaption2(labels.value(1));
    txtAdd->setCaption3(labels.value(2));
    txtAdd->setCaption4(labels.value(3));
    txtAdd->setCaption5(labels.value(4));
    txtAdd->setCaption6(labels.value(5));
    txtAdd->setCaption7(labels.value(6));
}

void AddressPanel::showFixedLabels()
{
    const QStringList& labels = m_row.fixedLabels;
    setFixedCaptions();
    // With no microscope the list is the fixed one, whole: its rows and its
    // texts, not the names and the count of the turret last connected.
    txtAdd->setFirst(1);
    txtAdd->setLast(int16_t(labels.size()));
    for (int n = 1; n <= labels.size(); ++n)
        txtAdd->SetLabel(labels.at(n - 1), int16_t(n));
    const int16_t a = txtAdd->Address();
    if (a < 1 || a > labels.size())
        throw RunTimeError(RunTimeError::SubscriptOutOfRange, QStringLiteral("Subscript out of range"));
    txtSel->setCaption(labels.at(a - 1));
}

bool AddressPanel::inList(int position) const
{
    return position >= txtAdd->First() && position <= txtAdd->Last();
}

void AddressPanel::txtAdd_AddressPicked(int16_t Address)
{
    const auto move = [&] {
        whileBusy(txtAdd, [&] {
            if (txtAdd->Mode() == 1 && connected())
                (state().micService->*m_row.writePosition)(Address);
        });
    };
    if (m_row.limitationTexts)
        trapMove(QLatin1String(m_row.moveMessage), move);
    else
        trap(QLatin1String(m_row.moveMessage), move);
}
