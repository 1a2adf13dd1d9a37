#pragma once
// The wait of a device call that blocks its caller until the stand answers
// (a motor's whole move). The caller's thread runs a nested event loop: the
// service's events, timers and painting go on, and the operator's input
// waits in the window system until the call returns (the panel then drops
// it, Common_Flush).
//
// One exception: while a move runs, the operator must be able to stop it.
// While an EscapeWay lives, the waits that begin at the event-loop level
// where it was made let through the input meant for its controls (the
// escape button of the panel whose drive moves) and drop every other input
// at once, as the flush after the move would have. Waits nested deeper (the
// escape's own service calls) hold all input back as usual.
#include <QObject>
#include <QPointer>
#include <vector>

class QEventLoop;

namespace blockingWait {

// Runs `loop` until it quits.
void run(QEventLoop& loop);

class EscapeWay {
public:
    explicit EscapeWay(std::vector<QObject*> controls);
    ~EscapeWay();
    EscapeWay(const EscapeWay&) = delete;
    EscapeWay& operator=(const EscapeWay&) = delete;

    // Whether input delivered to `receiver` may pass (a control of the way
    // or a child of one).
    bool admits(const QObject* receiver) const;
    int loopLevel() const { return m_level; }

private:
    std::vector<QPointer<QObject>> m_controls;
    int m_level;
    EscapeWay* m_outer;
};

} // namespace blockingWait
