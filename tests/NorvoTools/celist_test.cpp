#include "NorvoTools/CePtrList.h"
#include "NorvoTools/CeStrList.h"

#include "Platform/memory.h"
#include "Platform/strings.h"
#include "Platform/testing.h"

#include <gtest/gtest.h>
#include <algorithm>
#include <climits>
#include <cstdlib>
#include <memory>
#include <random>
#include <string>
#include <vector>

namespace {

using IntList = CeList<int>;

int ByValue(const int& a, const int& b, CEUSER) { return a < b ? -1 : a > b; }

std::vector<int> Values(const IntList& list) { return {list.begin(), list.end()}; }

// --- Reading and changing by index --------------------------------------------------------------------------------

TEST(CeListTest, IndicesStartAtTheBaseAndMissesAreMarked) {
    for (int base : {0, 1}) {
        CeList<int> list(base, ByValue, 0, -99);
        EXPECT_EQ(base, list.Add(10));
        for (int miss : {base - 1, base + 1, INT_MAX, INT_MIN}) {
            EXPECT_EQ(-99, list[miss]) << miss;
            EXPECT_TRUE(list.IsMiss());
        }
        EXPECT_EQ(10, list[base]);
        EXPECT_FALSE(list.IsMiss());
        EXPECT_EQ(base, list.Find(10));
        EXPECT_EQ(base - 1, list.Find(30));
        EXPECT_EQ(nullptr, list.GetPtr(base + 1));
    }
}

TEST(CeListTest, RandomChangesAgreeWithAnArray) {
    const unsigned seed = std::random_device{}();
    SCOPED_TRACE(seed);
    std::mt19937 random(seed);
    auto below = [&](std::size_t n) { return static_cast<int>(random() % n); };
    IntList list(1, ByValue);
    std::vector<int> model;
    std::size_t cached = 0; // 1-based position read last
    for (int step = 0; step < 20000; ++step) {
        const int value = step;
        switch (below(8)) {
        case 0:
            list.Add(value), model.push_back(value);
            break;
        case 1: {
            int at = below(model.size() + 1);
            EXPECT_EQ(at + 1, list.Insert(at + 1, value));
            model.insert(model.begin() + at, value);
            if (cached > static_cast<std::size_t>(at)) ++cached;
            break;
        }
        case 2:
            list.InsertAfterCached(value);
            model.insert(model.begin() + static_cast<std::ptrdiff_t>(cached), value);
            ++cached;
            break;
        case 3:
        case 4: {
            if (model.empty()) break;
            auto at = static_cast<std::size_t>(below(model.size()));
            ASSERT_TRUE(list.RemoveAt(static_cast<int>(at) + 1));
            model.erase(model.begin() + static_cast<std::ptrdiff_t>(at));
            if (cached > at + 1 || cached > model.size()) --cached;
            break;
        }
        default: {
            int at = below(model.size() + 2);
            bool inside = at >= 1 && at <= static_cast<int>(model.size());
            ASSERT_EQ(inside ? model[static_cast<std::size_t>(at) - 1] : 0, list[at]);
            if (inside) cached = static_cast<std::size_t>(at);
        }
        }
        ASSERT_EQ(static_cast<int>(cached), list.GetCurrent());
        if (step % 500 == 0) {
            ASSERT_EQ(model, Values(list));
        }
    }
    ASSERT_EQ(model, Values(list));
    ASSERT_EQ(static_cast<int>(model.size()), list.GetCount());
}

// --- Sorting ------------------------------------------------------------------------------------------------------

struct Tagged {
    int key;
    char tag;
};
int ByKey(const Tagged& a, const Tagged& b, CEUSER) { return a.key - b.key; }

std::string SortedTags(std::initializer_list<Tagged> elements, bool ascending) {
    CeList<Tagged> list(0, ByKey);
    for (const Tagged& element : elements) list.Add(element);
    list.Sort(ascending);
    EXPECT_EQ(0, list.GetCurrent());
    std::string tags;
    for (const Tagged& element : list) tags += std::to_string(element.key) + element.tag + ' ';
    return tags;
}

// Worked out with pencil and paper from the two cursors and the middle pivot.
TEST(CeListTest, TheOrderOfEqualElementsIsFixed) {
    EXPECT_EQ("1b 1a ", SortedTags({{1, 'a'}, {1, 'b'}}, true));
    EXPECT_EQ("1c 1b 1a ", SortedTags({{1, 'a'}, {1, 'b'}, {1, 'c'}}, true));
    EXPECT_EQ("1d 1b 2a 2c ", SortedTags({{2, 'a'}, {1, 'b'}, {2, 'c'}, {1, 'd'}}, true));
    EXPECT_EQ("2c 2a 1d 1b ", SortedTags({{2, 'a'}, {1, 'b'}, {2, 'c'}, {1, 'd'}}, false));
}

TEST(CeListTest, SortsAnyInput) {
    std::mt19937 random(4711);
    for (int count : {0, 1, 2, 10, 5000})
        for (unsigned kinds : {1u, 3u, 1000000u}) {
            IntList list(1, ByValue);
            for (int i = 0; i < count; ++i) list.Add(static_cast<int>(random() % kinds));
            std::vector<int> expected = Values(list);
            for (bool ascending : {true, true, false}) { // the second time in order already
                list.Sort(ascending);
                std::sort(expected.begin(), expected.end());
                if (!ascending) std::reverse(expected.begin(), expected.end());
                EXPECT_EQ(expected, Values(list)) << count << ' ' << kinds;
            }
        }
}

TEST(CeListTest, ACompareThatContradictsItselfLosesNothing) {
    static std::mt19937 s_random(42);
    static int s_answer; // 0: at random
    for (int round = 0; round < 200; ++round) {
        s_answer = round % 3 - 1;
        IntList list(0, [](const int&, const int&, CEUSER) {
            return s_answer ? s_answer : static_cast<int>(s_random() % 3) - 1;
        });
        for (int i = 0; i < 50; ++i) list.Add(i);
        list.Sort();
        std::vector<int> values = Values(list);
        std::sort(values.begin(), values.end());
        for (int i = 0; i < 50; ++i) ASSERT_EQ(i, values[static_cast<std::size_t>(i)]);
    }
}

// --- Ranges -------------------------------------------------------------------------------------------------------

TEST(CeListTest, RangesFollowRemovals) {
    IntList list(0);
    for (int i = 0; i < 10; ++i) list.Add(i);
    auto ranges = std::make_unique<CeList<CeIndexRange>>(0);
    ranges->Add({0, 1});
    ranges->Add({3, 3});
    ranges->Add({5, 8});
    list.SetRanges(std::move(ranges));
    auto text = [&list] {
        std::string s;
        for (const CeIndexRange& range : *list.GetRanges())
            s += std::to_string(range.nStart) + "-" + std::to_string(range.nEnd) + " ";
        return s;
    };
    list.RemoveAt(6);
    EXPECT_EQ("0-1 3-3 5-7 ", text());
    list.RemoveAt(2);
    EXPECT_EQ("0-1 2-2 4-6 ", text());
    list.RemoveAt(9); // outside
    EXPECT_EQ(0u, list.GetRanges()->GetUser());
    list.RemoveAt(2);
    EXPECT_EQ("0-1 2-1 3-5 ", text());
    EXPECT_EQ(1u, list.GetRanges()->GetUser());
    list.Clear();
    EXPECT_EQ("", text());
}

// --- Ownership ----------------------------------------------------------------------------------------------------

struct Counted {
    explicit Counted(int* alive) : m_alive(alive) { ++*m_alive; }
    ~Counted() { --*m_alive; }
    int* m_alive;
};

struct Reference {
    int refs = 1;
    void AddRef() { ++refs; }
    void Release() { --refs; }
};

TEST(CePtrListTest, DeleteModes) {
    int alive = 0;
    {
        CePtrList<Counted*> list(1, PTRLIST_DELETE);
        for (int i = 0; i < 4; ++i) list.Add(new Counted(&alive));
        list.Add(nullptr);
        list.RemoveAt(2);
        EXPECT_EQ(3, alive);
        std::unique_ptr<Counted> taken(list.Detach(1));
        EXPECT_EQ(3, alive);
        taken.reset();
        list.Clear();
        EXPECT_EQ(0, alive);
        EXPECT_EQ(0, list.GetCount());
        EXPECT_EQ(1, list.Add(new Counted(&alive)));
    }
    EXPECT_EQ(0, alive);
    Reference counted;
    {
        CePtrList<Reference*> releasing(0, PTRLIST_RELEASE);
        releasing.Add(&counted);
        CeStrList<Reference*> counting(0, STRLIST_ADDREF, STRCOMPARE_NUMBER);
        counting.Add(&counted);
        EXPECT_EQ(2, counted.refs);
        EXPECT_EQ(nullptr, counting.GetDescribe()); // an object is no bytes of a file
    }
    EXPECT_EQ(0, counted.refs);
    // Blocks of the other allocators: the leak checker tells.
    CePtrList<void*> blocks(0, PTRLIST_FREE);
    blocks.Add(std::malloc(5));
    CePtrList<void*> local(0, PTRLIST_LOCALFREE);
    local.Add(LocalAlloc(0, 5));
    CePtrList<BSTR> bstr(0, PTRLIST_BSTR);
    bstr.Add(SysAllocString(u"x"));
}

TEST(CePtrListTest, ComparesByPointerOrByCallback) {
    int numbers[] = {5, 3, 4};
    CePtrList<int*> list(0, PTRLIST_KEEP);
    for (int i : {2, 0, 1}) list.Add(&numbers[i]);
    list.Sort();
    EXPECT_EQ(&numbers[0], list[0]);
    EXPECT_EQ(&numbers[2], list[2]);
    list.SetUser(static_cast<CEUSER>(-1)); // the callback gets it
    list.SetCompare([](int* const& a, int* const& b, CEUSER sign) {
        return (*a - *b) * static_cast<int>(static_cast<LONG_PTR>(sign));
    });
    list.Sort();
    EXPECT_EQ(5, *list[0]);
    EXPECT_EQ(3, *list[2]);
}

TEST(CeStrListTest, CopyModesOwnWhatTheyHold) {
    WCHAR text[] = u"text";
    CeStrList<> list(0, STRLIST_WCSDUP, STRCOMPARE_WCS);
    list.Add(text);
    list.Add(nullptr);
    text[0] = u'n';
    list.Sort();
    EXPECT_EQ(nullptr, list[0]);
    EXPECT_FALSE(list.IsMiss());
    EXPECT_EQ(u"text", std::u16string(list[1]));

    CeStrList<> plain(0, STRLIST_POINTER);
    plain.Add(text);
    EXPECT_EQ(text, plain[0]);
    WCHAR* read = nullptr;
    CeElementBytes bytes{true, text, sizeof(text)};
    EXPECT_FALSE(plain.GetDescribe()(&read, &bytes, 0)); // nobody would free it

    auto* block = static_cast<WCHAR*>(std::malloc(12));
    auto* local = static_cast<WCHAR*>(LocalAlloc(0, 12));
    CeStrList<> blocks(0, STRLIST_MALLOC, STRCOMPARE_WCS), locals(0, STRLIST_LOCAL, STRCOMPARE_WCS);
    blocks.Add(std::copy_n(u"block", 6, block) - 6);
    locals.Add(std::copy_n(u"local", 6, local) - 6);
    std::free(block);
    LocalFree(local);
    EXPECT_EQ(u"block", std::u16string(blocks[0]));
    EXPECT_EQ(u"local", std::u16string(locals[0]));
    EXPECT_EQ(12u, LocalSize(locals[0]));
}

TEST(CeStrListTest, CompareModes) {
    PlatResetForTests();
    PlatSetLocale("en_US");
    struct Case {
        int mode;
        const WCHAR* a;
        const WCHAR* b;
        int sign;
    };
    const Case cases[] = {
        {STRCOMPARE_WCS, u"Zebra", u"apple", -1},
        {STRCOMPARE_WCSNOCASE, u"\u00C4", u"\u00E4", 0},
        {STRCOMPARE_LOCALE, u"\u00E4pfel", u"zoo", -1}, // by the alphabet, not by the number
        {STRCOMPARE_LOCALENOCASE, u"APPLE", u"apple", 0},
        {STRCOMPARE_HOLDS, u"grocery list", u"list", 0},
        {STRCOMPARE_HOLDS, u"grocery list", u"List", 1},
        {STRCOMPARE_HOLDSNOCASE, u"grocery list", u"List", 0},
        {STRCOMPARE_HOLDS, u"list", u"grocery list", 1},
        {STRCOMPARE_WCS, nullptr, u"", -1},
        {STRCOMPARE_LOCALE, nullptr, nullptr, 0},
    };
    for (const Case& c : cases) {
        int order = CeCompareForMode(c.mode, c.a, c.b);
        EXPECT_EQ(c.sign, order < 0 ? -1 : order > 0) << c.mode << ' ' << &c - cases;
    }
    EXPECT_LT(CeCompareForMode(STRCOMPARE_STR, "B", "a"), 0);
    EXPECT_GT(CeCompareForMode(STRCOMPARE_STRNOCASE, "B", "a"), 0);
    PlatResetForTests();
}

} // namespace
