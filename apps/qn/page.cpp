// A page as a picture, drawn from the store.
#include "Platform/strings.h"
#include "QNWorkerClass/categories.h"
#include "apps/pages/calendarview.h"
#include "apps/pages/tabs.h"
#include "apps/pages/theme.h"
#include "apps/qn/drawing.h"
#include "apps/qn/store.h"

#include <algorithm>
#include <charconv>
#include <cstdio>
#include <optional>

namespace qn {

namespace {

constexpr OptionRule kRules[] = {{"--date", true},     {"--size", true},   {"--dpi", true}, {"--png", true},
                                 {"--category", true}, {"--scheme", true}, {"--find", true}};

struct Size {
    int width = 480;
    int height = 640;
};

// "480x640".
std::optional<Size> ParseSize(std::string_view text) {
    Size size;
    const char* const end = text.data() + text.size();
    auto number = std::from_chars(text.data(), end, size.width);
    if (number.ec != std::errc() || number.ptr == end || *number.ptr != 'x') return std::nullopt;
    number = std::from_chars(number.ptr + 1, end, size.height);
    if (number.ec != std::errc() || number.ptr != end || size.width < 1 || size.height < 1)
        return std::nullopt;
    return size;
}

struct PageName {
    std::string_view word;
    TabKind tab;
    PageKind page = PageKind::Day; // of the calendar
    bool hasText = false;          // to find
};
constexpr PageName kPages[] = {
    {"day", TabKind::Calendar, PageKind::Day},
    {"week", TabKind::Calendar, PageKind::Week},
    {"agenda", TabKind::Calendar, PageKind::Agenda},
    {"tasks", TabKind::Tasks},
    {"contacts", TabKind::Contacts, PageKind::Day, true},
    {"notes", TabKind::Notes},
    {"search", TabKind::Search, PageKind::Day, true},
};

const PageName& NameOf(const Options& options) {
    std::string names;
    for (const PageName& page : kPages) names += (names.empty() ? "" : ", ") + std::string(page.word);
    if (options.Rest().size() != 1) Usage("page: one of " + names);
    const auto* found = std::ranges::find(kPages, options.Rest()[0], &PageName::word);
    if (found == std::end(kPages)) Usage("page: there is no page " + options.Rest()[0] + ", only " + names);
    if (options.Has("--date") && found->tab != TabKind::Calendar)
        Usage("page: --date is for day, week and agenda");
    if (options.Has("--find") && !found->hasText)
        Usage("page: nothing is typed on the page " + options.Rest()[0]);
    return *found;
}

// As they are called in the store.
std::vector<std::u16string> CategoriesOf(const Options& options) {
    std::vector<std::u16string> names;
    CFullCategoryList all(0, PTRLIST_DELETE);
    GetFullCategoryInfo(all, true);
    for (const std::string& wanted : options.All("--category")) {
        const auto found = std::ranges::find_if(all, [name = Utf16(wanted)](const CFullCategory* category) {
            return _wcsicmp(category->m_szName, name.c_str()) == 0;
        });
        if (found == all.end()) throw Failure("there is no category \"" + wanted + "\"");
        names.emplace_back((*found)->m_szName);
    }
    return names;
}

Scheme SchemeOf(const Options& options) {
    const std::string name = options.Get("--scheme");
    if (name.empty()) return ReadScheme();
    if (name != "light" && name != "dark") Usage("page: --scheme is light or dark");
    return name == "dark" ? Scheme::Dark : Scheme::Light;
}

} // namespace

void PreparePage(const Words& words) {
    const Options options("page", words, kRules);
    const auto size = ParseSize(options.Get("--size", "480x640"));
    if (!size) Usage("page: --size can't be " + options.Get("--size"));
    SetScreen(size->width, size->height,
              static_cast<int>(options.Number("--dpi", 96, kLeastDots, kMostDots)));
}

int PageCommand(const Words& words) {
    const Options options("page", words, kRules);
    const PageName& name = NameOf(options);
    const auto day = ParseDay(options.Get("--date", "today"));
    if (!day) Usage("page: --date can't be " + options.Get("--date"));
    const std::string file = options.Get("--png", options.Rest()[0] + ".png");
    const PlatScreen screen = PlatGetScreen();
    const Store store; // a failure when it can't be opened
    UseScheme(SchemeOf(options));
    const auto view = MakeTab(name.tab);
    if (!view->Open(nullptr, {0, 0, screen.width, screen.height})) throw Failure("no window for the page");
    view->ShowCategories(CategoriesOf(options));
    if (options.Has("--find")) view->Find(Utf16(options.Get("--find")));
    if (name.tab == TabKind::Calendar)
        static_cast<CalendarView&>(*view).GoTo(name.page, static_cast<LONG>(*day));
    view->Begin();
    view->Wait();
    view->ShowWindow(SW_SHOW);
    SavePicture(view->GetHWnd(), file);
    std::printf("%s: %dx%d pixels\n", file.c_str(), screen.width, screen.height);
    view->DestroyWindow();
    return kExitDone;
}

} // namespace qn
