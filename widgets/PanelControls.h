#pragma once
// The plain controls the main panel and the device panels are built of,
// besides the widget family: a label, a frame and a check box that keep their
// geometry in twips and their colours as 0x00BBGGRR words, as the layout
// numbers and the dispatch give them. Setting a property from code never raises
// an event; only the operator's gestures do.
#include <QCheckBox>
#include <QFrame>
#include <QLabel>
#include <QString>
#include <cstdint>

// Geometry in twips for any widget, through the one conversion of Units.h.
namespace twips {
int left(const QWidget* w);
int top(const QWidget* w);
int width(const QWidget* w);
int height(const QWidget* w);
void setLeft(QWidget* w, int v);
void setTop(QWidget* w, int v);
void setWidth(QWidget* w, int v);
void setHeight(QWidget* w, int v);
void place(QWidget* w, int left, int top, int width, int height);
} // namespace twips

// A caption on the panel: status texts, menu entries, observation entries.
// It can be clicked and reports the pointer moving over it.
class PanelLabel : public QLabel {
    Q_OBJECT
public:
    explicit PanelLabel(const QString& caption = QString(), QWidget* parent = nullptr);

    QString Caption() const { return text(); }
    void setCaption(const QString& caption);
    QString ToolTipText() const { return toolTip(); }
    void setToolTipText(const QString& tip) { setToolTip(tip); }
    // Free text kept with the control (the last user observation number).
    QString Tag() const { return m_tag; }
    void setTag(const QString& tag) { m_tag = tag; }

    int32_t BackColor() const { return m_back; }
    void setBackColor(int32_t bgr);
    int32_t ForeColor() const { return m_fore; }
    void setForeColor(int32_t bgr);
    // A transparent label shows its parent's face instead of its BackColor.
    bool Transparent() const { return m_transparent; }
    void setTransparent(bool transparent);

    int Left() const { return twips::left(this); }
    void setLeft(int v) { twips::setLeft(this, v); }
    int Top() const { return twips::top(this); }
    void setTop(int v) { twips::setTop(this, v); }

    // Whether the caption is drawn whole in the label.
    bool CaptionFits() const;
    // A reading that stands beside an arrow (the selectors'): a caption too
    // long for the label is drawn a size smaller, down to `minPoints`, rather
    // than cut; a shorter one gets the designed size back.
    void setShrinkToFit(double minPoints);

    // A label the operator presses (menu and observation entries): it takes
    // the focus by Tab, Space and Enter raise Click as a click does, and
    // assistive technology sees a button.
    bool Activatable() const { return m_activatable; }
    void setActivatable(bool activatable);
    // Said before the text to assistive technology, so that a reading names
    // its device: "Objective" and "2: PA  PlanApo 10x/0.40" give
    // "Objective 2: PA  PlanApo 10x/0.40".
    QString AccessiblePrefix() const { return m_accessiblePrefix; }
    void setAccessiblePrefix(const QString& prefix) { m_accessiblePrefix = prefix; }

signals:
    void Click();
    // Pointer position in twips inside the label.
    void MouseMove(int16_t Button, int16_t Shift, float X, float Y);

protected:
    void mousePressEvent(QMouseEvent* e) override;
    void mouseReleaseEvent(QMouseEvent* e) override;
    void mouseMoveEvent(QMouseEvent* e) override;
    void keyPressEvent(QKeyEvent* e) override;
    void changeEvent(QEvent* e) override;
    void paintEvent(QPaintEvent* e) override;

private:
    void applyColours();
    bool m_activatable = false;
    QString m_accessiblePrefix;
    int32_t m_back = 0x5C342C;
    int32_t m_fore = 0xFFD0C0;
    bool m_transparent = true;
    bool m_pressed = false;
    QString m_tag;
    double m_fitBase = 0;  // designed point size of a shrinking caption; 0: fixed
    double m_fitMin = 0;
    void fitCaption();
};

// A frame of the panel: one device, one menu section, the selector. It may
// carry a title drawn on its top edge.
class PanelFrame : public QFrame {
    Q_OBJECT
public:
    explicit PanelFrame(QWidget* parent = nullptr, const QString& title = QString());

    QString Caption() const { return m_title; }
    void setCaption(const QString& title);
    // Whether the title is drawn whole on the frame's top edge.
    bool CaptionFits() const;
    int32_t BackColor() const { return m_back; }
    void setBackColor(int32_t bgr);
    // Colour of the edge and title; -1 draws no edge.
    int32_t BorderColor() const { return m_border; }
    void setBorderColor(int32_t bgr);

    int Left() const { return twips::left(this); }
    void setLeft(int v) { twips::setLeft(this, v); }
    int Top() const { return twips::top(this); }
    void setTop(int v) { twips::setTop(this, v); }
    int Width() const { return twips::width(this); }
    void setWidth(int v) { twips::setWidth(this, v); }
    int Height() const { return twips::height(this); }
    void setHeight(int v) { twips::setHeight(this, v); }

signals:
    // Pointer gestures on the frame itself (not on its children), in twips.
    void MouseDown(int16_t Button, int16_t Shift, float X, float Y);
    void MouseMove(int16_t Button, int16_t Shift, float X, float Y);
    void MouseUp(int16_t Button, int16_t Shift, float X, float Y);

protected:
    void paintEvent(QPaintEvent* e) override;
    void mousePressEvent(QMouseEvent* e) override;
    void mouseMoveEvent(QMouseEvent* e) override;
    void mouseReleaseEvent(QMouseEvent* e) override;

private:
    void updateFill();
    QFont titleFont() const;
    QString m_title;
    int32_t m_back = 0x5C342C;
    int32_t m_border = -1;
};

// A link box: Value 0 or 1 as the parameter objects keep it. Click is raised
// only by the operator.
class PanelCheck : public QCheckBox {
    Q_OBJECT
public:
    explicit PanelCheck(const QString& caption = QString(), QWidget* parent = nullptr);
    int16_t Value() const { return isChecked() ? 1 : 0; }
    void setValue(int16_t v);
    bool Enabled() const { return isEnabled(); }
signals:
    void Click();
};
