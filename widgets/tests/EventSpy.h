#pragma once
// Test helpers: an EventSpy records every event (signal) a widget of the
// family declares, so that a test can say "nothing was raised"; and a few
// mouse and key gestures on a shown widget.
#include <QMetaMethod>
#include <QSignalSpy>
#include <QTest>
#include <QWidget>

#include <memory>
#include <string>
#include <vector>

class EventSpy {
public:
    explicit EventSpy(QObject* widget)
    {
        // Only the signals the family declares, not QObject's or QWidget's.
        for (const QMetaObject* mo = widget->metaObject(); mo && QByteArray(mo->className()).startsWith("usr");
             mo = mo->superClass()) {
            for (int i = mo->methodOffset(); i < mo->methodCount(); ++i) {
                const QMetaMethod m = mo->method(i);
                if (m.methodType() == QMetaMethod::Signal) {
                    names_.push_back(m.name().toStdString());
                    spies_.push_back(std::make_unique<QSignalSpy>(widget, m));
                }
            }
        }
    }

    // Total events seen, of every kind.
    int total() const
    {
        int n = 0;
        for (const auto& s : spies_)
            n += int(s->count());
        return n;
    }

    // Events of one name.
    int count(const std::string& name) const
    {
        for (size_t i = 0; i < names_.size(); ++i)
            if (names_[i] == name)
                return int(spies_[i]->count());
        return -1;  // no such event: a test asking for it is wrong
    }

    // Arguments of the n-th event of one name; invalid values when there is
    // no such event, so that a failing test fails instead of crashing.
    QList<QVariant> args(const std::string& name, int n = 0) const
    {
        for (size_t i = 0; i < names_.size(); ++i)
            if (names_[i] == name && n < spies_[i]->count())
                return spies_[i]->at(n);
        return QList<QVariant>(8);
    }

    // How many kinds of events the widget declares.
    size_t kinds() const { return names_.size(); }

    // Names in the order they were raised is not kept by QSignalSpy; tests
    // that need an order connect a slot themselves.
    void clear()
    {
        for (auto& s : spies_)
            s->clear();
    }

private:
    std::vector<std::string> names_;
    std::vector<std::unique_ptr<QSignalSpy>> spies_;
};

// Shows a widget offscreen at a fixed size, ready for QTest gestures.
inline void showAt(QWidget& w, int width, int height)
{
    w.resize(width, height);
    w.show();
    (void)QTest::qWaitForWindowExposed(&w);
}

inline QPoint pt(const QPointF& p) { return p.toPoint(); }

// A press, a move to another place and a release there, with the left button.
inline void drag(QWidget* w, QPoint from, QPoint to, Qt::KeyboardModifiers mods = Qt::NoModifier)
{
    QTest::mousePress(w, Qt::LeftButton, mods, from);
    QTest::mouseMove(w, (from + to) / 2);
    QTest::mouseMove(w, to);
    QTest::mouseRelease(w, Qt::LeftButton, mods, to);
}
