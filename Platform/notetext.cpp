#include "Platform/notetext.h"

#include "Platform/strings.h"

#include <algorithm>
#include <atomic>
#include <string_view>

namespace {

// Registered while static objects are made, so it must need no construction of its own.
constinit std::atomic<PlatNoteReader> g_reader{nullptr};

constexpr std::size_t kLeastForm = 6;  // bytes that must be exceeded by what bears the mark of a form
constexpr std::size_t kPlainHead = 10; // bytes that tell a text of bytes from one of UTF-16
constexpr BYTE kMarkLow = 0xFF, kMarkHigh = 0xFE;
constexpr WCHAR kMark = 0xFEFF;

std::u16string WideText(const BYTE* bytes, DWORD length) {
    const bool bigEndian = length >= 2 && bytes[0] == kMarkHigh && bytes[1] == kMarkLow;
    std::u16string text(length / 2, u'\0');
    for (std::size_t i = 0; i < text.size(); ++i) {
        const BYTE low = bytes[2 * i + bigEndian], high = bytes[2 * i + !bigEndian];
        text[i] = static_cast<WCHAR>(low | high << 8);
    }
    return text;
}

std::u16string NarrowText(const BYTE* bytes, DWORD length) {
    const auto* narrow = reinterpret_cast<const char*>(bytes);
    const auto size = static_cast<int>(std::find(narrow, narrow + length, '\0') - narrow);
    if (size == 0) return {};
    std::u16string text(static_cast<std::size_t>(MultiByteToWideChar(CP_ACP, 0, narrow, size, nullptr, 0)),
                        0);
    MultiByteToWideChar(CP_ACP, 0, narrow, size, text.data(), static_cast<int>(text.size()));
    return text;
}

} // namespace

UINT GetBlobFormat(const BYTE* bytes, DWORD length) {
    if (length == 0) return kNoteBytes;
    const std::string_view note(reinterpret_cast<const char*>(bytes), length);
    if (length > kLeastForm && note.starts_with("{\\pwi")) return kNoteInk;
    if (length > kLeastForm && note.starts_with("{\\rtf")) return kNoteRich;
    if (length > 2 && (bytes[0] == kMarkHigh || bytes[0] == kMarkLow || bytes[1] == 0)) return kNoteWide;
    const bool zero = note.substr(0, std::min<std::size_t>(kPlainHead, length - 1)).find('\0') != note.npos;
    return zero ? kNoteWide : kNoteBytes;
}

bool PlatTextOfNote(const BYTE* bytes, DWORD length, std::u16string& text, UINT format) {
    text.clear();
    if (format == kNoteByContent) format = GetBlobFormat(bytes, length);
    if (format == kNoteInk || format == kNoteRich) {
        const PlatNoteReader reader = g_reader.load(std::memory_order_acquire);
        return reader ? reader(bytes, length, text) : format == kNoteInk && length == kEmptyInkNote;
    }
    if (format != kNoteWide && format != kNoteBytes) return false;
    text = format == kNoteWide ? WideText(bytes, length) : NarrowText(bytes, length);
    if (text.starts_with(kMark)) text.erase(0, 1);
    text.resize(std::min(text.find(u'\0'), text.size()));
    return true;
}

void PlatSetNoteReader(PlatNoteReader reader) { g_reader.store(reader, std::memory_order_release); }
