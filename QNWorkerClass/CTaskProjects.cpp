#include "QNWorkerClass/CTaskProjects.h"

#include "NorvoTools/errors.h"

#include <atomic>
#include <iterator>

namespace {

constexpr WCHAR kStore[] = u"QN_Projects";
constexpr CEPROPID kNameProperty = 0x0020001F;
constexpr CEPROPID kKindProperty = 0x61000012;
constexpr WORD kProjectKind = 3;

int CompareOids(TASK_PROJECT* const& a, TASK_PROJECT* const& b, CEUSER) {
    return a->oid < b->oid ? -1 : a->oid > b->oid;
}
int CompareNames(TASK_PROJECT* const& a, TASK_PROJECT* const& b, CEUSER) { return a->name.Compare(b->name); }

SORTORDERSPECEX OneKey(CEPROPID property) {
    SORTORDERSPECEX order{};
    order.wVersion = 2;
    order.wNumProps = 1;
    order.rgPropID[0] = property;
    return order;
}

} // namespace

CTaskProjects::CTaskProjects(HWND hwnd) : m_listProjects(0, PTRLIST_DELETE, &CompareOids), m_hWnd(hwnd) {}

void CTaskProjects::CheckAndCreateDB() {
    static std::atomic<bool> checked{false}; // no thread waits for one that was ended in here
    if (checked.exchange(true)) return;
    CeDb db;
    if (db.Open(kStore)) return;
    const SORTORDERSPECEX orders[] = {OneKey(kNameProperty), OneKey(kKindProperty)};
    db.Create(kStore, 0, static_cast<WORD>(std::size(orders)), orders, 0, nullptr);
    db.Close();
}

bool CTaskProjects::OpenDB() { return m_db.IsOpen() || m_db.Open(kStore, 0, 0, m_hWnd); }

CePtrList<TASK_PROJECT*>* CTaskProjects::LoadProjects() {
    m_listProjects.Clear();
    CheckAndCreateDB();
    if (!OpenDB()) return nullptr;
    CeDbRecord record;
    for (CEOID oid = m_db.SeekFirst(); oid; oid = m_db.SeekNext()) {
        const CEPROPID ids[] = {kNameProperty};
        if (!m_db.ReadRec(record, 1, ids)) break;
        if (const std::u16string_view name = record.TextAt(0); !name.empty())
            m_listProjects.Add(new TASK_PROJECT{oid, CeString(name)});
    }
    SortByName();
    return &m_listProjects;
}

void CTaskProjects::SortByName() {
    m_listProjects.SetCompare(&CompareNames);
    m_listProjects.Sort(true);
}

DWORD CTaskProjects::CreateProject(const WCHAR* name) {
    if (!name || !*name) return 0;
    for (const TASK_PROJECT* project : m_listProjects)
        if (project->name == name) return project->oid;
    CheckAndCreateDB();
    if (!OpenDB()) return 0;
    CeDbRecord record;
    const CEPROPID ids[] = {kNameProperty, kKindProperty};
    record.AddProps(ids, static_cast<WORD>(std::size(ids)));
    record.SetIndexVal(0, name);
    record.SetIndexVal(1, kProjectKind);
    if (!m_db.AddRec(record)) {
        ShowError();
        return 0;
    }
    m_listProjects.Add(new TASK_PROJECT{record.m_oid, CeString(std::u16string_view(name))});
    SortByName();
    return record.m_oid;
}

// The list stays in the comparison by OID.
TASK_PROJECT* CTaskProjects::FindProjectbyID(DWORD oid) {
    if (oid == 0 || m_listProjects.IsEmpty()) return nullptr;
    m_listProjects.SetCompare(&CompareOids);
    TASK_PROJECT wanted{oid, CeString()};
    const int index = m_listProjects.Find(&wanted);
    return index < m_listProjects.GetBase() ? nullptr : m_listProjects.Get(index);
}

void CTaskProjects::RemoveProject(DWORD oid) {
    CheckAndCreateDB();
    if (!OpenDB() || !m_db.DeleteRecord(oid)) return;
    if (FindProjectbyID(oid)) m_listProjects.RemoveAt(m_listProjects.GetCurrent());
}
