// A truth value of 32 bits that starts out false.
#pragma once

#include "Platform/types.h"

class CBool {
public:
    CBool() = default;
    CBool(LONG value) : m_nValue(value) {}
    CBool& operator=(LONG value) {
        m_nValue = value;
        return *this;
    }
    operator LONG() const { return m_nValue; }

    LONG m_nValue = 0;
};
