#pragma once
// The operator's choice of the camera head, for a camera unit that cannot
// report its head ("CU-K5"). The list holds "Unknown" and then every head
// name of Camera.ini, sections 0 to 20, each once, in section order. With a
// unit that does report its head, only that head can be accepted.
#include <QDialog>
#include <QStringList>

class QListWidget;
class QLabel;
class QPushButton;

class SelCameraDlg : public QDialog {
    Q_OBJECT
public:
    explicit SelCameraDlg(QWidget* parent = nullptr);

    // The rows of List1: "Unknown", then the head names of Camera.ini.
    static QStringList headRows();
    // The unit's "CameraUnit" name; the unit number comes from the service.
    static QString unitName();
    // The head number the service reports, as its "CameraHead" name.
    static QString reportedHead();

    QListWidget* List1 = nullptr;
    QPushButton* OKButton = nullptr;
    QPushButton* CancelButton = nullptr;
    QLabel* Label1 = nullptr;

    // The row chosen with OK, -1 none.
    int chosen() const { return m_chosen; }

protected:
    void showEvent(QShowEvent* e) override;

private:
    void rowSelected();
    void OKButton_Click();

    bool m_unitReportsHead = false;
    int m_chosen = -1;
};
