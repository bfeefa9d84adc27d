// The streams of an item: as an object to read and write, and the note among them as bytes and as a text.
#include "Platform/host/poom_host.h"

#include "Platform/files.h"
#include "Platform/host/text.h"
#include "Platform/memory.h"
#include "Platform/notetext.h"

#include <algorithm>
#include <cstring>

namespace plat::poom {

namespace {

// Written by the object model from the rule and the people alone.
bool IsModelStream(CEPROPID id) {
    return id == PIMPR_RECURRENCE || id == PIMPR_TASK_RECURRENCE || id == PIMPR_RECIPIENTS;
}

constexpr ULONGLONG kLargestStream = 16u << 20;

class ItemStream final : public Object<IStream> {
public:
    ItemStream(PoomItem& item, CEPROPID id, bool writable)
        : m_item(Ref<PoomItem>::Of(item)), m_id(id), m_writable(writable) {
        Load();
    }
    HRESULT Read(void* buffer, ULONG count, ULONG* read) override {
        if (!buffer && count) return E_POINTER;
        const auto taken = static_cast<ULONG>(std::min<std::size_t>(count, m_bytes.size() - m_position));
        if (taken) std::memcpy(buffer, m_bytes.data() + m_position, taken);
        m_position += taken;
        if (read) *read = taken;
        return S_OK;
    }
    HRESULT Write(const void* buffer, ULONG count, ULONG* written) override {
        if (written) *written = 0;
        if (!buffer && count) return E_POINTER;
        if (m_position + count > m_bytes.size())
            if (HRESULT hr = SetSize(m_position + count); FAILED(hr)) return hr;
        if (!m_writable) return STG_E_ACCESSDENIED;
        if (count) std::memcpy(m_bytes.data() + m_position, buffer, count);
        m_position += count;
        if (written) *written = count;
        return S_OK;
    }
    HRESULT Seek(LONGLONG move, DWORD origin, ULONGLONG* position) override {
        const auto size = static_cast<LONGLONG>(m_bytes.size());
        const LONGLONG from = origin == STREAM_SEEK_FROM_HERE  ? static_cast<LONGLONG>(m_position)
                              : origin == STREAM_SEEK_FROM_END ? size
                                                               : 0;
        if (origin > STREAM_SEEK_FROM_END || move < -from || move > size - from) return STG_E_INVALIDFUNCTION;
        m_position = static_cast<std::size_t>(from + move);
        if (position) *position = m_position;
        return S_OK;
    }
    HRESULT SetSize(ULONGLONG size) override {
        if (!m_writable) return STG_E_ACCESSDENIED;
        if (size > kLargestStream) return E_OUTOFMEMORY;
        return m_item->Call([&] {
            m_bytes.resize(size);
            m_position = std::min(m_position, m_bytes.size());
            return S_OK;
        });
    }
    HRESULT GetSize(ULONGLONG* size) override {
        if (!size) return E_POINTER;
        *size = m_bytes.size();
        return S_OK;
    }
    HRESULT Commit(DWORD) override {
        if (!m_writable) return S_OK;
        return m_item->Call([&] { return m_item->CheckAndPut(PropValue::Bytes(m_id, m_bytes)); });
    }
    HRESULT Revert() override {
        return m_item->Call([&] {
            Load();
            return S_OK;
        });
    }

private:
    ~ItemStream() override = default;
    void Load() {
        const PropValue* value = m_item->Get(m_id);
        m_bytes = value ? value->bytes : std::vector<BYTE>();
        m_position = 0;
    }

    Ref<PoomItem> m_item;
    const CEPROPID m_id;
    const bool m_writable;
    std::vector<BYTE> m_bytes;
    std::size_t m_position = 0;
};

} // namespace

HRESULT PoomItem::OpenProperty(CEPROPID id, DWORD access, IStream** stream) {
    return Give(stream, [&]() -> HRESULT {
        if (!IsStream(id)) return E_INVALIDARG;
        const bool writable = (access & GENERIC_WRITE) != 0;
        if (writable && IsModelStream(id)) return E_INVALIDARG;
        Refresh();
        if (writable)
            if (HRESULT hr = CanPut(PropValue::Absent(id)); FAILED(hr)) return hr;
        if (HRESULT hr = LoadStream(id); FAILED(hr)) return hr;
        if (!writable && !Get(id)) return E_NOTFOUND;
        *stream = new ItemStream(*this, id, writable);
        return S_OK;
    });
}

// --- The note -------------------------------------------------------------------------------------------------------

namespace {

constexpr BYTE kMark[] = {0xFF, 0xFE}; // of a UTF-16 text, little-endian

std::vector<BYTE> NoteOfText(std::u16string_view text) {
    if (text.empty()) return {};
    ByteWriter out;
    out.Write(kMark);
    out.Text(text);
    if (sizeof kMark + text.size() * sizeof(WCHAR) == kEmptyInkNote)
        out.Write16(0); // or no list would show it
    return out.Take();
}

} // namespace

HRESULT PoomItem::GiveInk(CEBLOB* out) {
    if (!out) return E_POINTER;
    *out = {};
    return Call([&]() -> HRESULT {
        if (HRESULT hr = LoadStream(PIMPR_NOTE); FAILED(hr)) return hr;
        const PropValue* note = Get(PIMPR_NOTE);
        if (!note) return S_OK;
        auto* bytes = static_cast<BYTE*>(LocalAlloc(LMEM_FIXED, note->bytes.size()));
        if (!bytes) return E_OUTOFMEMORY;
        std::memcpy(bytes, note->bytes.data(), note->bytes.size());
        *out = {static_cast<DWORD>(note->bytes.size()), bytes};
        return S_OK;
    });
}

HRESULT PoomItem::TakeInk(const CEBLOB* ink) {
    std::span<const BYTE> bytes;
    if (ink && ink->lpb) bytes = {ink->lpb, ink->dwCount};
    return Call([&] { return CheckAndPut(PropValue::Bytes(PIMPR_NOTE, bytes)); });
}

HRESULT PoomItem::GiveBody(BSTR* out) {
    return Give(out, [&]() -> HRESULT {
        if (HRESULT hr = LoadStream(PIMPR_NOTE); FAILED(hr)) return hr;
        const PropValue* note = Get(PIMPR_NOTE);
        std::u16string text;
        if (note && !PlatTextOfNote(note->bytes.data(), static_cast<DWORD>(note->bytes.size()), text))
            return E_NOTIMPL;
        return GiveBstr(text, out);
    });
}

HRESULT PoomItem::TakeBody(BSTR text) {
    return Call([&] { return CheckAndPut(PropValue::Bytes(PIMPR_NOTE, NoteOfText(ViewOf(text)))); });
}

} // namespace plat::poom
