// A scratch buffer of fixed size, zero-filled, freed with the object. It has no length and does not grow.
#pragma once

#include "Platform/types.h"

#include <cstdlib>

class CTempString {
public:
    // Room for so many characters, the terminator among them; null when memory ran out.
    explicit CTempString(std::size_t nChars)
        : m_psz(static_cast<WCHAR*>(std::calloc(nChars ? nChars : 1, sizeof(WCHAR)))) {}
    ~CTempString() { std::free(m_psz); }
    CTempString(const CTempString&) = delete;
    CTempString& operator=(const CTempString&) = delete;

    operator WCHAR*() { return m_psz; }
    operator const WCHAR*() const { return m_psz; }

private:
    WCHAR* m_psz;
};
