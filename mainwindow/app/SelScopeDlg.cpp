#include "mainwindow/app/SelScopeDlg.h"

#include <QHBoxLayout>
#include <QKeyEvent>
#include <QLabel>
#include <QListWidget>
#include <QPushButton>
#include <QVBoxLayout>

SelScopeDlg::SelScopeDlg(QWidget* parent) : QDialog(parent) {
    setObjectName(QStringLiteral("SelScopeDlg"));
    setWindowTitle(QStringLiteral("Select Microscope"));
    setModal(true);
    auto* layout = new QVBoxLayout(this);
    // Answered without a mouse: the list has the focus, arrows choose, Enter
    // is OK, Escape is Cancel, Alt+S comes back to the list.
    auto* prompt = new QLabel(QStringLiteral("&Select the microscope to connect to:"), this);
    layout->addWidget(prompt);
    List1 = new QListWidget(this);
    List1->setObjectName(QStringLiteral("List1"));
    List1->setAccessibleName(QStringLiteral("Microscopes"));
    prompt->setBuddy(List1);
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
    List1->setFocus(Qt::OtherFocusReason);
}

void SelScopeDlg::keyPressEvent(QKeyEvent* e) {
    // Escape is the keyboard's Cancel; only the window frame leaves -1.
    if (e->key() == Qt::Key_Escape && e->modifiers() == Qt::NoModifier) {
        btnCancel->click();
        return;
    }
    QDialog::keyPressEvent(e);
}
