// What a benchmark writes into the stores of its device by hand.
#pragma once

#include "NorvoTools/CeDb.h"
#include "QNWorkerClass/sidestores.h"

#include <array>
#include <cstdlib>
#include <string>

inline void OpenStore(CeDb& db, const WCHAR* name) {
    if (!db.MountVolumeEDB(kPimVolume, false) || !db.Open(name)) std::abort();
}

// Ten, "Category 0" to "Category 9".
inline void AddCategories() {
    CeDb names;
    OpenStore(names, kCategoryMainDb);
    std::u16string name = u"Category 0";
    for (; name.back() <= u'9'; ++name.back()) {
        CEPROPVAL value{kPropCategoryName, 0, 0, {}};
        value.val.lpwstr = name.data();
        if (!CeWriteRecordProps(names.m_hDb, 0, 1, &value)) std::abort();
    }
}

// The item into one of the ten.
inline void JoinCategory(CeDb& members, ULONG item, int number) {
    std::array<CEPROPVAL, 2> values{{{kPropAssocItem, 0, 0, {}}, {kPropAssocCategory, 0, 0, {}}}};
    values[0].val.ulVal = item;
    values[1].val.lVal = 1 + number % 10;
    if (!CeWriteRecordProps(members.m_hDb, 0, 2, values.data())) std::abort();
}
