// Words for tests of the property databases: records put together by type, read back as text.
#pragma once

#include "Platform/databases.h"
#include "Platform/memory.h"
#include "Platform/strings.h"
#include "Platform/threads.h"
#include "tests/support/device.h"

#include <algorithm>
#include <cstring>
#include <deque>
#include <string>
#include <vector>

constexpr CEPROPID Prop(WORD id, WORD type) { return static_cast<DWORD>(id) << 16 | type; }

class Values {
public:
    Values& Int(WORD id, LONG value) {
        return Add(Prop(id, CEVT_I4), [&](CEVALUNION& v) { v.lVal = value; });
    }
    Values& UInt(WORD id, ULONG value) {
        return Add(Prop(id, CEVT_UI4), [&](CEVALUNION& v) { v.ulVal = value; });
    }
    Values& Short(WORD id, SHORT value) {
        return Add(Prop(id, CEVT_I2), [&](CEVALUNION& v) { v.iVal = value; });
    }
    Values& UShort(WORD id, USHORT value) {
        return Add(Prop(id, CEVT_UI2), [&](CEVALUNION& v) { v.uiVal = value; });
    }
    Values& Bool(WORD id, bool value) {
        return Add(Prop(id, CEVT_BOOL), [&](CEVALUNION& v) { v.boolVal = value; });
    }
    Values& Real(WORD id, double value) {
        return Add(Prop(id, CEVT_R8), [&](CEVALUNION& v) { v.dblVal = value; });
    }
    Values& Time(WORD id, ULONGLONG ticks) {
        return Add(Prop(id, CEVT_FILETIME), [&](CEVALUNION& v) { v.filetime = FileTimeFromTicks(ticks); });
    }
    Values& Text(WORD id, std::u16string text) {
        m_texts.push_back(std::move(text));
        return Add(Prop(id, CEVT_LPWSTR), [&](CEVALUNION& v) { v.lpwstr = m_texts.back().data(); });
    }
    Values& Blob(WORD id, std::vector<BYTE> bytes) { return AddBytes(Prop(id, CEVT_BLOB), std::move(bytes)); }
    Values& Stream(WORD id, std::vector<BYTE> bytes) {
        return AddBytes(Prop(id, CEVT_STREAM), std::move(bytes));
    }
    Values& Recid(WORD id, ULONG value) {
        return Add(Prop(id, CEVT_RECID), [&](CEVALUNION& v) { v.ulVal = value; });
    }
    Values& Flagged(CEPROPID propid, WORD flags) {
        Add(propid, [](CEVALUNION&) {});
        m_values.back().wFlags = flags;
        return *this;
    }
    WORD Count() const { return static_cast<WORD>(m_values.size()); }
    const CEPROPVAL* Data() const { return m_values.data(); }

private:
    template<class Set>
    Values& Add(CEPROPID propid, Set set) {
        m_values.push_back({propid, 0, 0, {}});
        set(m_values.back().val);
        return *this;
    }
    Values& AddBytes(CEPROPID propid, std::vector<BYTE> bytes) {
        m_blobs.push_back(std::move(bytes));
        return Add(propid, [&](CEVALUNION& v) {
            v.blob = {static_cast<DWORD>(m_blobs.back().size()), m_blobs.back().data()};
        });
    }
    std::deque<std::u16string> m_texts;
    std::deque<std::vector<BYTE>> m_blobs;
    std::vector<CEPROPVAL> m_values;
};

inline CEOID Add(HANDLE db, const Values& values) {
    return CeWriteRecordProps(db, 0, values.Count(), values.Data());
}
inline CEOID Change(HANDLE db, CEOID oid, const Values& values) {
    return CeWriteRecordProps(db, oid, values.Count(), values.Data());
}
inline CEOID Seek(HANDLE db, DWORD type, LONG n) {
    return CeSeekDatabaseEx(db, type, static_cast<DWORD>(n), 1, nullptr);
}
inline CEOID First(HANDLE db) { return Seek(db, CEDB_SEEK_BEGINNING, 0); }
inline CEOID Next(HANDLE db) { return Seek(db, CEDB_SEEK_CURRENT, 1); }
inline CEOID SeekValues(HANDLE db, DWORD type, const Values& values) {
    return CeSeekDatabaseEx(db, type, reinterpret_cast<ULONG_PTR>(values.Data()), values.Count(), nullptr);
}

// The properties of the current record, owning the buffer.
class Read {
public:
    Read(HANDLE db, std::vector<CEPROPID> ids) : m_count(static_cast<WORD>(ids.size())) {
        m_oid = CeReadRecordPropsEx(db, CEDB_ALLOWREALLOC, &m_count, ids.data(), &m_buffer, &m_size, nullptr);
    }
    explicit Read(HANDLE db) {
        m_oid = CeReadRecordPropsEx(db, CEDB_ALLOWREALLOC, &m_count, nullptr, &m_buffer, &m_size, nullptr);
    }
    ~Read() { LocalFree(m_buffer); }
    Read(const Read&) = delete;
    Read& operator=(const Read&) = delete;
    CEOID Oid() const { return m_oid; }
    WORD Count() const { return m_count; }
    const CEPROPVAL& operator[](size_t i) const { return reinterpret_cast<const CEPROPVAL*>(m_buffer)[i]; }

private:
    CEOID m_oid = 0;
    WORD m_count = 0;
    BYTE* m_buffer = nullptr;
    DWORD m_size = 0;
};

// One value as text: "7", "-1.5", "'abc'", "[3 bytes 01]", "-" for an absent one.
inline std::string Show(const CEPROPVAL& value) {
    if (value.wFlags & CEDB_PROPNOTFOUND) return "-";
    switch (TypeFromPropID(value.propid)) {
    case CEVT_I2:
        return std::to_string(value.val.iVal);
    case CEVT_I4:
        return std::to_string(value.val.lVal);
    case CEVT_UI2:
        return std::to_string(value.val.uiVal);
    case CEVT_BOOL:
        return value.val.boolVal ? "true" : "false";
    case CEVT_R8:
        return std::to_string(value.val.dblVal);
    case CEVT_FILETIME:
        return std::to_string(FileTimeTicks(value.val.filetime));
    case CEVT_LPWSTR: {
        std::string text = "'";
        for (const WCHAR* c = value.val.lpwstr; *c; ++c) text += *c < 0x80 ? static_cast<char>(*c) : '?';
        return text + "'";
    }
    case CEVT_BLOB: {
        const CEBLOB& blob = value.val.blob;
        return "[" + std::to_string(blob.dwCount) +
               (blob.dwCount ? " from " + std::to_string(blob.lpb[0]) : "") + "]";
    }
    default:
        return std::to_string(value.val.ulVal);
    }
}
inline std::string ReadOne(HANDLE db, CEPROPID propid) {
    const Read read(db, {propid});
    return read.Oid() ? Show(read[0]) : "error " + std::to_string(GetLastError());
}
// A whole walk from the first record, a property of each.
inline std::string Walk(HANDLE db, CEPROPID propid) {
    std::string all;
    for (CEOID oid = First(db); oid; oid = Next(db)) all += (all.empty() ? "" : " ") + ReadOne(db, propid);
    return all;
}

inline SORTORDERSPECEX Order(std::vector<std::pair<CEPROPID, DWORD>> props) {
    SORTORDERSPECEX spec{};
    spec.wVersion = 2;
    spec.wNumProps = static_cast<WORD>(props.size());
    for (size_t i = 0; i < props.size(); ++i) {
        spec.rgPropID[i] = props[i].first;
        spec.rgdwFlags[i] = props[i].second;
    }
    return spec;
}

inline std::vector<BYTE> Pattern(size_t size, BYTE seed = 0) {
    std::vector<BYTE> bytes(size);
    for (size_t i = 0; i < size; ++i) bytes[i] = static_cast<BYTE>(i * 7 + (i >> 8) + seed);
    return bytes;
}

inline bool WriteStream(HANDLE db, CEPROPID propid, const std::vector<BYTE>& bytes) {
    const HANDLE stream = CeOpenStream(db, propid, STREAM_WRITE);
    if (stream == INVALID_HANDLE_VALUE) return false;
    DWORD written = 0;
    const bool good = CeStreamSetSize(stream, static_cast<DWORD>(bytes.size())) &&
                      CeStreamWrite(stream, bytes.data(), static_cast<DWORD>(bytes.size()), &written) &&
                      CeStreamSaveChanges(stream);
    CloseHandle(stream);
    return good && written == bytes.size();
}
// The content, or one byte 0xEE when the stream can't be opened or read.
inline std::vector<BYTE> ReadStream(HANDLE db, CEPROPID propid) {
    const HANDLE stream = CeOpenStream(db, propid, STREAM_READ);
    if (stream == INVALID_HANDLE_VALUE) return {0xEE};
    DWORD size = 0, read = 0;
    std::vector<BYTE> bytes;
    bool good = CeStreamSeek(stream, 0, STREAM_SEEK_END, &size) != FALSE;
    bytes.resize(size);
    good = good && CeStreamSeek(stream, 0, STREAM_SEEK_SET, nullptr) &&
           CeStreamRead(stream, bytes.data(), size, &read);
    CloseHandle(stream);
    return good && read == size ? bytes : std::vector<BYTE>{0xEE};
}

class StoreTest : public DeviceTest {
protected:
    bool Mount(const WCHAR* path = u"\\test.vol", DWORD flags = DBVOL_OPEN_ALWAYS) {
        return CeMountDBVolEx(&m_guid, path, nullptr, flags) != FALSE;
    }
    CEOID Create(const WCHAR* name, std::vector<SORTORDERSPECEX> orders = {}) {
        if (m_guid == CEGUID{} && !Mount()) return 0;
        CEDBASEINFOEX info{};
        info.wVersion = 2;
        info.dwFlags = CEDB_VALIDNAME | CEDB_VALIDTYPE | (orders.empty() ? 0 : CEDB_VALIDSORTSPEC);
        std::copy_n(name, std::char_traits<WCHAR>::length(name) + 1, info.szDbaseName);
        info.wNumSortOrder = static_cast<WORD>(orders.size());
        std::copy(orders.begin(), orders.end(), info.rgSortSpecs);
        return CeCreateDatabaseWithProps(&m_guid, &info, 0, nullptr);
    }
    HANDLE Open(const WCHAR* name, const SORTORDERSPECEX* order = nullptr, HANDLE session = nullptr) {
        CEOID oid = 0;
        const HANDLE db = CeOpenDatabaseInSession(session, &m_guid, &oid, name, order, 0, nullptr);
        if (db != INVALID_HANDLE_VALUE) m_handles.push_back(db);
        return db;
    }
    HANDLE CreateAndOpen(const WCHAR* name, std::vector<SORTORDERSPECEX> orders = {}) {
        Create(name, orders);
        return Open(name, orders.empty() ? nullptr : &orders[0]);
    }
    HANDLE NewSession() {
        m_handles.push_back(CeCreateSession(&m_guid));
        return m_handles.back();
    }
    void Close(HANDLE handle) {
        CloseHandle(handle);
        std::erase(m_handles, handle);
    }
    void TearDown() override {
        while (!m_handles.empty()) Close(m_handles.back());
    }

    CEGUID m_guid{};
    std::vector<HANDLE> m_handles;
};
