// Makes PNG files of every kind, depth, interlacing and filter, good ones and, by Chunk and Signed, any other.
#pragma once

#include "Platform/types.h"

#include <algorithm>
#include <array>
#include <cstdlib>
#include <functional>
#include <string_view>
#include <vector>
#include <zlib.h>

using PNGBytes = std::vector<BYTE>;

struct PNGRecipe {
    DWORD width = 1;
    DWORD height = 1;
    BYTE type = 6; // 0 grey, 2 RGB, 3 palette, 4 grey and alpha, 6 RGBA
    BYTE depth = 8;
    BYTE interlace = 0;
    int filter = -1;       // of all lines; -1: 0 to 4 in turn
    std::size_t split = 0; // the most bytes of a data chunk; 0: one chunk
    PNGBytes palette{};    // R, G, B
    PNGBytes transparency{};
    // A sample of a pixel, cut to the depth.
    std::function<unsigned(DWORD x, DWORD y, unsigned sample)> value = [](DWORD, DWORD, unsigned) {
        return 0u;
    };

    unsigned Samples() const { return (type == 2 || type == 6 ? 3u : 1u) + (type & 4 ? 1u : 0u); }
};

inline void AppendBigEndian(PNGBytes& bytes, unsigned long value, int count = 4) {
    for (int i = count - 1; i >= 0; --i) bytes.push_back(static_cast<BYTE>(value >> (8 * i)));
}

inline PNGBytes Chunk(std::string_view name, const PNGBytes& data) {
    PNGBytes chunk;
    AppendBigEndian(chunk, data.size());
    chunk.insert(chunk.end(), name.begin(), name.end());
    chunk.insert(chunk.end(), data.begin(), data.end());
    AppendBigEndian(chunk, crc32(0, chunk.data() + 4, static_cast<uInt>(chunk.size() - 4)));
    return chunk;
}

inline PNGBytes operator+(PNGBytes a, const PNGBytes& b) {
    a.insert(a.end(), b.begin(), b.end());
    return a;
}

inline PNGBytes Signed(const PNGRecipe& r) {
    PNGBytes header;
    AppendBigEndian(header, r.width);
    AppendBigEndian(header, r.height);
    for (const BYTE b : {r.depth, r.type, BYTE{0}, BYTE{0}, r.interlace}) header.push_back(b);
    return PNGBytes{0x89, 'P', 'N', 'G', '\r', '\n', 0x1A, '\n'} + Chunk("IHDR", header);
}

inline PNGBytes Deflated(const PNGBytes& raw) {
    uLongf size = compressBound(raw.size());
    PNGBytes packed(size);
    compress2(packed.data(), &size, raw.data(), raw.size(), 6);
    packed.resize(size);
    return packed;
}

// One line of a pass, unfiltered.
inline PNGBytes PackedLine(const PNGRecipe& r, DWORD y, DWORD firstX, DWORD stepX) {
    PNGBytes line;
    unsigned held = 0, bits = 0;
    for (DWORD x = firstX; x < r.width; x += stepX)
        for (unsigned s = 0; s < r.Samples(); ++s) {
            const unsigned value = r.value(x, y, s) & ((1u << r.depth) - 1);
            if (r.depth >= 8) {
                AppendBigEndian(line, value, r.depth / 8);
                continue;
            }
            held = held << r.depth | value;
            if ((bits += r.depth) < 8) continue;
            line.push_back(static_cast<BYTE>(held));
            held = bits = 0;
        }
    if (bits) line.push_back(static_cast<BYTE>(held << (8 - bits)));
    return line;
}

inline int Predicted(int filter, int left, int above, int corner) {
    const int estimate = left + above - corner;
    const int toLeft = std::abs(estimate - left), toAbove = std::abs(estimate - above),
              toCorner = std::abs(estimate - corner);
    switch (filter) {
    case 1:
        return left;
    case 2:
        return above;
    case 3:
        return (left + above) / 2;
    case 4:
        return toLeft <= toAbove && toLeft <= toCorner ? left : toAbove <= toCorner ? above : corner;
    default:
        return 0;
    }
}

inline void AppendFiltered(PNGBytes& raw, int filter, const PNGBytes& line, PNGBytes above,
                           std::size_t distance) {
    above.resize(line.size());
    raw.push_back(static_cast<BYTE>(filter));
    for (std::size_t i = 0; i < line.size(); ++i) {
        const bool inside = i >= distance;
        raw.push_back(static_cast<BYTE>(line[i] - Predicted(filter, inside ? line[i - distance] : 0, above[i],
                                                            inside ? above[i - distance] : 0)));
    }
}

// All lines with their filters, as they are deflated.
inline PNGBytes RawLines(const PNGRecipe& r) {
    struct Pass {
        DWORD x, y, stepX, stepY;
    };
    static const std::vector<Pass> seven = {{0, 0, 8, 8}, {4, 0, 8, 8}, {0, 4, 4, 8}, {2, 0, 4, 4},
                                            {0, 2, 2, 4}, {1, 0, 2, 2}, {0, 1, 1, 2}};
    static const std::vector<Pass> one = {{0, 0, 1, 1}};
    const std::size_t distance = std::max(1u, r.Samples() * r.depth / 8);
    PNGBytes raw;
    int turn = 0;
    for (const Pass& pass : r.interlace ? seven : one) {
        PNGBytes above;
        for (DWORD y = pass.y; y < r.height && pass.x < r.width; y += pass.stepY) {
            const PNGBytes line = PackedLine(r, y, pass.x, pass.stepX);
            AppendFiltered(raw, r.filter >= 0 ? r.filter : turn++ % 5, line, above, distance);
            above = line;
        }
    }
    return raw;
}

inline PNGBytes DataChunks(const PNGBytes& packed, std::size_t split) {
    PNGBytes chunks;
    const std::size_t most = split ? split : packed.size();
    for (std::size_t at = 0; at < packed.size(); at += most)
        chunks =
            std::move(chunks) +
            Chunk("IDAT", {packed.begin() + static_cast<std::ptrdiff_t>(at),
                           packed.begin() + static_cast<std::ptrdiff_t>(std::min(at + most, packed.size()))});
    return chunks;
}

inline PNGBytes MakePNG(const PNGRecipe& r) {
    PNGBytes file = Signed(r);
    if (!r.palette.empty()) file = std::move(file) + Chunk("PLTE", r.palette);
    if (!r.transparency.empty()) file = std::move(file) + Chunk("tRNS", r.transparency);
    return std::move(file) + DataChunks(Deflated(RawLines(r)), r.split) + Chunk("IEND", {});
}
