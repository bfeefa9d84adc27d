// The motion that goes on when a finger has let go of a grid: the way back from beyond an end, then the momentum.
//
// A thread of its own keeps the time and sends the window GRIDM_SCROLL_ messages, so that the window's thread makes all
// changes of the position; everything here is called on that thread. The scrolling thread shares no more with it than the
// record inside, which outlives both.
#pragma once

#include "Platform/threads.h"
#include "Platform/types.h"

#include <memory>

// How fast a fling still goes: three times as fast as the finger at first, falling with the logarithm of the time, to 0
// after one second.
class QN_API HTMLFling {
public:
    HTMLFling(double horizontal, double vertical, DWORD now); // pixels a millisecond
    bool IsMoving() const { return m_horizontal > 0 || m_vertical > 0; }
    // The pixels since the last step.
    SIZE Step(DWORD now);

private:
    const double m_startHorizontal;
    const double m_startVertical;
    double m_horizontal;
    double m_vertical;
    const DWORD m_start;
    DWORD m_last;
};

class QN_API HTMLGridKinetic {
public:
    HTMLGridKinetic() = default;
    ~HTMLGridKinetic() { Stop(); }
    HTMLGridKinetic(const HTMLGridKinetic&) = delete;
    HTMLGridKinetic& operator=(const HTMLGridKinetic&) = delete;

    // Makes the thread, which waits for a release. False without one; true when there is one.
    bool Start(HWND hGrid);
    // Ends it, within half a second; what it sends meanwhile is served. What is left beyond an end is scrolled back at once.
    void Stop();
    bool IsStarted() const { return m_hThread != nullptr; }

    // A press: a fling that is under way moves nothing more.
    void Halt();
    // One step of the finger, in pixels (negative: up, left) and pixels a millisecond.
    void Vertical(int direction, double speed);
    void Horizontal(int direction, double speed);
    void ClearHorizontalSpeed();
    // The finger scrolls, and then no more.
    void Touch();
    void Release(); // lets the thread go

    bool IsMoving() const;          // there is a direction
    bool IsTouched() const;         // the finger is down
    void SetOverscroll(int pixels); // beyond an end: what there is now

private:
    struct Motion;
    class Thread;

    std::shared_ptr<Motion> m_motion; // null until the first start
    HANDLE m_hThread = nullptr;
};
