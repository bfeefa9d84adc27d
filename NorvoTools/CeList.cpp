// The part of the lists that doesn't know the element: links, the index cache, the ranges.
#include "NorvoTools/CeList.h"

CeListBase::CeListBase(int nBase) : m_nBase(nBase) {}
CeListBase::~CeListBase() = default;

// The order of these questions decides what is one step away; the engine's loops over thousands of records stand on it.
CeListBase::Links* CeListBase::Locate(int nPosition) const {
    if (nPosition < 1 || nPosition > m_nCount) return nullptr;
    if (nPosition == 1) return m_pHead;
    if (m_pCached) {
        if (nPosition == m_nCachedPosition) return m_pCached;
        if (nPosition == m_nCachedPosition + 1) return m_pCached->pNext;
        if (nPosition == m_nCachedPosition - 1) return m_pCached->pPrev;
    }
    if (nPosition == m_nCount) return m_pTail;
    return Walk(nPosition);
}

// From the cache, the head or the tail, whichever is nearest.
CeListBase::Links* CeListBase::Walk(int nPosition) const {
    int fromHead = nPosition - 1;
    int fromTail = m_nCount - nPosition;
    int fromCache = nPosition - m_nCachedPosition;
    Links* node = m_pHead;
    int steps = fromHead;
    if (fromTail < fromHead) {
        node = m_pTail;
        steps = -fromTail;
    }
    auto length = [](int n) { return n < 0 ? -n : n; };
    if (m_pCached && length(fromCache) < length(steps)) {
        node = m_pCached;
        steps = fromCache;
    }
    for (; steps > 0; --steps) node = node->pNext;
    for (; steps < 0; ++steps) node = node->pPrev;
    return node;
}

CeListBase::Links* CeListBase::Read(int nIndex) const {
    Links* node = Locate(PositionOf(nIndex));
    m_bMiss = node == nullptr;
    if (node) SetCache(node, PositionOf(nIndex));
    return node;
}

bool CeListBase::MoveTo(int nIndex) {
    Links* node = Locate(PositionOf(nIndex));
    if (node) SetCache(node, PositionOf(nIndex));
    return node != nullptr;
}

void CeListBase::Link(Links* node, int nPosition) {
    Links* behind = nPosition > m_nCount ? nullptr : Locate(nPosition);
    Links* before = behind ? behind->pPrev : m_pTail;
    node->pPrev = before;
    node->pNext = behind;
    (before ? before->pNext : m_pHead) = node;
    (behind ? behind->pPrev : m_pTail) = node;
    ++m_nCount;
    if (m_nCachedPosition >= nPosition) ++m_nCachedPosition;
}

void CeListBase::Unlink(Links* node, int nPosition) {
    (node->pPrev ? node->pPrev->pNext : m_pHead) = node->pNext;
    (node->pNext ? node->pNext->pPrev : m_pTail) = node->pPrev;
    --m_nCount;
    if (node == m_pCached) {
        // The element that moved up takes its place; behind the last one, the new last one.
        m_pCached = node->pNext ? node->pNext : node->pPrev;
        if (!node->pNext) --m_nCachedPosition;
    } else if (m_nCachedPosition > nPosition) {
        --m_nCachedPosition;
    }
    ShrinkRanges(m_nBase + nPosition - 1);
}

void CeListBase::ForgetAll() {
    m_pHead = m_pTail = m_pCached = nullptr;
    m_nCachedPosition = 0;
    m_nCount = 0;
    if (!m_pRanges || m_pRanges->IsEmpty()) return;
    m_pRanges->Clear(); // as if every position had been removed
    m_pRanges->SetUser(1);
}

void CeListBase::SetRanges(std::unique_ptr<CeList<CeIndexRange>> ranges) { m_pRanges = std::move(ranges); }

void CeListBase::ShrinkRanges(int nIndex) {
    if (!m_pRanges) return;
    for (CeIndexRange& range : *m_pRanges) {
        if (range.nEnd < nIndex) continue;
        if (range.nStart > nIndex) --range.nStart;
        if (--range.nEnd < range.nStart) m_pRanges->SetUser(1);
    }
}
