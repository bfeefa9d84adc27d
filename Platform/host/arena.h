// A private heap: small blocks are cut off large chunks and reused by size, large ones come from the C heap; all of it
// goes at once with the heap. Handles are numbers with a generation, so one that is gone is simply not found.
#pragma once

#include "Platform/types.h"

#include <array>
#include <mutex>

namespace plat {

inline constexpr ULONG_PTR kArenaHandleBase = 0x48000000; // alone it is the process heap

class Arena {
public:
    // Null when no memory or no handle is left.
    static HANDLE Create(bool shared);
    static bool Destroy(HANDLE heap);
    static Arena* Find(HANDLE heap);

    ~Arena();
    Arena(const Arena&) = delete;
    Arena& operator=(const Arena&) = delete;

    // Null when memory is short.
    void* Allocate(std::size_t bytes);
    // Null leaves the block.
    void* Reallocate(void* block, std::size_t bytes);
    void Free(void* block);
    static std::size_t SizeOf(const void* block);

private:
    struct Chunk;
    struct Large;
    struct Freed;
    explicit Arena(bool shared);
    std::unique_lock<std::mutex> Lock();
    void* AllocateSmall(std::size_t bytes);
    void* AllocateLarge(std::size_t bytes);
    bool AddChunk();

    static constexpr std::size_t kGrain = 16;
    static constexpr std::size_t kMostSmall = 1024; // with the size word in front
    static std::size_t RoomOf(std::size_t bytes);

    const bool m_shared;
    std::mutex m_mutex;
    BYTE* m_free = nullptr; // what is left of the last chunk
    std::size_t m_left = 0;
    Chunk* m_chunks = nullptr;
    std::array<Freed*, kMostSmall / kGrain + 1> m_reuse{}; // freed small blocks, by grains
    Large* m_large = nullptr;
    HANDLE m_handle = nullptr;
};

} // namespace plat
