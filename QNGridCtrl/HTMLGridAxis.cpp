#include "QNGridCtrl/HTMLGridAxis.h"

#include <algorithm>
#include <bit>

namespace {

std::size_t Place(int index) { return static_cast<std::size_t>(index); }
int LowestBit(int value) { return value & -value; }
WORD Limited(int size) { return static_cast<WORD>(std::clamp(size, 0, HTMLGridAxis::kLargest)); }

template<class T>
void EraseRange(std::vector<T>& values, int first, int count) {
    values.erase(values.begin() + first, values.begin() + first + count);
}

} // namespace

void HTMLGridAxis::SetCount(int count) {
    m_Given.resize(Place(count), kAutomatic);
    m_Sizes.resize(Place(count));
    m_Measured.resize(Place(count));
    Sum();
}

void HTMLGridAxis::Insert(int index) {
    m_Given.insert(m_Given.begin() + index, kAutomatic);
    m_Sizes.insert(m_Sizes.begin() + index, 0);
    m_Measured.insert(m_Measured.begin() + index, 0);
    Sum();
}

void HTMLGridAxis::Remove(int first, int count) {
    EraseRange(m_Given, first, count);
    EraseRange(m_Sizes, first, count);
    EraseRange(m_Measured, first, count);
    Sum();
}

void HTMLGridAxis::GiveSize(int index, WORD size) {
    m_Given[Place(index)] = size == kAutomatic ? kAutomatic : Limited(size);
}

void HTMLGridAxis::Put(int index, int size, bool bMeasured) {
    m_Sizes[Place(index)] = Limited(size);
    m_Measured[Place(index)] = bMeasured;
}

void HTMLGridAxis::SetSize(int index, int size, bool bMeasured) {
    const int change = Limited(size) - Size(index);
    Put(index, size, bMeasured);
    if (change == 0) return;
    m_nTotal += change;
    for (int i = index + 1; i <= Count(); i += LowestBit(i)) m_Sums[Place(i - 1)] += change;
}

void HTMLGridAxis::Sum() {
    m_Sums.assign(m_Sizes.begin(), m_Sizes.end());
    for (int i = 1; i <= Count(); ++i)
        if (const int above = i + LowestBit(i); above <= Count())
            m_Sums[Place(above - 1)] += m_Sums[Place(i - 1)];
    m_nTotal = Before(Count());
}

int HTMLGridAxis::Before(int index) const {
    int sum = 0;
    for (int i = index; i > 0; i -= LowestBit(i)) sum += m_Sums[Place(i - 1)];
    return sum;
}

int HTMLGridAxis::At(int pixel) const {
    if (pixel < 0) return 0;
    int index = 0;
    for (int step = static_cast<int>(std::bit_floor(static_cast<unsigned>(Count()))); step > 0; step /= 2) {
        const int next = index + step;
        if (next > Count() || m_Sums[Place(next - 1)] > pixel) continue;
        pixel -= m_Sums[Place(next - 1)];
        index = next;
    }
    return index;
}
