// 5,000 tasks with categories, notes, values of their own and parents: loading them as a list, in groups and as a tree of
// depth 6, and sorting them again; the same with 20,000 for the growth. Trees out of the common: all tasks below one, and
// each below the last. Processor time, the least of several runs. Ends with 1 when a figure is over its limit.
#include "NorvoTools/CeDb.h"
#include "NorvoTools/globals.h"
#include "NorvoTools/registryfunctions.h"
#include "Platform/civil.h"
#include "Platform/modules.h"
#include "Platform/poom.h"
#include "QNWorkerClass/journalstore.h"
#include "QNWorkerClass/linkstore.h"
#include "QNWorkerClass/sidestores.h"
#include "QNWorkerClass/tasksthread.h"
#include "bench/figures.h"
#include "bench/stores.h"

#include <array>
#include <chrono>
#include <cstring>
#include <random>
#include <vector>

namespace {

constexpr WCHAR kAllKey[] = u"Software\\Norvo\\Quillonary\\TV\\42250";

enum Shape { kFlat, kDepth6, kOneParent, kOneChain };

// A device folder of its own, with tasks.
class Device {
public:
    explicit Device(int tasks, Shape shape) {
        m_percent = m_outlook.GetPOOM2Property(u"QN_TaskPercentStatus", CEVT_UI4, true);
        m_parent = m_outlook.GetPOOM2Property(u"QN_ParentOID", CEVT_R8, true);
        m_context = m_outlook.GetPOOM2Property(u"QN_GTDContext", CEVT_LPWSTR, true);
        OpenStore(m_tasks, u"Tasks Database");
        OpenStore(m_named, kNamedPropValsDb);
        OpenStore(m_members, kCategoryAssocDb);
        for (CeDb* db : {&m_tasks, &m_named, &m_members}) {
            db->BeginTransaction();
            for (int i = 1; i <= tasks; ++i)
                db == &m_tasks   ? AddTask(i)
                : db == &m_named ? AddValues(i, shape)
                                 : JoinCategory(m_members, kOidTask | static_cast<ULONG>(i), i);
            db->Commit();
        }
        AddCategories();
        ResetFullCategoryList();
        g_pOutlook = &m_outlook;
    }
    ~Device() {
        g_pOutlook = nullptr;
        m_outlook.Close();
        for (auto* number : {&CQNDataThread::ms_IconProperty, &CQNDataThread::ms_ParentProperty,
                             &CQNDataThread::ms_PercentProperty, &CQNDataThread::ms_TrackedProperty,
                             &CQNDataThread::ms_GtdProjectProperty, &CQNDataThread::ms_StarredProperty,
                             &CQNDataThread::ms_ContextProperty, &CQNDataThread::ms_StatusProperty})
            *number = 0;
        for (CeDb* db : {&m_tasks, &m_named, &m_members}) db->UnMountVolume();
    }
    Device(const Device&) = delete;
    Device& operator=(const Device&) = delete;

private:
    DWORD Number(DWORD from, DWORD to) { return std::uniform_int_distribution<DWORD>(from, to)(m_engine); }

    void AddTask(int i) {
        std::u16string subject = u"A1: Task with a subject of some length ";
        subject[0] = static_cast<WCHAR>(u'A' + Number(0, 5));
        for (int n = static_cast<int>(Number(1, 99999)); n > 0; n /= 10)
            subject += static_cast<WCHAR>(u'0' + n % 10);
        const auto day = [&](DWORD range) {
            return FileTimeFromTicks(static_cast<ULONGLONG>(
                (civil::DaysFromCivil(2026, 1, 1) + Number(0, range)) * civil::kTicksPerDay));
        };
        std::array<CEPROPVAL, 5> values{};
        WORD count = 0;
        const auto add = [&](CEPROPID id) -> CEVALUNION& {
            values[count].propid = id;
            return values[count++].val;
        };
        add(PIMPR_SUBJECT).lpwstr = subject.data();
        add(PIMPR_IMPORTANCE).ulVal = Number(0, 2);
        add(PIMPR_SENSITIVITY).ulVal = 0;
        if (i % 4) add(PIMPR_TASK_DUE).filetime = day(400);
        if (i % 5 == 0) add(PIMPR_TASK_COMPLETED).filetime = day(60);
        const CEOID oid = CeWriteRecordProps(m_tasks.m_hDb, 0, count, values.data());
        if (!oid || (i % 3 == 0 && !AddNote(oid))) std::abort();
    }
    bool AddNote(CEOID oid) {
        const std::vector<BYTE> note(300, 'n');
        DWORD written = 0;
        if (!m_tasks.SeekTo(oid)) return false;
        const HANDLE stream = CeOpenStream(m_tasks.m_hDb, PIMPR_NOTE, STREAM_WRITE);
        const bool good = stream != INVALID_HANDLE_VALUE &&
                          CeStreamWrite(stream, note.data(), static_cast<DWORD>(note.size()), &written) &&
                          CeStreamSaveChanges(stream);
        CloseHandle(stream);
        return good;
    }
    void AddValue(int i, DWORD property, const void* bytes, DWORD size) {
        std::array<CEPROPVAL, 3> values{
            {{kPropNamedItem, 0, 0, {}}, {kPropNamedNumber, 0, 0, {}}, {kPropNamedValue, 0, 0, {}}}};
        values[0].val.ulVal = kOidTask | static_cast<ULONG>(i);
        values[1].val.ulVal = property;
        values[2].val.blob = {size, static_cast<BYTE*>(const_cast<void*>(bytes))};
        if (!CeWriteRecordProps(m_named.m_hDb, 0, 3, values.data())) std::abort();
    }
    static int ParentOf(int i, Shape shape) {
        switch (shape) {
        case kDepth6: // chains of six
            return i % 6 == 1 ? 0 : i - 1;
        case kOneParent:
            return i == 1 ? 0 : 1;
        case kOneChain:
            return i - 1;
        default:
            return 0;
        }
    }
    void AddValues(int i, Shape shape) {
        const DWORD percent = Number(0, 99);
        AddValue(i, m_percent, &percent, sizeof percent);
        if (i % 3 == 0) AddValue(i, m_context, u"@home", 12);
        const int above = ParentOf(i, shape);
        const double parent = (above ? kOidTask | static_cast<DWORD>(above) : 0) + 0.5;
        if (shape != kFlat) AddValue(i, m_parent, &parent, sizeof parent);
    }

    TemporaryDevice m_device;
    std::mt19937 m_engine{5000};
    COutlook m_outlook;
    CeDb m_tasks, m_named, m_members;
    DWORD m_percent = 0, m_parent = 0, m_context = 0;
};

// One from each fourth task, and a journal without entries of any.
void AddLinks(int tasks) {
    CJournal::CheckAndCreateDB();
    if (!CLinks::CheckAndCreateDB()) std::abort();
    CLinkBatch links;
    for (int i = 4; i <= tasks; i += 4)
        if (!links.Create(kOidTask | static_cast<CEOID>(i), kOidTask | 1, u"", LinkKind::kTask, 0, u"Task"))
            std::abort();
    if (!links.Commit()) std::abort();
}

struct Times {
    double load, sort;
};
Times Measure(LONG groupBy, LONG sort) {
    SetToRegistry(HKEY_CURRENT_USER, kAllKey, u"GroupBy", static_cast<DWORD>(groupBy));
    SetToRegistry(HKEY_CURRENT_USER, kAllKey, u"TaskSort", static_cast<DWORD>(sort));
    SetToRegistry(HKEY_CURRENT_USER, kAllKey, u"bShowCompleted", 1);
    CTasksThread thread;
    CeManualEvent stop;
    const double load = LeastMs(7, [&] { thread.TasksThreadProc(&stop); });
    if (thread.GetList().Count() < 800 && thread.GetTreeCount() == 0)
        std::abort(); // not the rows: groups over a tree show its leaves alone
    return {load, LeastMs(15, [&] { thread.SortDataList(); })};
}

} // namespace

int main() {
    g_hResources = LoadLibraryW(u"QNResources.dll");
    const struct {
        const char* name;
        LONG groupBy, sort;
        Shape shape;
    } kViews[] = {
        {"list by priority", kGroupNone, kSortPriority, kFlat},
        {"list by subject", kGroupNone, kSortSubject, kFlat},
        {"groups by category", kGroupCategory, kSortDue, kFlat},
        {"groups by importance", kGroupImportance, kSortPriority, kFlat},
        {"groups by date", kGroupDueDate, kSortCategory, kFlat},
        {"tree of depth 6", kGroupTree, kSortPriority, kDepth6},
        {"list over a tree", kGroupNone, kSortSubject, kDepth6},
        {"groups over a tree", kGroupProgress, kSortSubject, kDepth6},
        {"all below one", kGroupTree, kSortSubject, kOneParent},
        {"all below one, as a list", kGroupNone, kSortSubject, kOneParent},
        {"each below the last", kGroupTree, kSortSubject, kOneChain},
        {"each below the last, as a list", kGroupNone, kSortSubject, kOneChain},
    };
    for (const auto& view : kViews) {
        Times few{}, many{};
        {
            const Device device(5000, view.shape);
            few = Measure(view.groupBy, view.sort);
        }
        {
            const Device device(20000, view.shape);
            many = Measure(view.groupBy, view.sort);
        }
        PrintFigure((std::string(view.name) + ", 5,000: load, ms").c_str(), few.load, 60);
        PrintFigure("  sort again, ms", few.sort, 10);
        // Four times the tasks, n log n 4.7 times; half as much again allowed for what no longer fits the caches.
        PrintFigure("  load of 20,000 / of 5,000", many.load / few.load, 7);
    }
    const Device device(5000, kDepth6);
    SetToRegistry(HKEY_CURRENT_USER, kAllKey, u"GroupBy", kGroupTree);
    AddLinks(5000);
    PrintFigure("tree with links and journal, 5,000: load, ms", Measure(kGroupTree, kSortPriority).load, 60);
    CTasksThread thread;
    CeManualEvent stop;
    PrintFigure("peak memory of the load of a tree, MiB", PeakMiB([&] { thread.TasksThreadProc(&stop); }),
                32);
    const auto start = std::chrono::steady_clock::now(); // what is stored waits for the disk
    thread.ExpandAll(false);
    const std::chrono::duration<double, std::milli> closed = std::chrono::steady_clock::now() - start;
    PrintFigure("all closed, and stored so, ms", closed.count(), 1000);
    PrintFigure("all opened, ms", LeastMs(1, [&] { thread.ExpandAll(true); }), 100);
    SetToRegistry(HKEY_CURRENT_USER, kAllKey, u"GroupBy", kGroupCategory);
    thread.TasksThreadProc(&stop);
    PrintFigure("all groups opened, ms", LeastMs(1, [&] { thread.ExpandAll(true); }), 100);
    return g_bAllWithin ? 0 : 1;
}
