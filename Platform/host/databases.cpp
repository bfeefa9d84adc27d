// Volumes, sessions and databases as the device offers them; the records are in database_records.cpp.
#include "Platform/host/store.h"

#include "Platform/host/call.h"
#include "Platform/threads.h"

#include <algorithm>

namespace plat {

namespace {

// The last error is only touched by failure, so that success keeps what the caller put there.
BOOL Answer(DWORD error) {
    if (error) SetLastError(error);
    return error == 0;
}

std::shared_ptr<Volume> VolumeOf(const CEGUID* guid, DWORD& error) {
    auto volume = guid ? FindVolume(*guid) : nullptr;
    error = volume ? 0 : ERROR_FILE_NOT_FOUND;
    return volume;
}

// Runs `change(session, info)` on a database of a volume, in a session of its own.
template<class Work>
DWORD WithDatabase(const CEGUID* guid, CEOID oid, bool closed, Work work) {
    DWORD error = 0;
    const auto volume = VolumeOf(guid, error);
    std::shared_ptr<Session> session;
    if (!error) error = Session::Make(volume, session);
    if (error) return error;
    SessionLock lock(*session);
    std::shared_ptr<const DbInfo> info;
    if ((error = LoadDatabase(session->Conn(), oid, info))) return error;
    if (closed && volume->IsOpen(oid)) return ERROR_SHARING_VIOLATION;
    return work(*session, info);
}

std::u16string NameOf(const WCHAR (&name)[CEDB_MAXDBASENAMELEN]) {
    const auto end = std::find(std::begin(name), std::end(name), WCHAR{0});
    return {std::begin(name), end};
}

void PutName(const std::u16string& name, WCHAR (&out)[CEDB_MAXDBASENAMELEN]) {
    const size_t length = std::min<size_t>(name.size(), CEDB_MAXDBASENAMELEN - 1);
    std::copy_n(name.begin(), length, out);
    out[length] = 0;
}

// --- Opening ------------------------------------------------------------------------------------------------------

// An order that a database without orders didn't have so far gets its keys now.
DWORD AddOrder(Session& session, std::shared_ptr<const DbInfo>& info, const SortOrder& order) {
    const DWORD error = session.Write([&](Writer& writer) {
        if (const DWORD failed = writer.Renew(info)) return failed;
        if (info->Find(order)) return DWORD{0}; // another came first
        DbInfo wanted = *info;
        wanted.orders.push_back(order);
        return writer.ChangeDatabase(*info, wanted);
    });
    return error ? error : LoadDatabase(session.Conn(), info->oid, info);
}

DWORD ChooseOrder(Session& session, std::shared_ptr<const DbInfo>& info, const SORTORDERSPECEX* spec,
                  SortOrder& out) {
    if (!spec || spec->wNumProps == 0) return 0;
    const auto wanted = SortOrder::Of(*spec);
    if (!wanted) return ERROR_INVALID_PARAMETER;
    if (!info->Find(*wanted) && info->anySort && wanted->count == 1)
        if (const DWORD error = AddOrder(session, info, *wanted)) return error;
    const SortOrder* found = info->Find(*wanted);
    if (!found) return ERROR_INVALID_PARAMETER;
    out = *found;
    return 0;
}

DWORD OpenIn(const std::shared_ptr<Session>& session, CEOID* oid, LPCWSTR name, const SORTORDERSPECEX* sort,
             const CENOTIFYREQUEST* notify, std::shared_ptr<Database>& out) {
    if (!oid || (!*oid && (!name || !*name))) return ERROR_INVALID_PARAMETER;
    SessionLock lock(*session);
    std::shared_ptr<const DbInfo> info;
    const bool byName = name && *name;
    DWORD error = byName ? LoadDatabase(session->Conn(), std::u16string_view(name), info)
                         : LoadDatabase(session->Conn(), *oid, info);
    SortOrder order;
    if (!error) error = ChooseOrder(*session, info, sort, order);
    if (error) return error;
    auto database = std::make_shared<Database>(session, info, order);
    if (notify && notify->hwnd) {
        const Subscription wanted{0, info->oid, notify->hwnd, notify->dwParam, 0};
        error = session->GetVolume().Subscribe(wanted, session->Conn(), database->m_subscription);
        if (error) {
            database->OnLastClose();
            return error;
        }
    }
    *oid = info->oid;
    out = std::move(database);
    return 0;
}

HANDLE HandleOf(DWORD error, const std::shared_ptr<KernelObject>& object) {
    if (error) {
        SetLastError(error);
        return INVALID_HANDLE_VALUE;
    }
    const HANDLE handle = AddHandle(object);
    if (handle) return handle;
    object->OnLastClose(); // it counts as open already
    SetLastError(ERROR_NOT_ENOUGH_MEMORY);
    return INVALID_HANDLE_VALUE;
}

// --- Creating -----------------------------------------------------------------------------------------------------

CEOID Create(const CEGUID* guid, const DbInfo& wanted) {
    DWORD error = 0;
    const auto volume = VolumeOf(guid, error);
    if (!error && wanted.name.empty()) error = ERROR_INVALID_PARAMETER;
    std::shared_ptr<Session> session;
    if (!error) error = Session::Make(volume, session);
    CEOID oid = 0;
    if (!error) {
        SessionLock lock(*session);
        error = session->Write([&](Writer& writer) { return writer.CreateDatabase(wanted, oid); });
    }
    if (error) oid = 0;
    SetLastError(error); // creation tells success, too: callers look at the error in any case
    return oid;
}

bool AddOrders(std::span<const SORTORDERSPECEX> specs, DbInfo& info) {
    for (const SORTORDERSPECEX& spec : specs) {
        const auto order = SortOrder::Of(spec);
        if (!order) return false;
        if (!info.Find(*order)) info.orders.push_back(*order);
    }
    return true;
}

bool AddOrdersOf(const CEDBASEINFOEX& info, DbInfo& out) {
    if (!(info.dwFlags & CEDB_VALIDSORTSPEC)) return true;
    return info.wNumSortOrder <= CEDB_MAXSORTORDER &&
           AddOrders(std::span(info.rgSortSpecs).first(info.wNumSortOrder), out);
}

void AddSchema(std::span<const CEPROPSPEC> props, DbInfo& info) {
    for (const CEPROPSPEC& prop : props) {
        std::erase_if(info.schema, [&](const PropEntry& p) { return p.propid == prop.propid; });
        info.schema.push_back({prop.propid, prop.dwFlags, 0});
    }
}

CEOID CreateEx(const CEGUID* guid, const CEDBASEINFOEX* info, DWORD count, const CEPROPSPEC* props) {
    DbInfo wanted;
    if (!info || !(info->dwFlags & CEDB_VALIDNAME) || (count && !props) || !AddOrdersOf(*info, wanted)) {
        SetLastError(ERROR_INVALID_PARAMETER);
        return 0;
    }
    wanted.name = NameOf(info->szDbaseName);
    wanted.type = info->dwFlags & CEDB_VALIDTYPE ? info->dwDbaseType : 0;
    wanted.anySort = wanted.orders.empty();
    AddSchema({props, count}, wanted);
    return Create(guid, wanted);
}

// --- Telling ------------------------------------------------------------------------------------------------------

void Tell(const DbInfo& info, const Tally& tally, CEDBASEINFOEX& out) {
    out.dwFlags = CEDB_VALIDNAME | CEDB_VALIDTYPE | CEDB_VALIDSORTSPEC;
    PutName(info.name, out.szDbaseName);
    out.dwDbaseType = info.type;
    out.dwNumRecords = static_cast<DWORD>(tally.records);
    out.dwSize = static_cast<DWORD>(std::min<LONGLONG>(tally.bytes, 0xFFFFFFFF));
    out.ftLastModified = FileTimeFromTicks(static_cast<ULONGLONG>(tally.modified));
    out.wNumSortOrder = static_cast<WORD>(std::min<size_t>(info.orders.size(), CEDB_MAXSORTORDER));
    for (WORD i = 0; i < out.wNumSortOrder; ++i) {
        SORTORDERSPECEX& spec = out.rgSortSpecs[i];
        spec = {2, info.orders[i].count, 0, 0, {}, {}};
        std::copy_n(info.orders[i].props.begin(), spec.wNumProps, spec.rgPropID);
        std::copy_n(info.orders[i].flags.begin(), spec.wNumProps, spec.rgdwFlags);
    }
}

void TellOld(const CEDBASEINFOEX& info, CEDBASEINFO& out) {
    out.dwFlags = info.dwFlags;
    std::copy_n(info.szDbaseName, CEDB_MAXDBASENAMELEN, out.szDbaseName);
    out.dwDbaseType = info.dwDbaseType;
    out.wNumRecords = static_cast<WORD>(std::min<DWORD>(info.dwNumRecords, 0xFFFF));
    out.wNumSortOrder = info.wNumSortOrder;
    out.dwSize = info.dwSize;
    out.ftLastModified = info.ftLastModified;
    for (WORD i = 0; i < info.wNumSortOrder; ++i)
        out.rgSortSpecs[i] = {info.rgSortSpecs[i].rgPropID[0], info.rgSortSpecs[i].rgdwFlags[0]};
}

// A record's row carries its database; there are a few databases, so each is asked.
DWORD ParentOf(Connection& connection, CEOID oid, CEOID& parent) {
    Statement databases = connection.Use(Sql::DatabaseList);
    while (databases.Row()) {
        Statement row = connection.Use(Sql::RecordGet);
        parent = static_cast<CEOID>(databases.Number(0));
        if (row.Bind(1, RecordRow(parent, oid)).Row()) return 0;
        if (row.Error()) return row.Error();
    }
    return databases.Error() ? databases.Error() : ERROR_FILE_NOT_FOUND;
}

DWORD GetInfo(const std::shared_ptr<Volume>& volume, CEOID oid, CEOIDINFOEX& out) {
    std::shared_ptr<Session> session;
    if (const DWORD error = Session::Make(volume, session)) return error;
    SessionLock lock(*session);
    std::shared_ptr<const DbInfo> info;
    DWORD error = LoadDatabase(session->Conn(), oid, info);
    if (error == ERROR_FILE_NOT_FOUND) {
        CEOID parent = 0;
        error = ParentOf(session->Conn(), oid, parent);
        if (!error) {
            out.wObjType = OBJTYPE_RECORD;
            out.infRecord.oidParent = parent;
        }
        return error;
    }
    Tally tally;
    if (!error) error = LoadTally(session->Conn(), oid, tally);
    if (error) return error;
    const WORD version = out.wVersion;
    out.wObjType = OBJTYPE_DATABASE;
    out.infDatabase = {};
    out.infDatabase.wVersion = version;
    Tell(*info, tally, out.infDatabase);
    return 0;
}

BOOL Mount(CEGUID* guid, LPCWSTR path, DWORD flags) {
    constexpr DWORD kHow = 7;
    const DWORD how = flags & kHow;
    if (!guid || !path || !*path || (how != DBVOL_OPEN_EXISTING && how != DBVOL_OPEN_ALWAYS))
        return Answer(ERROR_INVALID_PARAMETER);
    DWORD error = 0;
    const auto volume = MountVolume(path, how == DBVOL_OPEN_ALWAYS, error);
    if (volume) *guid = volume->Guid();
    return Answer(error);
}

} // namespace

} // namespace plat

using namespace plat;

// --- Volumes ------------------------------------------------------------------------------------------------------

BOOL CeMountDBVol(CEGUID* guid, LPCWSTR path, DWORD flags) {
    HostCall call;
    return Mount(guid, path, flags);
}

BOOL CeMountDBVolEx(CEGUID* guid, LPCWSTR path, CEVOLUMEOPTIONS*, DWORD flags) {
    HostCall call;
    return Mount(guid, path, flags);
}

BOOL CeUnmountDBVol(const CEGUID* guid) {
    HostCall call;
    return Answer(guid && UnmountVolume(*guid) ? 0 : ERROR_FILE_NOT_FOUND);
}

// --- Sessions -----------------------------------------------------------------------------------------------------

HANDLE CeCreateSession(const CEGUID* guid) {
    HostCall call;
    DWORD error = 0;
    const auto volume = VolumeOf(guid, error);
    std::shared_ptr<Session> session;
    if (!error) error = Session::Make(volume, session);
    return HandleOf(error, session);
}

BOOL CeBeginTransaction(HANDLE handle, DWORD) {
    HostCall call;
    const auto session = FindObject<Session>(handle);
    if (!session) return Answer(ERROR_INVALID_HANDLE);
    SessionLock lock(*session);
    return Answer(session->Begin());
}

BOOL CeEndTransaction(HANDLE handle, BOOL commit) {
    HostCall call;
    const auto session = FindObject<Session>(handle);
    if (!session) return Answer(ERROR_INVALID_HANDLE);
    SessionLock lock(*session);
    return Answer(session->End(commit != FALSE));
}

// --- Databases ----------------------------------------------------------------------------------------------------

HANDLE CeOpenDatabaseInSession(HANDLE handle, const CEGUID* guid, CEOID* oid, LPCWSTR name,
                               const SORTORDERSPECEX* sort, DWORD flags, const CENOTIFYREQUEST* notify) {
    if (!handle) return CeOpenDatabaseEx2(guid, oid, name, sort, flags, notify);
    HostCall call;
    const auto session = FindObject<Session>(handle);
    DWORD error = session ? 0 : ERROR_INVALID_HANDLE;
    if (!error && guid && *guid != session->GetVolume().Guid()) error = ERROR_INVALID_PARAMETER;
    std::shared_ptr<Database> database;
    if (!error) error = OpenIn(session, oid, name, sort, notify, database);
    return HandleOf(error, database);
}

HANDLE CeOpenDatabaseEx2(const CEGUID* guid, CEOID* oid, LPCWSTR name, const SORTORDERSPECEX* sort, DWORD,
                         const CENOTIFYREQUEST* notify) {
    HostCall call;
    DWORD error = 0;
    const auto volume = VolumeOf(guid, error);
    std::shared_ptr<Session> session;
    if (!error) error = Session::Make(volume, session);
    std::shared_ptr<Database> database;
    if (!error) error = OpenIn(session, oid, name, sort, notify, database);
    return HandleOf(error, database);
}

CEOID CeCreateDatabaseEx(const CEGUID* guid, const CEDBASEINFO* info) {
    HostCall call;
    if (!info) {
        SetLastError(ERROR_INVALID_PARAMETER);
        return 0;
    }
    CEDBASEINFOEX larger{};
    larger.wVersion = 1;
    larger.dwFlags = info->dwFlags;
    std::copy_n(info->szDbaseName, CEDB_MAXDBASENAMELEN, larger.szDbaseName);
    larger.dwDbaseType = info->dwDbaseType;
    larger.wNumSortOrder = info->wNumSortOrder;
    for (WORD i = 0; i < std::min(info->wNumSortOrder, CEDB_MAXSORTORDER); ++i)
        larger.rgSortSpecs[i] = {2, 1, 0, 0, {info->rgSortSpecs[i].propid}, {info->rgSortSpecs[i].dwFlags}};
    return CreateEx(guid, &larger, 0, nullptr);
}

CEOID CeCreateDatabaseEx2(const CEGUID* guid, const CEDBASEINFOEX* info) {
    HostCall call;
    return CreateEx(guid, info, 0, nullptr);
}

CEOID CeCreateDatabaseWithProps(const CEGUID* guid, const CEDBASEINFOEX* info, DWORD count,
                                const CEPROPSPEC* props) {
    HostCall call;
    return CreateEx(guid, info, count, props);
}

BOOL CeDeleteDatabaseEx(const CEGUID* guid, CEOID oid) {
    HostCall call;
    return Answer(WithDatabase(guid, oid, true, [](Session& session, std::shared_ptr<const DbInfo>& info) {
        return session.Write([&](Writer& writer) {
            const DWORD error = writer.Renew(info);
            return error ? error : writer.DeleteDatabase(*info);
        });
    }));
}

BOOL CeSetDatabaseInfoEx2(const CEGUID* guid, CEOID oid, const CEDBASEINFOEX* wanted) {
    HostCall call;
    if (!wanted) return Answer(ERROR_INVALID_PARAMETER);
    return Answer(WithDatabase(guid, oid, true, [=](Session& session, std::shared_ptr<const DbInfo>& info) {
        return session.Write([&](Writer& writer) {
            if (const DWORD error = writer.Renew(info)) return error;
            DbInfo changed = *info;
            if (wanted->dwFlags & CEDB_VALIDNAME) changed.name = NameOf(wanted->szDbaseName);
            if (wanted->dwFlags & CEDB_VALIDTYPE) changed.type = wanted->dwDbaseType;
            if (wanted->dwFlags & CEDB_VALIDSORTSPEC) {
                changed.orders.clear(); // all are made anew, with the flags that are told now
                if (!AddOrdersOf(*wanted, changed)) return ERROR_INVALID_PARAMETER;
                changed.anySort = changed.orders.empty();
            }
            return changed.name.empty() ? ERROR_INVALID_PARAMETER : writer.ChangeDatabase(*info, changed);
        });
    }));
}

BOOL CeAddDatabaseProps(const CEGUID* guid, CEOID oid, DWORD count, const CEPROPSPEC* props) {
    HostCall call;
    if (count && !props) return Answer(ERROR_INVALID_PARAMETER);
    return Answer(WithDatabase(guid, oid, true, [=](Session& session, std::shared_ptr<const DbInfo>& info) {
        return session.Write([&](Writer& writer) {
            if (const DWORD error = writer.Renew(info)) return error;
            DbInfo changed = *info;
            AddSchema({props, count}, changed);
            return writer.ChangeDatabase(*info, changed);
        });
    }));
}

BOOL CeRemoveDatabaseProps(const CEGUID* guid, CEOID oid, DWORD count, const CEPROPID* ids) {
    HostCall call;
    if (count && !ids) return Answer(ERROR_INVALID_PARAMETER);
    return Answer(WithDatabase(guid, oid, true, [=](Session& session, std::shared_ptr<const DbInfo>& info) {
        return session.Write([&](Writer& writer) {
            const DWORD error = writer.Renew(info);
            return error ? error : writer.RemoveProps(*info, {ids, count});
        });
    }));
}

BOOL CeGetDatabaseProps(HANDLE handle, WORD* count, const CEPROPID* ids, CEPROPSPEC* props) {
    HostCall call;
    const auto& db = DatabaseOf(handle);
    if (!db) return Answer(ERROR_INVALID_HANDLE);
    if (!count) return Answer(ERROR_INVALID_PARAMETER);
    SessionLock lock(*db->m_session);
    if (const DWORD error = LoadDatabase(db->m_session->Conn(), db->m_info->oid, db->m_info))
        return Answer(error);
    const WORD room = props ? *count : 0;
    WORD found = 0;
    for (const PropEntry& prop : db->m_info->schema) {
        if (ids && std::find(ids, ids + *count, prop.propid) == ids + *count) continue;
        if (found < room) props[found] = {1, prop.propid, prop.first, nullptr, 0};
        ++found;
    }
    const bool fits = found <= room || !props;
    *count = found;
    return Answer(fits ? 0 : ERROR_INSUFFICIENT_BUFFER);
}

BOOL CeOidGetInfo(CEOID oid, CEOIDINFO* info) {
    HostCall call;
    if (!info) return Answer(ERROR_INVALID_PARAMETER);
    DWORD error = ERROR_FILE_NOT_FOUND;
    for (const auto& volume : MountedVolumes()) {
        CEOIDINFOEX found{};
        found.wVersion = 1;
        error = GetInfo(volume, oid, found);
        if (error == ERROR_FILE_NOT_FOUND) continue;
        if (error) break;
        *info = {};
        info->wObjType = found.wObjType;
        if (found.wObjType == OBJTYPE_RECORD)
            info->infRecord = found.infRecord;
        else
            TellOld(found.infDatabase, info->infDatabase);
        break;
    }
    return Answer(error);
}

BOOL CeOidGetInfoEx2(const CEGUID* guid, CEOID oid, CEOIDINFOEX* info) {
    HostCall call;
    if (!info) return Answer(ERROR_INVALID_PARAMETER);
    DWORD error = 0;
    const auto volume = VolumeOf(guid, error);
    return Answer(error ? error : GetInfo(volume, oid, *info));
}
