// The side databases of the platform's volume in the words of a test: categories, who has them, named properties.
#pragma once

#include "NorvoTools/CeDb.h"
#include "Platform/registry.h"
#include "QNWorkerClass/categories.h"
#include "tests/support/narrow.h"
#include "tests/support/store.h"

#include <string>
#include <vector>

class SideStoresTest : public StoreTest {
protected:
    SideStoresTest() {
        Mount(u"\\pim.vol");
        ResetFullCategoryList();
    }
    // The cached list is the process's: it is left empty for whoever comes next.
    ~SideStoresTest() override {
        InOneTransaction([](HANDLE db) {
            while (const CEOID oid = First(db)) CeDeleteRecord(db, oid);
        });
        ResetFullCategoryList();
    }

    // Many changes of the list of categories at the price of one.
    template<class Work>
    void InOneTransaction(Work work) {
        const HANDLE session = NewSession();
        CeBeginTransaction(session, 1);
        const HANDLE db = Open(u"CategoryMainDB", nullptr, session);
        work(db);
        Close(db);
        CeEndTransaction(session, TRUE);
        Close(session);
    }
    HANDLE Side(const WCHAR* name) { return Open(name); }
    // The new category's id.
    LONG AddCategory(std::u16string name) {
        const HANDLE db = Side(u"CategoryMainDB");
        const CEOID oid = Add(db, Values().Text(2, std::move(name)));
        CeSeekDatabaseEx(db, CEDB_SEEK_CEOID, oid, 1, nullptr);
        const Read read(db, {0x00010066});
        const auto id = static_cast<LONG>(read[0].val.ulVal);
        Close(db);
        return id;
    }
    void Associate(CEOID item, LONG category) {
        const HANDLE db = Side(u"CategoryAssocDB");
        Add(db, Values().UInt(1, item).Int(2, category));
        Close(db);
    }
    void SetNamed(CEOID item, DWORD property, std::vector<BYTE> bytes) {
        const HANDLE db = Side(u"PIMNamedPropVals");
        Add(db, Values().UInt(1, item).UInt(2, property).Blob(3, std::move(bytes)));
        Close(db);
    }
    // One record with this one number, in a new database of the suite's volume.
    static void MakeStore(const WCHAR* name, WORD id, WORD type, DWORD item) {
        CeDb db;
        SORTORDERSPECEX sort = Order({{Prop(id, type), 0}});
        ASSERT_TRUE(db.Create(name, 0, 1, &sort, 0, nullptr));
        ASSERT_TRUE(db.Open(name, Prop(id, type)));
        EXPECT_NE(0u, Add(db.m_hDb, type == CEVT_I4 ? Values().Int(id, static_cast<LONG>(item))
                                                    : Values().UInt(id, item)));
    }
    void DeleteDatabase(const WCHAR* name) {
        CEOID oid = 0;
        const HANDLE db = CeOpenDatabaseInSession(nullptr, &m_guid, &oid, name, nullptr, 0, nullptr);
        CloseHandle(db);
        EXPECT_TRUE(CeDeleteDatabaseEx(&m_guid, oid)) << GetLastError();
    }

    // "Work, Home" of a list.
    static std::string Names(const CFullCategoryList& list) {
        std::string names;
        for (const CFullCategory* category : list)
            names += (names.empty() ? "" : ", ") + Narrow(category->m_szName);
        return names;
    }
    static void AddTo(CFullCategoryList& list, const std::u16string& name, LONG id) {
        auto* category = new CFullCategory;
        category->m_szName = _wcsdup(name.c_str());
        category->m_lId = id;
        list.Add(category);
    }
    static void Choose(CFullCategoryList& list, const std::vector<std::pair<std::u16string, LONG>>& chosen) {
        list.Clear();
        for (const auto& [name, id] : chosen) AddTo(list, name, id);
    }
};
