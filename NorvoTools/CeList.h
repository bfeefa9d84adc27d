// CeList<T>: a doubly linked list with an index cache, the container of everything that comes in numbers.
//
// Reading by index in either direction is one step an element, since the node read last is remembered. An index is in
// the list's own interface: the first element has the base index, 0 or 1. A read outside gives the default element and
// sets the miss flag. A list owns its elements as its delete callback says and frees them at Clear and destruction.
//
// Unsynchronised: reading by index moves the cache, so even two readers need the lock of the list's owner.
#pragma once

#include "Platform/types.h"

#include <algorithm>
#include <array>
#include <cstddef>
#include <iterator>
#include <memory>
#include <utility>

// The user value of a list, handed to its callbacks; it may carry a pointer.
using CEUSER = ULONG_PTR;

template<class T>
class CeList;

// Positions in the interface of the list that the ranges belong to, both included.
struct CeIndexRange {
    int nStart;
    int nEnd;
};

// What a describe callback is asked: the bytes of an element (to be saved), or to make an element of bytes.
struct CeElementBytes {
    bool bStore;       // true: fill the element from the bytes; false: give address and size
    const void* pData; // null for a null element
    DWORD dwSize;
};

// The links, the cache and the ranges: all that doesn't know the element.
class QN_API CeListBase {
public:
    CeListBase(const CeListBase&) = delete;
    CeListBase& operator=(const CeListBase&) = delete;

    int GetCount() const { return m_nCount; }
    int Count() const { return m_nCount; }
    bool IsEmpty() const { return m_nCount == 0; }
    int GetBase() const { return m_nBase; }
    // The index of the last element, base - 1 when empty.
    int GetLast() const { return m_nBase + m_nCount - 1; }
    // The index read last, base - 1 when there is none.
    int GetCurrent() const { return m_nBase + m_nCachedPosition - 1; }
    // Makes this the index read last; false and nothing changed outside the list.
    bool MoveTo(int nIndex);
    // Whether the last read by index missed.
    bool IsMiss() const { return m_bMiss; }

    CEUSER GetUser() const { return m_dwUser; }
    void SetUser(CEUSER user) { m_dwUser = user; }

    // Index ranges that are kept in step with removals: the range that holds a removed position is shortened, later ones
    // move down. When one becomes empty, the user value of the ranges list is set to 1.
    void SetRanges(std::unique_ptr<CeList<CeIndexRange>> ranges);
    CeList<CeIndexRange>* GetRanges() const { return m_pRanges.get(); }

protected:
    struct Links {
        Links* pPrev = nullptr;
        Links* pNext = nullptr;
    };

    explicit CeListBase(int nBase);
    ~CeListBase();

    // The node at a 1-based position, which becomes the cache; null outside.
    Links* Locate(int nPosition) const;
    Links* Read(int nIndex) const;         // the same by index, with the miss flag
    void Link(Links* node, int nPosition); // so that it stands at this position, 1 to count + 1
    void Unlink(Links* node, int nPosition);
    void ForgetAll(); // the nodes are gone
    void SetCache(Links* node, int nPosition) const {
        m_pCached = node;
        m_nCachedPosition = nPosition;
    }
    // 1-based; 0 for an index that no element has or could be inserted at.
    int PositionOf(int nIndex) const {
        return nIndex < m_nBase || nIndex > GetLast() + 1 ? 0 : nIndex - m_nBase + 1;
    }

    Links* m_pHead = nullptr;
    Links* m_pTail = nullptr;
    mutable Links* m_pCached = nullptr;
    int m_nBase;
    mutable int m_nCachedPosition = 0; // 1-based; 0: nothing read yet
    int m_nCount = 0;
    CEUSER m_dwUser = 0;
    mutable bool m_bMiss = false;

private:
    Links* Walk(int nPosition) const;
    void ShrinkRanges(int nIndex);

    std::unique_ptr<CeList<CeIndexRange>> m_pRanges;
};

template<class T>
class CeList : public CeListBase {
    struct Node : Links {
        T element;
    };

public:
    using Element = T;
    // Puts the element into the place of a new node.
    using CopyElement = void (*)(T* place, const T& element, CEUSER user);
    // Frees what the element owns.
    using DeleteElement = void (*)(T* place, CEUSER user, void* node);
    // Below, equal to or above 0.
    using Compare = int (*)(const T& a, const T& b, CEUSER user);
    // False when it can't be done (no memory).
    using Describe = bool (*)(T* element, CeElementBytes* bytes, CEUSER user);

    explicit CeList(int nBase, Compare compare = nullptr, CEUSER user = 0, const T& missing = T())
        : CeListBase(nBase), m_default(missing), m_pfnCompare(compare) {
        m_dwUser = user;
    }
    ~CeList() { Clear(); }

    void SetCopy(CopyElement copy) { m_pfnCopy = copy; }
    void SetDelete(DeleteElement del) { m_pfnDelete = del; }
    void SetCompare(Compare compare) { m_pfnCompare = compare; }
    Compare GetCompare() const { return m_pfnCompare; }
    void SetDescribe(Describe describe) { m_pfnDescribe = describe; }
    Describe GetDescribe() const { return m_pfnDescribe; }

    // --- Reading: O(1) beside the index read last ------------------------------------------------------------------
    const T& Get(int nIndex) const {
        Links* node = Read(nIndex);
        return node ? static_cast<Node*>(node)->element : m_default;
    }
    const T& operator[](int nIndex) const { return Get(nIndex); }
    // The element in its place, to be changed; null outside.
    T* GetPtr(int nIndex) {
        Links* node = Read(nIndex);
        return node ? &static_cast<Node*>(node)->element : nullptr;
    }
    // The first element that compares equal: its index, which counts as read; or base - 1.
    int Find(const T& wanted) const;

    // --- Adding: gives the index ------------------------------------------------------------------------------------
    int Add(const T& element) { return InsertAt(m_nCount + 1, element); }
    // At the tail without the copy callback: the list takes over what the element owns.
    int Adopt(const T& element) { return Place(m_nCount + 1, element, nullptr); }
    // At this index; one outside is taken to the nearer end.
    int Insert(int nIndex, const T& element) {
        return InsertAt(PositionOf(std::clamp(nIndex, m_nBase, GetLast() + 1)), element);
    }
    // Right behind the element read last; at the head when none was. The new element counts as read.
    int InsertAfterCached(const T& element) {
        int index = InsertAt(m_nCachedPosition + 1, element);
        MoveTo(index);
        return index;
    }

    // --- Removing, with the delete callback -------------------------------------------------------------------------
    bool RemoveAt(int nIndex); // false outside
    bool Remove(const T& wanted) { return RemoveAt(Find(wanted)); }
    // Takes the element out and gives it to the caller, without the delete callback; the default element outside.
    T Detach(int nIndex);
    // The list is empty before the first delete callback is called.
    void Clear();

    // Quicksort by the compare callback, not stable. The order that it leaves equal elements in shows on the screen and
    // must not change: middle pivot, copied out, swapping of elements.
    void Sort(bool bAscending = true);

    // --- Walking; adding and removing other elements meanwhile is allowed --------------------------------------------
    template<class Value, class NodeType>
    class Walker {
    public:
        using value_type = T;
        using difference_type = std::ptrdiff_t;
        using reference = Value&;
        using pointer = Value*;
        using iterator_category = std::forward_iterator_tag;
        Walker() = default;
        explicit Walker(Links* node) : m_pNode(node) {}
        Value& operator*() const { return static_cast<NodeType*>(m_pNode)->element; }
        Value* operator->() const { return &**this; }
        Walker& operator++() {
            m_pNode = m_pNode->pNext;
            return *this;
        }
        Walker operator++(int) {
            Walker old = *this;
            ++*this;
            return old;
        }
        friend bool operator==(const Walker&, const Walker&) = default;

    private:
        Links* m_pNode = nullptr;
    };
    using iterator = Walker<T, Node>;
    using const_iterator = Walker<const T, const Node>;
    iterator begin() { return iterator(m_pHead); }
    iterator end() { return iterator(); }
    const_iterator begin() const { return const_iterator(m_pHead); }
    const_iterator end() const { return const_iterator(); }

private:
    // Pending partitions; the larger part always waits, so 32 are enough for any list that fits into memory.
    static constexpr int kMaxPending = 32;
    struct Partition {
        Links* pLow;
        Links* pHigh;
        int nLow;
        int nHigh;
    };

    static T& At(Links* node) { return static_cast<Node*>(node)->element; }
    int InsertAt(int nPosition, const T& element) { return Place(nPosition, element, m_pfnCopy); }
    int Place(int nPosition, const T& element, CopyElement copy);
    std::pair<Partition, Partition> Divide(const Partition& whole, bool bAscending);

    T m_default;
    CopyElement m_pfnCopy = nullptr;
    DeleteElement m_pfnDelete = nullptr;
    Compare m_pfnCompare = nullptr;
    Describe m_pfnDescribe = nullptr;
};

template<class T>
int CeList<T>::Find(const T& wanted) const {
    int position = 1;
    if (m_pfnCompare) {
        for (Links* node = m_pHead; node; node = node->pNext, ++position) {
            if (m_pfnCompare(At(node), wanted, m_dwUser) != 0) continue;
            SetCache(node, position);
            return m_nBase + position - 1;
        }
    }
    return m_nBase - 1;
}

template<class T>
int CeList<T>::Place(int nPosition, const T& element, CopyElement copy) {
    auto node = copy ? std::make_unique<Node>() : std::make_unique<Node>(Node{{}, element});
    if (copy) copy(&node->element, element, m_dwUser);
    Link(node.release(), nPosition);
    return m_nBase + nPosition - 1;
}

template<class T>
bool CeList<T>::RemoveAt(int nIndex) {
    Links* node = Locate(PositionOf(nIndex));
    if (!node) return false;
    Unlink(node, PositionOf(nIndex));
    if (m_pfnDelete) m_pfnDelete(&At(node), m_dwUser, node);
    delete static_cast<Node*>(node);
    return true;
}

template<class T>
T CeList<T>::Detach(int nIndex) {
    Links* node = Locate(PositionOf(nIndex));
    if (!node) return m_default;
    Unlink(node, PositionOf(nIndex));
    std::unique_ptr<Node> owner(static_cast<Node*>(node));
    return std::move(owner->element);
}

template<class T>
void CeList<T>::Clear() {
    Links* node = m_pHead;
    ForgetAll();
    while (node) {
        Links* next = node->pNext;
        if (m_pfnDelete) m_pfnDelete(&At(node), m_dwUser, node);
        delete static_cast<Node*>(node);
        node = next;
    }
}

template<class T>
void CeList<T>::Sort(bool bAscending) {
    if (m_nCount < 2 || !m_pfnCompare) return;
    std::array<Partition, kMaxPending> pending;
    int nPending = 0;
    Partition work{m_pHead, m_pTail, 1, m_nCount};
    for (;;) {
        while (work.nLow < work.nHigh) {
            auto [left, right] = Divide(work, bAscending);
            bool leftIsLarger = left.nHigh - left.nLow > right.nHigh - right.nLow;
            Partition& larger = leftIsLarger ? left : right;
            if (larger.nLow < larger.nHigh) pending[static_cast<std::size_t>(nPending++)] = larger;
            work = leftIsLarger ? right : left;
        }
        if (nPending == 0) break;
        work = pending[static_cast<std::size_t>(--nPending)];
    }
    Read(m_nBase);
}

// One pass of the two cursors, which move by links while the elements are swapped between the nodes. Gives what is left
// of the right cursor and what is right of the left one. No cursor leaves the partition, whatever the callback says.
template<class T>
auto CeList<T>::Divide(const Partition& whole, bool bAscending) -> std::pair<Partition, Partition> {
    Links* middle = whole.pLow;
    for (int n = (whole.nLow + whole.nHigh) / 2 - whole.nLow; n > 0; --n) middle = middle->pNext;
    const T pivot = At(middle);
    auto isBefore = [&](Links* node) {
        int order = m_pfnCompare(pivot, At(node), m_dwUser);
        return bAscending ? order > 0 : order < 0;
    };
    auto isBehind = [&](Links* node) {
        int order = m_pfnCompare(pivot, At(node), m_dwUser);
        return bAscending ? order < 0 : order > 0;
    };
    Links* left = whole.pLow;
    Links* right = whole.pHigh;
    int nLeft = whole.nLow;
    int nRight = whole.nHigh;
    while (nLeft <= nRight) {
        for (; nLeft < whole.nHigh && isBefore(left); ++nLeft) left = left->pNext;
        for (; nRight > whole.nLow && isBehind(right); --nRight) right = right->pPrev;
        if (nLeft > nRight) break;
        if (nLeft != nRight) std::swap(At(left), At(right));
        left = left->pNext;
        right = right->pPrev;
        ++nLeft;
        --nRight;
    }
    return {{whole.pLow, right, whole.nLow, nRight}, {left, whole.pHigh, nLeft, whole.nHigh}};
}
