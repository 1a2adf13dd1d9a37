#include "devicepanels/motion/SelCameraDlg.h"

#include "devicepanels/subpanel/PanelLook.h"
#include "state/MainState.h"

#include <QHBoxLayout>
#include <QLabel>
#include <QListWidget>
#include <QPushButton>
#include <QVBoxLayout>

namespace {
constexpr int kSections = 20;
const QString kCuK5 = QStringLiteral("CU-K5");

QString cameraText(int section, const char* key, const QString& fallback)
{
    return mainState().CameraINI.Ini_ReadStr(QString::number(section), QLatin1String(key), fallback);
}
} // namespace

QStringList SelCameraDlg::headRows()
{
    QStringList rows{QStringLiteral("Unknown")};
    for (int i = 0; i <= kSections; ++i) {
        const QString head = cameraText(i, "CameraHead", QStringLiteral("Unknown"));
        if (!rows.contains(head))
            rows << head;
    }
    return rows;
}

QString SelCameraDlg::unitName()
{
    MainState& s = mainState();
    if (!s.MicConnected || !s.micService)
        return kCuK5;
    return cameraText(s.micService->CameraUnit(), "CameraUnit", kCuK5);
}

QString SelCameraDlg::reportedHead()
{
    return cameraText(mainState().micService->CameraHead(), "CameraHead", QStringLiteral("Unknown"));
}

SelCameraDlg::SelCameraDlg(QWidget* parent) : QDialog(parent)
{
    setObjectName(QStringLiteral("SelCameraDlg"));
    setWindowTitle(QStringLiteral("Select Camera"));
    setAccessibleName(QStringLiteral("Select Camera"));
    panelLook::applyTo(this);
    Label1 = new QLabel(QStringLiteral("Camera head in use:"), this);
    List1 = new QListWidget(this);
    List1->setObjectName(QStringLiteral("List1"));
    List1->setAccessibleName(QStringLiteral("Camera heads"));
    OKButton = new QPushButton(QStringLiteral("OK"), this);
    OKButton->setObjectName(QStringLiteral("OKButton"));
    OKButton->setAccessibleName(QStringLiteral("Use this camera head"));
    CancelButton = new QPushButton(QStringLiteral("Cancel"), this);
    CancelButton->setObjectName(QStringLiteral("CancelButton"));
    CancelButton->setAccessibleName(QStringLiteral("Keep the camera head"));
    auto* v = new QVBoxLayout(this);
    v->addWidget(Label1);
    v->addWidget(List1);
    auto* h = new QHBoxLayout;
    h->addStretch(1);
    h->addWidget(OKButton);
    h->addWidget(CancelButton);
    v->addLayout(h);
    setTabOrder(List1, OKButton);
    setTabOrder(OKButton, CancelButton);

    List1->addItems(headRows());
    try {
        m_unitReportsHead = unitName() != kCuK5;
        if (m_unitReportsHead)
            OKButton->setEnabled(reportedHead() == List1->item(0)->text());
    } catch (const std::exception&) {
        // No answer from the service: only the list can be offered.
        m_unitReportsHead = false;
    }
    connect(List1, &QListWidget::currentRowChanged, this, [this] { rowSelected(); });
    connect(OKButton, &QPushButton::clicked, this, [this] { OKButton_Click(); });
    connect(CancelButton, &QPushButton::clicked, this, &QDialog::reject);
}

void SelCameraDlg::showEvent(QShowEvent* e)
{
    QDialog::showEvent(e);
    if (List1->count() > 0)
        List1->setCurrentRow(0);
}

void SelCameraDlg::rowSelected()
{
    if (!m_unitReportsHead || !List1->currentItem())
        return;
    try {
        OKButton->setEnabled(reportedHead() == List1->currentItem()->text());
    } catch (const std::exception&) {
        OKButton->setEnabled(false);
    }
}

void SelCameraDlg::OKButton_Click()
{
    m_chosen = List1->currentRow();
    if (m_chosen < 0)
        m_chosen = 0;
    mainState().INI.Ini_Write(QStringLiteral("Select Camera"), QStringLiteral("Camera No"), QString::number(m_chosen));
    accept();
}
