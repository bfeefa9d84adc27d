// qnshell: the window of the suite.
#include "Platform/present.h"
#include "QNGridCtrl/Prompts.h"
#include "QNTools/QNTools.h"
#include "QNWorkerClass/COutlook.h"
#include "apps/pages/theme.h"
#include "apps/qn/options.h"
#include "apps/qn/support.h"
#include "apps/qnshell/shell.h"

#include <cstdio>
#include <exception>

namespace {

// What the library brings up goes down, whatever happens between.
struct Library {
    Library() { InitQNTools(nullptr, true); }
    ~Library() { UnInitQNTools(); }
    Library(const Library&) = delete;
    Library& operator=(const Library&) = delete;
};

struct Presentation {
    explicit Presentation(const qn::ShellState& state) {
        PlatWindow window;
        window.title = "Quillonary";
        window.width = state.width;
        window.height = state.height;
        if (!PlatStartPresenting(window)) throw qn::Failure("there is no display");
    }
    ~Presentation() { PlatStopPresenting(); }
    Presentation(const Presentation&) = delete;
    Presentation& operator=(const Presentation&) = delete;
};

// Empty lists in place of ones that can't be read would frighten.
bool IsStoreThere() {
    qn::Com<IFolder> folder;
    return SUCCEEDED(g_pOutlook->GetDefaultFolder(olFolderCalendar, folder.Out()));
}

void TellOfStore() {
    const PlatScreen screen = PlatGetScreen();
    CeWnd ground;
    ground.Create(nullptr, nullptr, RECT{0, 0, screen.width, screen.height}, u"Quillonary",
                  WS_POPUP | WS_VISIBLE);
    PlatPresentWindow(ground.GetHWnd());
    ground.MessageBoxW(
        u"Your data can't be opened: its file pim.vol is damaged or can't be read.\n\nNothing in it "
        u"was changed. Put a copy of it from before in its place.",
        u"Quillonary", MB_OK | MB_ICONHAND);
    PlatPresentWindow(nullptr);
    ground.DestroyWindow();
    throw qn::Failure("the store can't be opened", qn::kExitBroken);
}

constexpr qn::OptionRule kRules[] = {{"--date", true}, {"--help", false}};

constexpr const char* kHelp = "usage: qnshell [--date DATE]\n"
                              "  The suite on the device folder $QN_DEVICE, else ~/.local/share/quillonary, "
                              "in a window: calendar, tasks, contacts,\n"
                              "  notes and search. The calendar shows today, or another day: 2026-11-21, "
                              "tomorrow, +3, or as your locale writes it.\n"
                              "  Ctrl+1 to 5 are the tabs, Ctrl+F is the search. Enter opens an item, Delete "
                              "deletes it, Ctrl+Z brings it back.\n"
                              "  Arrows walk lists, open and close what stands under a row, and turn the "
                              "pages of the calendar; D, W and A are\n"
                              "  its day, week and agenda, T goes to today. Ctrl+K chooses categories, Tab "
                              "goes from part to part, F10 is the\n"
                              "  menu, F5 reads again, Escape goes back, Ctrl+Q leaves.\n";

int Run(const std::vector<std::string>& words) {
    const qn::Options options("qnshell", words, kRules);
    if (options.Has("--help")) return std::fputs(kHelp, stdout), qn::kExitDone;
    const auto day = qn::ParseDay(options.Get("--date", "today"));
    if (!day || !options.Rest().empty()) throw qn::Failure(kHelp, qn::kExitBroken);
    const qn::ShellState state = qn::ShellState::Read();
    const Presentation presentation(state);
    const Library library;
    // Before there are boxes: the library's own one would wait for an answer behind a window that isn't shown yet.
    const bool store = IsStoreThere();
    const Prompts prompts;
    qn::UseScheme(qn::ReadScheme());
    if (!store) TellOfStore();
    qn::Shell shell;
    if (!shell.Open(state, static_cast<LONG>(*day))) throw qn::Failure("no window");
    PlatPresentWindow(shell.GetHWnd());
    MSG message{};
    while (GetMessageW(&message, nullptr, 0, 0) > 0)
        if (!shell.TakeKey(message)) DispatchMessageW(&message);
    return static_cast<int>(message.wParam);
}

} // namespace

int main(int argc, char** argv) {
    try {
        return Run({argv + 1, argv + argc});
    } catch (const qn::Failure& failure) {
        std::fprintf(stderr, "qnshell: %s\n", failure.what());
        return failure.Code();
    } catch (const std::exception& error) {
        std::fprintf(stderr, "qnshell: %s\n", error.what());
        return qn::kExitFailed;
    }
}
