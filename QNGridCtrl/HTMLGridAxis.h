// The rows of a grid, or its columns: what size each was given, what size it has, and where it lies.
//
// Positions are found and kept in logarithmic time, so that a row which is measured when it comes into view costs no
// walk over the others. A size is at most 32,767 pixels, so that the whole stays within 31 bits.
#pragma once

#include "Platform/types.h"

#include <vector>

class QN_API HTMLGridAxis {
public:
    static constexpr WORD kAutomatic = 65535; // no size was given
    static constexpr int kLargest = 32767;

    int Count() const { return static_cast<int>(m_Sizes.size()); }
    // New ones stand at the end: automatic, of no size, not measured.
    void SetCount(int count);
    void Insert(int index);
    void Remove(int first, int count); // both within Count

    WORD GivenSize(int index) const { return m_Given[static_cast<std::size_t>(index)]; }
    void GiveSize(int index, WORD size);
    bool IsAutomatic(int index) const { return GivenSize(index) == kAutomatic; }

    int Size(int index) const { return m_Sizes[static_cast<std::size_t>(index)]; }
    bool IsMeasured(int index) const { return m_Measured[static_cast<std::size_t>(index)] != 0; }
    // One of them has another size now.
    void SetSize(int index, int size, bool bMeasured);
    // The same for many: positions are right again after Sum.
    void Put(int index, int size, bool bMeasured);
    void Sum();

    int Total() const { return m_nTotal; }
    // Pixels before an index, 0 to Count.
    int Before(int index) const;
    // The one that holds a pixel, never one of no size: 0 before the first, Count behind the last.
    int At(int pixel) const;

private:
    std::vector<WORD> m_Given;
    std::vector<WORD> m_Sizes;
    std::vector<BYTE> m_Measured;
    // A binary indexed tree (Fenwick, "A New Data Structure for Cumulative Frequency Tables", 1994): the element i - 1
    // holds the sum of as many sizes before index i as the lowest set bit of i tells.
    std::vector<int> m_Sums;
    int m_nTotal = 0;
};
