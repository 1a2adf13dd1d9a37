#pragma once
// Two-axis stage diagram of the XY panel: a map of the shown part of the
// stage travel (X left to right, Y bottom to top) with the present position,
// the origin cross, the range rectangle and the five memory marks; an X ruler
// below and a Y ruler beside it, each with a thumb and step buttons; and five
// memory buttons.
//
// Gestures: a left click on the map raises GoTo with the point; dragging the
// position cross raises GoTo where it is dropped; dragging a ruler thumb
// raises XChanged / YChanged; the step buttons and arrow keys raise the step
// events without changing a value; in mode 2 a left drag on the map draws a
// new range rectangle (RangeChanged). A click on a memory button recalls that
// position (GoTo) or, when it is empty or Shift is held, stores the present
// one (MemoryStored). Every mouse press, move and release on the map is also
// reported with the button, shift state and the map point in the widget's own
// coordinates: 0 to 2010 across the map, 1005 at its centre.
// Nothing set from code raises an event.
#include <QRectF>
#include <QWidget>

class QPainter;
#include <cstdint>

class usrStage : public QWidget {
    Q_OBJECT
public:
    static constexpr int kMemories = 5;
    // Extent of the map in the widget's own coordinates.
    static constexpr double kMapUnits = 2010;

    explicit usrStage(QWidget* parent = nullptr);

    bool Enabled() const { return isEnabled(); }

    double XValue() const { return m_x.value; }
    void setXValue(double v);
    double YValue() const { return m_y.value; }
    void setYValue(double v);
    double XOrigin() const { return m_x.origin; }
    void setXOrigin(double v);
    double YOrigin() const { return m_y.origin; }
    void setYOrigin(double v);
    double XScaleMin() const { return m_x.scaleMin; }
    void setXScaleMin(double v);
    double XScaleMax() const { return m_x.scaleMax; }
    void setXScaleMax(double v);
    double YScaleMin() const { return m_y.scaleMin; }
    void setYScaleMin(double v);
    double YScaleMax() const { return m_y.scaleMax; }
    void setYScaleMax(double v);
    double XLimitMin() const { return m_x.limitMin; }
    void setXLimitMin(double v);
    double XLimitMax() const { return m_x.limitMax; }
    void setXLimitMax(double v);
    double YLimitMin() const { return m_y.limitMin; }
    void setYLimitMin(double v);
    double YLimitMax() const { return m_y.limitMax; }
    void setYLimitMax(double v);

    // 1 normal, 2 range editing.
    int16_t mode() const { return m_mode; }
    void setmode(int16_t mode);

    // 0 the default arrow, 99 the drag pointer.
    int16_t MousePointer() const { return m_mousePointer; }
    void setMousePointer(int16_t pointer);

    // Stored positions 0 to 4; -1 and -1 is an empty memory. Reading outside
    // 0 to 4 gives 0, writing there does nothing.
    int32_t XMemoryPos(int16_t index) const;
    void setXMemoryPos(int16_t index, int32_t v);
    int32_t YMemoryPos(int16_t index) const;
    void setYMemoryPos(int16_t index, int32_t v);

    // Values chosen by a gesture snap to this step (counts); 0 leaves them
    // unrounded.
    double Resolution() const { return m_resolution; }
    void setResolution(double step);

    // Layout, for the panel's own checks.
    QRectF mapRect() const;
    QRectF xRulerRect() const;
    QRectF yRulerRect() const;
    QRectF xStepDownRect() const;
    QRectF xStepUpRect() const;
    QRectF yStepUpRect() const;
    QRectF yStepDownRect() const;
    QRectF memoryRect(int16_t index) const;
    // Widget point of a stage position on the map, and the other way round.
    QPointF mapPoint(double x, double y) const;
    double xAt(double px) const;
    double yAt(double py) const;

    QSize sizeHint() const override { return QSize(250, 272); }

signals:
    void XStepUp();
    void XStepDown();
    void YStepUp();
    void YStepDown();
    // A ruler thumb was let go at a new XValue / YValue.
    void XChanged();
    void YChanged();
    // Go to this stage position (counts).
    void GoTo(double X, double Y);
    // The present position was stored in memory Index.
    void MemoryStored(int16_t Index, int32_t X, int32_t Y);
    // In mode 2, a new range rectangle was drawn (the four limits hold it).
    void RangeChanged();
    void MouseDown(int16_t Button, int16_t Shift, float X, float Y);
    void MouseMove(int16_t Button, int16_t Shift, float X, float Y);
    void MouseUp(int16_t Button, int16_t Shift, float X, float Y);

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
    struct Axis {
        double value = 0, origin = 0, scaleMin = 0, scaleMax = 1000, limitMin = 0, limitMax = 0;
    };
    enum class Part {
        None, Map, Cross, Range, XThumb, YThumb, XStepDown, XStepUp, YStepUp, YStepDown, Memory
    };
    double snap(const Axis& a, double v) const;
    QPointF ownCoords(const QPointF& pos) const;
    void reportMouse(int kind, QMouseEvent* e);
    QRectF partRect(Part part) const;

    Axis m_x, m_y;
    int16_t m_mode = 1;
    int16_t m_mousePointer = 0;
    int32_t m_memX[kMemories] = {-1, -1, -1, -1, -1};
    int32_t m_memY[kMemories] = {-1, -1, -1, -1, -1};
    double m_resolution = 1;

    Part m_held = Part::None;
    int16_t m_heldMemory = -1;
    bool m_inside = false;
    QPointF m_pressPos;
    double m_atPress = 0;
    double m_grab = 0;
};
