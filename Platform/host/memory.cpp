// The local heap and BSTR texts: see Platform/memory.h. Private heaps are in arena.cpp.
#include "Platform/memory.h"

#include "Platform/host/arena.h"
#include "Platform/host/call.h"
#include "Platform/host/faults.h"
#include "Platform/strings.h"
#include "Platform/threads.h"

#include <algorithm>
#include <cstdlib>
#include <cstring>

namespace {

constexpr std::size_t kMostBytes = 0x7FFF0000; // as on the device; keeps every size sum far from overflow

void* OutOfMemory() {
    SetLastError(ERROR_NOT_ENOUGH_MEMORY);
    return nullptr;
}

// --- Blocks of the local heap ---------------------------------------------------------------------------------------

struct alignas(std::max_align_t) LocalHeader {
    std::size_t mark;
    std::size_t size;
};
constexpr std::size_t kLocalMark = 0x51A1B0C4D2E3F5A7;
constexpr std::size_t kFreedMark = 0x0DEADB10C0DEAD00;

LocalHeader* HeaderOf(const void* block) {
    if (!block) return nullptr;
    auto* header = static_cast<LocalHeader*>(const_cast<void*>(block)) - 1;
    return header->mark == kLocalMark ? header : nullptr;
}

void* AllocateLocal(std::size_t bytes, bool zero) {
    if (bytes > kMostBytes || plat::FaultStrikes(PlatFault::Allocate)) return OutOfMemory();
    const std::size_t whole = sizeof(LocalHeader) + bytes;
    auto* header = static_cast<LocalHeader*>(zero ? std::calloc(1, whole) : std::malloc(whole));
    if (!header) return OutOfMemory();
    header->mark = kLocalMark;
    header->size = bytes;
    return header + 1;
}

void* ReallocateLocal(void* block, std::size_t bytes, bool zero) {
    LocalHeader* header = HeaderOf(block);
    if (!header) {
        SetLastError(ERROR_INVALID_HANDLE);
        return nullptr;
    }
    if (bytes > kMostBytes || plat::FaultStrikes(PlatFault::Allocate)) return OutOfMemory();
    const std::size_t before = header->size;
    auto* grown = static_cast<LocalHeader*>(std::realloc(header, sizeof(LocalHeader) + bytes));
    if (!grown) return OutOfMemory();
    grown->size = bytes;
    if (zero && bytes > before) std::memset(reinterpret_cast<BYTE*>(grown + 1) + before, 0, bytes - before);
    return grown + 1;
}

bool FreeLocal(void* block) {
    LocalHeader* header = HeaderOf(block);
    if (!header) {
        SetLastError(ERROR_INVALID_HANDLE);
        return false;
    }
    header->mark = kFreedMark;
    std::free(header);
    return true;
}

const HANDLE kProcessHeap = reinterpret_cast<HANDLE>(static_cast<ULONG_PTR>(plat::kArenaHandleBase));

} // namespace

HLOCAL LocalAlloc(UINT flags, std::size_t bytes) {
    plat::HostCall call;
    return AllocateLocal(bytes, (flags & LMEM_ZEROINIT) != 0);
}

HLOCAL LocalAllocTrace(UINT flags, std::size_t bytes, UINT, const char*) { return LocalAlloc(flags, bytes); }

HLOCAL LocalReAlloc(HLOCAL block, std::size_t bytes, UINT flags) {
    plat::HostCall call;
    return ReallocateLocal(block, bytes, (flags & LMEM_ZEROINIT) != 0);
}

HLOCAL LocalFree(HLOCAL block) {
    plat::HostCall call;
    return !block || FreeLocal(block) ? nullptr : block;
}

std::size_t LocalSize(HLOCAL block) {
    const LocalHeader* header = HeaderOf(block);
    if (!header) SetLastError(ERROR_INVALID_HANDLE);
    return header ? header->size : 0;
}

// --- Heaps ----------------------------------------------------------------------------------------------------------

HANDLE GetProcessHeap() { return kProcessHeap; }

HANDLE HeapCreate(DWORD flags, std::size_t, std::size_t) {
    plat::HostCall call;
    const HANDLE heap = plat::Arena::Create((flags & HEAP_NO_SERIALIZE) == 0);
    return heap ? heap : OutOfMemory();
}

BOOL HeapDestroy(HANDLE heap) {
    plat::HostCall call;
    if (plat::Arena::Destroy(heap)) return TRUE;
    SetLastError(ERROR_INVALID_HANDLE);
    return FALSE;
}

namespace {

plat::Arena* ArenaOf(HANDLE heap) {
    plat::Arena* arena = plat::Arena::Find(heap);
    if (!arena) SetLastError(ERROR_INVALID_HANDLE);
    return arena;
}

} // namespace

void* HeapAlloc(HANDLE heap, DWORD flags, std::size_t bytes) {
    plat::HostCall call;
    const bool zero = (flags & HEAP_ZERO_MEMORY) != 0;
    if (heap == kProcessHeap) return AllocateLocal(bytes, zero);
    plat::Arena* arena = ArenaOf(heap);
    if (!arena) return nullptr;
    if (bytes > kMostBytes || plat::FaultStrikes(PlatFault::Allocate)) return OutOfMemory();
    void* block = arena->Allocate(bytes);
    if (!block) return OutOfMemory();
    if (zero) std::memset(block, 0, bytes);
    return block;
}

void* HeapReAlloc(HANDLE heap, DWORD flags, void* block, std::size_t bytes) {
    plat::HostCall call;
    const bool zero = (flags & HEAP_ZERO_MEMORY) != 0;
    if (heap == kProcessHeap) return ReallocateLocal(block, bytes, zero);
    plat::Arena* arena = ArenaOf(heap);
    if (!arena || !block) return nullptr;
    if (bytes > kMostBytes || plat::FaultStrikes(PlatFault::Allocate)) return OutOfMemory();
    const std::size_t before = plat::Arena::SizeOf(block);
    auto* moved = static_cast<BYTE*>(arena->Reallocate(block, bytes));
    if (!moved) return OutOfMemory();
    if (zero && bytes > before) std::memset(moved + before, 0, bytes - before);
    return moved;
}

BOOL HeapFree(HANDLE heap, DWORD, void* block) {
    plat::HostCall call;
    if (!block) return TRUE;
    if (heap == kProcessHeap) return FreeLocal(block);
    plat::Arena* arena = ArenaOf(heap);
    if (arena) arena->Free(block);
    return arena != nullptr;
}

std::size_t HeapSize(HANDLE heap, DWORD, const void* block) {
    if (heap == kProcessHeap) return HeaderOf(block) ? HeaderOf(block)->size : SIZE_MAX;
    if (!ArenaOf(heap) || !block) return SIZE_MAX;
    return plat::Arena::SizeOf(block);
}

// --- BSTR -----------------------------------------------------------------------------------------------------------

namespace {

// The length has to be the four bytes before the text; what is before it keeps the text aligned.
struct BstrHeader {
    DWORD unused;
    DWORD bytes;
};

BstrHeader* BstrHeaderOf(BSTR text) {
    return reinterpret_cast<BstrHeader*>(reinterpret_cast<BYTE*>(text)) - 1;
}

BSTR AllocateBstr(const WCHAR* text, std::size_t length) {
    const std::size_t bytes = length * sizeof(WCHAR);
    if (bytes > kMostBytes || plat::FaultStrikes(PlatFault::Allocate))
        return static_cast<BSTR>(OutOfMemory());
    auto* header = static_cast<BstrHeader*>(std::malloc(sizeof(BstrHeader) + bytes + sizeof(WCHAR)));
    if (!header) return static_cast<BSTR>(OutOfMemory());
    *header = {0, static_cast<DWORD>(bytes)};
    auto* units = reinterpret_cast<WCHAR*>(header + 1);
    if (text)
        std::memcpy(units, text, bytes);
    else
        std::memset(units, 0, bytes);
    units[length] = 0;
    return units;
}

} // namespace

BSTR SysAllocString(const WCHAR* text) {
    return text ? SysAllocStringLen(text, static_cast<UINT>(wcslen(text))) : nullptr;
}

BSTR SysAllocStringLen(const WCHAR* text, UINT length) {
    plat::HostCall call;
    return AllocateBstr(text, length);
}

BOOL SysReAllocString(BSTR* text, const WCHAR* from) {
    if (from) return SysReAllocStringLen(text, from, static_cast<UINT>(wcslen(from)));
    SysFreeString(*text);
    *text = nullptr;
    return TRUE;
}

BOOL SysReAllocStringLen(BSTR* text, const WCHAR* from, UINT length) {
    BSTR fresh = SysAllocStringLen(from, length); // before the old one goes: `from` may lie in it
    if (!fresh) return FALSE;
    SysFreeString(*text);
    *text = fresh;
    return TRUE;
}

void SysFreeString(BSTR text) {
    plat::HostCall call;
    if (text) std::free(BstrHeaderOf(text));
}

UINT SysStringByteLen(BSTR text) { return text ? BstrHeaderOf(text)->bytes : 0; }
UINT SysStringLen(BSTR text) { return SysStringByteLen(text) / static_cast<UINT>(sizeof(WCHAR)); }
