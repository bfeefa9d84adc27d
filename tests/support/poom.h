// Words for tests of the object model: items that release themselves, dates as texts, and the records behind them.
#pragma once

#include "Platform/civil.h"
#include "Platform/comref.h"
#include "Platform/poom.h"
#include "tests/support/store.h"
#include "tests/support/zones.h"

#include <cstdio>

template<class T>
using Com = ComRef<T>;

// A text for an argument; null stays null.
class Bstr {
public:
    Bstr(const WCHAR* text) : m_text(SysAllocString(text)) {}
    Bstr(const Bstr&) = delete;
    Bstr& operator=(const Bstr&) = delete;
    ~Bstr() { SysFreeString(m_text); }
    operator BSTR() const { return m_text; }

private:
    BSTR m_text;
};

inline std::string TakeBstr(BSTR text) {
    std::string narrow;
    for (UINT i = 0; i < SysStringLen(text); ++i) narrow += text[i] < 128 ? static_cast<char>(text[i]) : '?';
    SysFreeString(text);
    return narrow;
}

// What a getter of an object gives.
template<class T, class Face, class Value>
Value ValueOf(const Com<T>& object, HRESULT (Face::*getter)(Value*)) {
    Value value{};
    EXPECT_EQ((object.Get()->*getter)(&value), S_OK);
    return value;
}
template<class T, class Face>
std::string TextOf(const Com<T>& object, HRESULT (Face::*getter)(BSTR*)) {
    return TakeBstr(ValueOf(object, getter));
}

// "2010-03-01 10:30" as days, and back.
inline DATE At(const char* text) {
    int year = 0, month = 0, day = 0, hour = 0, minute = 0;
    std::sscanf(text, "%d-%d-%d %d:%d", &year, &month, &day, &hour, &minute);
    return static_cast<double>(civil::DaysFromCivil(year, month, day) - civil::kDaysTo1899) +
           (hour * 60 + minute) / 1440.0;
}
inline std::string ShowTicks(ULONGLONG ticks) {
    const SYSTEMTIME t = civil::SystemTimeFromTicks(static_cast<std::int64_t>(ticks));
    char text[32];
    std::snprintf(text, sizeof text, "%04d-%02d-%02d %02d:%02d", t.wYear, t.wMonth, t.wDay, t.wHour,
                  t.wMinute);
    return text;
}
inline std::string ShowDate(DATE date) {
    const auto seconds = static_cast<std::int64_t>((date + civil::kDaysTo1899) * 86400.0 + 0.5);
    return ShowTicks(static_cast<ULONGLONG>(seconds) * 10'000'000);
}

// A test with the object model on an empty device, in the zone of Berlin.
class PoomTest : public StoreTest {
protected:
    PoomTest() {
        SetZone(Berlin());
        void* app = nullptr;
        CoCreateInstance(CLSID_Application, nullptr, 0, IID_IPOutlookApp2, &app);
        m_app = Com<IPOutlookApp2>(static_cast<IPOutlookApp2*>(app));
    }
    void SetUp() override {
        ASSERT_TRUE(m_app);
        ASSERT_EQ(m_app->Logon(nullptr), S_OK);
        ASSERT_TRUE(Mount(u"\\pim.vol"));
    }
    void SetZone(const TIME_ZONE_INFORMATION& zone) { PlatSetTimeZone(&zone); }

    Com<IAppointment> NewAppointment() { return Create<IAppointment>(olAppointmentItem); }
    Com<ITask> NewTask() { return Create<ITask>(olTaskItem); }
    Com<IContact> NewContact() { return Create<IContact>(olContactItem); }
    template<class T>
    Com<T> Open(LONG oid) {
        IDispatch* item = nullptr;
        m_app->GetItemFromOid(oid, &item);
        return Com<T>(static_cast<T*>(item));
    }
    using StoreTest::Open;
    Com<IPOutlookItemCollection> Items(int folder) {
        Com<IFolder> found;
        m_app->GetDefaultFolder(folder, found.Out());
        Com<IPOutlookItemCollection> items;
        found->get_Items(items.Out());
        return items;
    }
    CEPROPID Name(const WCHAR* name, WORD type, bool create = true) {
        CEPROPID id = 0;
        EXPECT_EQ(m_app->GetIDsFromNames(1, &name, type | (create ? kCreateNamedProperty : 0), &id), S_OK);
        return id;
    }

    template<class T>
    static LONG OidOf(const Com<T>& item) {
        LONG oid = -1;
        item->get_Oid(&oid);
        return oid;
    }

    // --- the records, through the public database operations ---
    HANDLE Database(const WCHAR* name, CEPROPID key) {
        for (auto& [known, handle] : m_databases)
            if (known == name) return handle;
        const auto order = Order({{key, 0}});
        const HANDLE db = Open(name, &order);
        m_databases.emplace_back(name, db);
        return db;
    }
    // The cursor stands in the item's record; the database, or INVALID_HANDLE_VALUE.
    HANDLE RecordOf(LONG oid) {
        const auto kind = static_cast<CEOID>(oid) & kOidKindMask;
        const HANDLE db = Database(kind == kOidAppointment ? u"Appointments Database"
                                   : kind == kOidContact   ? u"Contacts Database"
                                                           : u"Tasks Database",
                                   PIMPR_NUMBER);
        const auto number = static_cast<DWORD>(oid) & ~kOidKindMask;
        return SeekValues(db, CEDB_SEEK_VALUEFIRSTEQUAL, Values().Recid(0x1000, number))
                   ? db
                   : INVALID_HANDLE_VALUE;
    }
    std::string Stored(LONG oid, CEPROPID id) {
        const HANDLE db = RecordOf(oid);
        return db == INVALID_HANDLE_VALUE ? "no record" : ReadOne(db, id);
    }
    std::string StoredTime(LONG oid, CEPROPID id) {
        const Read read(RecordOf(oid), {id});
        if (!read.Oid() || (read[0].wFlags & CEDB_PROPNOTFOUND)) return "-";
        return ShowTicks(FileTimeTicks(read[0].val.filetime));
    }
    std::vector<BYTE> StoredStream(LONG oid, CEPROPID id) { return ReadStream(RecordOf(oid), id); }
    std::vector<BYTE> StoredBlob(LONG oid, CEPROPID id) {
        const Read read(RecordOf(oid), {id});
        if (!read.Oid() || (read[0].wFlags & CEDB_PROPNOTFOUND)) return {};
        return {read[0].val.blob.lpb, read[0].val.blob.lpb + read[0].val.blob.dwCount};
    }
    // Everything that the volume holds in these databases, as text.
    std::string DumpAll() {
        const struct {
            const WCHAR* name;
            SORTORDERSPECEX order;
        } kAll[] = {
            {u"Appointments Database", Order({{PIMPR_NUMBER, 0}})},
            {u"CategoryMainDB", Order({{0x00010066, 0}})},
            {u"CategoryAssocDB", Order({{0x00010013, 0}, {0x00020003, 0}})},
            {u"PIMNamedPropVals", Order({{0x00010013, 0}, {0x00020013, 0}})},
        };
        std::string all;
        for (const auto& database : kAll) {
            const HANDLE db = Open(database.name, &database.order);
            for (CEOID oid = First(db); oid; oid = Next(db)) all += DumpRecord(db);
            Close(db);
        }
        return all;
    }

    Com<IPOutlookApp2> m_app;

    void TearDown() override {
        m_app = Com<IPOutlookApp2>();
        StoreTest::TearDown();
    }

private:
    template<class T>
    Com<T> Create(int kind) {
        IDispatch* item = nullptr;
        m_app->CreateItem(kind, &item);
        return Com<T>(static_cast<T*>(item));
    }
    static std::string DumpRecord(HANDLE db) {
        std::string line;
        const Read read(db);
        for (size_t i = 0; i < read.Count(); ++i)
            line += std::to_string(read[i].propid) + "=" + Show(read[i]) + " ";
        for (CEPROPID stream : {PIMPR_NOTE, PIMPR_RECURRENCE}) {
            line += "{";
            for (BYTE byte : ReadStream(db, stream)) line += std::to_string(byte) + " ";
            line += "}";
        }
        return line + "\n";
    }

    std::vector<std::pair<std::u16string, HANDLE>> m_databases;
};
