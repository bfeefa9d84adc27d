// The font of fixed width, for tests of layout: it depends on no font file.
#include "Platform/host/fonts.h"

#include <algorithm>
#include <cstdlib>
#include <unicode/utf16.h>

namespace plat {
namespace {

class FixedFont : public TextFont {
public:
    explicit FixedFont(const LOGFONTW& description) {
        const int height = std::abs(BoundedHeight(description.lfHeight));
        m_metrics = {height - height / 5, height / 5, height - height / 5, kUnit, kUnit};
    }

    long long Measure(std::u16string_view text, long long limit, int* fit, int* widths) override {
        const auto count = static_cast<long long>(text.size());
        if (fit) *fit = WholeCharacters(text, std::clamp(limit / kUnit, 0LL, count));
        for (long long i = 0; widths && i < count; ++i) widths[i] = NearPixel((i + 1) * kUnit);
        return count * kUnit;
    }

    // A bar in the place of each character, a blank of one pixel between two.
    void Paint(const TextPainting& painting) override {
        long long pen = painting.x;
        for (std::size_t i = 0; i < painting.text.size(); ++i) {
            if (painting.text[i] > u' ')
                FillColor(
                    painting.context,
                    Intersection(painting.clip, Moved({0, 0, kUnit - 1, m_metrics.ascent}, pen, painting.y)),
                    ColorOf(painting.color));
            pen += painting.spacing ? painting.spacing[i] : kUnit;
        }
    }

private:
    static constexpr int kUnit = 6;

    // Not half of a pair.
    static int WholeCharacters(std::u16string_view text, long long count) {
        const auto at = static_cast<std::size_t>(count);
        const bool splits = at > 0 && at < text.size() && U16_IS_LEAD(text[at - 1]) && U16_IS_TRAIL(text[at]);
        return static_cast<int>(splits ? count - 1 : count);
    }
};

} // namespace

std::shared_ptr<TextFont> MakeFixedFont(const LOGFONTW& description) {
    return std::make_shared<FixedFont>(description);
}

} // namespace plat
