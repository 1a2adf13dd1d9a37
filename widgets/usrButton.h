#pragma once
// Picture push button of the panels. A device button latches: the first press
// holds it down and raises Pressed, a second press lets it up and raises
// Unlatched. A one-shot button (Latching false) comes up by itself; its owner
// acts on Released. Nothing set from code raises an event.
#include <QPixmap>
#include <QString>
#include <QWidget>
#include <cstdint>

class usrButton : public QWidget {
    Q_OBJECT
public:
    explicit usrButton(QWidget* parent = nullptr);

    // Position in a two-member control array (0 large panel, 1 compact panel).
    int16_t Index() const { return m_index; }
    void setIndex(int16_t index) { m_index = index; }

    bool Enabled() const { return isEnabled(); }
    bool Visible() const { return !isHidden(); }

    // Display-only: looks normal, takes no gesture.
    bool Locked() const { return m_locked; }
    void setLocked(bool locked);

    // Whether a press holds the button down until a second press.
    bool Latching() const { return m_latching; }
    void setLatching(bool latching);

    // Whether the button is held down (latched).
    bool Latched() const { return m_latched; }

    // Left edge within the parent, in twips.
    int Left() const;
    void setLeft(int twips);
    int Top() const;
    void setTop(int twips);

    QString Caption() const { return m_caption; }
    void setCaption(const QString& caption);
    void setPicture(const QPixmap& picture);

    // Lets a latched button up without raising any event; does nothing on a
    // button that is up.
    void Unlatch();

    QSize sizeHint() const override;
    // Whether the caption is drawn whole on the button's face, held down too.
    bool CaptionFits() const;

signals:
    void Pressed(int16_t Index, int16_t Button, int16_t Shift, float X, float Y);
    void Released(int16_t Index, int16_t Button, int16_t Shift, float X, float Y);
    void Unlatched(int16_t Index);

protected:
    void paintEvent(QPaintEvent*) override;
    void mousePressEvent(QMouseEvent* e) override;
    void mouseReleaseEvent(QMouseEvent* e) override;
    void mouseMoveEvent(QMouseEvent* e) override;
    void keyPressEvent(QKeyEvent* e) override;
    void keyReleaseEvent(QKeyEvent* e) override;
    void changeEvent(QEvent* e) override;
    void enterEvent(QEnterEvent* e) override;
    void leaveEvent(QEvent* e) override;

private:
    bool inert() const;
    // The gesture's press and release, shared by mouse and keyboard.
    void press(int16_t button, int16_t shift, float x, float y);
    void release(bool inside, int16_t button, int16_t shift, float x, float y);

    int16_t m_index = 0;
    bool m_locked = false;
    bool m_latching = false;
    bool m_latched = false;
    bool m_held = false;          // a gesture is in progress
    bool m_heldUnlatching = false; // this gesture let a latched button up
    bool m_inside = false;        // the pointer is over the button while held
    bool m_hot = false;
    Qt::MouseButton m_heldButton = Qt::NoButton;
    QString m_caption;
    QPixmap m_picture;
};
