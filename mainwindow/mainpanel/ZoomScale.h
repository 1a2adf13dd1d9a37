#pragma once
// The zoom scale of the main panel's zoom frame (frmScroll): thirteen marks
// from 0.8 to 2.0, 135 twips a tenth, the marker imgClick where the zoom
// stands and the handle img1 beside it. A click on the scale picks the band
// under the pointer; dragging img1 moves it between the two end marks and
// picks the band under it when the button comes up. The scale only tells
// which magnification was picked; the window commands the zoom.
#include <QObject>
#include <QPoint>

class MainPanel;

class ZoomScale : public QObject {
    Q_OBJECT
public:
    explicit ZoomScale(MainPanel* panel);

    // The magnification of the band under X, in the scale's units: 0.8 from
    // 0 to 220, then one tenth more for each 135 (0.9 from 221 to 355, ...,
    // 2.0 from 1706 to 1840). 0 where no band lies (between two bands, as
    // 220.5, or beyond 1840).
    static double Band(double X);
    // The scale's units of a point of frmScroll given in twips: each band is
    // centred on its mark, and the 0.8 mark stands at 153.
    double ScaleX(double frameTwips) const;

    static constexpr double kFirstMark = 153;

signals:
    // The operator picked a band on the scale.
    void ZoomPicked(double zoom);

protected:
    bool eventFilter(QObject* watched, QEvent* event) override;

private:
    void pick(double frameTwips);
    MainPanel* m_panel;
    bool m_dragging = false;
    int m_grab = 0;   // pixels from img1's left edge to the pointer
};
