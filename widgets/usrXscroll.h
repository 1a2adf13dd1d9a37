#pragma once
// Horizontal sliders of the device panels: a track with a step button at each
// end. usrXscroll (stops, ND, lamp) also has an origin mark and a lit bar;
// usrScroll (zoom) has Locked in place of those.
//
// Values set from code are stored as given, never clamped and never
// announced; only the operator's gestures raise events, and a value chosen by
// a gesture always lies within Min to Max.
#include <QWidget>
#include <cstdint>

class usrSliderBase : public QWidget {
    Q_OBJECT
public:
    double Min() const { return m_min; }
    void setMin(double v);
    double Max() const { return m_max; }
    void setMax(double v);
    double Value() const { return m_value; }
    void setValue(double v);

    // Values chosen by dragging or clicking snap to this step counted from
    // Min; 0 leaves them unrounded.
    double Resolution() const { return m_resolution; }
    void setResolution(double step);

    QSize sizeHint() const override { return QSize(220, 30); }
    QSize minimumSizeHint() const override { return QSize(90, 22); }

signals:
    // The operator let go of the thumb at a new Value.
    void Changed();
    // The operator clicked the track; Value already holds the new position.
    void TrackClicked();
    // The plus-end step button was clicked; Value is unchanged.
    void StepUp();
    // The minus-end step button was clicked; Value is unchanged.
    void StepDown();

protected:
    explicit usrSliderBase(QWidget* parent);

    void paintEvent(QPaintEvent*) override;
    void mousePressEvent(QMouseEvent* e) override;
    void mouseMoveEvent(QMouseEvent* e) override;
    void mouseReleaseEvent(QMouseEvent* e) override;
    void keyPressEvent(QKeyEvent* e) override;
    void wheelEvent(QWheelEvent* e) override;
    void changeEvent(QEvent* e) override;

    friend class usrSliderAccessible;  // a value set by assistive technology is a gesture
    virtual bool inert() const;
    void cancelGesture();

    // What the subclasses add to the look.
    bool m_hasOrigin = false;
    double m_origin = 0.0;
    int16_t m_style = 0;
    int32_t m_barColor = 0x241410;
    bool m_locked = false;

private:
    enum class Part { None, Minus, Plus, Thumb, Track };
    QRectF minusRect() const;
    QRectF plusRect() const;
    QRectF trackRect() const;
    QRectF thumbRect() const;
    double xOfValue(double v) const;
    double valueOfX(double x) const;
    Part partAt(const QPointF& pos) const;

    double m_min = 0.0;
    double m_max = 100.0;
    double m_value = 0.0;
    double m_resolution = 0.01;

    Part m_held = Part::None;
    bool m_inside = false;
    double m_grabOffset = 0.0;
    double m_valueAtPress = 0.0;
};

class usrXscroll : public usrSliderBase {
    Q_OBJECT
public:
    explicit usrXscroll(QWidget* parent = nullptr);

    // What was written with setEnabled, read back at once: a slider inside a
    // greyed frame (the lamp's while it is off) still answers true.
    bool Enabled() const { return !testAttribute(Qt::WA_ForceDisabled); }

    // The origin mark: where btnReset of the panel returns to.
    double Origin() const { return m_origin; }
    void setOrigin(double v);

    // 0: the lamp is off; 2: the lamp is on (the bar glows). Other values
    // draw the bar without glow.
    int16_t Style() const { return m_style; }
    void setStyle(int16_t style);

    // Colour of the bar from Min to Value, 0x00BBGGRR.
    int32_t BarColor() const { return m_barColor; }
    void setBarColor(int32_t bgr);
};

class usrScroll : public usrSliderBase {
    Q_OBJECT
public:
    explicit usrScroll(QWidget* parent = nullptr);

    // True when the device is not motorised: the slider only shows.
    bool Locked() const { return m_locked; }
    void setLocked(bool locked);
};
