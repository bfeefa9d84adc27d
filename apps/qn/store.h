// The store as the commands see it: the application object, items by OID, their UIDs and notes.
#pragma once

#include "Platform/databases.h"
#include "Platform/poom.h"
#include "Platform/types.h"
#include "apps/qn/support.h"

#include <functional>
#include <set>
#include <string>
#include <vector>

namespace qn {

// The object model, logged on. Throws a Failure when the store can't be opened.
class Store {
public:
    Store();
    IPOutlookApp2* App() const { return m_app.Get(); }

    // The ids of the named properties that keep an item's UID, or its place in a series that was split; made when missing
    // and `create` is set, else 0.
    DWORD UidProperty(bool create) { return NamedText(u"QN_ICalendarUID", m_uidProperty, create); }
    DWORD PartProperty(bool create) { return NamedText(u"QN_ICalendarPart", m_partProperty, create); }
    // The UID that its file gave the item, or the series that it is a single appointment of; empty when it has none.
    std::string Uid(CEOID oid);
    // The same, or, of a single appointment of a series, a text of its own: UID, "#" and its place.
    std::string OwnUid(CEOID oid);
    // That text; an item without one gets one and keeps it, so that what is read back elsewhere or here is known again. So
    // do all others of its folder, in a few changes: who wants one of them will want the rest.
    std::string UidOrNew(CEOID oid, const Com<IItem>& bag);
    // The items of a folder, in the order of their numbers; one that can't be read is told on stderr. Gives how many those
    // are.
    unsigned ForEach(int folder, const std::function<void(const Com<IDispatch>& item)>& visit) const;

private:
    DWORD NamedText(const WCHAR* name, DWORD& property, bool create);
    void KeepNewUid(CEOID oid, const Com<IItem>& bag);
    void GiveUids(int folder);
    std::string Text(CEOID oid, DWORD property) const;

    Com<IPOutlookApp2> m_app;
    DWORD m_uidProperty = 0;
    DWORD m_partProperty = 0;
    std::set<int> m_uidsGiven; // folders
};

// Items of a folder; one more has no short number, and lists would take it for another. The result that says so.
inline constexpr DWORD kMostItems = 65535;
inline constexpr auto kFolderFull = static_cast<HRESULT>(0x80070000 | ERROR_NO_MORE_ITEMS);

// What failed, in words, of a result of the object model.
std::string Reason(HRESULT result);

// The note of an item as text, whatever form it has, and a text as a note. Notes are UTF-16 with a byte-order mark, which
// every form of note reader tells from rich text.
std::string NoteText(const CEBLOB& ink);
std::vector<BYTE> NoteBytes(std::string_view utf8);

// What a getter gives; the fallback when it fails.
template<class Item, class Value>
Value Get(Item* item, HRESULT (Item::*get)(Value*), Value fallback = {}) {
    Value value = fallback;
    (item->*get)(&value);
    return value;
}
template<class Item>
std::string TextOf(Item* item, HRESULT (Item::*get)(BSTR*)) {
    Bstr text;
    (item->*get)(text.Out());
    return Utf8(text.View());
}
// The note of an item as it is stored.
class StoredNote {
public:
    template<class Item>
    explicit StoredNote(Item* item) {
        item->get_BodyInk(&m_blob);
    }
    ~StoredNote() { LocalFree(m_blob.lpb); }
    StoredNote(const StoredNote&) = delete;
    StoredNote& operator=(const StoredNote&) = delete;
    const CEBLOB& Blob() const { return m_blob; }

private:
    CEBLOB m_blob{};
};
template<class Item>
std::string NoteOf(Item* item) {
    return NoteText(StoredNote(item).Blob());
}

// An item as the bag of its properties.
inline Com<IItem> BagOf(IUnknown* item) {
    void* found = nullptr;
    item->QueryInterface(IID_IItem, &found);
    return Com<IItem>(static_cast<IItem*>(found));
}

// One value of an item as its record has it; the block is freed with the object.
class Property {
public:
    Property(const Com<IItem>& bag, CEPROPID id);
    ~Property() { LocalFree(m_value); }
    Property(const Property&) = delete;
    Property& operator=(const Property&) = delete;
    const CEPROPVAL* Value() const; // null when the item has none
    std::string Text() const;       // of a text

private:
    CEPROPVAL* m_value = nullptr;
};

// Splits "Work, Home" into its names.
std::vector<std::string> SplitCategories(std::string_view text);

CEOID ParseOid(const std::string& word); // decimal or 0x...; a usage failure otherwise

} // namespace qn
