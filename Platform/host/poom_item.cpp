// The item as a bag of properties: reading, setting, saving, and the streams of its properties.
#include "Platform/host/poom_host.h"

#include "Platform/files.h"
#include "Platform/host/text.h"
#include "Platform/memory.h"
#include "Platform/threads.h"

#include <algorithm>
#include <cstring>

namespace plat::poom {

namespace {

// Streams that an item may have; a record doesn't list its own.
constexpr CEPROPID kStreams[] = {PIMPR_NOTE, PIMPR_PICTURE,    0x00370064,           PIMPR_RECURRENCE,
                                 0x205F0064, PIMPR_RECIPIENTS, PIMPR_TASK_RECURRENCE};

// What a copy doesn't take over: it is another item, and another meeting.
bool IsOwnAlone(CEPROPID id) { return id == PIMPR_NUMBER || id == PIMPR_MEETING_ID; }

// Written by the object model from the rule and the people alone.
bool IsModelStream(CEPROPID id) {
    return id == PIMPR_RECURRENCE || id == PIMPR_TASK_RECURRENCE || id == PIMPR_RECIPIENTS;
}

bool IsBeside(CEPROPID id) { return id == PIMPR_CATEGORIES || IsNamed(id); }

constexpr struct {
    CEPROPID id;
    ULONGLONG highest;
} kRanges[] = {
    {PIMPR_SENSITIVITY, olConfidential},
    {PIMPR_BUSYSTATUS, olOutOfOffice},
    {PIMPR_MEETINGSTATUS, 7},
    {PIMPR_IMPORTANCE, olImportanceHigh},
};

// Room for a block in the heap that the caller named.
BYTE* Allocate(HANDLE heap, std::size_t size) {
    return static_cast<BYTE*>(heap ? HeapAlloc(heap, 0, size) : LocalAlloc(LMEM_FIXED, size));
}
void Free(HANDLE heap, void* block) {
    if (!block) return;
    if (heap)
        HeapFree(heap, 0, block);
    else
        LocalFree(block);
}

} // namespace

HRESULT GiveBlock(std::span<const CEPROPID> ids, std::span<const PropValue* const> found, ULONG flags,
                  CEPROPVAL** values, ULONG* size, HANDLE heap) {
    const std::size_t needed = BlockSize(found);
    auto* block = reinterpret_cast<BYTE*>(*values);
    if (needed > 0x7FFFFFFF) return E_OUTOFMEMORY;
    if (!block || *size < needed) {
        if (block && !(flags & CEDB_ALLOWREALLOC)) {
            *size = static_cast<ULONG>(needed);
            return E_INSUFFICIENTBUFFER;
        }
        BYTE* larger = Allocate(heap, std::max<std::size_t>(needed, 1));
        if (!larger) return E_OUTOFMEMORY;
        Free(heap, block);
        block = larger;
        *values = reinterpret_cast<CEPROPVAL*>(block);
        *size = static_cast<ULONG>(needed);
    }
    FillBlock(ids, found, block);
    return S_OK;
}

HRESULT GiveBstr(std::u16string_view text, BSTR* out) {
    *out = SysAllocStringLen(text.empty() ? u"" : text.data(), static_cast<UINT>(text.size()));
    return *out ? S_OK : E_OUTOFMEMORY;
}

int CompareWithoutCase(std::u16string_view a, std::u16string_view b) {
    for (std::size_t i = 0; i < a.size() && i < b.size(); ++i) {
        const WCHAR x = UpperUnit(a[i]);
        const WCHAR y = UpperUnit(b[i]);
        if (x != y) return x < y ? -1 : 1;
    }
    return a.size() == b.size() ? 0 : a.size() < b.size() ? -1 : 1;
}

PoomItem::PoomItem(PoomApplication& app, const ItemKind& kind)
    : m_app(Ref<PoomApplication>::Of(app)), m_kind(kind) {}

ULONG PoomItem::Release() {
    const ULONG left = m_count.Down();
    if (left == 0) delete this;
    return left;
}

void PoomItem::Adopt(CEOID record, PropBag values) {
    m_loaded = std::move(values);
    m_record = record;
    const PropValue* number = m_loaded.Find(PIMPR_NUMBER);
    m_number = number ? static_cast<DWORD>(number->number) : 0;
}

// --- Reading --------------------------------------------------------------------------------------------------------

// A stream or a value of a side table, from the store.
PropValue PoomItem::ReadBeside(CEPROPID id) {
    PropValue value = PropValue::Absent(id);
    if (id == PIMPR_CATEGORIES)
        value = PropValue::Text(id, ReadCategories(Records(), m_kind.bits | m_number));
    else if (IsNamed(id))
        value = ReadNamed(Records(), m_kind.bits | m_number, id);
    else if (Records().SeekRecord(m_kind.side, m_record))
        Records().ReadStream(m_kind.side, id, value);
    return value;
}

const PropValue* PoomItem::Get(CEPROPID id) {
    const PropValue* value = m_changed.Find(id);
    if (!value) value = m_loaded.Find(id);
    if (!value && m_record && (IsStream(id) || IsBeside(id))) {
        m_loaded.Set(ReadBeside(id));
        value = m_loaded.Find(id);
    }
    return value && !value->absent ? value : nullptr;
}

LONG PoomItem::LongOf(CEPROPID id, LONG otherwise) {
    const PropValue* value = Get(id);
    return value ? value->Long() : otherwise;
}

std::u16string PoomItem::TextOf(CEPROPID id) {
    const PropValue* value = Get(id);
    return value ? value->text : std::u16string();
}

std::vector<CEPROPID> PoomItem::AllIds() {
    std::vector<CEPROPID> ids;
    Get(PIMPR_CATEGORIES);
    if (m_record)
        for (PropValue& named : ReadAllNamed(Records(), m_kind.bits | m_number))
            if (!m_loaded.Find(named.id)) m_loaded.Set(std::move(named));
    for (const PropBag* bag : {&m_loaded, &m_changed})
        for (const PropValue& value : *bag) ids.push_back(value.id);
    std::ranges::sort(ids);
    ids.erase(std::unique(ids.begin(), ids.end()), ids.end());
    std::erase_if(ids, [this](CEPROPID id) { return IsStream(id) || !Get(id); });
    return ids;
}

HRESULT PoomItem::GetProps(const CEPROPID* ids, ULONG flags, WORD count, CEPROPVAL** values, ULONG* size,
                           HANDLE heap) {
    if (!values || !size) return E_POINTER;
    return Call([&] {
        Refresh();
        std::vector<CEPROPID> wanted;
        if (ids)
            wanted.assign(ids, ids + count);
        else
            wanted = AllIds();
        for (CEPROPID id : wanted) ForCaller(id); // reads what isn't here yet, so that nothing moves below
        std::vector<const PropValue*> found;
        found.reserve(wanted.size());
        for (CEPROPID id : wanted) found.push_back(ForCaller(id));
        return GiveBlock(wanted, found, flags, values, size, heap);
    });
}

// --- Setting --------------------------------------------------------------------------------------------------------

HRESULT PoomItem::CanPut(const PropValue& value) {
    if (value.id == PIMPR_NUMBER || value.id == PIMPR_RECURRING) return E_INVALIDARG;
    for (const auto& range : kRanges)
        if (range.id == value.id && value.number > range.highest) return E_INVALIDARG;
    return S_OK;
}

void PoomItem::Put(PropValue value) { m_changed.Set(std::move(value)); }

HRESULT PoomItem::CheckAndPut(PropValue value) {
    if (HRESULT hr = CanPut(value); FAILED(hr)) return hr;
    Put(std::move(value));
    return S_OK;
}

HRESULT PoomItem::SetProps(ULONG, ULONG count, const CEPROPVAL* values) {
    if (count && !values) return E_POINTER;
    return Call([&] {
        std::vector<PropValue> named;
        std::vector<PropValue> others;
        for (const CEPROPVAL& given : std::span(values, count)) {
            if (!IsSettableType(given.propid)) return E_INVALIDARG;
            PropValue value =
                given.wFlags & CEDB_PROPDELETE ? PropValue::Absent(given.propid) : FromPropVal(given);
            // An empty text is no text; but a named one was told to be there.
            if (!IsNamed(value.id) && TypeFromPropID(value.id) == CEVT_LPWSTR && value.text.empty())
                value.absent = true;
            if (HRESULT hr = CanPut(value); FAILED(hr)) return hr;
            (IsNamed(value.id) ? named : others).push_back(std::move(value));
        }
        if (Oid() && !named.empty())
            if (HRESULT hr = WriteNamedNow(named); FAILED(hr)) return hr;
        if (!Oid())
            for (PropValue& value : named) Put(std::move(value));
        for (PropValue& value : others) Put(std::move(value));
        return S_OK;
    });
}

// Named properties of a saved item are written at once: callers set them behind the save.
HRESULT PoomItem::WriteNamedNow(std::span<const PropValue> values) {
    SaveScope scope(Records());
    if (HRESULT hr = scope.Begin(); FAILED(hr)) return hr;
    const CEOID oid = Oid();
    for (const PropValue& value : values)
        if (HRESULT hr = WriteNamed(Records(), oid, value); FAILED(hr)) return hr;
    if (HRESULT hr = scope.Commit(); FAILED(hr)) return hr;
    for (const PropValue& value : values) {
        m_loaded.Set(value);
        App().NamedTextSaved(oid, value);
    }
    return S_OK;
}

HRESULT PoomItem::OpenProperty(CEPROPID id, DWORD access, IStream** stream) {
    if (!stream) return E_POINTER;
    *stream = nullptr;
    if (!IsStream(id)) return E_INVALIDARG;
    return Call([&] {
        const bool writable = (access & GENERIC_WRITE) != 0;
        if (writable && IsModelStream(id)) return E_INVALIDARG;
        Refresh();
        if (writable)
            if (HRESULT hr = CanPut(PropValue::Absent(id)); FAILED(hr)) return hr;
        if (!writable && !Get(id)) return E_NOTFOUND;
        return MakeItemStream(*this, id, writable, stream);
    });
}

// --- Saving ---------------------------------------------------------------------------------------------------------

HRESULT PoomItem::Save() {
    return Call([this] { return SaveItem(); });
}

HRESULT PoomItem::SaveItem() {
    if (m_deleted) return E_NOTFOUND;
    if (HRESULT hr = PrepareSave(); FAILED(hr)) return hr;
    if (m_record && m_changed.Empty()) return S_OK;
    SaveScope scope(Records());
    if (HRESULT hr = scope.Begin(); FAILED(hr)) return hr;
    CEOID record = m_record;
    DWORD number = m_number;
    if (HRESULT hr = WriteRecord(record, number); FAILED(hr)) return hr;
    if (HRESULT hr = WriteBesides(m_kind.bits | number); FAILED(hr)) return hr;
    if (HRESULT hr = scope.Commit(); FAILED(hr)) return hr;
    m_record = record;
    m_number = number;
    for (PropValue& value : m_changed) {
        if (IsNamed(value.id)) App().NamedTextSaved(Oid(), value);
        // The tables say in which order, and with which blanks, the names read.
        if (value.id == PIMPR_CATEGORIES)
            m_loaded.Erase(value.id);
        else
            m_loaded.Set(std::move(value));
    }
    m_changed.Clear();
    Saved();
    return S_OK;
}

HRESULT PoomItem::WriteRecord(CEOID& record, DWORD& number) {
    std::vector<PropValue*> values;
    for (PropValue& value : m_changed)
        if (!IsBeside(value.id) && (record || !value.absent)) values.push_back(&value);
    if (record && values.empty()) return S_OK;
    const CEOID written = Records().Write(m_kind.side, record, values);
    if (!written) return LastFailure();
    if (record) return S_OK;
    record = written;
    const CEPROPID ids[] = {PIMPR_NUMBER};
    if (!Records().SeekRecord(m_kind.side, record)) return LastFailure();
    const CEPROPVAL* read = Records().Read(m_kind.side, ids);
    if (!read) return LastFailure();
    number = read[0].val.ulVal;
    return S_OK;
}

HRESULT PoomItem::WriteBesides(CEOID oid) {
    for (const PropValue& value : m_changed) {
        HRESULT hr = S_OK;
        if (value.id == PIMPR_CATEGORIES)
            hr = WriteCategories(Records(), oid, value.absent ? std::u16string_view() : value.text);
        else if (IsNamed(value.id))
            hr = WriteNamed(Records(), oid, value);
        if (FAILED(hr)) return hr;
    }
    return S_OK;
}

HRESULT PoomItem::Delete() {
    return Call([this] { return DeleteItem(); });
}

HRESULT PoomItem::DeleteItem() {
    if (m_deleted) return E_NOTFOUND;
    if (m_record) {
        const CEOID oid = Oid();
        SaveScope scope(Records());
        if (HRESULT hr = scope.Begin(); FAILED(hr)) return hr;
        if (HRESULT hr = DeleteBesides(Records(), oid); FAILED(hr)) return hr;
        if (!Records().Delete(m_kind.side, m_record)) return LastFailure();
        if (HRESULT hr = scope.Commit(); FAILED(hr)) return hr;
        App().ItemDeleted(oid);
    }
    m_deleted = true;
    m_record = 0;
    return S_OK;
}

HRESULT PoomItem::Copy(IItem** copy) {
    if (!copy) return E_POINTER;
    *copy = nullptr;
    return Call([&] {
        Ref<PoomItem> twin;
        if (HRESULT hr = CopyItem(twin); FAILED(hr)) return hr;
        return GiveRef(std::move(twin), copy);
    });
}

HRESULT PoomItem::CopyItem(Ref<PoomItem>& copy) {
    copy = App().MakeItem(m_kind);
    CopyInto(*copy);
    return S_OK;
}

void PoomItem::CopyInto(PoomItem& twin) {
    Refresh();
    std::vector<CEPROPID> ids = AllIds();
    ids.insert(ids.end(), std::begin(kStreams), std::end(kStreams));
    for (CEPROPID id : ids)
        if (const PropValue* value = Get(id); value && !IsOwnAlone(id)) twin.m_changed.Set(*value);
}

HRESULT PoomItem::get_Oid(CEOID* oid) {
    if (!oid) return E_POINTER;
    return Call([&] {
        *oid = Oid();
        return S_OK;
    });
}

// --- The named getters ----------------------------------------------------------------------------------------------

HRESULT PoomItem::GiveText(CEPROPID id, BSTR* out) {
    if (!out) return E_POINTER;
    *out = nullptr;
    return Call([&] {
        const PropValue* value = Get(id);
        return GiveBstr(value ? std::u16string_view(value->text) : std::u16string_view(), out);
    });
}

HRESULT PoomItem::TakeText(CEPROPID id, BSTR text) {
    return Call([&] { return CheckAndPut(PropValue::Text(id, ViewOf(text))); });
}

HRESULT PoomItem::GiveLong(CEPROPID id, LONG* out, LONG otherwise) {
    if (!out) return E_POINTER;
    return Call([&] {
        *out = LongOf(id, otherwise);
        return S_OK;
    });
}

HRESULT PoomItem::TakeLong(CEPROPID id, LONG value) {
    return Call([&] { return CheckAndPut(PropValue::Number(id, static_cast<DWORD>(value))); });
}

HRESULT PoomItem::GiveBool(CEPROPID id, VARIANT_BOOL* out) {
    if (!out) return E_POINTER;
    return Call([&] {
        *out = BoolOf(id) ? VARIANT_TRUE : VARIANT_FALSE;
        return S_OK;
    });
}

HRESULT PoomItem::TakeBool(CEPROPID id, VARIANT_BOOL value) {
    return Call([&] { return CheckAndPut(PropValue::Number(id, value != VARIANT_FALSE)); });
}

HRESULT PoomItem::GiveDay(CEPROPID id, DATE* out) {
    if (!out) return E_POINTER;
    return Call([&] {
        const PropValue* value = Get(id);
        *out = value ? DateFromSeconds(DayOf(SecondsFromTicks(value->number))) : kNoDate;
        return S_OK;
    });
}

HRESULT PoomItem::TakeDay(CEPROPID id, DATE date) {
    return Call([&]() -> HRESULT {
        if (date >= kNoDate) return CheckAndPut(PropValue::Absent(id));
        const auto day = SecondsFromDate(date);
        if (!day) return E_INVALIDARG;
        return CheckAndPut(PropValue::Number(id, TicksFromSeconds(DayOf(*day))));
    });
}

HRESULT PoomItem::GiveInk(CEBLOB* out) {
    if (!out) return E_POINTER;
    *out = {};
    return Call([&] {
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
    const bool some = ink && ink->lpb;
    return Call([&] {
        return CheckAndPut(
            PropValue::Bytes(PIMPR_NOTE, {some ? ink->lpb : nullptr, some ? ink->dwCount : 0u}));
    });
}

HRESULT PoomItem::GiveOid(LONG* out) {
    if (!out) return E_POINTER;
    return Call([&] {
        *out = static_cast<LONG>(Oid());
        return S_OK;
    });
}

// --- Streams --------------------------------------------------------------------------------------------------------

namespace {

constexpr ULONGLONG kLargestStream = 16u << 20;

class ItemStream final : public IStream {
public:
    ItemStream(PoomItem& item, CEPROPID id, bool writable)
        : m_item(Ref<PoomItem>::Of(item)), m_id(id), m_writable(writable) {
        Load();
    }
    HRESULT QueryInterface(const IID& iid, void** object) override {
        if (!object) return E_POINTER;
        *object = nullptr;
        if (iid != IID_IStream && iid != IID_IUnknown) return E_NOINTERFACE;
        AddRef();
        *object = static_cast<IStream*>(this);
        return S_OK;
    }
    ULONG AddRef() override { return m_count.Up(); }
    ULONG Release() override {
        const ULONG left = m_count.Down();
        if (left == 0) delete this;
        return left;
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
    ~ItemStream() = default;
    void Load() {
        const PropValue* value = m_item->Get(m_id);
        m_bytes = value ? value->bytes : std::vector<BYTE>();
        m_position = 0;
    }

    Counted m_count;
    Ref<PoomItem> m_item;
    const CEPROPID m_id;
    const bool m_writable;
    std::vector<BYTE> m_bytes;
    std::size_t m_position = 0;
};

} // namespace

HRESULT MakeItemStream(PoomItem& item, CEPROPID id, bool writable, IStream** out) {
    *out = new ItemStream(item, id, writable);
    return S_OK;
}

} // namespace plat::poom
