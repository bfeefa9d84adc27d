#include "apps/qn/store.h"

#include "Platform/databases.h"
#include "Platform/notetext.h"
#include "QNTools/QNTools.h"
#include "apps/qn/saving.h"

#include <algorithm>
#include <charconv>
#include <cstring>
#include <random>
#include <span>

namespace qn {

Store::Store() {
    void* app = nullptr;
    const HRESULT made = CoCreateInstance(CLSID_Application, nullptr, 0, IID_IPOutlookApp2, &app);
    if (FAILED(made)) throw StoreFailure("the store can't be opened: " + Reason(made));
    m_app = Com<IPOutlookApp2>(static_cast<IPOutlookApp2*>(app));
    const HRESULT logon = m_app->Logon(nullptr);
    if (FAILED(logon)) throw StoreFailure("the store can't be opened: " + Reason(logon));
}

DWORD Store::NamedText(const WCHAR* name, DWORD& property, bool create) {
    if (property) return property;
    CEPROPID id = 0;
    const ULONG flags = create ? CEVT_LPWSTR | kCreateNamedProperty : 0;
    const HRESULT result = m_app->GetIDsFromNames(1, &name, flags, &id);
    if (FAILED(result) || id == kUnknownNamedProperty) {
        if (create) throw StoreFailure("the store takes no UIDs: " + Reason(result));
        return 0;
    }
    return property = id;
}

std::string Store::Text(CEOID oid, DWORD property) const {
    Com<IItem> item;
    if (!property || FAILED(m_app->GetItemFromOidEx(oid, 0, item.Out()))) return {};
    return Property(item, property).Text();
}

std::string Store::OwnUid(CEOID oid) {
    std::string uid = Text(oid, UidProperty(false));
    return uid.empty() ? Text(oid, PartProperty(false)) : uid;
}

std::string Store::Uid(CEOID oid) {
    std::string uid = Text(oid, UidProperty(false));
    if (!uid.empty()) return uid;
    const std::string part = Text(oid, PartProperty(false));
    return part.substr(0, part.rfind('#'));
}

void Store::KeepNewUid(CEOID oid, const Com<IItem>& bag) {
    std::random_device random;
    char text[40];
    std::snprintf(text, sizeof text, "qn-%08x%08x%08x%08x", random(), random(), random(), random());
    std::u16string wide = Utf16(text);
    CEPROPVAL value{};
    value.propid = UidProperty(true);
    value.val.lpwstr = wide.data();
    const HRESULT kept = bag->SetProps(0, 1, &value);
    if (FAILED(kept)) throw Failure("item " + std::to_string(oid) + " takes no UID: " + Reason(kept));
}

void Store::GiveUids(int folder) {
    if (!m_uidsGiven.insert(folder).second) return;
    std::vector<CEOID> lacking;
    ForEach(folder, [&](const Com<IDispatch>& item) {
        CEOID oid = 0;
        if (const auto bag = item.As<IItem>(IID_IItem)) bag->get_Oid(&oid);
        if (oid && OwnUid(oid).empty()) lacking.push_back(oid);
    });
    for (std::size_t first = 0; first < lacking.size(); first += kBatch) {
        Batch batch(App());
        for (const CEOID oid : std::span(lacking).subspan(first, std::min(kBatch, lacking.size() - first))) {
            Com<IItem> bag;
            if (SUCCEEDED(m_app->GetItemFromOidEx(oid, 0, bag.Out()))) KeepNewUid(oid, bag);
        }
        batch.Commit();
    }
}

std::string Store::UidOrNew(CEOID oid, const Com<IItem>& bag) {
    std::string uid = OwnUid(oid);
    if (!uid.empty()) return uid;
    const CEOID kind = oid & kOidKindMask;
    GiveUids(kind == kOidContact ? olFolderContacts : kind == kOidTask ? olFolderTasks : olFolderCalendar);
    if ((uid = OwnUid(oid)).empty()) KeepNewUid(oid, bag), uid = OwnUid(oid);
    return uid;
}

unsigned Store::ForEach(int kind, const std::function<void(const Com<IDispatch>& item)>& visit) const {
    Com<IFolder> folder;
    Com<IPOutlookItemCollection> items;
    HRESULT result = m_app->GetDefaultFolder(kind, folder.Out());
    if (SUCCEEDED(result)) result = folder->get_Items(items.Out());
    int count = 0;
    if (SUCCEEDED(result)) result = items->get_Count(&count);
    if (FAILED(result)) throw StoreFailure("the store can't be read: " + Reason(result));
    unsigned unread = 0;
    for (int i = 1; i <= count; ++i) {
        Com<IDispatch> item;
        const HRESULT got = items->Item(i, item.Out());
        if (SUCCEEDED(got))
            visit(item);
        else
            ++unread,
                std::fprintf(stderr, "qn: item %d of its folder can't be read: %s\n", i, Reason(got).c_str());
    }
    return unread;
}

Property::Property(const Com<IItem>& bag, CEPROPID id) {
    ULONG size = 0;
    if (bag && FAILED(bag->GetProps(&id, 0, 1, &m_value, &size, nullptr))) m_value = nullptr;
}

const CEPROPVAL* Property::Value() const {
    return m_value && !(m_value->wFlags & CEDB_PROPNOTFOUND) ? m_value : nullptr;
}

std::string Property::Text() const {
    return Value() && m_value->val.lpwstr ? Utf8(m_value->val.lpwstr) : std::string();
}

std::string Reason(HRESULT result) {
    const auto code = static_cast<DWORD>(result);
    switch (code & 0xFFFF) {
    case ERROR_DISK_FULL:
        return "the disk is full";
    case ERROR_WRITE_FAULT:
        return "writing to the disk failed";
    case ERROR_ACCESS_DENIED:
        return "access is denied";
    case ERROR_INVALID_NAME:
    case ERROR_PATH_NOT_FOUND:
        return "there is no such folder, and it can't be made";
    case ERROR_BAD_FORMAT:
        return "the volume is damaged or of another kind";
    case ERROR_SHARING_VIOLATION:
        return "another program holds the store";
    case ERROR_NO_MORE_ITEMS:
        return "the folder is full, it holds " + std::to_string(kMostItems) + " items";
    case ERROR_INVALID_PARAMETER:
        return "a value is out of range";
    case ERROR_FILE_NOT_FOUND:
    case ERROR_NOT_FOUND:
        return "there is no such item";
    default:
        break;
    }
    char text[32];
    std::snprintf(text, sizeof text, "error %08X", code);
    return text;
}

std::string NoteText(const CEBLOB& ink) {
    std::u16string wide;
    if (!ink.lpb || !PlatTextOfNote(ink.lpb, ink.dwCount, wide)) return {};
    std::u16string lines; // each ended by one character
    for (std::size_t i = 0; i < wide.size(); ++i)
        if (wide[i] != u'\r' || i + 1 == wide.size() || wide[i + 1] != u'\n') lines += wide[i];
    std::string text = Utf8(lines);
    while (!text.empty() && (text.back() == ' ' || text.back() == '\n')) text.pop_back();
    return text;
}

std::vector<BYTE> NoteBytes(std::string_view utf8) {
    std::u16string text = Utf16(utf8);
    if (text.empty()) return {};
    if (2 + text.size() * sizeof(WCHAR) == kEmptyInkNote) text += u' ';
    std::vector<BYTE> bytes(2 + text.size() * sizeof(WCHAR));
    bytes[0] = 0xFF;
    bytes[1] = 0xFE;
    std::memcpy(bytes.data() + 2, text.data(), text.size() * sizeof(WCHAR));
    return bytes;
}

std::vector<std::string> SplitCategories(std::string_view text) {
    std::vector<std::string> names;
    while (!text.empty()) {
        const std::size_t end = std::min(text.find(','), text.size());
        std::string_view name = text.substr(0, end);
        while (name.starts_with(' ')) name.remove_prefix(1);
        if (!name.empty()) names.emplace_back(name);
        text.remove_prefix(std::min(end + 1, text.size()));
    }
    return names;
}

CEOID ParseOid(const std::string& word) {
    const bool hex = word.starts_with("0x") || word.starts_with("0X");
    const char* begin = word.data() + (hex ? 2 : 0);
    const char* end = word.data() + word.size();
    CEOID oid = 0;
    const auto [stop, error] = std::from_chars(begin, end, oid, hex ? 16 : 10);
    if (error != std::errc() || stop != end || oid == 0) Usage(word + " is no item number");
    return oid;
}

} // namespace qn
