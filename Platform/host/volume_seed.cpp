#include "Platform/host/volume_seed.h"

#include <iterator>

namespace plat {

namespace {

struct SeedOrder {
    WORD count;
    CEPROPID props[2];
    DWORD flags;
};
struct SeedDatabase {
    const WCHAR* name;
    WORD orderCount;
    SeedOrder orders[2];
};

// They are made with the file and never again: one that was deleted stays away.
constexpr SeedDatabase kPimDatabases[] = {
    {u"Appointments Database", 2, {{1, {0x10420040}, 0}, {1, {0x10000066}, 0}}},
    {u"Tasks Database", 1, {{1, {0x10000066}, 0}}},
    {u"Contacts Database", 2, {{1, {0x0080001F}, CEDB_SORT_CASEINSENSITIVE}, {1, {0x10000066}, 0}}},
    {u"CategoryMainDB", 1, {{1, {0x00010066}, 0}}},
    {u"CategoryAssocDB", 2, {{2, {0x00010013, 0x00020003}, 0}, {2, {0x00020003, 0x00010013}, 0}}},
    {u"PIMNamedPropVals", 1, {{2, {0x00010013, 0x00020013}, 0}}},
    {u"PIMNamedProps", 1, {{1, {0x0001001F}, 0}}},
    {u"speed.db", 0, {}},
};

SortOrder OrderOf(const SeedOrder& seed) {
    SortOrder order;
    order.count = seed.count;
    for (WORD i = 0; i < seed.count; ++i) {
        order.props[i] = seed.props[i];
        order.flags[i] = seed.flags;
    }
    return order;
}

} // namespace

DWORD SeedPim(Volume& volume, Connection& connection) {
    Writer writer(volume, connection);
    writer.Join();
    for (const SeedDatabase& seed : kPimDatabases) {
        DbInfo info;
        info.name = seed.name;
        for (WORD i = 0; i < seed.orderCount; ++i) info.orders.push_back(OrderOf(seed.orders[i]));
        info.anySort = info.orders.empty();
        CEOID oid = 0;
        if (const DWORD error = writer.CreateDatabase(info, oid)) return error;
    }
    return writer.Part();
}

} // namespace plat
