// Message boxes and shown menus: recorded, answered from the script of a test, by the prompt provider, or at once.
#include "Platform/host/call.h"
#include "Platform/host/faults.h"
#include "Platform/host/menus.h"
#include "Platform/host/text.h"
#include "Platform/testing.h"
#include "Platform/threads.h"
#include "Platform/windows.h"

#include <algorithm>
#include <array>
#include <cstdio>
#include <cstdlib>
#include <deque>
#include <mutex>
#include <optional>
#include <utility>

namespace plat {
namespace {

// Records that nobody takes don't grow without end.
constexpr std::size_t kMostRecords = 1000;

struct Prompts {
    std::mutex lock;
    std::deque<int> boxAnswers;
    std::deque<UINT> menuAnswers;
    std::deque<PlatMessageBoxRecord> boxes;
    std::deque<PlatMenuRecord> menus;
    PlatPromptProvider* provider = nullptr;
};
Prompts& ThePrompts() {
    static Prompts& prompts = *new Prompts;
    return prompts;
}

void Reset() {
    Prompts& prompts = ThePrompts();
    std::lock_guard lock(prompts.lock);
    prompts.boxAnswers.clear();
    prompts.menuAnswers.clear();
    prompts.boxes.clear();
    prompts.menus.clear();
    prompts.provider = nullptr;
}
[[maybe_unused]] const bool g_registered = (AtReset(&Reset), true);

template<class T>
std::optional<T> TakeFirst(std::deque<T>& queue) {
    if (queue.empty()) return std::nullopt;
    T first = std::move(queue.front());
    queue.pop_front();
    return first;
}

template<class T>
void Keep(std::deque<T>& records, T record) {
    if (records.size() == kMostRecords) records.pop_front();
    records.push_back(std::move(record));
}

template<class T>
std::vector<T> TakeAll(std::deque<T> Prompts::*records) {
    Prompts& prompts = ThePrompts();
    std::lock_guard lock(prompts.lock);
    std::vector<T> all(std::make_move_iterator((prompts.*records).begin()),
                       std::make_move_iterator((prompts.*records).end()));
    (prompts.*records).clear();
    return all;
}

PlatPromptProvider* Provider() {
    HostCall call;
    Prompts& prompts = ThePrompts();
    std::lock_guard lock(prompts.lock);
    return prompts.provider;
}

// The first button of each kind of box.
int FirstButton(UINT type) {
    constexpr std::array kFirst = {IDOK, IDOK, IDABORT, IDYES, IDYES, IDRETRY};
    const UINT kind = type & MB_TYPEMASK;
    return kind < kFirst.size() ? kFirst[kind] : IDOK;
}

void Tell(const PlatMessageBoxRecord& box) {
    HostCall call;
    if (!std::getenv("QN_DEBUG")) return;
    std::fprintf(stderr, "[%s] %s\n", ToUtf8(box.caption).c_str(), ToUtf8(box.text).c_str());
}

// A row that can be chosen, and the rows above it open.
bool CanChoose(const std::vector<MenuRow>& rows, UINT id) {
    int shutBelow = -1; // the depth of a disabled sub-menu's row, while inside of it
    for (const MenuRow& row : rows) {
        if (shutBelow >= 0 && row.depth > shutBelow) continue;
        const bool enabled = !(row.flags & (MF_GRAYED | MF_DISABLED | MF_SEPARATOR));
        shutBelow = row.opensSubMenu && !enabled ? row.depth : -1;
        if (enabled && !row.opensSubMenu && row.id == id) return true;
    }
    return false;
}

PlatMenuRecord RecordOf(HWND owner, const std::vector<MenuRow>& rows) {
    PlatMenuRecord record{owner, {}};
    for (const MenuRow& row : rows) record.rows.push_back({row.depth, row.flags, row.id, row.text});
    return record;
}

UINT Choose(HMENU menu, HWND window, int x, int y) {
    std::optional<UINT> chosen;
    {
        HostCall call;
        const std::vector<MenuRow> rows = RowsOf(menu);
        Prompts& prompts = ThePrompts();
        std::lock_guard lock(prompts.lock);
        Keep(prompts.menus, RecordOf(window, rows));
        chosen = TakeFirst(prompts.menuAnswers);
    }
    if (!chosen)
        if (PlatPromptProvider* provider = Provider()) chosen = provider->PickFromMenu(window, menu, x, y);
    HostCall call;
    return chosen && CanChoose(RowsOf(menu), *chosen) ? *chosen : 0; // sub-menus were filled meanwhile
}

} // namespace
} // namespace plat

int MessageBoxW(HWND owner, LPCWSTR text, LPCWSTR caption, UINT type) {
    const PlatMessageBoxRecord box{owner, text ? text : u"", caption ? caption : u"", type};
    std::optional<int> answer;
    {
        plat::HostCall call;
        plat::Prompts& prompts = plat::ThePrompts();
        std::lock_guard lock(prompts.lock);
        plat::Keep(prompts.boxes, box);
        answer = plat::TakeFirst(prompts.boxAnswers);
    }
    plat::Tell(box);
    if (answer) return *answer;
    if (PlatPromptProvider* provider = plat::Provider())
        return provider->ShowMessageBox(owner, box.text.c_str(), box.caption.c_str(), type);
    return plat::FirstButton(type);
}

BOOL MessageBeep(UINT type) {
    { plat::HostCall call; }
    PlatPromptProvider* provider = plat::Provider();
    return !provider || provider->Beep(type);
}

BOOL TrackPopupMenuEx(HMENU menu, UINT flags, int x, int y, HWND window, void*) {
    if (!plat::IsMenu(menu)) return SetLastError(plat::kErrorInvalidMenu), FALSE;
    if (window) SendMessageW(window, WM_INITMENUPOPUP, reinterpret_cast<WPARAM>(menu), 0);
    const UINT chosen = plat::Choose(menu, window, x, y);
    if (flags & TPM_RETURNCMD) return static_cast<BOOL>(chosen);
    if (chosen && window) PostMessageW(window, WM_COMMAND, chosen, 0);
    return TRUE;
}

PlatPromptProvider* PlatSetPromptProvider(PlatPromptProvider* provider) {
    plat::HostCall call;
    plat::Prompts& prompts = plat::ThePrompts();
    std::lock_guard lock(prompts.lock);
    return std::exchange(prompts.provider, provider);
}

void PlatAnswerMessageBox(int answer) {
    plat::HostCall call;
    plat::Prompts& prompts = plat::ThePrompts();
    std::lock_guard lock(prompts.lock);
    prompts.boxAnswers.push_back(answer);
}

std::vector<PlatMessageBoxRecord> PlatTakeMessageBoxes() {
    plat::HostCall call;
    return plat::TakeAll(&plat::Prompts::boxes);
}

void PlatAnswerMenu(UINT id) {
    plat::HostCall call;
    plat::Prompts& prompts = plat::ThePrompts();
    std::lock_guard lock(prompts.lock);
    prompts.menuAnswers.push_back(id);
}

std::vector<PlatMenuRecord> PlatTakeMenus() {
    plat::HostCall call;
    return plat::TakeAll(&plat::Prompts::menus);
}
