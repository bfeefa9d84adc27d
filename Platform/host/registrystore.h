// The registry's tree: a copy in memory for reading, a SQLite file behind it, and a mapped counter that tells every
// process at once when another has written.
//
// A reader compares the counter with the one its copy was read at; only when they differ does it go to the file. A
// writer changes the file in one durable transaction, then the copy. The files are made by the first write; until then
// reading finds an empty registry. Errors are the device's codes.
#pragma once

#include "Platform/host/smalldb.h"
#include "Platform/host/store.h"
#include "Platform/types.h"

#include <memory>
#include <shared_mutex>
#include <span>
#include <string>
#include <string_view>
#include <unordered_map>
#include <vector>

namespace plat {

using KeyId = std::int64_t;                // never given twice; the roots are below 0
inline constexpr KeyId kRegistryRoots = 4; // -1 classes, -2 user, -3 machine, -4 users

struct RegistryValue {
    std::u16string name;
    DWORD type = 0;
    std::vector<BYTE> data;
};

// Things with a name, in the order they were made, found without regard to case.
template<class T>
class NamedItems {
public:
    T* Find(std::u16string_view folded) {
        const auto found = m_index.find(folded);
        return found == m_index.end() ? nullptr : &m_items[found->second].item;
    }
    const T* Find(std::u16string_view folded) const { return const_cast<NamedItems*>(this)->Find(folded); }
    void Add(std::u16string folded, T item) {
        m_index.emplace(folded, m_items.size());
        m_items.push_back({std::move(folded), std::move(item)});
    }
    void Remove(std::u16string_view folded) {
        const auto found = m_index.find(folded);
        if (found == m_index.end()) return;
        const std::size_t place = found->second;
        m_index.erase(found);
        m_items.erase(m_items.begin() + static_cast<std::ptrdiff_t>(place));
        for (auto& [name, position] : m_index)
            if (position > place) --position;
    }
    std::size_t Count() const { return m_items.size(); }
    const T& At(std::size_t index) const { return m_items[index].item; }

private:
    struct Item {
        std::u16string folded;
        T item;
    };
    // Looked up by views, so that a query makes no string of its own twice.
    struct Hash {
        using is_transparent = void;
        std::size_t operator()(std::u16string_view name) const {
            return std::hash<std::u16string_view>{}(name);
        }
    };
    std::vector<Item> m_items;
    std::unordered_map<std::u16string, std::size_t, Hash, std::equal_to<>> m_index;
};

struct SubKey {
    std::u16string name;
    KeyId id = 0;
};

struct RegistryKey {
    KeyId parent = 0;
    std::u16string folded;
    NamedItems<SubKey> subKeys;
    NamedItems<RegistryValue> values;
};

class RegistryStore {
public:
    static RegistryStore& Get();
    RegistryStore() { Clear(); }

    // Calls `read(key)` with the key, or gives 1018 when it is gone. Nothing of it may be kept.
    template<class Read>
    DWORD ReadKey(KeyId id, Read read) {
        return ReadTree([&]() -> DWORD {
            const RegistryKey* key = KeyOf(id);
            return key ? read(*key) : ERROR_KEY_DELETED;
        });
    }

    // Along a path cut at backslashes; 2 when there is no such key.
    DWORD FindKey(KeyId from, std::u16string_view path, KeyId& found);
    DWORD MakeKey(KeyId from, std::u16string_view path, KeyId& found, bool& isNew);
    DWORD RemoveKey(KeyId from, std::u16string_view path);
    DWORD SetValue(KeyId id, std::u16string_view name, DWORD type, std::span<const BYTE> data);
    DWORD RemoveValue(KeyId id, std::u16string_view name);
    // Closes the files; the next call opens those of the device folder that is set then.
    void Close();

private:
    template<class Read>
    DWORD ReadTree(Read read) {
        {
            std::shared_lock lock(m_mutex);
            if (IsFresh()) return read();
        }
        std::unique_lock lock(m_mutex);
        const DWORD error = Refresh();
        return error ? error : read(); // half a copy would look as if settings had gone
    }
    // One durable change: `change()` writes rows and gives an error, `apply()` does the same to the copy.
    template<class Change, class Apply>
    DWORD Write(Change change, Apply apply);
    DWORD Fail();

    bool IsFresh() const;
    DWORD Refresh();
    bool CatchUp();
    enum class Missing { Leave, Make };
    DWORD OpenFiles(Missing missing);
    bool Load();
    bool LoadKeys();
    bool LoadValues();
    void Clear();
    void ForgetFile();
    std::int64_t FileGeneration();
    KeyId IdOf(std::int64_t row) const { return row > 0 ? row + m_firstId : row; }
    std::int64_t RowOf(KeyId id) const { return id > 0 ? id - m_firstId : id; }

    RegistryKey* KeyOf(KeyId id);
    // As far along the path as there are keys; `missing` gets the rest.
    KeyId Walk(KeyId from, std::u16string_view path, std::vector<std::u16string_view>& missing);
    DWORD InsertKeys(KeyId parent, std::span<const std::u16string_view> names, std::vector<KeyId>& made);
    void AddKeys(KeyId parent, std::span<const std::u16string_view> names, std::span<const KeyId> made);
    std::vector<KeyId> Subtree(KeyId top);
    DWORD DeleteRows(std::span<const KeyId> keys);

    std::shared_mutex m_mutex;
    SmallDb m_db;
    std::unique_ptr<SharedCounters> m_counters;
    std::unordered_map<KeyId, RegistryKey> m_keys;
    KeyId m_firstId = 0;            // before the ids of this file: another file counts its rows from 1 again
    std::int64_t m_generation = -1; // of the file, when the copy was read
    DWORD m_seen = kNeverFresh;     // the counter then

    static constexpr DWORD kNeverFresh = 1; // an odd counter is a write under way, or one that was broken off
};

} // namespace plat
