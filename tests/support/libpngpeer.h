// The same file through libpng: rows of B, G, R, alpha from the top; empty for a file that it refuses.
#pragma once

#include "Platform/types.h"

#include <algorithm>
#include <csetjmp>
#include <cstring>
#include <png.h>
#include <span>
#include <vector>

struct PeerSource {
    std::span<const BYTE> rest;
};

inline void PeerRead(png_structp png, png_bytep out, png_size_t count) {
    auto& source = *static_cast<PeerSource*>(png_get_io_ptr(png));
    if (count > source.rest.size()) png_error(png, "cut");
    std::memcpy(out, source.rest.data(), count);
    source.rest = source.rest.subspan(count);
}

// Nothing here has a destructor that a jump could pass over. `pixels` and `rows` belong to the caller.
inline bool PeerDecode(png_structp png, png_infop info, PeerSource& source, std::vector<BYTE>& pixels,
                       std::vector<png_bytep>& rows) {
    if (setjmp(png_jmpbuf(png))) return false;
    png_set_read_fn(png, &source, PeerRead);
    png_read_info(png, info);
    const int type = png_get_color_type(png, info);
    const bool bytesOfGrey = type == PNG_COLOR_TYPE_GRAY && png_get_bit_depth(png, info) >= 8;
    png_set_strip_16(png);
    if (bytesOfGrey)
        png_set_expand_gray_1_2_4_to_8(png); // ours ignores the transparent colour of these
    else
        png_set_expand(png);
    png_set_gray_to_rgb(png);
    png_set_bgr(png);
    if (!(type & PNG_COLOR_MASK_ALPHA)) png_set_add_alpha(png, 0xFF, PNG_FILLER_AFTER);
    png_set_interlace_handling(png);
    png_read_update_info(png, info);
    const std::size_t rowBytes = png_get_rowbytes(png, info), height = png_get_image_height(png, info);
    pixels.resize(rowBytes * height);
    rows.resize(height);
    for (std::size_t y = 0; y < height; ++y) rows[y] = pixels.data() + y * rowBytes;
    png_read_image(png, rows.data());
    png_read_end(png, nullptr);
    return true;
}

inline std::vector<BYTE> DecodeWithLibpng(std::span<const BYTE> file) {
    std::vector<BYTE> pixels;
    std::vector<png_bytep> rows;
    PeerSource source{file};
    png_structp png = png_create_read_struct(
        PNG_LIBPNG_VER_STRING, nullptr, [](png_structp p, png_const_charp) { png_longjmp(p, 1); },
        [](png_structp, png_const_charp) {});
    png_infop info = png_create_info_struct(png);
    if (!PeerDecode(png, info, source, pixels, rows)) pixels.clear();
    png_destroy_read_struct(&png, &info, nullptr);
    return pixels;
}
