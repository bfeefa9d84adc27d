// A load of the task list: the worker, the walk over the records, the order of the steps.
#include "QNWorkerClass/tasksthread.h"

#include "Platform/memory.h"
#include "Platform/poom.h"
#include "Platform/windows.h"
#include "QNWorkerClass/sidestores.h"
#include "QNWorkerClass/tasksrecord.h"

#include <algorithm>

namespace {

constexpr WCHAR kTaskKey[] = u"Software\\Norvo\\Quillonary\\TV";
constexpr DWORD kStopInterval = 25; // of records that passed the category filter

SORTORDERSPECEX ByNumber() {
    SORTORDERSPECEX order{};
    order.wVersion = 2;
    order.wNumProps = 1;
    order.wKeyFlags = 0x1200;
    order.rgPropID[0] = PIMPR_NUMBER;
    return order;
}

} // namespace

// The buffer that records are read into, and the record on it.
class CTasksThread::RecordBuffer {
public:
    RecordBuffer() : m_pBytes(static_cast<BYTE*>(LocalAlloc(LPTR, kSize))) {}
    ~RecordBuffer() {
        record.DetachBuffer();
        LocalFree(m_pBytes);
    }
    RecordBuffer(const RecordBuffer&) = delete;
    RecordBuffer& operator=(const RecordBuffer&) = delete;

    bool Read(CeDb& db, WORD count, const CEPROPID* ids) {
        return m_pBytes && db.ReadRec(record, m_pBytes, kSize, count, ids);
    }
    CEPROPVAL* Bytes() { return reinterpret_cast<CEPROPVAL*>(m_pBytes); }

    static constexpr DWORD kSize = CeRecordBufferSize(kTaskReadBuffer, kTaskProps);
    CeDbRecord record;

private:
    BYTE* m_pBytes;
};

CTasksThread::CTasksThread()
    : m_listTasks(1, PTRLIST_KEEP, &TasksCompareSubject),
      m_listGroups(0, PTRLIST_DELETE, &TasksCompareSubject) {
    m_bGoalsToo = 1;
    Override(kTaskKey);
    SettingChange();
}

CTasksThread::~CTasksThread() {
    StopAnswering();
    ClearData();
}

// --- The run ------------------------------------------------------------------------------------------------------

DWORD CTasksThread::ThreadProc() {
    m_nLoads = 0;
    if (StopRequested(&m_hStopEvent)) return 0;
    if (m_hClientWnd) PostMessageW(m_hClientWnd, kMsgLoadBegins, 0, 0);
    TasksThreadProc(&m_hStopEvent);
    if (m_hClientWnd) PostMessageW(m_hClientWnd, kMsgThreadFinished, 0, 0);
    return 0;
}

void CTasksThread::PostKill() {
    CloseLinksDB();
    if (m_pDb) m_pDb->Close();
    SweepErased();
    m_nLoads = 0;
    LeaveForKilled();
    if (m_hClientWnd) PostMessageW(m_hClientWnd, kMsgThreadFinished, 0, 0);
}

DWORD CTasksThread::TasksThreadProc(CeManualEvent* stop) {
    {
        const DataHold hold(*this);
        if (!hold.IsHeld() || !Load(stop)) return 0;
    }
    if (m_hClientWnd) SendMessageW(m_hClientWnd, kMsgListChanged, 1, m_lActiveDataCount);
    return 0;
}

// False when it was stopped: nobody is told then, and nothing is sorted.
bool CTasksThread::Load(CeManualEvent* stop) {
    PrepareLoad();
    bool finished = true;
    if (OpenTasks() && m_pDb->GetNumRecords() != 0) {
        const ItemScan scan(*this, kOidTask);
        RecordBuffer buffer;
        InitiateLinksDB();
        FindCycles();
        finished = ReadAll(stop, buffer);
        if (finished) SetChildToParents(buffer.Bytes(), kTaskIds.data(), RecordBuffer::kSize, true);
        SweepErased();
        if (finished) {
            SetActiveCountFromTree();
            SortRows();
            SortPriorityManager();
        }
    }
    if (finished)
        m_pDb->Close();
    else
        m_pDb.reset();
    CloseLinksDB();
    --m_nLoads;
    return finished;
}

void CTasksThread::PrepareLoad() {
    ++m_nLoads;
    SetupThreadResources();
    GetDatabaseClass();
    if (!m_bManualSettings) SettingChange();
    m_counts = {};
    m_bTreeExpanded = false;
    m_listContexts.clear();
    m_contextIndex.clear();
    LoadSortPrefs();
    m_bProjectMode = IsProjectRule(m_nRule);
    if (m_bProjectMode) {
        if (!m_pProjects) m_pProjects = std::make_unique<CTaskProjects>();
        m_pProjects->LoadProjects();
        m_listExcluded.clear();
    }
    ClearData();
    m_listBookmarks.clear();
    m_cyclic.clear();
}

bool CTasksThread::OpenTasks() {
    const SORTORDERSPECEX order = ByNumber();
    return m_pDb->MountVolumeEDB(kPimVolume, false) && m_pDb->OpenEDB(0, kTasksDb, &order, 0, nullptr);
}

WORD CTasksThread::SetPropIds(CEPROPID* ids) {
    std::copy(kTaskIds.begin(), kTaskIds.end(), ids);
    return kTaskProps;
}

// Tasks that are ancestors of themselves have no parent in this load.
void CTasksThread::FindCycles() {
    enum : char { kNew, kOnPath, kDone };
    struct Node {
        DWORD parent;
        char state = kNew;
    };
    std::unordered_map<DWORD, Node> nodes;
    bool fraction;
    for (const CEOID oid : ItemsWithNamed(ms_ParentProperty)) nodes[oid] = {ParentFromOID(oid, fraction)};
    std::vector<DWORD> path;
    for (const auto& start : nodes) {
        path.clear();
        auto at = nodes.find(start.first);
        for (; at != nodes.end() && at->second.state == kNew; at = nodes.find(at->second.parent)) {
            at->second.state = kOnPath;
            path.push_back(at->first);
        }
        if (at != nodes.end() && at->second.state == kOnPath)
            m_cyclic.insert(std::find(path.begin(), path.end(), at->first), path.end());
        for (const DWORD oid : path) nodes[oid].state = kDone;
    }
}

// --- The walk -----------------------------------------------------------------------------------------------------

bool CTasksThread::ReadAll(CeManualEvent* stop, RecordBuffer& buffer) {
    const bool byCategory = m_CategoryFilter.bHideCategories != 0 || !m_CategoryFilter.m_list.IsEmpty();
    IndexRows();
    if (!byCategory) {
        m_counts.lTotal = static_cast<LONG>(m_pDb->GetNumRecords());
        for (CEOID oid = m_pDb->SeekFirst(); oid; oid = m_pDb->SeekNext()) {
            if (StopRequested(stop)) return false;
            ReadCurrent(buffer);
        }
        return true;
    }
    FindBookmarks(buffer);
    for (std::size_t i = 0; i < m_listBookmarks.size(); ++i) {
        if (i % kStopInterval == 0 && StopRequested(stop)) return false;
        if (m_pDb->SeekTo(m_listBookmarks[i])) ReadCurrent(buffer);
    }
    return true;
}

void CTasksThread::FindBookmarks(RecordBuffer& buffer) {
    const CEPROPID ids[] = {PIMPR_NUMBER};
    m_listBookmarks.reserve(m_pDb->GetNumRecords());
    for (CEOID oid = m_pDb->SeekFirst(); oid; oid = m_pDb->SeekNext()) {
        DWORD number = 0;
        if (buffer.Read(*m_pDb, 1, ids) && buffer.record.GetIndexVal(0, number) &&
            CategoryFilterEDB(number | kOidTask, &m_CategoryFilter))
            m_listBookmarks.push_back(oid);
    }
    m_counts.lTotal = static_cast<LONG>(m_listBookmarks.size());
}

// A record that can't be read is passed over.
void CTasksThread::ReadCurrent(RecordBuffer& buffer) {
    bool show = true;
    if (buffer.Read(*m_pDb, kTaskProps, kTaskIds.data())) AddNewTask(&buffer.record, &show, -1, false, false);
}
