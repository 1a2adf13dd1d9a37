#pragma once
// The choice of the microscope when more than one is available and none was
// named on the command line. SelectedItem: the list position chosen with OK,
// -3 when cancelled, -1 when the dialog was closed by its frame.
#include <QDialog>
#include <cstdint>

class QListWidget;
class QPushButton;

class SelScopeDlg : public QDialog {
    Q_OBJECT
public:
    explicit SelScopeDlg(QWidget* parent = nullptr);

    QListWidget* List1 = nullptr;
    QPushButton* btnOK = nullptr;
    QPushButton* btnCancel = nullptr;
    int16_t SelectedItem = -1;

    // Shows the dialog modally and answers SelectedItem.
    int16_t choose();

protected:
    void showEvent(QShowEvent* e) override;
    void keyPressEvent(QKeyEvent* e) override;
};
