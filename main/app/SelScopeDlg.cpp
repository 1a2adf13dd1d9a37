#include "main/app/SelScopeDlg.h"

#include <QHBoxLayout>
#include <QLabel>
#include <QListWidget>
#include <QPushButton>
#include <QVBoxLayout>

SelScopeDlg::SelScopeDlg(QWidget* parent) : QDialog(parent) {
    setObjectName(QStringLiteral("SelScopeDlg"));
    setWindowTitle(QStringLiteral("Select Microscope"));
    setModal(true);
    auto* layout = new QVBoxLayout(this);
    layout->addWidget(new QLabel(QStringLiteral("Select the microscope to connect to:"), this));
    List1 = new QListWidget(this);
    List1->setObjectName(QStringLiteral("List1"));
    layout->addWidget(List1);
    auto* buttons = new QHBoxLayout;
    btnOK = new QPushButton(QStringLiteral("OK"), this);
    btnOK->setObjectName(QStringLiteral("btnOK"));
    btnCancel = new QPushButton(QStringLiteral("Cancel"), this);
    btnCancel->setObjectName(QStringLiteral("btnCancel"));
    buttons->addStretch();
    buttons->addWidget(btnOK);
    buttons->addWidget(btnCancel);
    layout->addLayout(buttons);
    btnOK->setDefault(true);

    connect(btnOK, &QPushButton::clicked, this, [this] {
        SelectedItem = static_cast<int16_t>(List1->currentRow());
        done(QDialog::Accepted);
    });
    connect(btnCancel, &QPushButton::clicked, this, [this] {
        SelectedItem = -3;
        done(QDialog::Rejected);
    });
    connect(List1, &QListWidget::itemDoubleClicked, btnOK, &QPushButton::click);
}

int16_t SelScopeDlg::choose() {
    SelectedItem = -1; // closing by the frame leaves this: no microscope
    exec();
    return SelectedItem;
}

void SelScopeDlg::showEvent(QShowEvent* e) {
    QDialog::showEvent(e);
    if (List1->count() > 0)
        List1->setCurrentRow(0);
}
