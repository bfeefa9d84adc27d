#include "Platform/memory.h"
#include "Platform/strings.h"
#include "Platform/testing.h"
#include "Platform/threads.h"
#include "tests/support/errorof.h"

#include <gtest/gtest.h>
#include <cstring>
#include <set>
#include <thread>
#include <vector>

namespace {

bool AllAre(const void* block, BYTE value, std::size_t first, std::size_t end) {
    for (std::size_t i = first; i < end; ++i)
        if (static_cast<const BYTE*>(block)[i] != value) return false;
    return true;
}

TEST(LocalHeap, KeepsExactSizesAndContents) {
    void* block = LocalAlloc(LPTR, 13);
    EXPECT_TRUE(AllAre(block, 0, 0, 13));
    EXPECT_EQ(LocalSize(block), 13u);
    std::memset(block, 7, 13);
    block = LocalReAlloc(block, 5000, LMEM_MOVEABLE | LMEM_ZEROINIT);
    EXPECT_EQ(LocalSize(block), 5000u);
    EXPECT_TRUE(AllAre(block, 7, 0, 13) && AllAre(block, 0, 13, 5000));
    EXPECT_EQ(LocalFree(block), nullptr);
    EXPECT_EQ(LocalFree(nullptr), nullptr);
    void* empty = LocalAlloc(LMEM_FIXED, 0);
    EXPECT_NE(empty, nullptr);
    EXPECT_EQ(HeapSize(GetProcessHeap(), 0, empty), 0u); // it is the process heap
    EXPECT_TRUE(HeapFree(GetProcessHeap(), 0, empty));
    EXPECT_EQ(LocalFree(HeapAlloc(GetProcessHeap(), HEAP_ZERO_MEMORY, 10)), nullptr);
    EXPECT_FALSE(HeapDestroy(GetProcessHeap()));
    EXPECT_EQ(ErrorOf(LocalAlloc(0, SIZE_MAX - 8)), ERROR_NOT_ENOUGH_MEMORY);
    alignas(16) BYTE foreign[64] = {};
    EXPECT_EQ(LocalFree(foreign + 32), foreign + 32);
    EXPECT_EQ(GetLastError(), ERROR_INVALID_HANDLE);
    EXPECT_EQ(LocalSize(foreign + 32), 0u);
}

TEST(PrivateHeap, BlocksAreAlignedApartAndGoWithTheHeap) {
    HANDLE heap = HeapCreate(0, 0, 0);
    std::vector<std::pair<BYTE*, std::size_t>> blocks;
    for (std::size_t size = 0; size < 1500; ++size) {
        auto* block = static_cast<BYTE*>(HeapAlloc(heap, 0, size));
        ASSERT_EQ(reinterpret_cast<std::uintptr_t>(block) % alignof(std::max_align_t), 0u) << size;
        EXPECT_EQ(HeapSize(heap, 0, block), size);
        std::memset(block, static_cast<int>(size % 251), size);
        blocks.emplace_back(block, size);
    }
    for (const auto& [block, size] : blocks)
        ASSERT_TRUE(AllAre(block, static_cast<BYTE>(size % 251), 0, size))
            << size << ": a neighbour wrote into it";
    for (std::size_t i = 0; i < blocks.size(); i += 2) EXPECT_TRUE(HeapFree(heap, 0, blocks[i].first));
    EXPECT_TRUE(HeapDestroy(heap)); // the rest; the leak checker counts
    EXPECT_FALSE(HeapDestroy(heap));
    EXPECT_EQ(ErrorOf(HeapAlloc(heap, 0, 8)), ERROR_INVALID_HANDLE);
}

TEST(PrivateHeap, FreedBlocksAreUsedAgainAndReallocationKeepsTheContent) {
    HANDLE heap = HeapCreate(0, 0, 0);
    std::set<void*> places;
    for (int i = 0; i < 100'000; ++i) HeapFree(heap, 0, *places.insert(HeapAlloc(heap, 0, 24)).first);
    EXPECT_EQ(places.size(), 1u);
    auto* block = static_cast<BYTE*>(HeapAlloc(heap, 0, 3));
    std::memset(block, 9, 3);
    for (const std::size_t size : {8u, 20u, 1000u, 1020u, 90'000u, 500u}) {
        block = static_cast<BYTE*>(HeapReAlloc(heap, HEAP_ZERO_MEMORY, block, size));
        EXPECT_EQ(HeapSize(heap, 0, block), size);
        EXPECT_TRUE(AllAre(block, 9, 0, 3) && AllAre(block, 0, 3, size)) << size;
    }
    HeapDestroy(heap);
}

TEST(PrivateHeap, ThreadsShareIt) {
    HANDLE heap = HeapCreate(0, 0, 0);
    std::vector<std::thread> threads;
    for (int t = 0; t < 4; ++t)
        threads.emplace_back([heap, t] {
            std::vector<int*> own;
            for (int i = 0; i < 5000; ++i) {
                own.push_back(static_cast<int*>(HeapAlloc(heap, 0, sizeof(int))));
                *own.back() = t * 10'000 + i;
                if (i % 3 == 0) HeapFree(heap, 0, own.back()), own.pop_back();
            }
            for (const int* value : own) EXPECT_EQ(*value / 10'000, t);
        });
    for (auto& thread : threads) thread.join();
    HeapDestroy(heap);
}

TEST(Bstr, CarriesItsLengthInBytesInFront) {
    BSTR text = SysAllocString(u"abc");
    DWORD inFront;
    std::memcpy(&inFront, reinterpret_cast<BYTE*>(text) - 4, 4);
    EXPECT_EQ(inFront, 6u);
    EXPECT_EQ(SysStringLen(text), 3u);
    EXPECT_TRUE(SysReAllocStringLen(&text, text + 1, 2)); // from within itself
    EXPECT_EQ(wcscmp(text, u"bc"), 0);
    BSTR blank = SysAllocStringLen(nullptr, 4), inner = SysAllocStringLen(u"a\0b", 3);
    EXPECT_EQ(SysStringLen(blank), 4u);
    EXPECT_TRUE(AllAre(blank, 0, 0, 10));
    EXPECT_EQ(SysStringLen(inner), 3u);
    EXPECT_EQ(inner[2], u'b');
    EXPECT_EQ(SysAllocString(nullptr), nullptr);
    EXPECT_EQ(SysStringLen(nullptr), 0u);
    for (const BSTR each : {text, blank, inner, BSTR{}}) SysFreeString(each);
}

TEST(Memory, InjectedFaultsGiveNullAndKeepWhatWas) {
    HANDLE heap = HeapCreate(0, 0, 0);
    void* block = LocalAlloc(0, 8);
    BSTR text = SysAllocString(u"kept");
    PlatInjectFault(PlatFault::Allocate, 1, true);
    SetLastError(0);
    EXPECT_EQ(ErrorOf(LocalAlloc(0, 8)), ERROR_NOT_ENOUGH_MEMORY);
    EXPECT_EQ(LocalReAlloc(block, 80, 0), nullptr);
    EXPECT_EQ(HeapAlloc(heap, 0, 8), nullptr);
    EXPECT_EQ(SysAllocString(u"x"), nullptr);
    EXPECT_FALSE(SysReAllocString(&text, u"new"));
    PlatInjectFault(PlatFault::Allocate, 0);
    EXPECT_EQ(LocalSize(block), 8u);
    EXPECT_EQ(wcscmp(text, u"kept"), 0);
    LocalFree(block);
    SysFreeString(text);
    HeapDestroy(heap);
}

} // namespace
