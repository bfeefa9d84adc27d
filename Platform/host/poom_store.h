// The databases of "\pim.vol" as one application object keeps them open: a session, its databases, the scratch room of
// its reads, and what a failed save has to take back. Guarded by the application object's lock.
#pragma once

#include "Platform/host/poom_values.h"

#include <array>
#include <functional>

namespace plat::poom {

// The failure of the last call as a result.
HRESULT LastFailure();

enum class Side : std::size_t {
    Appointments,
    Tasks,
    Contacts,
    Categories,
    Associations,
    NamedValues,
    Names,
    kCount
};

class Store {
public:
    ~Store() { Close(); }

    // Mounts the volume and opens the session; S_OK when they stand already.
    HRESULT Open();
    void Close();
    // A database, opened when first asked for, by automatic number or by its key. INVALID_HANDLE_VALUE with the last error.
    HANDLE Get(Side side);
    // Makes the table of names, which a foreign volume doesn't have.
    HRESULT MakeNames();

    // --- Reads ---
    // Moves to the first record with these leading keys; false when there is none.
    bool Seek(Side side, std::span<const CEPROPVAL> keys);
    // On to the next one with the same keys.
    bool SeekNextEqual(Side side, std::span<const CEPROPVAL> keys);
    bool SeekNth(Side side, LONG n, bool fromHere);
    CEOID SeekRecord(Side side, CEOID record);
    // The current record, streams left out; its object id, or 0.
    CEOID Read(Side side, PropBag& values);
    // Some of its properties; null when it can't be read. Valid until the next read.
    const CEPROPVAL* Read(Side side, std::span<const CEPROPID> ids, CEOID* record = nullptr);
    // A stream of a record as it stands at one moment; absent when it has none. Moves to the record.
    HRESULT ReadStream(Side side, CEOID record, CEPROPID id, PropValue& stream);

    // --- Writes, inside a SaveScope ---
    // Adds (record 0) or changes; 0 on failure.
    CEOID Write(Side side, CEOID record, std::span<PropValue* const> values);
    bool Delete(Side side, CEOID record);

    // --- Batches ---
    HRESULT BeginBatch();
    HRESULT EndBatch(bool commit);
    bool InBatch() const { return m_batch; }

private:
    friend class SaveScope;
    bool TryReadStream(Side side, CEPROPID id, std::vector<BYTE>& bytes);
    bool KeepForUndo(Side side, CEOID record, std::span<PropValue* const> values);
    void Undo(std::size_t mark);
    bool WriteNow(HANDLE db, CEOID record, std::span<PropValue* const> values, CEOID* written);

    HANDLE m_session = nullptr;
    CEGUID m_volume{};
    bool m_mounted = false;
    std::array<HANDLE, static_cast<std::size_t>(Side::kCount)> m_databases{};
    BYTE* m_buffer = nullptr; // of LocalAlloc
    DWORD m_bufferSize = 0;
    std::vector<CEPROPVAL> m_values;

    bool m_batch = false;
    // A step of a failed save could not be taken back: nothing of the batch may be stored.
    HRESULT m_batchSpoilt = S_OK;
    std::vector<std::function<bool()>> m_undo;
};

// All writes of one save: one transaction of its own, or a part of the batch that is taken back alone.
class SaveScope {
public:
    explicit SaveScope(Store& store) : m_store(store) {}
    ~SaveScope();
    SaveScope(const SaveScope&) = delete;
    SaveScope& operator=(const SaveScope&) = delete;

    HRESULT Begin();
    HRESULT Commit();

private:
    Store& m_store;
    bool m_open = false;
    std::size_t m_mark = 0;
};

inline CEPROPVAL KeyOf(CEPROPID id, DWORD number) {
    CEPROPVAL key{};
    key.propid = id;
    key.val.ulVal = number;
    return key;
}

// --- Tables beside the items --------------------------------------------------------------------------------------

// The texts of an item's categories, joined by ", " in the order of their ids.
std::u16string ReadCategories(Store& store, CEOID oid);
// Makes the item's associations equal to the text; unknown names are added. A volume without the tables keeps none.
HRESULT WriteCategories(Store& store, CEOID oid, std::u16string_view text);

// Ids of named properties are made of numbers from 0x6100 up.
constexpr bool IsNamed(CEPROPID id) { return (id >> 16) >= 0x6100; }
HRESULT IdFromName(Store& store, std::u16string_view name, ULONG flags, CEPROPID* id);
PropValue ReadNamed(Store& store, CEOID oid, CEPROPID id);
std::vector<PropValue> ReadAllNamed(Store& store, CEOID oid);
HRESULT WriteNamed(Store& store, CEOID oid, const PropValue& value);
// Walks all values of one named text; ends when `visit` gives false.
void WalkNamedText(Store& store, CEPROPID id,
                   const std::function<bool(CEOID oid, std::u16string_view text)>& visit);

// Takes an item's associations and named values out.
HRESULT DeleteBesides(Store& store, CEOID oid);

} // namespace plat::poom
