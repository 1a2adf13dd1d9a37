#pragma once
// The operator's colour picker of one part of the mounted cube (frmExColor
// for the excitation light, frmBaColor for the barrier side): a strip running
// through the colours of the filter's wavelengths (ExPicture / BaPicture),
// where a click takes the colour under the pointer; a button for any colour
// through the colour dialog (selColor / selBaColor), beside the sample patch
// that shows the dialog's last answer of the run. A choice is drawn at once
// and kept for the cube; the picker then closes.
#include "devicepanels/profiles/ColourPicks.h"

#include <QFrame>
#include <QPointer>

class QLabel;
class usrButton;
class usrPath_M;

// The strip: one vertical line per pixel from the left colour to the right.
class ColourStrip : public QWidget {
    Q_OBJECT
public:
    explicit ColourStrip(QWidget* parent = nullptr);
    void setColors(int32_t left, int32_t right);
    // The colour drawn at x (0x00BBGGRR).
    int32_t colorAt(int x) const;
    QSize sizeHint() const override { return QSize(220, 26); }

signals:
    void picked(int32_t colour);

protected:
    void paintEvent(QPaintEvent*) override;
    void mouseReleaseEvent(QMouseEvent* e) override;
    void keyPressEvent(QKeyEvent* e) override;

private:
    int32_t m_left = 0, m_right = 0;
};

class ColourPicker : public QFrame {
    Q_OBJECT
public:
    // Opens the picker of `part` below `anchor` (nothing when the mounted cube
    // has no colour to choose); any picker already open closes first.
    static ColourPicker* open(ColourPicks::Part part, usrPath_M* path, QWidget* anchor);
    // The open picker, if any.
    static ColourPicker* current();

    ColourPicks::Part part() const { return m_part; }
    QLabel* caption = nullptr;
    ColourStrip* strip = nullptr;     // ExPicture / BaPicture
    usrButton* selColor = nullptr;    // selColor / selBaColor
    QFrame* sample = nullptr;         // ExFColor / BaFColor: the dialog's last answer

private:
    ColourPicker(ColourPicks::Part part, usrPath_M* path, QWidget* owner);
    void keep(int32_t colour);

    ColourPicks::Part m_part;
    QPointer<usrPath_M> m_path;
    QPointer<QWidget> m_owner;
};
