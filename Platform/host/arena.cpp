#include "Platform/host/arena.h"

#include <algorithm>
#include <atomic>
#include <cstdlib>
#include <cstring>
#include <memory>
#include <new>

namespace plat {

struct Arena::Chunk {
    Chunk* next;
};

// Before every block stands its size, in the word before an address that any type may have.
struct alignas(std::max_align_t) Arena::Large {
    Large* next;
    Large* previous;
    std::size_t unused;
    std::size_t size;
};

// What a freed small block holds.
struct Arena::Freed {
    Freed* next;
};

namespace {

constexpr std::size_t kChunkBytes = 64 * 1024;

std::size_t& SizeWord(void* block) { return static_cast<std::size_t*>(block)[-1]; }

#if defined(__SANITIZE_ADDRESS__)
#define QN_ADDRESS_SANITIZER 1
#elif defined(__has_feature)
#if __has_feature(address_sanitizer)
#define QN_ADDRESS_SANITIZER 1
#endif
#endif
#if defined(QN_ADDRESS_SANITIZER)
constexpr std::size_t kMostPooled = 0; // or the sanitizer would not see a text outlive its heap
#else
constexpr std::size_t kMostPooled = 32; // two megabytes
#endif

// Chunks of heaps that are gone. A data thread drops its heap and fills the next one at every load; chunks fresh from
// the kernel would cost it a page fault each four kilobytes, which is more than all the rest.
class ChunkPool {
public:
    void* Take() {
        std::lock_guard lock(m_mutex);
        return m_count > 0 ? m_chunks[--m_count] : std::malloc(kChunkBytes);
    }
    void Give(void* chunk) {
        std::lock_guard lock(m_mutex);
        if (m_count < kMostPooled)
            m_chunks[m_count++] = chunk;
        else
            std::free(chunk);
    }

private:
    std::mutex m_mutex;
    std::array<void*, kMostPooled + 1> m_chunks{};
    std::size_t m_count = 0;
};

ChunkPool& ThePool() {
    static auto* pool = new ChunkPool; // heaps are used until the last thread ends
    return *pool;
}

// --- Handles: base, generation, slot --------------------------------------------------------------------------------

constexpr unsigned kSlotBits = 10;
constexpr ULONG_PTR kSlots = ULONG_PTR{1} << kSlotBits;
constexpr ULONG_PTR kGenerations = ULONG_PTR{1} << 16;

struct Slot {
    std::atomic<Arena*> arena{nullptr};
    ULONG_PTR generation = 0;
};

struct Slots {
    std::mutex mutex; // of making and destroying alone; looking up is one load
    std::array<Slot, kSlots> slots;
    ULONG_PTR next = 1; // slot 0 is the process heap
};

Slots& TheSlots() {
    static auto* slots = new Slots; // never destroyed: heaps are used until the last thread ends
    return *slots;
}

ULONG_PTR SlotOf(HANDLE heap) {
    const auto value = reinterpret_cast<ULONG_PTR>(heap);
    const bool ours = value > kArenaHandleBase && value - kArenaHandleBase < kSlots * kGenerations;
    return ours ? value & (kSlots - 1) : 0;
}

} // namespace

HANDLE Arena::Create(bool shared) {
    std::unique_ptr<Arena> arena(new (std::nothrow) Arena(shared));
    if (!arena) return nullptr;
    Slots& all = TheSlots();
    std::lock_guard lock(all.mutex);
    for (ULONG_PTR tried = 1; tried < kSlots; ++tried) {
        const ULONG_PTR index = all.next;
        all.next = index + 1 < kSlots ? index + 1 : 1;
        Slot& slot = all.slots[index];
        if (slot.arena.load(std::memory_order_relaxed)) continue;
        slot.generation = (slot.generation + 1) % kGenerations;
        arena->m_handle = reinterpret_cast<HANDLE>(kArenaHandleBase + (slot.generation << kSlotBits) + index);
        slot.arena.store(arena.get(), std::memory_order_release);
        return arena.release()->m_handle;
    }
    return nullptr;
}

bool Arena::Destroy(HANDLE heap) {
    Slots& all = TheSlots();
    std::unique_ptr<Arena> arena;
    std::lock_guard lock(all.mutex);
    arena.reset(Find(heap));
    if (arena) all.slots[SlotOf(heap)].arena.store(nullptr, std::memory_order_release);
    return arena != nullptr;
}

Arena* Arena::Find(HANDLE heap) {
    const ULONG_PTR index = SlotOf(heap);
    if (index == 0) return nullptr;
    Arena* arena = TheSlots().slots[index].arena.load(std::memory_order_acquire);
    return arena && arena->m_handle == heap ? arena : nullptr;
}

// --- Blocks ---------------------------------------------------------------------------------------------------------

Arena::Arena(bool shared) : m_shared(shared) {}

Arena::~Arena() {
    while (Large* large = m_large) {
        m_large = large->next;
        std::free(large);
    }
    while (Chunk* chunk = m_chunks) {
        m_chunks = chunk->next;
        ThePool().Give(chunk);
    }
}

std::unique_lock<std::mutex> Arena::Lock() {
    return m_shared ? std::unique_lock(m_mutex) : std::unique_lock(m_mutex, std::defer_lock);
}

// What a block takes of a chunk, its size word included.
std::size_t Arena::RoomOf(std::size_t bytes) {
    return (sizeof(std::size_t) + bytes + kGrain - 1) / kGrain * kGrain;
}

std::size_t Arena::SizeOf(const void* block) { return SizeWord(const_cast<void*>(block)); }

void* Arena::Allocate(std::size_t bytes) {
    const auto lock = Lock();
    return RoomOf(bytes) <= kMostSmall ? AllocateSmall(bytes) : AllocateLarge(bytes);
}

void* Arena::AllocateSmall(std::size_t bytes) {
    const std::size_t room = RoomOf(bytes);
    Freed*& reuse = m_reuse[room / kGrain];
    void* block = reuse;
    if (block) {
        reuse = reuse->next;
    } else {
        if (room > m_left && !AddChunk()) return nullptr;
        block = m_free;
        m_free += room;
        m_left -= room;
    }
    SizeWord(block) = bytes;
    return block;
}

bool Arena::AddChunk() {
    auto* chunk = static_cast<Chunk*>(ThePool().Take());
    if (!chunk) return false;
    chunk->next = m_chunks;
    m_chunks = chunk;
    // The first block starts one grain on: the word before it is its size.
    m_free = reinterpret_cast<BYTE*>(chunk) + 2 * kGrain;
    m_left = kChunkBytes - 2 * kGrain;
    return true;
}

void* Arena::AllocateLarge(std::size_t bytes) {
    auto* large = static_cast<Large*>(std::malloc(sizeof(Large) + bytes));
    if (!large) return nullptr;
    *large = {m_large, nullptr, 0, bytes};
    if (m_large) m_large->previous = large;
    m_large = large;
    return large + 1;
}

void* Arena::Reallocate(void* block, std::size_t bytes) {
    const std::size_t before = SizeOf(block);
    if (RoomOf(bytes) <= kMostSmall && RoomOf(bytes) == RoomOf(before)) {
        SizeWord(block) = bytes;
        return block;
    }
    void* moved = Allocate(bytes);
    if (!moved) return nullptr;
    std::memcpy(moved, block, std::min(before, bytes));
    Free(block);
    return moved;
}

void Arena::Free(void* block) {
    const auto lock = Lock();
    const std::size_t room = RoomOf(SizeOf(block));
    if (room <= kMostSmall) {
        auto* freed = static_cast<Freed*>(block);
        freed->next = m_reuse[room / kGrain];
        m_reuse[room / kGrain] = freed;
        return;
    }
    Large* large = static_cast<Large*>(block) - 1;
    (large->previous ? large->previous->next : m_large) = large->next;
    if (large->next) large->next->previous = large->previous;
    std::free(large);
}

} // namespace plat
