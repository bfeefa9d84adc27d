// Comparison of words, and sort keys of the store: ICU collators, made once for each locale and set of flags.
#include "Platform/host/collation.h"

#include "Platform/host/call.h"
#include "Platform/host/localetables.h"
#include "Platform/locale.h"
#include "Platform/strings.h"
#include "Platform/threads.h"

#include <unicode/coll.h>
#include <unicode/normalizer2.h>
#include <unicode/tblcoll.h>
#include <unicode/unistr.h>

#include <algorithm>
#include <array>
#include <atomic>
#include <map>
#include <memory>
#include <mutex>

namespace plat {

namespace {

using CollatorPtr = std::unique_ptr<icu::Collator>;

constexpr DWORD kAllFlags = NORM_IGNORECASE | NORM_IGNORENONSPACE | NORM_IGNORESYMBOLS | SORT_STRINGSORT |
                            NORM_IGNOREKANATYPE | NORM_IGNOREWIDTH;
constexpr std::size_t kFlagSets = 64;

// The flags as a number below kFlagSets.
std::size_t IndexOf(DWORD flags) {
    return (flags & 7) | (flags & SORT_STRINGSORT ? 8 : 0) | (flags & NORM_IGNOREKANATYPE ? 16 : 0) |
           (flags & NORM_IGNOREWIDTH ? 32 : 0);
}

// --- Making a collator ----------------------------------------------------------------------------------------------

// In a word sort these weigh nothing.
bool IsLight(WCHAR c) { return c == u'-' || c == u'\''; }
bool HasLight(std::u16string_view text) { return std::ranges::any_of(text, IsLight); }

CollatorPtr WithLightPunctuation(CollatorPtr plain) {
    const auto* rules = dynamic_cast<const icu::RuleBasedCollator*>(plain.get());
    if (!rules) return plain;
    icu::UnicodeString text(rules->getRules());
    text += u"&[last tertiary ignorable]='-'=''";
    UErrorCode error = U_ZERO_ERROR;
    CollatorPtr tailored = std::make_unique<icu::RuleBasedCollator>(text, error);
    return U_SUCCESS(error) ? std::move(tailored) : std::move(plain);
}

void SetStrength(icu::Collator& collator, DWORD flags) {
    UErrorCode error = U_ZERO_ERROR;
    const bool accentsCount = !(flags & NORM_IGNORENONSPACE);
    const bool caseCounts = !(flags & NORM_IGNORECASE);
    if (accentsCount)
        collator.setStrength(caseCounts ? icu::Collator::TERTIARY : icu::Collator::SECONDARY);
    else
        collator.setStrength(icu::Collator::PRIMARY);
    collator.setAttribute(UCOL_CASE_LEVEL, !accentsCount && caseCounts ? UCOL_ON : UCOL_OFF, error);
    collator.setAttribute(UCOL_CASE_FIRST, UCOL_OFF,
                          error); // small before capital, also where a language differs
    const bool symbolsCount = !(flags & NORM_IGNORESYMBOLS);
    collator.setAttribute(UCOL_ALTERNATE_HANDLING, symbolsCount ? UCOL_NON_IGNORABLE : UCOL_SHIFTED, error);
    if (!symbolsCount) collator.setMaxVariable(UCOL_REORDER_CODE_SYMBOL, error);
}

CollatorPtr MakeCollator(const std::string& locale, DWORD flags) {
    UErrorCode error = U_ZERO_ERROR;
    CollatorPtr collator(icu::Collator::createInstance(icu::Locale(locale.c_str()), error));
    if (U_FAILURE(error) || !collator) {
        error = U_ZERO_ERROR;
        collator.reset(icu::Collator::createInstance(icu::Locale::getRoot(), error));
    }
    if (!collator) return nullptr; // no data at all: units are compared
    if (!(flags & SORT_STRINGSORT)) collator = WithLightPunctuation(std::move(collator));
    SetStrength(*collator, flags);
    return collator;
}

// --- Kana and width -------------------------------------------------------------------------------------------------

bool HasWidth(WCHAR c) { return c >= 0xFF01 && c <= 0xFFEE; }
bool IsKatakana(WCHAR c) { return (c >= 0x30A1 && c <= 0x30F6) || c == 0x30FD || c == 0x30FE; }

bool NeedsFolding(std::u16string_view text, DWORD flags) {
    for (const WCHAR c : text)
        if (HasWidth(c) || ((flags & NORM_IGNOREKANATYPE) && IsKatakana(c))) return true;
    return false;
}

WCHAR NormalWidth(WCHAR c) {
    if (!HasWidth(c)) return c;
    UErrorCode error = U_ZERO_ERROR;
    const icu::Normalizer2* forms = icu::Normalizer2::getNFKCInstance(error);
    icu::UnicodeString plain;
    const bool found = U_SUCCESS(error) && forms->getRawDecomposition(c, plain) && plain.length() == 1;
    return found ? plain[0] : c;
}

std::u16string Folded(std::u16string_view text, DWORD flags) {
    constexpr int kKatakanaToHiragana = 0x60;
    std::u16string folded(text);
    for (WCHAR& c : folded) {
        if (flags & NORM_IGNOREWIDTH) c = NormalWidth(c);
        if ((flags & NORM_IGNOREKANATYPE) && IsKatakana(c)) c = static_cast<WCHAR>(c - kKatakanaToHiragana);
    }
    return folded;
}

// --- Comparers ------------------------------------------------------------------------------------------------------

int CompareUnits(std::u16string_view a, std::u16string_view b) { return a.compare(b); }

int Sign(UCollationResult result) { return static_cast<int>(result); }

// One locale and one set of flags. What it says never changes, so threads share it.
class Comparer {
public:
    // `plain` of a word sort is the string sort, which it stands on; null otherwise.
    Comparer(const std::string& locale, DWORD flags, const Comparer* plain)
        : m_locale(locale), m_flags(flags), m_plain(plain),
          // Without case, ICU tells neither kana nor width apart.
          m_folding(flags & NORM_IGNORECASE ? 0 : flags & (NORM_IGNOREKANATYPE | NORM_IGNOREWIDTH)) {
        if (!plain) Collator();
    }

    int Compare(std::u16string_view a, std::u16string_view b) const {
        if (m_folding && (NeedsFolding(a, m_folding) || NeedsFolding(b, m_folding)))
            return CompareFolded(Folded(a, m_folding), Folded(b, m_folding));
        return CompareFolded(a, b);
    }
    // A word sort puts the two orders one behind the other: the second breaks the ties of the first.
    void AppendKey(std::u16string_view text, std::vector<BYTE>& key) const {
        if (m_folding && NeedsFolding(text, m_folding))
            AppendFolded(Folded(text, m_folding), key);
        else
            AppendFolded(text, key);
    }
    // Of a word sort it is made at the first text that needs it: its rules take ICU some ten milliseconds.
    const icu::Collator* Collator() const {
        std::call_once(m_made, [this] { m_collator = MakeCollator(m_locale, m_flags); });
        return m_collator.get();
    }

    // The key of one collator, without the zero at the end.
    void AppendPlainKey(std::u16string_view text, std::vector<BYTE>& key) const {
        if (!Collator()) return AppendUnits(text, key);
        const std::size_t before = key.size();
        std::size_t room = text.size() * 3 + 16; // enough for most texts
        for (;;) {
            key.resize(before + room);
            const int needed = Collator()->getSortKey(text.data(), static_cast<int>(text.size()),
                                                      key.data() + before, static_cast<int>(room));
            const auto size = static_cast<std::size_t>(std::max(needed, 1));
            if (size <= room) return key.resize(before + size - 1);
            room = size;
        }
    }

private:
    // Without collation data: units in two bytes of 1 to 255 each would not fit, so three of 7 bits.
    static void AppendUnits(std::u16string_view text, std::vector<BYTE>& key) {
        for (const WCHAR c : text)
            for (const int shift : {14, 7, 0}) key.push_back(static_cast<BYTE>(0x80 | ((c >> shift) & 0x7F)));
    }
    void AppendFolded(std::u16string_view text, std::vector<BYTE>& key) const {
        AppendPlainKey(text, key);
        if (!m_plain) return;
        key.push_back(0);
        m_plain->AppendPlainKey(text, key);
    }
    int CompareFolded(std::u16string_view a, std::u16string_view b) const {
        if (m_plain && !HasLight(a) && !HasLight(b)) return m_plain->CompareFolded(a, b);
        const icu::Collator* collator = Collator();
        if (!collator) return CompareUnits(a, b);
        UErrorCode error = U_ZERO_ERROR;
        const int order = Sign(collator->compare(a.data(), static_cast<int>(a.size()), b.data(),
                                                 static_cast<int>(b.size()), error));
        return order == 0 && m_plain ? m_plain->CompareFolded(a, b) : order;
    }

    const std::string m_locale;
    const DWORD m_flags;
    const Comparer* const m_plain;
    const DWORD m_folding;
    mutable std::once_flag m_made;
    mutable CollatorPtr m_collator;
};

// All comparers of one locale; a comparer is made at its first use.
class Comparers {
public:
    explicit Comparers(const std::string& locale) : m_locale(locale) {}
    const Comparer& Get(DWORD flags) {
        std::atomic<const Comparer*>& slot = m_bySet[IndexOf(flags)];
        if (const Comparer* comparer = slot.load(std::memory_order_acquire)) return *comparer;
        const bool words = !(flags & SORT_STRINGSORT);
        const Comparer* plain = words ? &Get(flags | SORT_STRINGSORT) : nullptr;
        std::lock_guard lock(m_mutex);
        if (!slot.load(std::memory_order_relaxed)) {
            m_owned[IndexOf(flags)] = std::make_unique<Comparer>(m_locale, flags, plain);
            slot.store(m_owned[IndexOf(flags)].get(), std::memory_order_release);
        }
        return *slot.load(std::memory_order_relaxed);
    }

private:
    const std::string m_locale;
    std::mutex m_mutex;
    std::array<std::unique_ptr<const Comparer>, kFlagSets> m_owned;
    std::array<std::atomic<const Comparer*>, kFlagSets> m_bySet{};
};

// What is made for one value, kept for the process.
template<class Value>
class Kept {
public:
    template<class Make>
    Value& Get(const std::string& key, Make make) {
        std::lock_guard lock(m_mutex);
        auto& value = m_values[key];
        if (!value) value = make();
        return *value;
    }

private:
    std::mutex m_mutex;
    std::map<std::string, std::unique_ptr<Value>> m_values;
};

Comparers& ComparersOf(const LocaleTables& tables) {
    thread_local const LocaleTables* lastTables = nullptr;
    thread_local Comparers* last = nullptr;
    if (lastTables == &tables) return *last;
    static auto* all = new Kept<Comparers>;
    last = &all->Get(tables.id, [&] { return std::make_unique<Comparers>(tables.id); });
    lastTables = &tables;
    return *last;
}

// --- Keys of the store ----------------------------------------------------------------------------------------------

class StoreCollation final : public Collation {
public:
    explicit StoreCollation(const LocaleTables& tables)
        : m_locale(tables.id), m_comparer(ComparersOf(tables).Get(NORM_IGNORECASE | SORT_STRINGSORT)) {
        UVersionInfo version{};
        if (m_comparer.Collator()) m_comparer.Collator()->getVersion(version);
        m_id = m_locale + "/";
        for (int i = 0; i < U_MAX_VERSION_LENGTH; ++i) m_id += (i ? "." : "") + std::to_string(version[i]);
    }
    const std::string& Id() const override { return m_id; }
    const std::string& Locale() const override { return m_locale; }
    int Compare(std::u16string_view a, std::u16string_view b) const override {
        return m_comparer.Compare(a, b);
    }

    void AppendKey(std::u16string_view text, std::vector<BYTE>& key) const override {
        m_comparer.AppendPlainKey(text, key);
    }

private:
    const std::string m_locale;
    const Comparer& m_comparer;
    std::string m_id;
};

const Collation& CollationFor(const LocaleTables& tables) {
    static auto* all = new Kept<const StoreCollation>;
    return all->Get(tables.id, [&] { return std::make_unique<const StoreCollation>(tables); });
}

} // namespace

const Collation& CurrentCollation() { return CollationFor(CurrentTables()); }
const Collation& CollationOf(const std::string& locale) { return CollationFor(TablesOf(locale)); }

} // namespace plat

int CompareStringW(LCID locale, DWORD flags, const WCHAR* a, int aLength, const WCHAR* b, int bLength) {
    plat::HostCall call;
    if (!a || !b) {
        SetLastError(ERROR_INVALID_PARAMETER);
        return 0;
    }
    const auto view = [](const WCHAR* text, int length) {
        return std::u16string_view(text, length < 0 ? wcslen(text) : static_cast<std::size_t>(length));
    };
    const plat::LocaleTables& tables = plat::TablesOf(locale);
    const int order =
        plat::ComparersOf(tables).Get(flags & plat::kAllFlags).Compare(view(a, aLength), view(b, bLength));
    return order < 0 ? CSTR_LESS_THAN : order > 0 ? CSTR_GREATER_THAN : CSTR_EQUAL;
}

int LCMapStringW(LCID locale, DWORD flags, const WCHAR* text, int length, WCHAR* buffer, int size) {
    plat::HostCall call;
    if (!text || !(flags & LCMAP_SORTKEY) || (flags & ~(LCMAP_SORTKEY | plat::kAllFlags)) || size < 0) {
        SetLastError(ERROR_INVALID_PARAMETER);
        return 0;
    }
    std::vector<BYTE> key;
    plat::ComparersOf(plat::TablesOf(locale))
        .Get(flags & plat::kAllFlags)
        .AppendKey({text, length < 0 ? wcslen(text) : static_cast<std::size_t>(length)}, key);
    if (size != 0 && static_cast<std::size_t>(size) < key.size()) {
        SetLastError(ERROR_INSUFFICIENT_BUFFER);
        return 0;
    }
    if (size != 0) std::copy(key.begin(), key.end(), reinterpret_cast<BYTE*>(buffer));
    return static_cast<int>(key.size());
}
