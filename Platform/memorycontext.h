// A context in memory with a bitmap in it, as long as it stands.
#pragma once

#include "Platform/gdi.h"

class MemoryContext {
public:
    // The bitmap stays the caller's; null leaves the context with its one pixel.
    explicit MemoryContext(HBITMAP bitmap)
        : m_dc(CreateCompatibleDC(nullptr)), m_former(bitmap ? SelectObject(m_dc, bitmap) : nullptr) {}
    ~MemoryContext() {
        if (m_former) SelectObject(m_dc, m_former);
        DeleteDC(m_dc);
    }
    MemoryContext(const MemoryContext&) = delete;
    MemoryContext& operator=(const MemoryContext&) = delete;
    operator HDC() const { return m_dc; }

private:
    HDC m_dc;
    HGDIOBJ m_former;
};
