#pragma once
// The optical path schematic of the main panel: the stand's outline for its
// ScopeType, the transmitted-light lamp and branch, the epi illuminator with
// its shutter, excitation filter and dichroic, the barrier filter, the
// analyzer, and the outlets (1 binocular, 2 front port, 3 rear port) with the
// active one lit. The main panel drives it with the Show... operations; the
// operator's clicks and keys come back as events. Nothing set from code
// raises an event.
#include <QFont>
#include <QPointF>
#include <QRect>
#include <QTransform>
#include <QWidget>

class QPainter;
#include <cstdint>

class usrPath_M : public QWidget {
    Q_OBJECT
public:
    explicit usrPath_M(QWidget* parent = nullptr);

    // 0 plain stand without a light path, 1 motorised light path with epi
    // illuminator, 2 two outlets (binocular and front port), 3 three outlets
    // set by hand, 4 epi illuminator without the stand. Other values draw as 0.
    int32_t ScopeType() const { return m_scopeType; }
    void setScopeType(int32_t type);

    // Active outlet, 1 to 3; 0 (or anything else) lights none.
    int32_t PathState() const { return m_pathState; }
    void setPathState(int32_t path);

    // Lamp mark: 0 dark, anything else lit (the main panel uses 2).
    int32_t LampState() const { return m_lampState; }
    void setLampState(int32_t state);

    void ShowLampOn();
    void ShowLampOff();
    // Darkens the transmitted-light branch.
    void ShowDiaOff();
    // The two halves of clearing the drawing, always called together: the
    // first puts the lamps, shutter and analyzer to rest, the second clears
    // the outlet, the observation mark and the filter colours.
    void ShowReset1();
    void ShowReset2();
    void ShowShutterOpen();
    void ShowShutterClose();
    void ShowAnalyzerIn();
    void ShowAnalyzerOut();
    // 1 marks the observation group (cube, barrier, analyzer), 0 clears it.
    void ShowObserve(int16_t observe);

    // The fiber illuminator beside the stage: drawn once it is connected,
    // with its own shutter lighting the specimen from the side when open.
    void ShowFiber(bool connected);
    void ShowFiberShutterOpen();
    void ShowFiberShutterClose();
    bool FiberShown() const { return m_fiberShown; }
    bool FiberShutterOpen() const { return m_fiberOpen; }

    // Filter colours, 0x00BBGGRR; cleared colours draw as a neutral filter.
    int32_t ExColor() const { return m_exColor; }
    void setExColor(int32_t bgr);
    void ClearExColor();
    bool HasExColor() const { return m_hasEx; }
    int32_t BaColor() const { return m_baColor; }
    void setBaColor(int32_t bgr);
    void ClearBaColor();
    bool HasBaColor() const { return m_hasBa; }

    // What the drawing shows, for the panel's own checks.
    bool DiaLit() const { return m_diaLit; }
    bool ShutterOpen() const { return m_shutterOpen; }
    bool AnalyzerIn() const { return m_analyzerIn; }
    int16_t Observe() const { return m_observe; }

    // Whether an outlet is drawn for the present ScopeType, and where.
    bool HasOutlet(int16_t index) const;
    QRect outletRect(int16_t index) const;
    // The caption drawn on an outlet ("BINO", "FRONT", "REAR"), and whether
    // it is drawn whole inside its box.
    static QString OutletCaption(int16_t index);

    // The filters whose colour the operator may pick: 1 the excitation filter,
    // 2 the barrier filter. Drawn only with an epi illuminator.
    bool HasColorArea(int16_t filter) const;
    QRect colorAreaRect(int16_t filter) const;
    // What the pointer's tip over a filter's colour area says; empty elsewhere.
    QString colorAreaTip(const QPoint& widgetPos) const;
    bool OutletCaptionFits(int16_t index) const;

    QSize sizeHint() const override { return QSize(300, 232); }

signals:
    // The operator clicked an outlet.
    void PathPicked(int16_t Index);
    // A character key on the diagram, by its character code (Ctrl+G gives 7).
    void ServiceKey(int16_t KeyAscii);
    // A key went down on the diagram, by its key code (F1..F12 are 112..123)
    // and shift state (1 Shift, 2 Ctrl, 4 Alt).
    void FunctionKey(int16_t KeyCode, int16_t Shift);
    // The operator pressed on the diagram.
    void LostSelection();
    // The operator clicked a filter's colour area (1 excitation, 2 barrier)
    // with a button (1 left, 2 right).
    void ColorPicked(int16_t Filter, int16_t Button);

protected:
    bool event(QEvent* e) override;
    void paintEvent(QPaintEvent*) override;
    // The whole drawing; paintEvent greys it when the widget is disabled.
    void draw(QPainter& p);
    void mousePressEvent(QMouseEvent* e) override;
    void mouseReleaseEvent(QMouseEvent* e) override;
    void keyPressEvent(QKeyEvent* e) override;

private:
    int effectiveType() const;
    QTransform toWidget() const;
    QRectF outletDesignRect(int16_t index) const;
    QFont outletFont(int16_t index) const;
    int16_t outletAt(const QPointF& widgetPos) const;
    QRectF colorAreaDesignRect(int16_t filter) const;
    int16_t colorAreaAt(const QPointF& widgetPos) const;

    int32_t m_scopeType = 0;
    int32_t m_pathState = 0;
    int32_t m_lampState = 0;
    bool m_diaLit = false;
    bool m_shutterOpen = false;
    bool m_analyzerIn = false;
    int16_t m_observe = 0;
    int32_t m_exColor = 0;
    int32_t m_baColor = 0;
    bool m_hasEx = false;
    bool m_hasBa = false;
    int16_t m_pressedOutlet = 0;
    int16_t m_pressedArea = 0;
    Qt::MouseButton m_pressedButton = Qt::NoButton;
    bool m_fiberShown = false;
    bool m_fiberOpen = false;
};
