#include "NorvoTools/CeDbRecord.h"

#include "Platform/memory.h"
#include "Platform/strings.h"

#include <algorithm>
#include <cstring>
#include <limits>
#include <new>

namespace {

constexpr std::size_t Even(std::size_t bytes) { return (bytes + 1) & ~std::size_t{1}; }

bool IsText(const CEPROPVAL& prop) { return TypeFromPropID(prop.propid) == CEVT_LPWSTR; }
bool IsBlob(const CEPROPVAL& prop) {
    const WORD type = TypeFromPropID(prop.propid);
    return type == CEVT_BLOB || type == CEVT_STREAM;
}

// The bytes that a property points at, as they are packed behind the array.
std::size_t PointedBytes(const CEPROPVAL& prop) {
    if (prop.wFlags & kPropAbsent) return 0;
    if (IsText(prop) && prop.val.lpwstr) return (wcslen(prop.val.lpwstr) + 1) * sizeof(WCHAR);
    if (IsBlob(prop) && prop.val.blob.lpb) return prop.val.blob.dwCount;
    return 0;
}

std::size_t PackedSize(const CEPROPVAL* props, WORD count, WORD newCount) {
    std::size_t size = newCount * sizeof(CEPROPVAL);
    for (WORD i = 0; i < count; ++i) size += Even(PointedBytes(props[i]));
    return size;
}

// A copy of the array, made longer by zeroed properties, with all texts and blobs packed behind it, in a block of at
// least `size` bytes, which gets the block's. Null without memory.
CEPROPVAL* DupProps(const CEPROPVAL* props, WORD count, WORD newCount, DWORD& size) {
    const std::size_t needed = std::max<std::size_t>(PackedSize(props, count, newCount), size);
    if (needed > std::numeric_limits<DWORD>::max()) return nullptr;
    auto* block = new (std::nothrow) BYTE[needed]();
    if (!block) return nullptr;
    auto* copy = reinterpret_cast<CEPROPVAL*>(block);
    std::size_t at = newCount * sizeof(CEPROPVAL);
    for (WORD i = 0; i < count; ++i) {
        copy[i] = props[i];
        const std::size_t bytes = PointedBytes(props[i]);
        if (bytes == 0) continue;
        BYTE* place = block + at;
        std::memcpy(place,
                    IsText(props[i]) ? reinterpret_cast<const BYTE*>(props[i].val.lpwstr)
                                     : props[i].val.blob.lpb,
                    bytes);
        if (IsText(props[i]))
            copy[i].val.lpwstr = reinterpret_cast<WCHAR*>(place);
        else
            copy[i].val.blob.lpb = place;
        at += Even(bytes);
    }
    size = static_cast<DWORD>(needed);
    return copy;
}

} // namespace

CeDbRecord::~CeDbRecord() {
    FreeOwnedBlobs();
    FreeBuffer();
}

void CeDbRecord::FreeOwnedBlobs() {
    if (!m_bOwnsBlobs) return;
    for (int i = 0; i < kOwnedBlobs && i < m_wNumProps; ++i)
        if (m_bOwnBlob[static_cast<std::size_t>(i)]) LocalFree(m_pProps[i].val.blob.lpb);
    m_bOwnBlob.fill(false);
    m_bOwnsBlobs = false;
}

void CeDbRecord::FreeBuffer() {
    if (m_bLocalHeap)
        LocalFree(m_pProps);
    else
        delete[] reinterpret_cast<BYTE*>(m_pProps);
    m_pProps = nullptr;
    m_cbBuffer = 0;
    m_bLent = false;
}

// All texts and blobs have been packed into the new block, so the old places go.
void CeDbRecord::AdoptBuffer(CEPROPVAL* props, DWORD size) {
    FreeOwnedBlobs();
    FreeBuffer();
    m_pProps = props;
    m_cbBuffer = size;
    m_bLocalHeap = false;
}

CEPROPVAL* CeDbRecord::DetachBuffer() {
    FreeOwnedBlobs();
    CEPROPVAL* buffer = m_pProps;
    m_pProps = nullptr;
    m_cbBuffer = 0;
    m_wNumProps = 0;
    m_bLent = false;
    return buffer;
}

// --- Reading --------------------------------------------------------------------------------------------------------

bool CeDbRecord::GetIndexVal(int index, bool& out) const {
    const CEPROPVAL* prop = Present(index);
    if (!prop) return false;
    out = prop->val.boolVal != 0;
    return true;
}

const CEBLOB* CeDbRecord::BlobAt(int index) const {
    const CEPROPVAL* prop = Present(index);
    return prop && IsBlob(*prop) ? &prop->val.blob : nullptr;
}

bool CeDbRecord::GetIndexVal(int index, CEBLOB& out) const {
    out = {0, nullptr};
    const CEBLOB* blob = BlobAt(index);
    if (!blob) return false;
    const DWORD count = blob->lpb ? blob->dwCount : 0;
    const std::size_t room = count == 0 ? 2 : Even(count);
    auto* copy = static_cast<BYTE*>(LocalAlloc(LMEM_ZEROINIT, room));
    if (!copy) return false;
    if (count > 0) std::memcpy(copy, blob->lpb, count);
    out = {count, copy};
    return true;
}

std::u16string_view CeDbRecord::TextAt(int index) const {
    const CEPROPVAL* prop = Present(index);
    if (!prop || !IsText(*prop) || !prop->val.lpwstr) return {};
    return {prop->val.lpwstr, wcslen(prop->val.lpwstr)};
}

bool CeDbRecord::GetIndexVal(int index, WCHAR*& buffer) const {
    return GetIndexVal(index, buffer, std::numeric_limits<std::size_t>::max());
}

bool CeDbRecord::GetIndexVal(int index, WCHAR* buffer, std::size_t chars) const {
    if (!buffer || chars == 0 || index < 0 || index >= m_wNumProps || !IsText(m_pProps[index])) return false;
    const std::u16string_view text = TextAt(index).substr(0, chars - 1);
    std::copy(text.begin(), text.end(), buffer);
    buffer[text.size()] = 0;
    return Present(index) != nullptr;
}

int CeDbRecord::FindProp(CEPROPID propid) const {
    for (int i = 0; i < m_wNumProps; ++i)
        if (m_pProps[i].propid == propid) return i;
    return -1;
}

// --- Setting --------------------------------------------------------------------------------------------------------

template<class T>
bool CeDbRecord::SetScalar(int index, T value) {
    if (index < 0 || index >= m_wNumProps) return false;
    std::memcpy(&m_pProps[index].val, &value, sizeof(T));
    m_pProps[index].wFlags = 0;
    return true;
}

bool CeDbRecord::SetIndexVal(int index, SHORT value) { return SetScalar(index, value); }
bool CeDbRecord::SetIndexVal(int index, WORD value) { return SetScalar(index, value); }
bool CeDbRecord::SetIndexVal(int index, LONG value) { return SetScalar(index, value); }
bool CeDbRecord::SetIndexVal(int index, DWORD value) { return SetScalar(index, value); }
bool CeDbRecord::SetIndexVal(int index, double value) { return SetScalar(index, value); }
bool CeDbRecord::SetIndexVal(int index, bool value) { return SetScalar(index, BOOL{value}); }
bool CeDbRecord::SetIndexVal(int index, const FILETIME& value) { return SetScalar(index, value); }

bool CeDbRecord::SetIndexVal(int index, const CEBLOB& value) {
    if (index < 0 || index >= m_wNumProps || !IsBlob(m_pProps[index])) return false;
    CEPROPVAL& prop = m_pProps[index];
    CEBLOB& blob = prop.val.blob;
    const DWORD count = value.lpb ? value.dwCount : 0;
    if ((prop.wFlags & kPropAbsent) || blob.dwCount < count || !blob.lpb) {
        if (index >= kOwnedBlobs) return false; // nobody would free the new block
        auto* block = static_cast<BYTE*>(LocalAlloc(LMEM_FIXED, Even(count) + 2));
        if (!block) return false;
        if (count > 0) std::memcpy(block, value.lpb, count);
        bool& owned = m_bOwnBlob[static_cast<std::size_t>(index)];
        if (owned) LocalFree(blob.lpb);
        blob.lpb = block;
        owned = m_bOwnsBlobs = true;
    } else if (count > 0) {
        std::memmove(blob.lpb, value.lpb, count);
    }
    blob.dwCount = count;
    prop.wFlags = 0;
    return true;
}

bool CeDbRecord::SetIndexVal(int index, const WCHAR* text) {
    if (index < 0 || index >= m_wNumProps || !IsText(m_pProps[index])) return false;
    if (!text) text = u"";
    CEPROPVAL& prop = m_pProps[index];
    const bool hasPlace = !(prop.wFlags & kPropAbsent) && prop.val.lpwstr;
    const std::size_t length = wcslen(text);
    const std::size_t oldLength = hasPlace ? wcslen(prop.val.lpwstr) : 0;
    if (hasPlace && length <= oldLength) {
        std::memmove(prop.val.lpwstr, text, (length + 1) * sizeof(WCHAR));
        prop.wFlags = 0;
        return true;
    }
    // Aimed at the new text first, so that the packing takes it along with all others.
    const CEPROPVAL before = prop;
    prop.val.lpwstr = const_cast<WCHAR*>(text);
    prop.wFlags = 0;
    DWORD size = m_cbBuffer;
    CEPROPVAL* packed = DupProps(m_pProps, m_wNumProps, m_wNumProps, size);
    if (!packed) {
        prop = before;
        return false;
    }
    AdoptBuffer(packed, size);
    return true;
}

bool CeDbRecord::AddProp(WORD id, WORD type) {
    const CEPROPID propid = PropId(id, type);
    if (FindProp(propid) >= 0) return true;
    if (m_wNumProps == std::numeric_limits<WORD>::max()) return false;
    const auto newCount = static_cast<WORD>(m_wNumProps + 1);
    DWORD size = m_cbBuffer + static_cast<DWORD>(sizeof(CEPROPVAL));
    CEPROPVAL* packed = DupProps(m_pProps, m_wNumProps, newCount, size);
    if (!packed) return false;
    packed[m_wNumProps].propid = propid;
    AdoptBuffer(packed, size);
    m_wNumProps = newCount;
    return true;
}

bool CeDbRecord::AddProps(const CEPROPID* ids, WORD count) {
    for (WORD i = 0; i < count; ++i)
        if (!AddProp(IdFromPropID(ids[i]), TypeFromPropID(ids[i]))) return false;
    return true;
}

bool CeDbRecord::RemProp(int index) {
    m_pProps[index].wFlags = kPropDelete;
    return false;
}

bool CeDbRecord::RemProp(WORD id, WORD type) {
    const int index = FindProp(PropId(id, type));
    if (index < 0) return false;
    RemProp(index);
    return true;
}
