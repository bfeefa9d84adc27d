// The objects behind poom.h: the application with its lock and its store, and the item with its bag of properties, on
// which appointments, tasks and contacts stand.
//
// Every public operation runs through Call: a checkpoint, the application's lock (recursive, since an item calls others of
// its application), and no exception past the interface. The object model calls the public database operations with that
// lock held; they know nothing of it.
#pragma once

#include "Platform/host/call.h"
#include "Platform/host/poom_object.h"
#include "Platform/host/poom_series.h"
#include "Platform/host/poom_store.h"

#include <map>
#include <mutex>
#include <new>
#include <unordered_map>

namespace plat::poom {

class PoomItem;
class AppointmentItem;

// What every record of a kind has; a deletion of it sets it back.
struct DefaultValue {
    CEPROPID id;
    DWORD value;
};
struct ItemKind {
    int kind; // of CreateItem
    int folder;
    CEOID bits;
    Side side;
    std::span<const DefaultValue> always;
};
const ItemKind* KindOf(int kind);
const ItemKind* KindOfFolder(int folder);
const ItemKind* KindOfOid(CEOID oid);

class PoomApplication final : public Object<IPOutlookApp2> {
public:
    HRESULT Logon(HWND owner) override;
    HRESULT Logoff() override;
    HRESULT GetDefaultFolder(int folder, IFolder** out) override;
    HRESULT CreateItem(int kind, IDispatch** item) override;
    HRESULT GetItemFromOid(LONG oid, IDispatch** item) override;
    HRESULT GetItemFromOidEx(CEOID oid, DWORD flags, IItem** item) override;
    HRESULT GetIDsFromNames(ULONG count, const WCHAR* const* names, ULONG flags, CEPROPID* ids) override;
    HRESULT GetTimeZoneInformationFromIndex(int index, TIME_ZONE_INFORMATION* zone) override;
    HRESULT get_OutlookCompatible(VARIANT_BOOL* compatible) override;
    HRESULT put_OutlookCompatible(VARIANT_BOOL compatible) override;

    HRESULT BeginBatch();
    HRESULT EndBatch(bool commit);
    HRESULT FindByNamedText(LONG folder, CEPROPID id, std::u16string_view text, CEOID* oid);

    // --- for the items; the lock is held ---
    Store& Records() { return m_store; }
    Ref<PoomItem> MakeItem(const ItemKind& kind);
    HRESULT OpenItem(CEOID oid, Ref<PoomItem>& item);
    // The item in which the store's cursor stands.
    HRESULT ItemAtCursor(const ItemKind& kind, Ref<PoomItem>& item);
    // Keep the indexes of a batch current.
    void NamedTextSaved(CEOID oid, const PropValue& value);
    void ItemDeleted(CEOID oid);

    DWORD NotificationMask(int folder) const;
    void SetNotificationMask(int folder, DWORD mask);

    template<class F>
    HRESULT Call(F&& work) noexcept {
        HostCall call;
        std::lock_guard lock(m_lock);
        try {
            return work();
        } catch (const std::bad_alloc&) {
            return E_OUTOFMEMORY;
        } catch (...) {
            return E_UNEXPECTED;
        }
    }
    // A getter: E_POINTER without a place for what `value` gives.
    template<class T, class F>
    HRESULT Tell(T* out, F&& value) noexcept {
        if (!out) return E_POINTER;
        return Call([&] {
            *out = value();
            return S_OK;
        });
    }
    // An object or a text given out: null unless `work` puts it there.
    template<class T, class F>
    HRESULT Give(T** out, F&& work) noexcept {
        if (!out) return E_POINTER;
        *out = nullptr;
        return Call(std::forward<F>(work));
    }

private:
    ~PoomApplication() override = default;
    struct TextIndex {
        using Texts = std::multimap<std::u16string, CEOID, std::less<>>;
        void Put(CEOID oid, std::u16string_view text);
        void Remove(CEOID oid);

        Texts byText;
        std::unordered_map<CEOID, Texts::iterator> byItem;
    };
    TextIndex& IndexOf(CEPROPID id);

    std::recursive_mutex m_lock;
    Store m_store;
    std::map<CEPROPID, TextIndex> m_indexes; // of the open batch
    std::map<int, DWORD> m_notificationMasks;
    VARIANT_BOOL m_outlookCompatible = VARIANT_TRUE;
};

// A field as a restriction sees it: a number (dates as days, truth as 1 and 0) or a text.
struct FieldValue {
    bool isText = false;
    double number = 0;
    std::u16string text;
};

class PoomItem : public IItem {
public:
    PoomItem(PoomApplication& app, const ItemKind& kind);

    ULONG AddRef() override { return m_count.Up(); }
    ULONG Release() override;

    // IItem, with the lock and the guard; the work is in the virtuals below.
    HRESULT GetProps(const CEPROPID* ids, ULONG flags, WORD count, CEPROPVAL** values, ULONG* size,
                     HANDLE heap) final;
    HRESULT SetProps(ULONG flags, ULONG count, const CEPROPVAL* values) final;
    HRESULT OpenProperty(CEPROPID id, DWORD access, IStream** stream) final;
    HRESULT Save() override;
    HRESULT Delete() override;
    HRESULT Copy(IItem** copy) final;
    HRESULT get_Oid(CEOID* oid) final;
    HRESULT Display(HWND) final { return E_NOTIMPL; }

    // --- for the other files of the object model; the lock is held ---
    PoomApplication& App() const { return *m_app; }
    const ItemKind& Kind() const { return m_kind; }
    virtual IDispatch* AsDispatch() = 0;
    CEOID Record() const { return m_record; }
    virtual CEOID Oid() const { return m_record ? m_kind.bits | m_number : 0; }
    // Starts as a new item of its kind.
    virtual void InitNew();
    // Takes the record over that has just been read.
    void Adopt(CEOID record, PropBag values);

    // The value as it stands, unsaved changes first; null when absent. Valid until the next Get, Put or Save.
    virtual const PropValue* Get(CEPROPID id);
    // Before a Get of a stream: one that can't be read is told, and not taken for none.
    virtual HRESULT LoadStream(CEPROPID id);
    // E_INVALIDARG, or another refusal, for what can't be set.
    virtual HRESULT CanPut(const PropValue& value);
    // A value that CanPut has let through, in its proper form.
    virtual void Put(PropValue value);
    virtual HRESULT SaveItem();
    virtual HRESULT DeleteItem();
    virtual HRESULT CopyItem(Ref<PoomItem>& copy);
    // The field by its getter's name; false when there is none of that name or it is absent.
    virtual bool Field(std::u16string_view name, FieldValue& value);
    static bool IsField(const ItemKind& kind, std::u16string_view name);

    HRESULT CheckAndPut(PropValue value);
    LONG LongOf(CEPROPID id, LONG otherwise = 0);
    bool BoolOf(CEPROPID id) { return LongOf(id) != 0; }
    std::u16string TextOf(CEPROPID id);
    // Of a property of whole days; null for none, which a date from the year 4500 on means, too.
    std::optional<Seconds> DayAt(CEPROPID id);
    // The ids of what the item has, ascending, streams left out.
    virtual std::vector<CEPROPID> AllIds();

    HRESULT GiveText(CEPROPID id, BSTR* out);
    HRESULT TakeText(CEPROPID id, BSTR text);
    HRESULT GiveLong(CEPROPID id, LONG* out, LONG otherwise = 0);
    HRESULT TakeLong(CEPROPID id, LONG value);
    HRESULT GiveBool(CEPROPID id, VARIANT_BOOL* out);
    HRESULT TakeBool(CEPROPID id, VARIANT_BOOL value);
    HRESULT GiveDay(CEPROPID id, DATE* out); // kNoDate when absent
    HRESULT TakeDay(CEPROPID id, DATE date);
    HRESULT GiveInk(CEBLOB* out);
    HRESULT TakeInk(const CEBLOB* ink);
    HRESULT GiveBody(BSTR* out);
    HRESULT TakeBody(BSTR text);

    template<class F>
    HRESULT Call(F&& work) noexcept {
        return m_app->Call(std::forward<F>(work));
    }
    template<class T, class F>
    HRESULT Tell(T* out, F&& value) noexcept {
        return m_app->Tell(out, std::forward<F>(value));
    }
    template<class T, class F>
    HRESULT Give(T** out, F&& work) noexcept {
        return m_app->Give(out, std::forward<F>(work));
    }

protected:
    virtual ~PoomItem() = default;
    // The last changes before the record is written; may be called again after a failed save.
    virtual HRESULT PrepareSave() { return S_OK; }
    // After a save: what has been derived from the former state is to be derived anew.
    virtual void Saved() {}
    // Brings values that are made from others up to date, before GetProps hands them out.
    virtual void Refresh() {}
    // A value in the form in which GetProps hands it out.
    virtual const PropValue* ForCaller(CEPROPID id) { return Get(id); }
    // Whose named properties are meant.
    virtual PoomItem& NamedOwner() { return *this; }
    // Everything that the item has, into an unsaved twin.
    HRESULT CopyInto(PoomItem& twin);
    Store& Records() const { return m_app->Records(); }

    PropBag m_changed;  // unsaved
    PropBag m_loaded;   // the record, and what has been read of its streams and side tables
    CEOID m_record = 0; // object id; 0 while unsaved
    DWORD m_number = 0;

private:
    PropValue ReadBeside(CEPROPID id);
    PropValue Proper(PropValue value) const;
    HRESULT WriteRecord(CEOID& record, DWORD& number);
    HRESULT WriteBesides(CEOID oid);
    HRESULT SetNamed(std::span<PropValue> values);
    HRESULT WriteNamedNow(std::span<const PropValue> values);

    Ref<PoomApplication> m_app;
    const ItemKind& m_kind;
    Counted m_count;
    bool m_deleted = false;
};

// An item that may have a rule: the unsaved series and its block.
class SeriesItem : public PoomItem {
public:
    using PoomItem::PoomItem;

    virtual bool IsRecurring();
    // The series as it stands, or what it would be with the item's own dates. E_FAIL for a damaged block.
    virtual HRESULT CurrentSeries(Series& series);
    // Changes it, which makes the item recurring. A changed rule has no changed occurrences any more.
    virtual HRESULT EditSeries(const std::function<void(Series&)>& edit);
    virtual HRESULT ClearSeries();
    HRESULT CopyItem(Ref<PoomItem>& copy) override;
    // The occurrence that the rule has on this day.
    virtual HRESULT OpenOccurrence(DWORD day, Ref<PoomItem>& occurrence) = 0;
    virtual HRESULT GivePattern(IRecurrencePattern** pattern);
    // Changes occurrences alone. Written at once when the series is in the store and has no unsaved rule.
    HRESULT EditOccurrences(const std::function<void(Series&)>& edit);

protected:
    virtual CEPROPID SeriesStream() const = 0;
    virtual Series DefaultSeries() = 0;
    virtual bool IsAllDay() { return false; }
    virtual void SeriesMade() {}    // the item has just become recurring
    virtual void SeriesChanged() {} // m_series is another
    HRESULT LoadSeries();
    HRESULT PackSeries(); // puts the block among the changes

    std::optional<Series> m_series; // null: not read yet, or not recurring
    bool m_seriesDirty = false;
};

// An item (Base) with the interface of its kind: what the interfaces of several kinds have in common.
template<class Base, class Face>
class ItemObject : public Base, public Face {
public:
    using Base::Base;
    using Base::Copy;
    using Base::get_Oid;

    HRESULT QueryInterface(const IID& iid, void** object) final {
        return AnswerQuery<Face, IItem>(*this, iid, object);
    }
    ULONG AddRef() final { return Base::AddRef(); }
    ULONG Release() final { return Base::Release(); }

    HRESULT get_Categories(BSTR* text) final { return this->GiveText(PIMPR_CATEGORIES, text); }
    HRESULT put_Categories(BSTR text) final { return this->TakeText(PIMPR_CATEGORIES, text); }
    HRESULT get_Body(BSTR* text) final { return this->GiveBody(text); }
    HRESULT put_Body(BSTR text) final { return this->TakeBody(text); }
    HRESULT get_BodyInk(CEBLOB* ink) final { return this->GiveInk(ink); }
    HRESULT put_BodyInk(const CEBLOB* ink) final { return this->TakeInk(ink); }
    HRESULT get_Oid(LONG* oid) final {
        return this->Tell(oid, [this] { return static_cast<LONG>(this->Oid()); });
    }
    HRESULT Save() final { return Base::Save(); }
    HRESULT Delete() final { return Base::Delete(); }
    HRESULT Copy(Face** copy) final {
        return this->Give(copy, [&]() -> HRESULT {
            Ref<PoomItem> twin;
            if (HRESULT hr = this->CopyItem(twin); FAILED(hr)) return hr;
            *copy = static_cast<Face*>(twin.Give()->AsDispatch());
            return S_OK;
        });
    }
    IDispatch* AsDispatch() final { return static_cast<Face*>(this); }
};

// The same of an item that may have a rule.
template<class Face>
class SeriesObject : public ItemObject<SeriesItem, Face> {
public:
    using ItemObject<SeriesItem, Face>::ItemObject;

    HRESULT get_Subject(BSTR* text) final { return this->GiveText(PIMPR_SUBJECT, text); }
    HRESULT put_Subject(BSTR text) final { return this->TakeText(PIMPR_SUBJECT, text); }
    HRESULT get_Sensitivity(LONG* value) final { return this->GiveLong(PIMPR_SENSITIVITY, value); }
    HRESULT put_Sensitivity(LONG value) final { return this->TakeLong(PIMPR_SENSITIVITY, value); }
    HRESULT get_ReminderSet(VARIANT_BOOL* set) final { return this->GiveBool(PIMPR_REMINDER_SET, set); }
    HRESULT put_ReminderSet(VARIANT_BOOL set) final { return this->TakeBool(PIMPR_REMINDER_SET, set); }
    HRESULT get_IsRecurring(VARIANT_BOOL* recurring) final {
        return this->GiveBool(PIMPR_RECURRING, recurring);
    }
    HRESULT GetRecurrencePattern(IRecurrencePattern** pattern) final { return this->GivePattern(pattern); }
    HRESULT ClearRecurrencePattern() final {
        return this->Call([this] { return this->ClearSeries(); });
    }
};

Ref<PoomItem> MakeAppointment(PoomApplication& app, const ItemKind& kind);
Ref<PoomItem> MakeTask(PoomApplication& app, const ItemKind& kind);
Ref<PoomItem> MakeContact(PoomApplication& app, const ItemKind& kind);

// An occurrence of a series with its times, in the wall clock of the series' zone.
struct OccurrenceTimes {
    DWORD day; // by the rule
    Seconds start;
    Seconds end;
    bool changed;
};
// Those that start at `from` or later and within `span` of it, or of the first one when that is later; ascending. Without
// `plain` the changed ones alone.
HRESULT OccurrencesOf(PoomItem& series, Seconds from, Seconds span, bool plain,
                      std::vector<OccurrenceTimes>& times);

HRESULT MakeFolder(PoomApplication& app, int folder, IFolder** out);
HRESULT MakeCollection(PoomApplication& app, int folder, IPOutlookItemCollection** out);

// --- Small change ---------------------------------------------------------------------------------------------------

inline std::u16string_view ViewOf(const WCHAR* text) {
    return text ? std::u16string_view(text) : std::u16string_view();
}
HRESULT GiveBstr(std::u16string_view text, BSTR* out);
// The block of GetProps: in the caller's room, or allocated.
HRESULT GiveBlock(std::span<const CEPROPID> ids, std::span<const PropValue* const> found, ULONG flags,
                  CEPROPVAL** values, ULONG* size, HANDLE heap);
int CompareWithoutCase(std::u16string_view a, std::u16string_view b);
inline bool SameWithoutCase(std::u16string_view a, std::u16string_view b) {
    return CompareWithoutCase(a, b) == 0;
}

} // namespace plat::poom
