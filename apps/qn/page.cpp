// A page of the calendar as a picture, drawn from the store.
#include "apps/pages/calendarview.h"
#include "apps/qn/drawing.h"

#include <charconv>
#include <cstdio>
#include <optional>

namespace qn {

namespace {

constexpr OptionRule kRules[] = {
    {"--date", true}, {"--size", true}, {"--dpi", true}, {"--png", true}, {"--category", true}};

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

PageKind KindOf(const Options& options) {
    constexpr std::string_view kNames[] = {"day", "week", "agenda"};
    if (options.Rest().size() != 1) Usage("page: one of day, week, agenda");
    for (int i = 0; i < kPageKinds; ++i)
        if (options.Rest()[0] == kNames[i]) return static_cast<PageKind>(i);
    Usage("page: there is no page " + options.Rest()[0]);
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
    const PageKind kind = KindOf(options);
    const auto day = ParseDay(options.Get("--date", "today"));
    if (!day) Usage("page: --date can't be " + options.Get("--date"));
    const std::string file = options.Get("--png", options.Rest()[0] + ".png");
    const PlatScreen screen = PlatGetScreen();
    CalendarView view;
    if (!view.Open(nullptr, {0, 0, screen.width, screen.height})) throw Failure("no window for the page");
    std::vector<std::u16string> categories;
    for (const std::string& name : options.All("--category")) categories.push_back(Utf16(name));
    view.Data().SetCategories(std::move(categories));
    view.GoTo(kind, static_cast<LONG>(*day));
    view.Data().Wait();
    view.ShowWindow(SW_SHOW);
    SavePicture(view.GetHWnd(), file);
    std::printf("%s: %dx%d pixels\n", file.c_str(), screen.width, screen.height);
    view.DestroyWindow();
    return kExitDone;
}

} // namespace qn
