#pragma once
// The profile editor: the six user observation methods (7 to 12), one per
// tab. It reads them from the service when it opens, lets the operator change
// them, fills a tab from the microscope's present state ("Current Status"),
// sends one or all back, and saves them to or reads them from a text file.
// Its records exist only in the form; the service holds the real ones.
// One instance, made on first use; closing it destroys it.
#include "models/profiles/ProfileFile.h"

#include <QWidget>
#include <cstdint>

class QCheckBox;
class QComboBox;
class QLabel;
class QLineEdit;
class QTabBar;
class QTreeWidget;
class usrButton;

class frmProfile : public QWidget {
    Q_OBJECT
public:
    // The form, created (and loaded) on first use.
    static frmProfile* instance();
    // The form if it exists, never creating it.
    static frmProfile* loaded();
    ~frmProfile() override;

    // The collection (Item(1) to Item(6)).
    const ProfileList& items() const { return m_items; }
    int selectedTab() const;   // 1..6

    // --- controls, named as the operator's panel names them ------------------
    QTabBar* tabProfile = nullptr;
    QLineEdit* txtSel = nullptr;
    QComboBox* ObserveSel = nullptr;
    QComboBox* txtObj = nullptr;
    QCheckBox* ObjChk = nullptr;
    QComboBox* txtFilter = nullptr;
    QComboBox* txtCon = nullptr;
    QComboBox* txtPath = nullptr;
    QCheckBox* PathChk = nullptr;
    QComboBox* txtZoom = nullptr;
    QCheckBox* ZoomChk = nullptr;
    QComboBox* txtAna = nullptr;
    QComboBox* txtAP = nullptr;
    QComboBox* txtFS = nullptr;
    QComboBox* txtND = nullptr;
    QTreeWidget* lstAS = nullptr;
    QTreeWidget* lstFS = nullptr;
    QTreeWidget* lstND = nullptr;
    QLineEdit* ValueAP = nullptr;
    QLineEdit* ValueFS = nullptr;
    QLineEdit* ValueND = nullptr;
    QComboBox* txtLamp = nullptr;
    QComboBox* txtShutter = nullptr;
    QCheckBox* chkSend = nullptr;
    usrButton* btnSend = nullptr;
    usrButton* btnReceive = nullptr;
    usrButton* btnRead = nullptr;
    usrButton* btnSave = nullptr;
    usrButton* btnCancel = nullptr;
    usrButton* btnClose = nullptr;

    // Combo colours, 0x00BBGGRR: a fitted device, and one that is not.
    static constexpr int32_t kFitted = 0x8D675C;
    static constexpr int32_t kNotFitted = 0x807472;

    // --- the form's procedures ----------------------------------------------
    void Profile_Init();
    void Profile_Read();
    void Profile_Show();
    void Profile_Send(int t);
    void Profile_FileRead(const QString& path);
    void Profile_FileWrite(const QString& path);

    void btnSend_Click();
    void btnReceive_Click();
    void btnRead_Click();
    void btnSave_Click();
    void tabProfile_Click(int t);

signals:
    // The service's name of user method t (1..6) as read back after sending:
    // the caption of the main panel's user entry t.
    void userNameRead(int t, const QString& caption);

protected:
    // Escape closes the editor as Cancel does.
    void keyPressEvent(QKeyEvent* e) override;

private:
    frmProfile();
    void buildControls();
    void buildLists();
    void wireEvents();
    void applyLook();

    // Writes a combo's choice into the selected tab's record.
    void comboClicked(QComboBox* combo);
    // The stop combos' click logic: the user memory list and the code.
    void stopClicked(int kind);
    void txtSel_Change(const QString& text);
    void linkClicked(QCheckBox* box);

    clsDefProfile& current();
    // The record of a tab, or nullptr after showing "Profile_Data Error".
    clsDefProfile* currentOrSay();
    void setFitted(QComboBox* combo, bool fitted);
    // Selects the row whose item data equals `value`; false when none does.
    static bool selectByData(QComboBox* combo, int32_t value);

    ProfileList m_items;
    QString m_lastName;       // the last accepted text of the name box
    bool m_showing = false;   // Profile_Show is filling the controls
};
