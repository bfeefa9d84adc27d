#include "QNGridCtrl/HTMLGridKinetic.h"

#include "NorvoTools/CeCriticalSection.h"
#include "NorvoTools/globals.h"
#include "NorvoUI/hidpi.h"
#include "Platform/clock.h"
#include "Platform/windows.h"
#include "QNGridCtrl/HTMLGridRecords.h"

#include <algorithm>
#include <climits>
#include <cmath>
#include <utility>

namespace {

constexpr DWORD kStepTime = 5; // milliseconds
constexpr DWORD kStopTimeout = 500;
const double kFlingEnd = std::log(1001.0);
constexpr double kBoost = 3.0;
constexpr int kLongest = 0xFFFF; // pixels of one message
constexpr LONG kMostReleases = 0x7FFFFFFF;

LONG Pixels(DWORD elapsed, double speed) {
    return static_cast<LONG>(std::min<double>(elapsed * speed, kLongest));
}

} // namespace

// --- The fling ----------------------------------------------------------------------------------------------------

HTMLFling::HTMLFling(double horizontal, double vertical, DWORD now)
    : m_startHorizontal(horizontal), m_startVertical(vertical), m_horizontal(horizontal),
      m_vertical(vertical), m_start(now), m_last(now) {}

SIZE HTMLFling::Step(DWORD now) {
    const double fall = std::log(static_cast<double>(now - m_start) + 1) / kFlingEnd;
    const auto speed = [fall](double start) { return std::max(start - start * fall, 0.0) * kBoost; };
    m_horizontal = speed(m_startHorizontal);
    m_vertical = speed(m_startVertical);
    const DWORD elapsed = now - std::exchange(m_last, now);
    return {Pixels(elapsed, m_horizontal), Pixels(elapsed, m_vertical)};
}

// --- What both threads see ----------------------------------------------------------------------------------------

struct HTMLGridKinetic::Motion {
    explicit Motion(HWND grid) : hGrid(grid), hWake(CreateSemaphoreW(nullptr, 0, kMostReleases, nullptr)) {}
    ~Motion() {
        if (hWake) CloseHandle(hWake);
    }

    void Wake() const { ReleaseSemaphore(hWake, 1, nullptr); }

    const HWND hGrid;
    const HANDLE hWake; // counts the releases, so that one which comes before the wait isn't lost

    CeCriticalSection lock; // of all below
    double horizontalSpeed = 0;
    double verticalSpeed = 0;
    int horizontal = 0; // direction by the sign
    int vertical = 0;
    DWORD touches =
        0; // steps of the finger so far: the end of a fling must not clear what a new one has brought
    int overscroll = 0;
    bool touched = false;
    bool stopped = false;
};

class HTMLGridKinetic::Thread {
public:
    static DWORD Run(void* parameter) {
        const std::unique_ptr<std::shared_ptr<Motion>> motion(
            static_cast<std::shared_ptr<Motion>*>(parameter));
        Thread(**motion).Loop();
        return 0;
    }

private:
    explicit Thread(Motion& motion) : m_motion(motion) {}

    template<class T>
    T Read(T Motion::*member) const {
        CeSectionLock lock(m_motion.lock);
        return m_motion.*member;
    }
    bool IsStopped() const { return Read(&Motion::stopped); }

    void Loop() {
        while (WaitForSingleObject(m_motion.hWake, INFINITE) == WAIT_OBJECT_0 && !IsStopped()) {
            Bounce();
            Fling();
        }
        SendBack(INT_MAX);
    }

    // Positive beyond the end, negative beyond the top.
    void SendBack(int most) const {
        const int beyond = Read(&Motion::overscroll);
        if (beyond != 0)
            Send(beyond > 0 ? GRIDM_SCROLL_UP : GRIDM_SCROLL_DOWN, std::min(std::abs(beyond), most));
    }

    // A finger that is down again holds what is beyond the end.
    void Bounce() const {
        const int step = ScalePx(g_HIDPI_LogPixelsY, 10);
        while (Read(&Motion::overscroll) != 0 && !Read(&Motion::touched) && !IsStopped()) {
            Sleep(kStepTime);
            SendBack(step);
        }
    }

    void Fling() const {
        DWORD touches;
        double horizontal, vertical;
        {
            CeSectionLock lock(m_motion.lock);
            touches = m_motion.touches;
            horizontal = m_motion.horizontalSpeed;
            vertical = m_motion.verticalSpeed;
        }
        HTMLFling fling(horizontal, vertical, GetTickCount());
        while (fling.IsMoving() && !Read(&Motion::touched) && !IsStopped() &&
               Read(&Motion::touches) == touches) {
            Sleep(kStepTime);
            const SIZE moved = fling.Step(GetTickCount());
            if (moved.cx)
                SendAlong(Read(&Motion::horizontal), GRIDM_SCROLL_LEFT, GRIDM_SCROLL_RIGHT, moved.cx);
            if (moved.cy) SendAlong(Read(&Motion::vertical), GRIDM_SCROLL_UP, GRIDM_SCROLL_DOWN, moved.cy);
        }
        End(touches);
    }

    void End(DWORD touches) const {
        CeSectionLock lock(m_motion.lock);
        if (m_motion.touches != touches) return;
        m_motion.horizontalSpeed = m_motion.verticalSpeed = 0;
        m_motion.horizontal = m_motion.vertical = 0;
    }

    // No direction: it was halted.
    void SendAlong(int direction, UINT back, UINT forth, LONG pixels) const {
        if (direction != 0) Send(direction < 0 ? back : forth, pixels);
    }

    void Send(UINT message, int pixels) const {
        SendMessageW(m_motion.hGrid, message, 0, std::min(pixels, kLongest));
    }

    Motion& m_motion;
};

// --- The window's side --------------------------------------------------------------------------------------------

bool HTMLGridKinetic::Start(HWND hGrid) {
    if (m_hThread) return true;
    m_motion = std::make_shared<Motion>(hGrid);
    if (!m_motion->hWake) return false;
    auto own = std::make_unique<std::shared_ptr<Motion>>(m_motion);
    m_hThread = CreateThread(nullptr, 0, &Thread::Run, own.get(), 0, nullptr);
    if (m_hThread) static_cast<void>(own.release()); // the thread's
    return m_hThread != nullptr;
}

void HTMLGridKinetic::Stop() {
    if (!m_hThread) return;
    {
        CeSectionLock lock(m_motion->lock);
        m_motion->stopped = true;
    }
    m_motion->Wake();
    // It may be inside of a message to this thread.
    MsgWaitForMultipleObjectsEx(1, &m_hThread, kStopTimeout, 0, 0);
    CloseHandle(std::exchange(m_hThread, nullptr));
    m_motion.reset();
}

void HTMLGridKinetic::Halt() {
    if (!m_motion) return;
    CeSectionLock lock(m_motion->lock);
    m_motion->horizontal = m_motion->vertical = 0;
}

void HTMLGridKinetic::Vertical(int direction, double speed) {
    if (!m_motion) return;
    CeSectionLock lock(m_motion->lock);
    m_motion->vertical = direction;
    m_motion->verticalSpeed = speed;
    ++m_motion->touches;
}

void HTMLGridKinetic::Horizontal(int direction, double speed) {
    if (!m_motion) return;
    CeSectionLock lock(m_motion->lock);
    m_motion->horizontal = direction;
    m_motion->horizontalSpeed = speed;
    ++m_motion->touches;
}

void HTMLGridKinetic::ClearHorizontalSpeed() {
    if (!m_motion) return;
    CeSectionLock lock(m_motion->lock);
    m_motion->horizontalSpeed = 0;
}

void HTMLGridKinetic::Touch() {
    if (!m_motion) return;
    CeSectionLock lock(m_motion->lock);
    m_motion->touched = true;
}

void HTMLGridKinetic::Release() {
    if (!m_motion) return;
    {
        CeSectionLock lock(m_motion->lock);
        m_motion->touched = false;
    }
    m_motion->Wake();
}

bool HTMLGridKinetic::IsMoving() const {
    if (!m_motion) return false;
    CeSectionLock lock(m_motion->lock);
    return m_motion->horizontal != 0 || m_motion->vertical != 0;
}

bool HTMLGridKinetic::IsTouched() const {
    if (!m_motion) return false;
    CeSectionLock lock(m_motion->lock);
    return m_motion->touched;
}

void HTMLGridKinetic::SetOverscroll(int pixels) {
    if (!m_motion) return;
    CeSectionLock lock(m_motion->lock);
    m_motion->overscroll = pixels;
}
