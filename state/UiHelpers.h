#pragma once
// Helpers of long operations on the panel: the wait cursor, and dropping the
// clicks and keys that queued while a window was disabled.

// Shows the wait cursor for its lifetime (nests).
class WaitCursor {
public:
    WaitCursor();
    ~WaitCursor();
    WaitCursor(const WaitCursor&) = delete;
    WaitCursor& operator=(const WaitCursor&) = delete;
    // Leaves the wait cursor up after this object goes: a handler whose trap
    // resumes nowhere leaves the panel busy and deaf.
    void keep() { m_kept = true; }

private:
    bool m_kept = false;
};

// Drops every pending mouse event and then every pending key event without
// handling them, so that clicks made while the window was disabled (during a
// blocking device call) do nothing afterwards. Other pending events (paint,
// timers, service events) are delivered as usual.
void Common_Flush();

// Whether Common_Flush is running (tests).
bool Common_Flushing();
