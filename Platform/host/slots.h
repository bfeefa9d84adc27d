// A table of numbered things. A number has a slot and a generation part: one that was given back is not found any more,
// and its slot rests until a thousand others have been given back. Numbers lie between 2^18 and 2^31, so none can be
// taken for a small number that stands for something else. The owner of the table locks it.
#pragma once

#include <cstddef>
#include <cstdint>
#include <deque>
#include <optional>
#include <utility>
#include <vector>

namespace plat {

template<class T>
class SlotTable {
public:
    // 0 when the table is full.
    std::uint32_t Add(T value) {
        const std::uint32_t slot = FreeSlot();
        if (slot == kFull) return 0;
        m_slots[slot].value.emplace(std::move(value));
        return m_slots[slot].generation << kSlotBits | slot;
    }
    // Null when there is nothing of that number; good until the next Add.
    T* Find(std::uintptr_t number) {
        Slot* slot = SlotOf(number);
        return slot ? &*slot->value : nullptr;
    }
    // Hands the thing over, so that it ends where the caller says.
    std::optional<T> Remove(std::uintptr_t number) {
        Slot* slot = SlotOf(number);
        if (!slot) return std::nullopt;
        std::optional<T> value = std::move(slot->value);
        slot->value.reset();
        slot->generation = slot->generation == kLastGeneration ? 1 : slot->generation + 1;
        m_resting.push_back(static_cast<std::uint32_t>(number) & kSlotMask);
        return value;
    }
    template<class F>
    void ForEach(F&& visit) {
        for (std::size_t i = 0; i < m_slots.size(); ++i)
            if (m_slots[i].value)
                visit(m_slots[i].generation << kSlotBits | static_cast<std::uint32_t>(i), *m_slots[i].value);
    }

private:
    static constexpr unsigned kSlotBits = 18;
    static constexpr std::uint32_t kSlotMask = (1u << kSlotBits) - 1;
    static constexpr std::uint32_t kLastGeneration = (1u << (31 - kSlotBits)) - 1;
    static constexpr std::uint32_t kFull = 0xFFFFFFFF;
    static constexpr std::size_t kRest = 1024;

    struct Slot {
        std::uint32_t generation = 1;
        std::optional<T> value;
    };

    Slot* SlotOf(std::uintptr_t number) {
        const std::size_t index = number & kSlotMask;
        if (index >= m_slots.size()) return nullptr;
        Slot& slot = m_slots[index];
        return slot.value && slot.generation == number >> kSlotBits ? &slot : nullptr;
    }
    std::uint32_t FreeSlot() {
        const bool full = m_slots.size() > kSlotMask;
        if (m_resting.size() > kRest || (full && !m_resting.empty())) {
            const std::uint32_t slot = m_resting.front();
            m_resting.pop_front();
            return slot;
        }
        if (full) return kFull;
        m_slots.emplace_back();
        return static_cast<std::uint32_t>(m_slots.size() - 1);
    }

    std::vector<Slot> m_slots;
    std::deque<std::uint32_t> m_resting;
};

// Numbers seen as the handles of the device, and back.
template<class H>
H HandleOf(std::uint32_t number) {
    return reinterpret_cast<H>(static_cast<std::uintptr_t>(number));
}
template<class H>
std::uintptr_t NumberOf(H handle) {
    return reinterpret_cast<std::uintptr_t>(handle);
}

} // namespace plat
