#include "QNGridCtrl/PNGDecoder.h"

#include "QNGridCtrl/PNGFilters.h"
#include "QNGridCtrl/PNGPicture.h"

#include <algorithm>
#include <array>
#include <bit>
#include <cstring>
#include <limits>
#include <memory>
#include <new>
#include <string_view>
#include <zlib.h>

namespace {

using Bytes = std::span<const BYTE>;

constexpr std::array<BYTE, 8> kSignature = {0x89, 'P', 'N', 'G', '\r', '\n', 0x1A, '\n'};
constexpr std::size_t kFirstChunk = 33; // the header chunk stands at its fixed place
constexpr std::size_t kChunkHead = 8;
constexpr std::size_t kCheckValue = 4;
constexpr unsigned long long kMostExpansion = 1040; // of deflated data
constexpr std::size_t kRoomBehind = 272; // with it inflating stays quick up to the end, and comes to see it
constexpr std::size_t kRawBlock = 64 * 1024; // lines are inflated and converted in blocks of about this size

enum ColorType : BYTE { kGrey = 0, kRGB = 2, kPalette = 3, kGreyAlpha = 4, kRGBA = 6 };

struct Color {
    BYTE blue = 0, green = 0, red = 0; // in the order of the pixels
    BYTE alpha = 255;
};

struct Pass {
    DWORD firstRow, firstColumn, rowStep, columnStep;
};
constexpr std::array<Pass, 7> kAdam7 = {
    {{0, 0, 8, 8}, {0, 4, 8, 8}, {4, 0, 8, 4}, {0, 2, 4, 4}, {2, 0, 4, 2}, {0, 1, 2, 2}, {1, 0, 2, 1}}};
constexpr std::array<Pass, 1> kWholeImage = {{{0, 0, 1, 1}}};

DWORD BigEndian(const BYTE* p) { return DWORD{p[0]} << 24 | DWORD{p[1]} << 16 | DWORD{p[2]} << 8 | p[3]; }

// A pixel from the low bytes. The fourth goes to the next pixel of the line, which must be yet to come: so it is one store.
void PutPixelAndMore(BYTE* pixel, DWORD value) {
    if constexpr (std::endian::native == std::endian::big) value = __builtin_bswap32(value);
    std::memcpy(pixel, &value, sizeof value);
}

struct Chunk {
    std::string_view name;
    Bytes data; // as far as the file has it
    std::size_t next;
};

// False where no chunk can stand any more.
bool ReadChunk(Bytes file, std::size_t at, Chunk& chunk) {
    if (at > file.size() || file.size() - at < kChunkHead) return false;
    const std::size_t start = at + kChunkHead;
    const std::size_t length = std::min<std::size_t>(BigEndian(&file[at]), file.size() - start);
    chunk.name = {reinterpret_cast<const char*>(&file[at + 4]), 4};
    chunk.data = file.subspan(start, length);
    chunk.next = start + length + kCheckValue;
    return true;
}

// --- Inflating ----------------------------------------------------------------------------------------------------

// The data chunks as one stream. Whatever follows the first is taken for data until the end chunk.
class DataStream {
public:
    DataStream(Bytes file, const Chunk& first) : m_file(file), m_chunk(first) {
        m_good = inflateInit2(&m_stream, 15) == Z_OK;
        if (m_good) Feed(first.data);
    }
    ~DataStream() {
        if (m_good) inflateEnd(&m_stream);
    }
    DataStream(const DataStream&) = delete;
    DataStream& operator=(const DataStream&) = delete;

    bool IsGood() const { return m_good; }
    bool Failed() const { return m_failed; }

    // Fills `out` as far as there is data; gives the bytes. When `all` is to fit, with kRoomBehind bytes to spare, no
    // copy is kept for a next call.
    std::size_t Read(std::span<BYTE> out, bool all = false) {
        m_stream.next_out = out.data();
        m_stream.avail_out = static_cast<uInt>(out.size());
        while (m_stream.avail_out > 0 && !m_ended && HasInput()) {
            const int result = inflate(&m_stream, all ? Z_FINISH : Z_SYNC_FLUSH);
            if (all && result == Z_BUF_ERROR)
                continue; // more data is to come, or more than there is room for
            m_ended = result != Z_OK;
            m_failed = m_ended && result != Z_STREAM_END;
        }
        return out.size() - m_stream.avail_out;
    }

private:
    void Feed(Bytes data) {
        m_stream.next_in = const_cast<BYTE*>(data.data());
        m_stream.avail_in = static_cast<uInt>(data.size());
    }
    bool HasInput() {
        while (m_stream.avail_in == 0) {
            if (!ReadChunk(m_file, m_chunk.next, m_chunk) || m_chunk.name == "IEND") return false;
            Feed(m_chunk.data);
        }
        return true;
    }

    Bytes m_file;
    Chunk m_chunk;
    z_stream m_stream{};
    bool m_good = false;
    bool m_ended = false;
    bool m_failed = false;
};

// --- The decoder --------------------------------------------------------------------------------------------------

class Decoder {
public:
    Decoder(Bytes file, PNGImage& image) : m_file(file), m_image(image) {}
    DWORD Run(unsigned long long maxPixels);

private:
    bool FindData(Chunk& data);
    void ReadPalette(Bytes data);
    void MakeGreyscalePalette();
    void ReadTransparency();
    bool IsKnownKind() const;
    bool IsTooLarge(unsigned long long maxPixels) const;
    DWORD SamplesOfPixel() const;
    DWORD ReadPass(DataStream& stream, const Pass& pass);
    void ReadLine(const BYTE* line, DWORD row, const Pass& pass);
    void ReadGrey(const BYTE* line, DWORD row, const Pass& pass);
    void ReadPaletteBits(const BYTE* line, DWORD row, const Pass& pass);
    void ReadPaletteBytes(const BYTE* line, DWORD row, const Pass& pass);
    void ReadPaletteLine(const BYTE* line, DWORD row);
    template<bool kHasAlpha>
    void ReadRGB(const BYTE* line, DWORD row, const Pass& pass);
    template<bool kHasAlpha>
    void ReadRGBLine(const BYTE* line, DWORD row);
    void PutColor(const Color& color, DWORD row, DWORD column);
    bool IsTransparentColor(BYTE red, BYTE green, BYTE blue) const;

    bool HasAlpha() const { return m_type == kGreyAlpha || m_type == kRGBA; }
    bool IsGrey() const { return m_type == kGrey || m_type == kGreyAlpha; }
    DWORD SampleBytes() const { return m_depth == 16 ? 2 : 1; }
    BYTE* PixelAt(DWORD row, DWORD column) const {
        return m_image.pixels.data() + row * m_rowBytes + std::size_t{column} * 3;
    }
    BYTE* AlphaAt(DWORD row, DWORD column) const {
        return m_image.alpha.data() + std::size_t{row} * m_image.width + column;
    }

    Bytes m_file;
    PNGImage& m_image;
    BYTE m_depth = 0;
    BYTE m_type = 0;
    BYTE m_interlace = 0;
    std::array<Color, 256> m_palette{}; // what is missing is black and opaque
    Bytes m_transparency;
    std::size_t m_rowBytes = 0;
};

DWORD Decoder::Run(unsigned long long maxPixels) {
    if (m_file.size() < kSignature.size() ||
        !std::equal(kSignature.begin(), kSignature.end(), m_file.begin()))
        return PNG_NO_SIGNATURE;
    if (m_file.size() < kFirstChunk) return PNG_BAD_STRUCTURE;
    m_image.width = BigEndian(&m_file[16]);
    m_image.height = BigEndian(&m_file[20]);
    m_depth = m_file[24];
    m_type = m_file[25];
    m_interlace = m_file[28];
    Chunk data;
    if (!FindData(data) || !IsKnownKind()) return PNG_BAD_STRUCTURE;
    if (IsTooLarge(maxPixels)) return PNG_NO_MEMORY;

    m_rowBytes = (std::size_t{m_image.width} * 3 + 1) & ~std::size_t{1};
    m_image.pixels.assign(m_rowBytes * m_image.height, 0);
    m_image.alpha.assign(std::size_t{m_image.width} * m_image.height, 255);
    DataStream stream(m_file, data);
    if (!stream.IsGood()) return PNG_NO_MEMORY;
    const std::span<const Pass> passes = m_interlace ? std::span<const Pass>(kAdam7) : kWholeImage;
    for (const Pass& pass : passes)
        if (m_image.height > pass.firstRow && m_image.width > pass.firstColumn) ReadPass(stream, pass);
    BYTE rest[16]; // the end of the stream is where its damage shows
    if (!stream.Failed()) stream.Read(rest);
    return stream.Failed() ? PNG_BAD_DATA : PNG_OK;
}

// The first data chunk; what stands before it is taken on the way.
bool Decoder::FindData(Chunk& chunk) {
    for (std::size_t at = kFirstChunk; ReadChunk(m_file, at, chunk); at = chunk.next) {
        if (chunk.name == "IEND") return false;
        if (chunk.name == "PLTE") ReadPalette(chunk.data);
        if (chunk.name == "tRNS") m_transparency = chunk.data;
        if (chunk.name == "IDAT") {
            if (IsGrey()) MakeGreyscalePalette();
            ReadTransparency();
            return true;
        }
    }
    return false;
}

void Decoder::ReadPalette(Bytes data) {
    const std::size_t entries = std::min(data.size() / 3, m_palette.size());
    for (std::size_t i = 0; i < entries; ++i)
        m_palette[i] = {data[i * 3 + 2], data[i * 3 + 1], data[i * 3], 255};
}

// Of a palette each entry has its own; of few greys the one that is told has none. Bytes of grey have no such value.
void Decoder::ReadTransparency() {
    if (m_type == kPalette)
        for (std::size_t i = 0; i < std::min(m_transparency.size(), m_palette.size()); ++i)
            m_palette[i].alpha = m_transparency[i];
    else if (m_type == kGrey && m_depth < 8 && m_transparency.size() >= 2)
        m_palette[m_transparency[1]].alpha = 0;
}

void Decoder::MakeGreyscalePalette() {
    const int levels = m_depth < 8 ? 1 << m_depth : 256;
    for (int i = 0; i < levels; ++i) {
        const auto level = static_cast<BYTE>(i * 255 / std::max(levels - 1, 1));
        m_palette[static_cast<std::size_t>(i)] = {level, level, level, 255};
    }
}

bool Decoder::IsKnownKind() const {
    if (m_image.width == 0 || m_image.height == 0 || m_interlace > 1) return false;
    switch (m_type) {
    case kGrey:
        return m_depth == 1 || m_depth == 2 || m_depth == 4 || m_depth == 8 || m_depth == 16;
    case kPalette:
        return m_depth == 1 || m_depth == 2 || m_depth == 4 || m_depth == 8;
    case kRGB:
    case kGreyAlpha:
    case kRGBA:
        return m_depth == 8 || m_depth == 16;
    default:
        return false;
    }
}

bool Decoder::IsTooLarge(unsigned long long maxPixels) const {
    constexpr unsigned long long kMostBytes = std::numeric_limits<std::ptrdiff_t>::max();
    const unsigned long long pixels = static_cast<unsigned long long>(m_image.width) * m_image.height;
    if (pixels > maxPixels || pixels > kMostBytes / 8) return true;
    return pixels * SamplesOfPixel() * m_depth / 8 > m_file.size() * kMostExpansion;
}

DWORD Decoder::SamplesOfPixel() const {
    return (m_type == kRGB || m_type == kRGBA ? 3 : 1) + (HasAlpha() ? 1 : 0);
}

// --- Lines --------------------------------------------------------------------------------------------------------

// Several lines are inflated at once; the last one stays above the next block.
DWORD Decoder::ReadPass(DataStream& stream, const Pass& pass) {
    const DWORD columns = (m_image.width - pass.firstColumn + pass.columnStep - 1) / pass.columnStep;
    const DWORD rows = (m_image.height - pass.firstRow + pass.rowStep - 1) / pass.rowStep;
    const std::size_t content = (std::size_t{columns} * SamplesOfPixel() * m_depth + 7) / 8;
    const std::size_t line = content + 1; // its filter stands in front
    const std::size_t distance = SamplesOfPixel() * SampleBytes();
    const std::size_t most = std::clamp<std::size_t>(kRawBlock / line, 1, rows);
    const bool all = most == rows && !m_interlace;
    const auto block = std::make_unique_for_overwrite<BYTE[]>(line * (most + 1) + (all ? kRoomBehind : 0));
    BYTE* first = block.get() + line;
    std::memset(block.get(), 0, line); // nothing is above
    for (DWORD done = 0; done < rows;) {
        const std::size_t wanted = std::min<std::size_t>(most, rows - done);
        const std::size_t bytes = wanted * line + (all ? kRoomBehind : 0);
        const std::size_t got = std::min(stream.Read({first, bytes}, all) / line, wanted);
        for (std::size_t i = 0; i < got; ++i) {
            BYTE* now = first + i * line;
            ApplyPNGFilter(now, now - line, content, distance);
            ReadLine(now + 1, pass.firstRow + (done + static_cast<DWORD>(i)) * pass.rowStep, pass);
        }
        if (got < wanted) return done;
        std::memcpy(block.get(), first + (got - 1) * line, line);
        done += static_cast<DWORD>(got);
    }
    return rows;
}

void Decoder::ReadLine(const BYTE* line, DWORD row, const Pass& pass) {
    if (m_depth < 8) return ReadPaletteBits(line, row, pass);
    const bool whole = m_depth == 8 && pass.columnStep == 1;
    switch (m_type) {
    case kPalette:
        return whole ? ReadPaletteLine(line, row) : ReadPaletteBytes(line, row, pass);
    case kRGB:
        return whole && m_transparency.empty() ? ReadRGBLine<false>(line, row)
                                               : ReadRGB<false>(line, row, pass);
    case kRGBA:
        return whole ? ReadRGBLine<true>(line, row) : ReadRGB<true>(line, row, pass);
    default:
        return ReadGrey(line, row, pass);
    }
}

void Decoder::PutColor(const Color& color, DWORD row, DWORD column) {
    std::memcpy(PixelAt(row, column), &color, 3);
    *AlphaAt(row, column) = color.alpha;
}

// Of a sample of two bytes the high one counts.
void Decoder::ReadGrey(const BYTE* line, DWORD row, const Pass& pass) {
    const DWORD sample = SampleBytes();
    for (DWORD column = pass.firstColumn; column < m_image.width; column += pass.columnStep) {
        std::memset(PixelAt(row, column), *line, 3);
        line += sample;
        if (m_type != kGreyAlpha) continue;
        *AlphaAt(row, column) = *line;
        line += sample;
    }
}

void Decoder::ReadPaletteBits(const BYTE* line, DWORD row, const Pass& pass) {
    const int mask = (1 << m_depth) - 1;
    int shift = 8 - m_depth;
    for (DWORD column = pass.firstColumn; column < m_image.width; column += pass.columnStep) {
        const auto index = static_cast<BYTE>(*line >> shift & mask);
        PutColor(m_palette[index], row, column);
        shift -= m_depth;
        if (shift >= 0) continue;
        shift = 8 - m_depth;
        ++line;
    }
}

void Decoder::ReadPaletteBytes(const BYTE* line, DWORD row, const Pass& pass) {
    for (DWORD column = pass.firstColumn; column < m_image.width; column += pass.columnStep)
        PutColor(m_palette[*line++], row, column);
}

void Decoder::ReadPaletteLine(const BYTE* line, DWORD row) {
    BYTE* pixel = PixelAt(row, 0);
    const DWORD last = m_image.width - 1;
    for (DWORD column = 0; column < last; ++column, pixel += 3)
        std::memcpy(pixel, &m_palette[line[column]], sizeof(Color)); // the fourth byte is the next one's
    std::memcpy(pixel, &m_palette[line[last]], 3);
    if (m_transparency.empty()) return;
    BYTE* alpha = AlphaAt(row, 0);
    for (DWORD column = 0; column <= last; ++column) alpha[column] = m_palette[line[column]].alpha;
}

template<bool kHasAlpha>
void Decoder::ReadRGB(const BYTE* line, DWORD row, const Pass& pass) {
    const DWORD sample = SampleBytes();
    for (DWORD column = pass.firstColumn; column < m_image.width; column += pass.columnStep) {
        const BYTE red = line[0], green = line[sample], blue = line[2 * sample];
        const BYTE pixel[3] = {blue, green, red};
        std::memcpy(PixelAt(row, column), pixel, 3);
        line += 3 * sample;
        if constexpr (kHasAlpha) {
            *AlphaAt(row, column) = *line;
            line += sample;
        } else if (IsTransparentColor(red, green, blue)) {
            *AlphaAt(row, column) = 0;
        }
    }
}

template<bool kHasAlpha>
void Decoder::ReadRGBLine(const BYTE* line, DWORD row) {
    BYTE* pixel = PixelAt(row, 0);
    BYTE* alpha = AlphaAt(row, 0);
    const DWORD last = m_image.width - 1;
    for (DWORD column = 0; column < last; ++column, pixel += 3, line += kHasAlpha ? 4 : 3) {
        const DWORD rgba = BigEndian(line);
        PutPixelAndMore(pixel, rgba >> 8);
        if constexpr (kHasAlpha) alpha[column] = static_cast<BYTE>(rgba);
    }
    for (std::size_t i = 0; i < 3; ++i) pixel[i] = line[2 - i];
    if constexpr (kHasAlpha) alpha[last] = line[3];
}

// The low bytes are compared with the first byte of each sample: that is how these pictures have always been shown.
bool Decoder::IsTransparentColor(BYTE red, BYTE green, BYTE blue) const {
    return m_transparency.size() >= 6 && m_transparency[1] == red && m_transparency[3] == green &&
           m_transparency[5] == blue;
}

} // namespace

DWORD DecodePNG(std::span<const BYTE> file, unsigned long long maxPixels, PNGImage& image) {
    try {
        return Decoder(file, image).Run(maxPixels);
    } catch (const std::bad_alloc&) {
        image = {};
        return PNG_NO_MEMORY;
    }
}
