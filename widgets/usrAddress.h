#pragma once
// Position selector: one numbered row per position from First to Last, one of
// them selected. Used for nosepiece, filter cube and condenser positions and
// the fiber illuminator's steps. A pick shows the row selected and raises
// AddressPicked, also when the row was already selected. Nothing set from
// code raises an event.
#include <QMap>
#include <QString>
#include <QWidget>
#include <cstdint>

class usrAddress : public QWidget {
    Q_OBJECT
public:
    explicit usrAddress(QWidget* parent = nullptr);

    // The selected position, 1-based; kept as given even outside First..Last.
    int16_t Address() const { return m_address; }
    void setAddress(int16_t address);

    // 1: the operator picks positions; 2: display only.
    int16_t Mode() const { return m_mode; }
    void setMode(int16_t mode);

    int16_t First() const { return m_first; }
    void setFirst(int16_t first);
    int16_t Last() const { return m_last; }
    void setLast(int16_t last);

    bool Enabled() const { return isEnabled(); }

    // Fixed labels of positions 1 to 7.
    QString Caption1() const { return m_caption[0]; }
    void setCaption1(const QString& t) { setCaption(1, t); }
    QString Caption2() const { return m_caption[1]; }
    void setCaption2(const QString& t) { setCaption(2, t); }
    QString Caption3() const { return m_caption[2]; }
    void setCaption3(const QString& t) { setCaption(3, t); }
    QString Caption4() const { return m_caption[3]; }
    void setCaption4(const QString& t) { setCaption(4, t); }
    QString Caption5() const { return m_caption[4]; }
    void setCaption5(const QString& t) { setCaption(5, t); }
    QString Caption6() const { return m_caption[5]; }
    void setCaption6(const QString& t) { setCaption(6, t); }
    QString Caption7() const { return m_caption[6]; }
    void setCaption7(const QString& t) { setCaption(7, t); }

    // Background colour of the rows, 0x00BBGGRR.
    int32_t ItemColor() const { return m_itemColor; }
    void setItemColor(int32_t bgr);

    // Gives one position its label.
    void SetLabel(const QString& text, int16_t number);
    // The text a position shows: its SetLabel text, else its fixed caption,
    // else its number.
    QString Label(int16_t number) const;

    // Number of rows shown (0 when First is above Last).
    int RowCount() const;
    // The row rectangle of a position, empty when it is not shown.
    QRect rowRect(int16_t number) const;

    QSize sizeHint() const override;

signals:
    void AddressPicked(int16_t Address);

protected:
    void paintEvent(QPaintEvent*) override;
    void mousePressEvent(QMouseEvent* e) override;
    void mouseReleaseEvent(QMouseEvent* e) override;
    void mouseMoveEvent(QMouseEvent* e) override;
    void keyPressEvent(QKeyEvent* e) override;
    void changeEvent(QEvent* e) override;
    void leaveEvent(QEvent* e) override;

private:
    friend class usrAddressItemAccessible;  // an item pressed by assistive technology picks
    void setCaption(int n, const QString& t);
    bool live() const { return isEnabled() && m_mode == 1; }
    int rowHeight() const;
    // The position under a point, kNone when there is none.
    static constexpr int kNone = -100000;
    int positionAt(const QPoint& pos) const;
    void pick(int16_t number);

    int16_t m_address = 0;
    int16_t m_mode = 1;
    int16_t m_first = 1;
    int16_t m_last = 7;
    int32_t m_itemColor = 0x3a3630;
    QString m_caption[7];
    QMap<int16_t, QString> m_labels;

    int m_pressed = kNone;  // position under the press
    int m_hot = kNone;      // position under the pointer
    int16_t m_cursor = 0;   // keyboard cursor
};
