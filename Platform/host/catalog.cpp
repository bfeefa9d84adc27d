// The list of databases of a volume: their rows read and written.
#include "Platform/host/store.h"

#include "Platform/host/text.h"

#include <algorithm>

namespace plat {

namespace {

// Sort orders and schemas are kept as pairs of numbers: property id and flags.
void AppendPair(DWORD first, DWORD second, ByteBuffer& out) {
    BYTE* at = out.Extend(8);
    std::memcpy(at, &first, 4);
    std::memcpy(at + 4, &second, 4);
}

bool ReadOrder(LONGLONG id, Bytes spec, SortOrder& order) {
    if (spec.empty() || spec.size() % 8 || spec.size() / 8 > CEDB_MAXSORTPROP) return false;
    order.id = id;
    order.count = static_cast<WORD>(spec.size() / 8);
    for (WORD i = 0; i < order.count; ++i) {
        order.props[i] = Load32(spec.data() + 8 * i);
        order.flags[i] = Load32(spec.data() + 8 * i + 4);
    }
    return true;
}

DWORD ReadOrders(Connection& connection, DbInfo& info) {
    Statement orders = connection.Use(Sql::OrdersOf);
    orders.Bind(1, info.oid);
    while (orders.Row()) {
        SortOrder order;
        if (!ReadOrder(orders.Number(0), orders.Blob(1), order)) return ERROR_BAD_FORMAT;
        info.orders.push_back(order);
    }
    return orders.Error();
}

DWORD ReadDatabase(Connection& connection, Statement& row, std::shared_ptr<const DbInfo>& out) {
    Tally volume; // read first: when it is older than the rows, they are only read once more
    if (const DWORD error = LoadTally(connection, 0, volume)) return error;
    if (!row.Row()) return row.Error() ? row.Error() : ERROR_FILE_NOT_FOUND;
    auto info = std::make_shared<DbInfo>();
    info->version = volume.schema;
    info->oid = static_cast<CEOID>(row.Number(0));
    const Bytes name = row.Blob(1);
    info->name.resize(name.size() / sizeof(WCHAR));
    if (!info->name.empty()) std::memcpy(info->name.data(), name.data(), info->name.size() * sizeof(WCHAR));
    info->type = static_cast<DWORD>(row.Number(2));
    info->anySort = row.Number(3) != 0;
    const Bytes props = row.Blob(4);
    for (size_t at = 0; at + 8 <= props.size(); at += 8)
        info->schema.push_back({Load32(props.data() + at), Load32(props.data() + at + 4), 0});
    if (const DWORD error = ReadOrders(connection, *info)) return error;
    out = std::move(info);
    return 0;
}

Bytes BytesOf(const std::u16string& text) {
    return {reinterpret_cast<const BYTE*>(text.data()), text.size() * sizeof(WCHAR)};
}

} // namespace

const SortOrder* DbInfo::Find(const SortOrder& wanted) const {
    const auto at =
        std::find_if(orders.begin(), orders.end(), [&](const SortOrder& o) { return o.SameProps(wanted); });
    return at == orders.end() ? nullptr : &*at;
}

CEPROPID DbInfo::AutoId() const {
    const auto isAuto = [](CEPROPID propid) { return TypeFromPropID(propid) == CEVT_RECID; };
    for (const PropEntry& prop : schema)
        if (isAuto(prop.propid)) return prop.propid;
    for (const SortOrder& order : orders)
        if (isAuto(order.props[0])) return order.props[0];
    return 0;
}

std::u16string FoldDatabaseName(std::u16string_view name) {
    std::u16string folded(name);
    for (WCHAR& c : folded) c = LowerUnit(c);
    return folded;
}

DWORD LoadTally(Connection& connection, CEOID database, Tally& out) {
    Statement row = connection.Use(Sql::TallyGet);
    if (!row.Bind(1, database).Row()) return row.Error() ? row.Error() : ERROR_BAD_FORMAT;
    out = {database,      row.Number(0), row.Number(1), row.Number(2), row.Number(3),
           row.Number(4), row.Number(5), row.Number(6), row.Number(7), false};
    return 0;
}

DWORD LoadDatabase(Connection& connection, CEOID oid, std::shared_ptr<const DbInfo>& out) {
    Statement row = connection.Use(Sql::DatabaseByOid);
    row.Bind(1, oid);
    return ReadDatabase(connection, row, out);
}

DWORD LoadDatabase(Connection& connection, std::u16string_view name, std::shared_ptr<const DbInfo>& out) {
    const std::u16string folded = FoldDatabaseName(name);
    Statement row = connection.Use(Sql::DatabaseByName);
    row.Bind(1, BytesOf(folded));
    return ReadDatabase(connection, row, out);
}

// --- Changes of the list ------------------------------------------------------------------------------------------

DWORD Writer::SchemaChanged() {
    Tally* volume = nullptr;
    if (const DWORD error = TallyOf(0, volume)) return error;
    ++volume->schema;
    volume->changed = true;
    return 0;
}

DWORD Writer::PutDatabase(CEOID oid, const DbInfo& db) {
    const std::u16string folded = FoldDatabaseName(db.name);
    ByteBuffer props;
    for (const PropEntry& prop : db.schema) AppendPair(prop.propid, prop.first, props);
    return m_connection.Use(Sql::DatabasePut)
        .Bind(1, oid)
        .Bind(2, BytesOf(db.name))
        .Bind(3, BytesOf(folded))
        .Bind(4, db.type)
        .Bind(5, db.anySort)
        .Bind(6, props.View())
        .Run();
}

DWORD Writer::CreateDatabase(const DbInfo& wanted, CEOID& oid) {
    std::shared_ptr<const DbInfo> there;
    const DWORD found = LoadDatabase(m_connection, wanted.name, there);
    if (found != ERROR_FILE_NOT_FOUND) return found ? found : ERROR_ALREADY_EXISTS;
    m_midway = true;
    if (const DWORD error = NextOid(oid)) return error;
    if (const DWORD error = PutDatabase(oid, wanted)) return error;
    if (const DWORD error = AddTally(oid)) return error;
    for (const SortOrder& order : wanted.orders)
        if (const DWORD error = AddOrder(oid, order)) return error;
    return SchemaChanged();
}

DWORD Writer::AddOrder(CEOID database, SortOrder order) {
    CEOID id = 0; // never used twice, so that no cursor walks an order that isn't its own
    if (const DWORD error = NextOid(id)) return error;
    order.id = id;
    ByteBuffer spec;
    for (WORD i = 0; i < order.count; ++i) AppendPair(order.props[i], order.flags[i], spec);
    if (const DWORD error =
            m_connection.Use(Sql::OrderAdd).Bind(1, order.id).Bind(2, database).Bind(3, spec.View()).Run())
        return error;
    return BuildKeys(database, order);
}

DWORD Writer::DropOrder(LONGLONG id) {
    if (const DWORD error = m_connection.Use(Sql::KeysDelete).Bind(1, id).Run()) return error;
    return m_connection.Use(Sql::OrderDelete).Bind(1, id).Run();
}

DWORD Writer::BuildKeys(CEOID database, const SortOrder& order) {
    return ForEach(database, [&](CEOID oid, const RecordView& record) { return AddKey(order, oid, record); });
}

DWORD Writer::RebuildTextOrders(CEOID database) {
    std::shared_ptr<const DbInfo> info;
    if (const DWORD error = LoadDatabase(m_connection, database, info)) return error;
    for (const SortOrder& order : info->orders) {
        const auto flags = std::span(order.flags).first(order.count);
        if (std::none_of(flags.begin(), flags.end(), [](DWORD f) { return f & CEDB_SORT_CASEINSENSITIVE; }))
            continue;
        if (const DWORD error = m_connection.Use(Sql::KeysDelete).Bind(1, order.id).Run()) return error;
        if (const DWORD error = BuildKeys(database, order)) return error;
        Note(database, 0, 0);
    }
    return SchemaChanged();
}

DWORD Writer::DeleteDatabase(const DbInfo& db) {
    StartOperation();
    m_midway = true;
    const DWORD walked = ForEach(db.oid, [this](CEOID, const RecordView& record) {
        for (DWORD i = 0; i < record.Count(); ++i)
            if (record.At(i).Outside()) m_droppedStreams.push_back(record.At(i).second & ~kStreamOutside);
        return 0u;
    });
    if (walked) return walked;
    if (const DWORD error = DeleteDroppedStreams()) return error;
    for (const SortOrder& order : db.orders)
        if (const DWORD error = DropOrder(order.id)) return error;
    const LONGLONG last = RecordRow(db.oid, 0xFFFFFFFF);
    if (const DWORD error =
            m_connection.Use(Sql::RecordsDelete).Bind(1, RecordRow(db.oid, 0)).Bind(2, last).Run())
        return error;
    std::erase_if(m_tallies, [&](const Tally& tally) { return tally.database == db.oid; });
    if (const DWORD error = m_connection.Use(Sql::TallyDelete).Bind(1, db.oid).Run()) return error;
    if (const DWORD error = m_connection.Use(Sql::DatabaseDelete).Bind(1, db.oid).Run()) return error;
    Note(db.oid, 0, 0);
    return SchemaChanged();
}

DWORD Writer::ChangeDatabase(const DbInfo& db, const DbInfo& wanted) {
    std::shared_ptr<const DbInfo> there;
    const DWORD found = LoadDatabase(m_connection, wanted.name, there);
    if (found && found != ERROR_FILE_NOT_FOUND) return found;
    if (!found && there->oid != db.oid) return ERROR_ALREADY_EXISTS;
    m_midway = true;
    for (const SortOrder& order : db.orders) {
        const auto same = [&](const SortOrder& o) { return o.id == order.id; };
        if (std::any_of(wanted.orders.begin(), wanted.orders.end(), same)) continue;
        if (const DWORD error = DropOrder(order.id)) return error;
    }
    for (const SortOrder& order : wanted.orders)
        if (order.id == 0)
            if (const DWORD error = AddOrder(db.oid, order)) return error;
    if (const DWORD error = PutDatabase(db.oid, wanted)) return error;
    Note(db.oid, 0, 0);
    return SchemaChanged();
}

DWORD Writer::RemoveProps(const DbInfo& db, std::span<const CEPROPID> ids) {
    std::vector<CEOID> having;
    const DWORD walked = ForEach(db.oid, [&](CEOID oid, const RecordView& record) {
        if (std::any_of(ids.begin(), ids.end(), [&](CEPROPID id) { return record.Find(id).has_value(); }))
            having.push_back(oid);
        return 0u;
    });
    if (walked) return walked;
    std::vector<CEPROPVAL> removals;
    for (const CEPROPID id : ids) removals.push_back({id, 0, CEDB_PROPDELETE, {}});
    for (CEOID oid : having)
        if (const DWORD error = Put(db, oid, removals)) return error;
    DbInfo wanted = db;
    std::erase_if(wanted.schema, [&](const PropEntry& prop) {
        return std::find(ids.begin(), ids.end(), prop.propid) != ids.end();
    });
    return ChangeDatabase(db, wanted);
}

} // namespace plat
