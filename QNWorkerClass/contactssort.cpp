#include "QNWorkerClass/contactssort.h"

#include "NorvoTools/CStr.h"
#include "Platform/locale.h"
#include "QNWorkerClass/quickfind.h"
#include "QNWorkerClass/sortkey.h"

#include <string>
#include <string_view>

namespace {

constexpr DWORD kAnyOidForm = 0xFFFFFFFF; // a row that stands before all others in the plain order

template<class T>
int Order(T a, T b) {
    return a < b ? -1 : a > b;
}

bool IsByTwoNames(LONG format) { return format == kDisplayFirstLast || format == kDisplayLastFirst; }

// --- The order of the cache ---------------------------------------------------------------------------------------

enum class Part { Primary, Secondary, Joined };

// The two names without a blank, the first key first; of a row without names its file-as name.
std::u16string JoinedNames(const DATACONTACTS& row, LONG format) {
    const std::u16string_view first = CSTRView(row.m_szFirstName), last = CSTRView(row.m_szLastName);
    if (first.empty() && last.empty()) return std::u16string(CSTRView(row.m_szFileAs));
    std::u16string joined(format == kDisplayFirstLast ? first : last);
    return joined.append(format == kDisplayFirstLast ? last : first);
}

std::u16string TextOf(const DATACONTACTS& row, LONG format, Part part) {
    if (part == Part::Joined) return JoinedNames(row, format);
    const bool primary = part == Part::Primary;
    switch (format) {
    case kDisplayFirstLast:
        return std::u16string(CSTRView(primary ? row.m_szFirstName : row.m_szLastName));
    case kDisplayLastFirst:
        return std::u16string(CSTRView(primary ? row.m_szLastName : row.m_szFirstName));
    case kDisplayFileAs:
        return std::u16string(CSTRView(row.m_szFileAs));
    default:
        return std::u16string(CSTRView(primary ? row.m_szGroupKey : row.m_szFileAs));
    }
}

const std::string& KeyOf(const ContactKeys& keys, Part part) {
    return part == Part::Primary ? keys.primary : part == Part::Secondary ? keys.secondary : keys.joined;
}

bool HasKeys(const DATACONTACTS& row, LONG format) { return row.HasKeys() && row.Keys().nOrder == format; }

int CompareParts(const DATACONTACTS& a, const DATACONTACTS& b, LONG format, Part part) {
    if (HasKeys(a, format) && HasKeys(b, format)) {
        const std::string &first = KeyOf(a.Keys(), part), &second = KeyOf(b.Keys(), part);
        if (!first.empty() && !second.empty()) return Order(first.compare(second), 0);
    }
    const std::u16string first = TextOf(a, format, part), second = TextOf(b, format, part);
    return CompareStringW(LOCALE_USER_DEFAULT, 0, first.data(), static_cast<int>(first.size()), second.data(),
                          static_cast<int>(second.size())) -
           CSTR_EQUAL;
}

bool HasSecondPart(LONG format) { return IsByTwoNames(format) || format == kDisplayByCategory; }

// --- The order of the display list --------------------------------------------------------------------------------

const WCHAR* ShownName(const DATACONTACTS& row, LONG format) {
    return format == kDisplayFirstLast   ? row.m_szFirstName
           : format == kDisplayLastFirst ? row.m_szLastName
                                         : row.m_szFileAs;
}

int CompareShownNames(const DATACONTACTS& a, const DATACONTACTS& b, LONG format) {
    if (a.HasKeys() && b.HasKeys() && a.Keys().nShown == format && b.Keys().nShown == format)
        return Order(a.Keys().shown.compare(b.Keys().shown), 0);
    const std::u16string_view first = CSTRView(ShownName(a, format)), second = CSTRView(ShownName(b, format));
    return CompareStringW(LOCALE_USER_DEFAULT, kFindFlags, first.data(), static_cast<int>(first.size()),
                          second.data(), static_cast<int>(second.size())) -
           CSTR_EQUAL;
}

} // namespace

int CompareCachedContacts(const DATACONTACTS* a, const DATACONTACTS* b, LONG format) {
    if (!a) return 1;
    if (!b) return -1;
    if (a->m_oid == b->m_oid) return 0;
    if (!a->m_oid || !b->m_oid) return a->m_oid ? 1 : -1;
    // A row without its first key can't be compared by it: then both are taken by all they have.
    if (IsByTwoNames(format) && (LacksFirstName(*a, format) || LacksFirstName(*b, format)))
        return CompareParts(*a, *b, format, Part::Joined);
    const int order = CompareParts(*a, *b, format, Part::Primary);
    return order || !HasSecondPart(format) ? order : CompareParts(*a, *b, format, Part::Secondary);
}

bool LacksFirstName(const DATACONTACTS& row, LONG format) {
    return IsByTwoNames(format) &&
           CSTRView(format == kDisplayFirstLast ? row.m_szFirstName : row.m_szLastName).empty();
}

void FillOrderKeys(DATACONTACTS& row, LONG format, bool bJoined) {
    ContactKeys& keys = row.Keys();
    if (keys.nOrder != format) {
        keys.nOrder = format;
        keys.primary = TextSortKey(TextOf(row, format, Part::Primary));
        keys.secondary =
            HasSecondPart(format) ? TextSortKey(TextOf(row, format, Part::Secondary)) : std::string();
        keys.joined.clear();
    }
    if (bJoined && keys.joined.empty()) keys.joined = TextSortKey(JoinedNames(row, format));
}

int CompareShownContacts(const DATACONTACTS* a, const DATACONTACTS* b, LONG format) {
    if (!a || !b) return Order(!a, !b);
    if (a->m_bEmpty || b->m_bEmpty) return Order(a->m_bEmpty != 0, b->m_bEmpty != 0);
    if (const int order = Order(a->m_dwSortGroupId, b->m_dwSortGroupId)) return order;
    if (a->m_bGroupHeader != b->m_bGroupHeader) return a->m_bGroupHeader ? -1 : 1;
    return CompareShownNames(*a, *b, format);
}

int CompareContactsByFileAs(const DATACONTACTS* a, const DATACONTACTS* b) {
    if (!a || !b) return Order(!a, !b);
    if (a->m_bEmpty || b->m_bEmpty) return Order(a->m_bEmpty != 0, b->m_bEmpty != 0);
    if (a->m_oid != b->m_oid && (a->m_oid == kAnyOidForm || b->m_oid == kAnyOidForm))
        return a->m_oid == kAnyOidForm ? -1 : 1;
    return CompareShownNames(*a, *b, kDisplayFileAs);
}

void FillShownKey(DATACONTACTS& row, LONG format) {
    ContactKeys& keys = row.Keys();
    if (keys.nShown == format) return;
    keys.nShown = format;
    keys.shown = TextSortKey(CSTRView(ShownName(row, format)), kFindFlags);
}
