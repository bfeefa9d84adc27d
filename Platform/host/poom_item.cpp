// The item as a bag of properties: reading, setting, saving.
#include "Platform/host/poom_host.h"

#include "Platform/host/text.h"
#include "Platform/memory.h"

#include <algorithm>
#include <cstring>

namespace plat::poom {

namespace {

// Streams that an item may have; a record doesn't list its own.
constexpr CEPROPID kStreams[] = {PIMPR_NOTE, PIMPR_PICTURE,    0x00370064,           PIMPR_RECURRENCE,
                                 0x205F0064, PIMPR_RECIPIENTS, PIMPR_TASK_RECURRENCE};

// What a copy doesn't take over: it is another item, and another meeting.
bool IsOwnAlone(CEPROPID id) { return id == PIMPR_NUMBER || id == PIMPR_MEETING_ID; }

bool IsBeside(CEPROPID id) { return id == PIMPR_CATEGORIES || IsNamed(id); }

// Local whole days.
constexpr CEPROPID kDays[] = {PIMPR_TASK_START, PIMPR_TASK_DUE, PIMPR_TASK_COMPLETED, PIMPR_BIRTHDAY,
                              PIMPR_ANNIVERSARY};
constexpr Seconds kFirstNoDay = SecondsFromMinutes(kFirstEndless);

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

void PoomItem::InitNew() {
    for (const DefaultValue& value : m_kind.always) m_changed.Set(PropValue::Number(value.id, value.value));
}

void PoomItem::Adopt(CEOID record, PropBag values) {
    m_loaded = std::move(values);
    m_record = record;
    const PropValue* number = m_loaded.Find(PIMPR_NUMBER);
    m_number = number ? static_cast<DWORD>(number->number) : 0;
}

// --- Reading --------------------------------------------------------------------------------------------------------

// A value of a side table, from the store.
PropValue PoomItem::ReadBeside(CEPROPID id) {
    const CEOID oid = m_kind.bits | m_number;
    return id == PIMPR_CATEGORIES ? PropValue::Text(id, ReadCategories(Records(), oid))
                                  : ReadNamed(Records(), oid, id);
}

HRESULT PoomItem::LoadStream(CEPROPID id) {
    if (!m_record || m_changed.Find(id) || m_loaded.Find(id)) return S_OK;
    PropValue value;
    if (HRESULT hr = Records().ReadStream(m_kind.side, m_record, id, value); FAILED(hr)) return hr;
    m_loaded.Set(std::move(value));
    return S_OK;
}

const PropValue* PoomItem::Get(CEPROPID id) {
    const PropValue* value = m_changed.Find(id);
    if (value) return value->absent ? nullptr : value;
    if (IsStream(id))
        LoadStream(id);
    else if (m_record && IsBeside(id) && !m_loaded.Find(id))
        m_loaded.Set(ReadBeside(id));
    value = m_loaded.Find(id);
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

std::optional<Seconds> PoomItem::DayAt(CEPROPID id) {
    const PropValue* value = Get(id);
    const Seconds day = value ? DayOf(SecondsFromTicks(value->number)) : kFirstNoDay;
    return day < kFirstNoDay ? std::optional(day) : std::nullopt;
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
        for (CEPROPID id : wanted) // reads what isn't here yet, so that nothing moves below
            if (!IsStream(id)) ForCaller(id);
        std::vector<const PropValue*> found;
        found.reserve(wanted.size());
        for (CEPROPID id : wanted) found.push_back(IsStream(id) ? nullptr : ForCaller(id));
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

// As it is kept: what every record has falls back, days are whole, the date that means none and an empty text are absent.
PropValue PoomItem::Proper(PropValue value) const {
    if (IsNamed(value.id)) return value; // an empty one was told to be there
    if (TypeFromPropID(value.id) == CEVT_LPWSTR && value.text.empty()) value.absent = true;
    if (!value.absent && std::ranges::find(kDays, value.id) != std::end(kDays)) {
        const Seconds day = DayOf(SecondsFromTicks(value.number));
        value.number = TicksFromSeconds(day);
        value.absent = DateFromSeconds(day) >= kNoDate;
    }
    for (const DefaultValue& always : m_kind.always)
        if (value.absent && always.id == value.id) return PropValue::Number(value.id, always.value);
    return value;
}

HRESULT PoomItem::CheckAndPut(PropValue value) {
    value = Proper(std::move(value));
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
                Proper(given.wFlags & CEDB_PROPDELETE ? PropValue::Absent(given.propid) : FromPropVal(given));
            if (HRESULT hr = CanPut(value); FAILED(hr)) return hr;
            (IsNamed(value.id) ? named : others).push_back(std::move(value));
        }
        if (HRESULT hr = NamedOwner().SetNamed(named); FAILED(hr)) return hr;
        for (PropValue& value : others) Put(std::move(value));
        return S_OK;
    });
}

// Those of a saved item are written at once: callers set them behind the save.
HRESULT PoomItem::SetNamed(std::span<PropValue> values) {
    if (m_record && !values.empty()) return WriteNamedNow(values);
    for (PropValue& value : values) m_changed.Set(std::move(value));
    return S_OK;
}

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
    return Give(copy, [&]() -> HRESULT {
        Ref<PoomItem> twin;
        if (HRESULT hr = CopyItem(twin); FAILED(hr)) return hr;
        *copy = twin.Give();
        return S_OK;
    });
}

HRESULT PoomItem::CopyItem(Ref<PoomItem>& copy) {
    copy = App().MakeItem(m_kind);
    return CopyInto(*copy);
}

HRESULT PoomItem::CopyInto(PoomItem& twin) {
    Refresh();
    std::vector<CEPROPID> ids = AllIds();
    for (CEPROPID id : kStreams) {
        if (HRESULT hr = LoadStream(id); FAILED(hr)) return hr;
        ids.push_back(id);
    }
    for (CEPROPID id : ids)
        if (const PropValue* value = Get(id); value && !IsOwnAlone(id)) twin.m_changed.Set(*value);
    return S_OK;
}

HRESULT PoomItem::get_Oid(CEOID* oid) {
    return Tell(oid, [this] { return Oid(); });
}

// --- The named getters ----------------------------------------------------------------------------------------------

HRESULT PoomItem::GiveText(CEPROPID id, BSTR* out) {
    return Give(out, [&] { return GiveBstr(TextOf(id), out); });
}

HRESULT PoomItem::TakeText(CEPROPID id, BSTR text) {
    return Call([&] { return CheckAndPut(PropValue::Text(id, ViewOf(text))); });
}

HRESULT PoomItem::GiveLong(CEPROPID id, LONG* out, LONG otherwise) {
    return Tell(out, [&] { return LongOf(id, otherwise); });
}

HRESULT PoomItem::TakeLong(CEPROPID id, LONG value) {
    return Call([&] { return CheckAndPut(PropValue::Number(id, static_cast<DWORD>(value))); });
}

HRESULT PoomItem::GiveBool(CEPROPID id, VARIANT_BOOL* out) {
    return Tell(out, [&] { return BoolOf(id) ? VARIANT_TRUE : VARIANT_FALSE; });
}

HRESULT PoomItem::TakeBool(CEPROPID id, VARIANT_BOOL value) {
    return Call([&] { return CheckAndPut(PropValue::Number(id, value != VARIANT_FALSE)); });
}

HRESULT PoomItem::GiveDay(CEPROPID id, DATE* out) {
    return Tell(out, [&] {
        const auto day = DayAt(id);
        return day ? DateFromSeconds(*day) : kNoDate;
    });
}

HRESULT PoomItem::TakeDay(CEPROPID id, DATE date) {
    return Call([&]() -> HRESULT {
        if (date >= kNoDate) return CheckAndPut(PropValue::Absent(id));
        const auto day = SecondsFromDate(date);
        if (!day) return E_INVALIDARG;
        return CheckAndPut(PropValue::Number(id, TicksFromSeconds(*day)));
    });
}

} // namespace plat::poom
