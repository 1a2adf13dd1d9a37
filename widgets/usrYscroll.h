#pragma once
// Vertical focus slider: two step buttons at each end (fast and slow), the
// shown part of the axis from ScaleMin (bottom) to ScaleMax (top), the focus
// position as the thumb, the 0 um origin mark and the operating range marks.
// In mode 2 the operator drags the range marks instead of the thumb.
// Nothing set from code raises an event.
#include <QTimer>
#include <QWidget>

class QPainter;
#include <cstdint>

class usrYscroll : public QWidget {
    Q_OBJECT
public:
    explicit usrYscroll(QWidget* parent = nullptr);

    bool Enabled() const { return isEnabled(); }

    double Origin() const { return m_origin; }
    void setOrigin(double v);
    double LimitMin() const { return m_limitMin; }
    void setLimitMin(double v);
    double LimitMax() const { return m_limitMax; }
    void setLimitMax(double v);
    double ScaleMin() const { return m_scaleMin; }
    void setScaleMin(double v);
    double ScaleMax() const { return m_scaleMax; }
    void setScaleMax(double v);
    double Position() const { return m_position; }
    void setPosition(double v);

    // 1: normal, the thumb moves; 2: range editing, the range marks move.
    int16_t mode() const { return m_mode; }
    void setmode(int16_t mode);

    // Values chosen by a gesture snap to this step (counts); 0 leaves them
    // unrounded.
    double Resolution() const { return m_resolution; }
    void setResolution(double step);

    // Where the thumb stands, for a pointer that wants to grab it.
    QPoint thumbCentre() const { return QPoint(width() / 2, int(yOfValue(m_position))); }

    // How long a step button is held down before it counts as held.
    static constexpr int kHoldDelayMs = 400;
    // Whether a step button is held now (StepHeld raised, StepHoldEnded not yet).
    bool Holding() const { return m_holding; }

    QSize sizeHint() const override { return QSize(64, 260); }
    QSize minimumSizeHint() const override { return QSize(40, 140); }

signals:
    void FastUp();
    void SlowUp();
    void SlowDown();
    void FastDown();
    // A step button held down past kHoldDelayMs (`up`: one of the two upper
    // buttons): the owner repeats until StepHoldEnded. The release that ends
    // a hold is no step of its own.
    void StepHeld(bool up);
    // The held button was let go, the pointer left it, or the widget was
    // disabled.
    void StepHoldEnded();
    // The operator let go of the thumb at a new Position.
    void ThumbReleased();
    // The operator clicked the track (Position holds the new value) or, in
    // mode 2, moved a range mark (LimitMin / LimitMax hold the new values).
    void ValueChange();

protected:
    void paintEvent(QPaintEvent*) override;
    // The whole drawing; paintEvent greys it when the widget is disabled.
    void draw(QPainter& p);
    void mousePressEvent(QMouseEvent* e) override;
    void mouseMoveEvent(QMouseEvent* e) override;
    void mouseReleaseEvent(QMouseEvent* e) override;
    void keyPressEvent(QKeyEvent* e) override;
    void wheelEvent(QWheelEvent* e) override;
    void changeEvent(QEvent* e) override;

private:
    enum class Part { None, FastUp, SlowUp, SlowDown, FastDown, Thumb, Track, MarkMax, MarkMin };
    QRectF buttonRect(Part part) const;
    QRectF trackRect() const;
    double yOfValue(double v) const;
    double valueOfY(double y) const;
    double snapped(double v) const;
    Part partAt(const QPointF& pos) const;
    static bool isStepButton(Part part);
    void holdTimeout();
    // Ends a running hold (StepHoldEnded) and stops waiting for one.
    void endHold();

    double m_origin = 0;
    double m_limitMin = 0;
    double m_limitMax = 0;
    double m_scaleMin = 0;
    double m_scaleMax = 1000;
    double m_position = 0;
    int16_t m_mode = 1;
    double m_resolution = 1;

    Part m_held = Part::None;
    bool m_inside = false;
    double m_grabOffset = 0;
    double m_atPress = 0;
    // Runs only while a step button is down and not yet held.
    QTimer m_holdDelay;
    bool m_holding = false;
    bool m_heldThisPress = false;   // this press has been a hold: its release steps nothing
};
