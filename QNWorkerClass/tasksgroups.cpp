// Task rows under headers: which headers there are, and under which one a task stands.
#include "QNWorkerClass/tasksthread.h"

#include "NorvoTools/StrFunctions.h"
#include "NorvoTools/datetime.h"
#include "NorvoTools/registryfunctions.h"
#include "Platform/locale.h"
#include "Platform/strings.h"
#include "QNWorkerClass/texts.h"

#include <algorithm>

namespace {

constexpr WCHAR kHeadingsKey[] = u"Software\\Norvo\\Quillonary\\TV\\GroupHeadings";
constexpr WCHAR kStateKey[] = u"Software\\Norvo\\Quillonary\\TV\\GroupState";
constexpr WCHAR kNoCategoryState[] = u"TV_BY_CATEGORY_GROUP_NONE";
constexpr int kNoneChars = 141; // with the terminator
constexpr std::size_t kHeadingChars = 400;
constexpr std::size_t kLongDateChars = 50;
constexpr SHORT kHeaderGone = -99;

struct ImportanceHeader {
    LONG importance;
    UINT text;
};
constexpr ImportanceHeader kImportances[] = {{2, 41161}, {1, 41162}, {0, 41163}};

// By progress and by completion, in the order in which the headers are made. Their dates are there for their order alone.
enum Progress : SHORT {
    kOverdue,
    kDueToday,
    kNoDueDate,
    kCompleted,
    kDueInWeek,
    kDueInMonth,
    kDueLater,
    kDueTomorrow
};
constexpr UINT kProgressTexts[] = {44032, 44033, 44034, 44181, 44172, 44173, 44174, 44557};
constexpr double kUndatedFirst = 402152.0;
constexpr LONG kWeek = 7, kMonth = 31;

enum Completion : int { kOpen, kThisWeek, kThisMonth, kEarlier };
constexpr UINT kFirstCompletionText = 44177;
constexpr int kCompletions = 4;

constexpr UINT kFirstStatusText = 44801;
constexpr LONG kStatuses = 11;

LONG WholeDay(double date) { return static_cast<LONG>(date); }

std::u16string LongDate(double date) {
    WCHAR text[256];
    if (!GetDateFormatW(LOCALE_USER_DEFAULT, DATE_LONGDATE, date, nullptr, text,
                        static_cast<int>(std::size(text))))
        return LoadText(kTextNone, kNoneChars);
    text[kLongDateChars] = 0;
    return text;
}

} // namespace

// --- State --------------------------------------------------------------------------------------------------------

// Empty when a header of this view keeps no state.
std::u16string CTasksThread::StateName(const DATATASKS& header) const {
    WCHAR name[32];
    switch (m_nGroupBy) {
    case kGroupCategory:
        return header.m_szCategories && *header.m_szCategories ? header.m_szCategories : kNoCategoryState;
    case kGroupImportance:
        wsprintfW(name, u"%d", header.m_nImportance);
        return name;
    case kGroupLetter:
    case kGroupManager:
        return header.m_szPriorityLetter;
    case kGroupProgress:
        wsprintfW(name, u"GRPPROG-%d", header.m_nProgress);
        return name;
    case kGroupCompletion:
        return header.m_bCompleted ? u"Complete" : u"Incomplete";
    case kGroupGtdStatus:
        wsprintfW(name, u"GTD_STATUS-%d", header.m_lGtdStatus);
        return name;
    default:
        return {};
    }
}

bool CTasksThread::IsGroupHeaderOpen(const DATATASKS* header) const {
    if (!IsGrouped() || m_nGroupBy == kGroupDueDate) return m_bShowExpanded != 0;
    return ReadRegistryWithDefault(kStateKey, StateName(*header).c_str(), 1) != 0;
}

void CTasksThread::SetGroupHeaderOpen(const DATATASKS* header, bool bOpen) {
    if (!IsGrouped() || m_nGroupBy == kGroupDueDate) return;
    SetToRegistry(HKEY_CURRENT_USER, kStateKey, StateName(*header).c_str(), bOpen);
}

// --- Headers ------------------------------------------------------------------------------------------------------

void CTasksThread::ClearGroups() {
    m_headersByCategory.clear();
    m_headersByDate.clear();
    m_listGroups.Clear();
}

DATATASKS* CTasksThread::NewHeader(const WCHAR* subject) {
    DATATASKS* header = NewRow();
    header->m_szSubject = AllocLPWSTR(subject);
    header->m_szCategories = AllocLPWSTR(u"");
    return header;
}

DATATASKS* CTasksThread::NewHeader(UINT text) { return NewHeader(LoadText(text, kNoneChars).c_str()); }

void CTasksThread::CreateGroup(DATATASKS* header) {
    header->m_bExpanded = 0;
    header->m_oid = 0;
    header->m_bLoaded = 1;
    AddRow(header, -1);
    m_listGroups.Add(header);
}

void CTasksThread::OpenByState(DATATASKS* header) { header->m_bExpanded = IsGroupHeaderOpen(header); }

// The heading that the user gave a letter; false when there is none.
bool CTasksThread::AddGroupHeader(DATATASKS* header) {
    if (!m_bGroupHeadings) return false;
    const std::u16string name =
        *header->m_szPriorityLetter ? header->m_szPriorityLetter : LoadText(kTextNone, kNoneChars);
    WCHAR heading[4096];
    if (GetFromRegistrySZ(HKEY_CURRENT_USER, kHeadingsKey, name.c_str(), heading,
                          static_cast<int>(std::size(heading))))
        return false;
    if (wcslen(heading) > kHeadingChars) heading[kHeadingChars] = 0;
    std::free(header->m_szSubject);
    header->m_szSubject = AllocLPWSTR((std::u16string(u"<Q>") + heading + u"</Q>").c_str());
    return true;
}

void CTasksThread::CreateFixedHeaders() {
    const auto create = [this](UINT text, auto fill) {
        DATATASKS* header = NewHeader(text);
        fill(*header);
        CreateGroup(header);
        OpenByState(header);
    };
    const double today = m_iToday;
    switch (m_nGroupBy) {
    case kGroupImportance:
        for (const ImportanceHeader& row : kImportances)
            create(row.text, [&](DATATASKS& header) { header.m_nImportance = row.importance; });
        break;
    case kGroupProgress: {
        const double undated = m_sort.nUndated == -1 ? kUndatedFirst : kNoDate;
        const double due[] = {
            0, today, undated, kNoDate, today + kWeek, today + kWeek + 1, today + kMonth + 1, today + 1};
        for (SHORT i = 0; i < static_cast<SHORT>(std::size(due)); ++i)
            create(kProgressTexts[i], [&](DATATASKS& header) {
                header.m_nProgress = i;
                header.m_bOverdue = i == kOverdue;
                header.m_bDueToday = i == kDueToday;
                header.m_bCompleted = i == kCompleted;
                header.m_dtDue = due[i];
            });
        break;
    }
    case kGroupCompletion: {
        const double completed[] = {kNoDate, today, today - kWeek - 1, today - kMonth - 1};
        for (int i = 0; i < kCompletions; ++i)
            create(kFirstCompletionText + static_cast<UINT>(i), [&](DATATASKS& header) {
                header.m_bCompleted = i != kOpen;
                header.m_dtCompleted = completed[i];
            });
        break;
    }
    case kGroupGtdStatus:
        for (LONG status = 0; status < kStatuses; ++status)
            create(kFirstStatusText + static_cast<UINT>(status),
                   [&](DATATASKS& header) { header.m_lGtdStatus = status; });
        break;
    case kGroupManager:
        CreateLetterHeaders();
        break;
    case kGroupLetter:
        if (m_bAlwaysShowNamedHeaders) CreateLetterHeaders();
        break;
    default:
        break;
    }
}

// A to Z and the one of tasks without a letter. By letter only those that have a heading; the manager has all.
void CTasksThread::CreateLetterHeaders() {
    for (WCHAR letter = u'A'; letter <= u'Z'; ++letter) {
        const WCHAR text[] = {letter, 0};
        DATATASKS* header = NewHeader(text);
        wcscpy(header->m_szPriorityLetter, text);
        if (!AddGroupHeader(header) && m_nGroupBy != kGroupManager) {
            delete header;
            continue;
        }
        CreateGroup(header);
        OpenByState(header);
    }
    DATATASKS* none = NewHeader(kTextNone);
    none->m_nImportance = kImportanceNone;
    AddGroupHeader(none);
    CreateGroup(none);
    OpenByState(none);
}

// --- Putting under a header ---------------------------------------------------------------------------------------

LONG CTasksThread::AddToGroup(DATATASKS* task, bool bRemove, LONG position) {
    if (!task || !IsGrouped()) return -1;
    if (bRemove) return RemoveFromGroups(task);
    if (m_lDisplayedTreeCount == 0) {
        CreateFixedHeaders();
        m_lDisplayedTreeCount = 1;
    }
    switch (m_nGroupBy) {
    case kGroupCategory:
        AddToCategoryGroup(task, position);
        break;
    case kGroupImportance:
        AddToImportanceGroup(task, position);
        break;
    case kGroupProgress:
        AddToProgressGroup(task, position);
        break;
    case kGroupCompletion:
        AddToCompletionGroup(task, position);
        break;
    case kGroupDueDate:
        AddToDateGroup(task, position);
        break;
    case kGroupGtdStatus:
        AddToGtdStatusGroup(task, position);
        break;
    default:
        AddToPriorityGroup(task, position);
    }
    return -1;
}

// From under all headers: a task of several categories stands under each of them, under one twice if they share a name.
LONG CTasksThread::RemoveFromGroups(const DATATASKS* task) {
    LONG position = -1;
    for (DATATASKS* header : m_listGroups) {
        CePtrList<DATATASKS*>& children = header->m_listChildren;
        for (int i = children.GetLast(); i >= children.GetBase(); --i) {
            if (children.Get(i)->m_oid != task->m_oid) continue;
            children.Get(i)->m_pParent = nullptr;
            children.RemoveAt(i);
            position = i;
            MarkIfEmpty(header);
        }
    }
    return position;
}

void CTasksThread::MarkIfEmpty(DATATASKS* header) {
    const bool goes = m_nGroupBy == kGroupDueDate || m_nGroupBy == kGroupCategory ||
                      (m_nGroupBy == kGroupLetter && !m_bAlwaysShowNamedHeaders);
    if (goes && !header->IsParentNode()) header->m_nDepth = kHeaderGone;
}

void CTasksThread::AddGroupChild(DATATASKS* task, DATATASKS* header, LONG position) {
    if (!header) return;
    task->m_nDepth = 1;
    if (header->m_nDepth == kHeaderGone) header->m_nDepth = 0;
    task->m_bExpanded = header->m_bExpanded;
    task->m_bHidden = !header->m_bExpanded;
    task->m_oidParent = header->m_oid;
    task->m_pParent = header;
    if (position < 0)
        header->m_listChildren.Add(task);
    else
        header->m_listChildren.Insert(position, task);
    ++m_lDisplayedTreeCount;
}

DATATASKS* CTasksThread::FindHeader(LONG importance) {
    for (DATATASKS* header : m_listGroups)
        if (header->m_nImportance == importance) return header;
    return nullptr;
}

void CTasksThread::AddToImportanceGroup(DATATASKS* task, LONG position) {
    AddGroupChild(task, FindHeader(task->m_nImportance), position);
}

void CTasksThread::AddToGtdStatusGroup(DATATASKS* task, LONG position) {
    const LONG status = static_cast<LONG>(GtdStatusFromOID(task->m_oid));
    for (DATATASKS* header : m_listGroups)
        if (header->m_lGtdStatus == status) return AddGroupChild(task, header, position);
}

void CTasksThread::AddToCompletionGroup(DATATASKS* task, LONG position) {
    const LONG day = WholeDay(task->m_dtCompleted);
    const int place = !task->m_bCompleted       ? kOpen
                      : day >= m_iToday - kWeek ? kThisWeek
                      : day < m_iToday - kMonth ? kEarlier
                                                : kThisMonth;
    AddGroupChild(task, m_listGroups.Get(place), position);
}

void CTasksThread::AddToProgressGroup(DATATASKS* task, LONG position) {
    const LONG due = WholeDay(task->m_dtDue);
    const Progress place = task->m_bCompleted        ? kCompleted
                           : task->m_bOverdue        ? kOverdue
                           : task->m_bDueToday       ? kDueToday
                           : due == kNoDay           ? kNoDueDate
                           : due <= m_iToday + 1     ? kDueTomorrow
                           : due <= m_iToday + kWeek ? kDueInWeek
                           : due > m_iToday + kMonth ? kDueLater
                                                     : kDueInMonth;
    AddGroupChild(task, m_listGroups.Get(place), position);
}

void CTasksThread::AddToPriorityGroup(DATATASKS* task, LONG position) {
    constexpr WCHAR kToUpper = 32;
    const WCHAR letter = *task->m_szPriorityLetter;
    for (DATATASKS* header : m_listGroups) {
        const WCHAR first = *header->m_szPriorityLetter;
        if (first == letter || (first != 0 && first + kToUpper == letter))
            return AddGroupChild(task, header, position);
    }
    DATATASKS* header = letter ? NewHeader(task->m_szPriorityLetter) : NewHeader(kTextNone);
    wcscpy(header->m_szPriorityLetter, task->m_szPriorityLetter);
    if (!letter) header->m_nImportance = kImportanceNone;
    AddGroupHeader(header);
    CreateGroup(header);
    OpenByState(header);
    AddGroupChild(task, header, position);
}

void CTasksThread::AddToDateGroup(DATATASKS* task, LONG position) {
    DATATASKS*& header = m_headersByDate[task->m_dtDue];
    if (!header) {
        header = task->m_dtDue == kNoDate ? NewHeader(kTextNone) : NewHeader(LongDate(task->m_dtDue).c_str());
        header->m_dtDue = task->m_dtDue;
        CreateGroup(header);
        OpenByState(header);
    }
    AddGroupChild(task, header, position);
}

DATATASKS* CTasksThread::CategoryHeader(const std::u16string& category) {
    DATATASKS*& known = m_headersByCategory[category];
    if (known) return known;
    DATATASKS* header = category.empty() ? NewHeader(kTextNone) : NewHeader(category.c_str());
    if (category.empty()) {
        header->m_nImportance = kImportanceNone;
    } else {
        std::free(header->m_szCategories);
        header->m_szCategories = AllocLPWSTR(category.c_str());
    }
    CreateGroup(header);
    OpenByState(header);
    return known = header;
}

// A task of several categories is as many rows; the first one is the row itself.
void CTasksThread::AddToCategoryGroup(DATATASKS* task, LONG position) {
    if (!task->m_szCategories) return;
    const std::u16string categories = task->m_szCategories;
    std::size_t from = 0;
    DATATASKS* row = task;
    while (true) {
        const std::size_t end = std::min(categories.find(u',', from), categories.size());
        AddGroupChild(row, CategoryHeader(categories.substr(from, end - from)), position);
        if (end == categories.size()) return;
        from = end + 1 + (end + 1 < categories.size() && categories[end + 1] == u' ');
        row = task->Copy(true);
        row->m_listChildren.SetDelete(nullptr);
        AddRow(row, -1);
    }
}
