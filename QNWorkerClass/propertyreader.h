// Records read for a list: the same properties of each, into one buffer.
#pragma once

#include "NorvoTools/CeDb.h"
#include "Platform/memory.h"

#include <string_view>
#include <utility>
#include <vector>

// The owner of the buffer; an object belongs to one thread. Texts are good until the next Read.
class PropertyReader {
public:
    explicit PropertyReader(std::vector<CEPROPID> ids)
        : m_ids(std::move(ids)), m_size(CeThreadBufferSize(Count())),
          m_buffer(static_cast<BYTE*>(LocalAlloc(LPTR, m_size))) {}
    ~PropertyReader() {
        m_record.DetachBuffer();
        LocalFree(m_buffer);
    }
    PropertyReader(const PropertyReader&) = delete;
    PropertyReader& operator=(const PropertyReader&) = delete;

    WORD Count() const { return static_cast<WORD>(m_ids.size()); }
    CEPROPID Id(int index) const { return m_ids[static_cast<std::size_t>(index)]; }
    // The current record. False leaves the reason in GetLastError; 122: the record is too large for any list.
    bool Read(CeDb& db) { return m_buffer && db.ReadRec(m_record, m_buffer, m_size, Count(), m_ids.data()); }
    const CeDbRecord& Record() const { return m_record; }
    std::u16string_view Text(int index) const { return m_record.TextAt(index); }
    DWORD Number(int index) const {
        DWORD value = 0;
        m_record.GetIndexVal(index, value);
        return value;
    }

private:
    std::vector<CEPROPID> m_ids;
    DWORD m_size;
    BYTE* m_buffer;
    CeDbRecord m_record;
};
