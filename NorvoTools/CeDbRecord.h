// One record of a property database: an array of properties, followed by the texts and blobs they point at, in one
// buffer. Belongs to one thread at a time.
//
// The index family (GetIndexVal, SetIndexVal) takes a position in the array, the id family finds it first. Reads by
// index neither allocate nor copy more than the value: they are the inner loop of all data threads.
#pragma once

#include "Platform/databases.h"
#include "Platform/types.h"

#include <array>
#include <string_view>

class CeString;

inline constexpr WORD kPropAbsent = CEDB_PROPNOTFOUND;
inline constexpr WORD kPropDelete = CEDB_PROPDELETE;

// Buffers for records are told for properties of 16 bytes. With the pointers of this machine a property takes more;
// this gives the size that holds what the told size holds.
constexpr DWORD CeRecordBufferSize(DWORD nominal, WORD count) {
    return nominal + count * static_cast<DWORD>(sizeof(CEPROPVAL) - 16);
}
// The buffer of a data thread that reads `count` properties: about a thousand characters each.
constexpr DWORD CeThreadBufferSize(WORD count) { return CeRecordBufferSize(count * 2050U, count); }

class QN_API CeDbRecord {
public:
    // How many properties, from the first on, may get a blob by SetIndexVal.
    static constexpr int kOwnedBlobs = 50;

    CeDbRecord() = default;
    virtual ~CeDbRecord();
    CeDbRecord(const CeDbRecord&) = delete;
    CeDbRecord& operator=(const CeDbRecord&) = delete;

    // --- By position. False, and no change, when it is out of range or the property is absent. ---
    bool GetIndexVal(int index, SHORT& out) const { return GetScalar(index, &CEPROPVAL::val, out); }
    bool GetIndexVal(int index, WORD& out) const { return GetScalar(index, &CEPROPVAL::val, out); }
    bool GetIndexVal(int index, LONG& out) const { return GetScalar(index, &CEPROPVAL::val, out); }
    bool GetIndexVal(int index, DWORD& out) const { return GetScalar(index, &CEPROPVAL::val, out); }
    bool GetIndexVal(int index, double& out) const { return GetScalar(index, &CEPROPVAL::val, out); }
    bool GetIndexVal(int index, FILETIME& out) const { return GetScalar(index, &CEPROPVAL::val, out); }
    bool GetIndexVal(int index, bool& out) const;
    // A new zero-filled LocalAlloc block of the size rounded up to even, 2 bytes for an empty blob. Absent: 0 and null.
    bool GetIndexVal(int index, CEBLOB& out) const;
    // Copies into the caller's buffer, whose size only the caller knows; absent gives "" and false, a property that is
    // no text nothing and false.
    bool GetIndexVal(int index, WCHAR*& buffer) const;
    // The same, cut to `chars` with the terminator.
    bool GetIndexVal(int index, WCHAR* buffer, std::size_t chars) const;
    // Any type as text.
    bool GetIndexVal(int index, CeString& out) const;

    // What stands in the buffer, without a copy, valid until the next read or change; empty when absent or no text.
    std::u16string_view TextAt(int index) const;
    const CEBLOB* BlobAt(int index) const; // null when absent or no blob

    // --- Setting by position clears the property's flags. Numbers: false when out of range. ---
    bool SetIndexVal(int index, SHORT value);
    bool SetIndexVal(int index, WORD value);
    bool SetIndexVal(int index, LONG value);
    bool SetIndexVal(int index, DWORD value);
    bool SetIndexVal(int index, double value);
    bool SetIndexVal(int index, bool value);
    bool SetIndexVal(int index, const FILETIME& value);
    // The index must be one of the array. A blob or text that doesn't fit its place moves to a new one.
    bool SetIndexVal(int index, const CEBLOB& value);
    bool SetIndexVal(int index, const WCHAR* text);

    // --- By property id and type ---
    template<class T>
    bool GetIdVal(WORD id, T& out, WORD type) const {
        const int index = FindProp(PropId(id, type));
        return index >= 0 && GetIndexVal(index, out);
    }
    template<class T>
    bool SetIdVal(WORD id, const T& value, WORD type) {
        const int index = FindProp(PropId(id, type));
        return index >= 0 && SetIndexVal(index, value);
    }
    static constexpr CEPROPID PropId(WORD id, WORD type) { return static_cast<CEPROPID>(type | (id << 16)); }
    // The position of a property, -1 when the record has none.
    int FindProp(CEPROPID propid) const;

    // True when the property is there afterwards; a new one holds 0, and is not absent.
    bool AddProp(WORD id, WORD type);
    bool AddProps(const CEPROPID* ids, WORD count);
    // The property goes away at the next write; the array keeps its shape. By position: no range check, always false.
    bool RemProp(int index);
    bool RemProp(WORD id, WORD type);

    // Two upper-case hex digits a byte, each followed by a blank with bSpaced.
    static CeString GetBlob(DWORD count, const BYTE* bytes, bool bSpaced);

    // Hands the buffer out, for a caller that lent it and keeps it: the record is empty afterwards.
    CEPROPVAL* DetachBuffer();

    CEOID m_oid = 0; // set by every read and by AddRec
    WORD m_wNumProps = 0;
    DWORD m_cbBuffer = 0;
    CEPROPVAL* m_pProps = nullptr;
    bool m_bLocalHeap = true;                      // the buffer is LocalFree's; otherwise it came from new[]
    HANDLE m_hDb = nullptr;                        // the database that the record was read from
    std::array<bool, kOwnedBlobs> m_bOwnBlob = {}; // its blob is a LocalAlloc block of this record

private:
    friend class CeDb;

    const CEPROPVAL* Present(int index) const {
        if (index < 0 || index >= m_wNumProps || (m_pProps[index].wFlags & kPropAbsent)) return nullptr;
        return m_pProps + index;
    }
    template<class V, class T>
    bool GetScalar(int index, V CEPROPVAL::*value, T& out) const {
        const CEPROPVAL* prop = Present(index);
        if (!prop) return false;
        __builtin_memcpy(&out, &(prop->*value), sizeof(T));
        return true;
    }
    template<class T>
    bool SetScalar(int index, T value);
    void FreeBuffer();
    void FreeOwnedBlobs();
    void AdoptBuffer(CEPROPVAL* props, DWORD size);

    bool m_bOwnsBlobs = false; // some m_bOwnBlob is set
    bool m_bLent = false;      // the buffer is a caller's
};
