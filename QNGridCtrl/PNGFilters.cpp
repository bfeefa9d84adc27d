#include "QNGridCtrl/PNGFilters.h"

#include <bit>
#include <cstring>

namespace {

// The bytes of a pixel side by side, each in the room of two: they hang on their own neighbours alone.
template<std::size_t kDistance>
struct PixelValues {
    using Values = short __attribute__((vector_size(16)));
    using Bytes = BYTE __attribute__((vector_size(16)));
    using LowBytes = BYTE __attribute__((vector_size(8)));
    using Words = unsigned long long __attribute__((vector_size(16)));

    static Values Load(const BYTE* from) {
        unsigned long long word = 0;
        std::memcpy(&word, from, kDistance);
        // Of 16 bytes and 16 zeros; 16 and more are the zeros.
        constexpr int kLow = std::endian::native == std::endian::little ? 0 : 16, kHigh = 16 - kLow;
        return reinterpret_cast<Values>(
            __builtin_shufflevector(reinterpret_cast<Bytes>(Words{word, 0}), Bytes{}, kLow, kHigh, kLow + 1,
                                    kHigh + 1, kLow + 2, kHigh + 2, kLow + 3, kHigh + 3, kLow + 4, kHigh + 4,
                                    kLow + 5, kHigh + 5, kLow + 6, kHigh + 6, kLow + 7, kHigh + 7));
    }
    static void Store(Values values, BYTE* to) {
        const LowBytes bytes = __builtin_convertvector(values, LowBytes);
        std::memcpy(to, &bytes, kDistance);
    }
    // Modulo 256: as bytes, of which the high ones are 0.
    static Values Sum(Values a, Values b) {
        return reinterpret_cast<Values>(reinterpret_cast<Bytes>(a) + reinterpret_cast<Bytes>(b));
    }
    static Values Mask(Values compared) { return compared; }
};

template<>
struct PixelValues<1> {
    using Values = int;

    static int Load(const BYTE* from) { return *from; }
    static void Store(int value, BYTE* to) { *to = static_cast<BYTE>(value); }
    static int Sum(int a, int b) { return (a + b) & 0xFF; }
    static int Mask(bool compared) { return -int{compared}; }
};

// Adds whichever of left, above and upper left is nearest to left + above - upper left, in this order. Of these, left is
// known last, so few steps lead from it to the sum.
template<class P, class T = typename P::Values>
T AddPaeth(T raw, T left, T above, T upperLeft) {
    const auto size = [](T v) -> T { return v < 0 ? -v : v; };
    const T up = above - upperLeft, along = left - upperLeft;
    const T toLeft = size(up), toAbove = size(along), toUpperLeft = size(up + along);
    const T nearer = toAbove < toUpperLeft ? toAbove : toUpperLeft;
    const T notLeft = P::Mask(toLeft > nearer), notAbove = P::Mask(toAbove > toUpperLeft);
    const T other = above ^ ((above ^ upperLeft) & notAbove);
    return P::Sum(P::Sum(raw, left & ~notLeft), other & notLeft);
}

// Left of the line stands nothing, which counts as 0.
template<std::size_t kDistance, class F>
void AddPredicted(BYTE* line, const BYTE* upper, std::size_t size, F add) {
    using P = PixelValues<kDistance>;
    typename P::Values left{}, upperLeft{};
    for (std::size_t i = 0; i < size; i += kDistance) {
        const auto raw = P::Load(line + i), above = P::Load(upper + i);
        left = add(raw, left, above, upperLeft);
        P::Store(left, line + i);
        upperLeft = above;
    }
}

void AddUpper(BYTE* line, const BYTE* upper, std::size_t size) {
    for (std::size_t i = 0; i < size; ++i) line[i] = static_cast<BYTE>(line[i] + upper[i]);
}

template<std::size_t kDistance>
void ApplyFilter(BYTE filter, BYTE* line, const BYTE* upper, std::size_t size) {
    using P = PixelValues<kDistance>;
    switch (filter) {
    case 1:
        return AddPredicted<kDistance>(line, upper, size,
                                       [](auto raw, auto left, auto, auto) { return P::Sum(raw, left); });
    case 2:
        return AddUpper(line, upper, size);
    case 3:
        return AddPredicted<kDistance>(line, upper, size, [](auto raw, auto left, auto above, auto) {
            return P::Sum(raw, (left + above) >> 1);
        });
    case 4:
        return AddPredicted<kDistance>(line, upper, size, AddPaeth<P>);
    default: // none; one that the format doesn't have leaves the line as it stands
        return;
    }
}

} // namespace

void ApplyPNGFilter(BYTE* line, const BYTE* upper, std::size_t size, std::size_t distance) {
    const BYTE filter = *line++;
    ++upper;
    switch (distance) {
    case 1:
        return ApplyFilter<1>(filter, line, upper, size);
    case 2:
        return ApplyFilter<2>(filter, line, upper, size);
    case 3:
        return ApplyFilter<3>(filter, line, upper, size);
    case 4:
        return ApplyFilter<4>(filter, line, upper, size);
    case 6:
        return ApplyFilter<6>(filter, line, upper, size);
    default:
        return ApplyFilter<8>(filter, line, upper, size);
    }
}
