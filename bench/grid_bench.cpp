// The grid at the sizes that people have: opening a long list, scrolling it, painting a day. Every limit is checked; a
// figure over its limit fails the run. The instructions of a hundred steps, or full repaints, of a list:
//
//   valgrind --tool=callgrind --toggle-collect=PaintOnce grid_bench --drive step|whole
#include "Platform/testing.h"
#include "QNGridCtrl/HTMLGrid.h"

#include <algorithm>
#include <atomic>
#include <chrono>
#include <cstdio>
#include <cstdlib>
#include <functional>
#include <new>
#include <string>
#include <string_view>
#include <vector>

namespace {

std::atomic<unsigned long> g_allocations{0};

} // namespace

// Counted, whoever asks: malloc is what new, the drawing library and the host come down to.
extern "C" void* __libc_malloc(std::size_t size);
extern "C" void* malloc(std::size_t size) noexcept {
    g_allocations.fetch_add(1, std::memory_order_relaxed);
    return __libc_malloc(size);
}

namespace {

constexpr int kRounds = 41;
constexpr int kDriven = 100;

double MedianMilliseconds(const std::function<void()>& work) {
    std::vector<double> times;
    for (int i = 0; i < kRounds; ++i) {
        const auto start = std::chrono::steady_clock::now();
        work();
        times.push_back(
            std::chrono::duration<double, std::milli>(std::chrono::steady_clock::now() - start).count());
    }
    std::ranges::nth_element(times, times.begin() + kRounds / 2);
    return times[kRounds / 2];
}

class Owner : public CeWnd {
public:
    Owner() { Create(nullptr, nullptr, 0, 0, 480, 800, u"", WS_POPUP | WS_VISIBLE); }
    ~Owner() override { DestroyWindow(); }
    LRESULT OnMessage(UINT msg, WPARAM, LPARAM lParam, bool& handled) override {
        handled = true;
        if (msg == GRIDM_CELL) {
            ++requests;
            auto& cell = *reinterpret_cast<tagNM_GRIDCELL*>(lParam);
            const std::string number = std::to_string(HIWORD(cell.hdr.idFrom));
            m_text = u"<B>Somebody</B> from <A=\"x\">somewhere</A><BR>and what else there is to be said of "
                     u"number ";
            m_text.append(number.begin(), number.end());
            return cell.pszText = m_text.c_str(), 1;
        }
        if (msg == GRIDM_FLOATER_TEXT) {
            reinterpret_cast<tagNM_GRIDVIEW*>(lParam)->pszText =
                u"<BODY BGCOLOR=#D0E4FF><B>A meeting</B> of some people <A=\"y\">in a room</A>, with several "
                u"things to talk of";
            return 1;
        }
        handled = msg == GRIDM_SCROLLED;
        return 0;
    }
    int requests = 0;

private:
    std::u16string m_text;
};

constexpr RECT kPlace = {0, 0, 480, 800};
bool g_good = true;

void Tell(const char* what, double value, const char* unit, double limit) {
    const bool good = value <= limit;
    g_good &= good;
    std::printf("%-58s %9.3f %-6s limit %8.3f %s\n", what, value, unit, limit, good ? "" : "OVER");
}

void Drain() {
    MSG message;
    while (PeekMessageW(&message, nullptr, 0, 0, PM_REMOVE)) DispatchMessageW(&message);
}

void LongList() {
    Owner owner;
    {
        CHTMLGrid warm(owner, kPlace, true, u"");
        warm.SetDimensions(50, 1);
        warm.ForcePaint();
    }
    owner.requests = 0;
    int screen = 0;
    const double open = MedianMilliseconds([&] {
        owner.requests = 0;
        CHTMLGrid grid(owner, kPlace, true, u"");
        grid.SetDimensions(100000, 1);
        grid.ForcePaint();
        screen = owner.requests;
    });
    Tell("a virtual list asked for 100,000 rows opens and paints", open, "ms", 20);
    Tell("  cells asked for", screen, "", 60);
}

// A list that is as long as some screens; all of its rows are there.
class ScrolledList {
public:
    ScrolledList() : m_grid(m_owner, kPlace, true, u"") {
        m_grid.SetDimensions(2000, 1);
        for (WORD row = 0; row < 400; ++row) m_grid.GetRowHeight(row);
        m_grid.ForcePaint();
    }
    void Whole() {
        m_grid.Invalidate();
        m_grid.ForcePaint();
    }
    void Step(bool down) {
        down ? m_grid.ScrollByPixelDown(12) : m_grid.ScrollByPixelUp(12);
        m_grid.ForcePaint();
    }

private:
    Owner m_owner;
    CHTMLGrid m_grid;
};

void Scrolling() {
    ScrolledList list;
    const double whole = MedianMilliseconds([&] { list.Whole(); });
    for (int i = 0; i < 100; ++i) list.Step(true);
    Drain();
    const double part = MedianMilliseconds([&] { list.Step(true); });
    const double back = MedianMilliseconds([&] { list.Step(false); });
    std::printf("a full repaint %.3f ms, a step of 12 pixels down %.3f ms, up %.3f ms\n", whole, part, back);
    Tell("a scroll step, of a full repaint", std::max(part, back) / whole, "", 0.2);
    Drain();
    unsigned long taken = 0;
    for (int i = 0; i < 20; ++i) {
        const unsigned long before = g_allocations.load();
        list.Step(false);
        taken += g_allocations.load() - before;
        Drain(); // the owner hears of each step before the next
    }
    Tell("  allocations in a step", static_cast<double>(taken) / 20, "", 0);
}

void Day() {
    Owner owner;
    CHTMLGrid grid(owner, kPlace, false, u"");
    grid.BeginUpdate();
    grid.SetDimensions(48, 2);
    grid.SetFixedColCount(1);
    grid.SetColWidth(0, 60);
    grid.SetShowHLines(true);
    grid.CreateCells();
    for (WORD row = 0; row < 48; ++row) {
        grid.SetRowHeight(row, 32);
        grid.SetCellText(0, row, row % 2 ? u"" : u"<P RIGHT><B>10</B>:00");
    }
    for (DWORD id = 0; id < 20; ++id)
        grid.AddFloater(1, static_cast<WORD>(id * 2 % 22), id, static_cast<WORD>(2 + id % 3), 60, 20,
                        0xC85A00, false);
    grid.EndUpdate();
    grid.ForcePaint();
    Tell("a day of 20 floaters, painted in full", MedianMilliseconds([&] {
             grid.Invalidate();
             grid.ForcePaint();
         }),
         "ms", 8);
}

} // namespace

// What is counted of --drive, by name.
extern "C" __attribute__((noinline)) void PaintOnce(void* list, bool step, bool down) {
    auto& scrolled = *static_cast<ScrolledList*>(list);
    step ? scrolled.Step(down) : scrolled.Whole();
}

int main(int argc, char** argv) {
    PlatSetScreen({480, 800, 96});
    if (argc == 3 && std::string_view(argv[1]) == "--drive") {
        ScrolledList list;
        for (int i = 0; i < kDriven; ++i)
            PaintOnce(&list, std::string_view(argv[2]) == "step", i < kDriven / 2);
        return 0;
    }
    LongList();
    Scrolling();
    Day();
    return g_good ? 0 : 1;
}
