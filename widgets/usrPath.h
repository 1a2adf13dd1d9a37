#pragma once
// Light-path selector of the light path panel: the beam from the stand goes
// to one of three outlets (1 binocular, 2 front port, 3 rear port). A click on
// an outlet raises PathPicked with the requested path; the lit outlet stays
// the one last set in PathIndex, the requested one is outlined until then.
// Nothing set from code raises an event.
#include <QString>
#include <QWidget>
#include <cstdint>

class usrPath : public QWidget {
    Q_OBJECT
public:
    static constexpr int kPaths = 3;

    explicit usrPath(QWidget* parent = nullptr);

    // The path shown as active, 1 to 3; any other value lights none.
    int16_t PathIndex() const { return m_pathIndex; }
    void setPathIndex(int16_t index);

    // Display only (a manual light path).
    bool Locked() const { return m_locked; }
    void setLocked(bool locked);

    bool Enabled() const { return isEnabled(); }

    QString PathCaption(int16_t index) const;
    void setPathCaption(int16_t index, const QString& caption);

    // Where outlet 1..3 is drawn (empty for other numbers).
    QRect outletRect(int16_t index) const;

    QSize sizeHint() const override { return QSize(260, 96); }

signals:
    void PathPicked(int16_t Index);

protected:
    void paintEvent(QPaintEvent*) override;
    void mousePressEvent(QMouseEvent* e) override;
    void mouseReleaseEvent(QMouseEvent* e) override;
    void keyPressEvent(QKeyEvent* e) override;
    void changeEvent(QEvent* e) override;

private:
    bool live() const { return isEnabled() && !m_locked; }
    int16_t outletAt(const QPoint& pos) const;
    void pick(int16_t index);

    int16_t m_pathIndex = 0;
    bool m_locked = false;
    int16_t m_requested = 0;
    int16_t m_pressed = 0;
    int16_t m_cursor = 1;
    QString m_captions[kPaths] = {QStringLiteral("Binocular"), QStringLiteral("Front P"),
                                  QStringLiteral("Rear P")};
};
