#pragma once
// One device panel of the main window. Every panel follows one lifecycle:
// the main window opens it at the place remembered in its INI section
// (SubPanels::open); each time it is activated it asks the service for what
// is mounted, the limits and the present value (Get_Status); the operator's
// gestures go straight to the service and the value shown is only ever what
// the service reports back; unloading it (however it is closed) writes its
// place back and lets both twin device buttons of the main window up.
//
// A panel keeps no device state of its own: it reads and writes the
// parameter objects of mainState(). Its handlers do nothing while no
// microscope is connected, and every service failure is trapped into the
// panel's fixed message text with the state left as it was.
#include "state/MainState.h"

#include <QElapsedTimer>
#include <QPointer>
#include <QString>
#include <QWidget>
#include <functional>

class RunTimeError;
class usrButton;

class SubPanel : public QWidget {
    Q_OBJECT
public:
    // `formName` is the name the form registry knows (frmSubAp); `caption`
    // is the window's caption and the INI section of its place ("Aperture
    // Stop"). `owner` is the main window: panels are tool windows it owns, so
    // they go with it; they are top-most, above other programs' windows too.
    SubPanel(const QString& formName, const QString& caption, QWidget* owner);
    // Unload: writes Top and Left, unlatches both twin buttons.
    ~SubPanel() override;

    QString formName() const { return m_formName; }
    QString Caption() const { return m_caption; }
    // A panel that serves several modes by its caption (the focus and stage
    // panels): the caption names the mode and the INI section of the place.
    void setCaption(const QString& caption);
    // Whether unloading writes the place; such a panel keeps it only in its
    // normal mode.
    void setKeepsPlace(bool keeps) { m_keepsPlace = keeps; }

    // Reads everything from the service and fills the widgets.
    Q_INVOKABLE virtual void Get_Status() = 0;
    // Get_Status with its reads as one group, which the service may answer
    // from one picture of the stand (every activation reads this way).
    void readStatus();
    // The panel has just been shown: it is read now, whether or not the
    // window system activates it; the activation that follows the opening
    // (if any) does not read it a second time.
    void fillOnOpening();

    // Where the panel opens when its section has no place yet, in twips of
    // the screen; unset, beside the main window.
    void setDesignPlace(int leftTwips, int topTwips);
    bool hasDesignPlace() const { return m_designLeft >= 0; }
    int designLeft() const { return m_designLeft; }
    int designTop() const { return m_designTop; }

    // The panel's frame position in twips, as the INI file keeps it.
    int Top() const;
    int Left() const;
    void setTop(int twips);
    void setLeft(int twips);

    // The twin device button that opened the panel last (0 large, 1 compact), -1 none.
    int16_t openedBy() const { return m_openedBy; }
    void setOpenedBy(int16_t index) { m_openedBy = index; }

protected:
    static MainState& state() { return mainState(); }
    static bool connected() { return mainState().MicConnected; }

    // Runs `call`; any failure shows `message` in one box and answers false.
    bool trap(const QString& message, const std::function<void()>& call);
    // Runs a move; a failure shows `operation` followed by " Limitation"
    // (…4BE), " TimeOut Error" (…4B7) or " Error" (anything else).
    bool trapMove(const QString& operation, const std::function<void()>& call);
    // A device command that may block for the motor's whole move: the
    // pointer shows the hourglass, `busy` is disabled meanwhile, and the
    // clicks and keys given during the move are dropped afterwards.
    // While its move runs, the input meant for `escape` still reaches it, so
    // that the operator can stop the drive mid-move; every other input given
    // meanwhile is dropped.
    void whileBusy(QWidget* busy, const std::function<void()>& call);
    void setEscapeControl(QWidget* escape) { m_escape = escape; }

    // The panel's own event object: the service's events reach
    // micEvent_OnPropertyChanged while the panel is loaded.
    void attachOwnEvents();
    virtual void micEvent_OnPropertyChanged(const QString& bstrMessage);
    // "Error : " and the error's text, the box of a failed own event.
    static void showEventError(const std::exception& e);

    // The panel's close button (one-shot); its Released unloads the panel.
    usrButton* makeCloseButton();
    // Unloads (destroys) the panel later, when the current event is done.
    void unload();

    bool event(QEvent* e) override;
    void closeEvent(QCloseEvent* e) override;

private:
    QString m_formName;
    QString m_caption;
    int m_designLeft = -1;
    int m_designTop = -1;
    int16_t m_openedBy = -1;
    bool m_unloading = false;
    bool m_inDialog = false;
    bool m_keepsPlace = true;
    QElapsedTimer m_openedAt;   // valid from fillOnOpening to the next activation
    QPointer<QWidget> m_escape;
};
