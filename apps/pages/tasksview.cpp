#include "apps/pages/tasksview.h"

#include "NorvoUI/chrome.h"
#include "NorvoTools/HTMLEscape.h"
#include "QNWorkerClass/COutlook.h"
#include "QNWorkerClass/tasksrecord.h"
#include "apps/pages/pagetext.h"
#include "apps/pages/taskchanges.h"
#include "apps/pages/taskrow.h"
#include "apps/pages/theme.h"

#include <algorithm>
#include <optional>
#include <utility>

namespace qn {

namespace {

constexpr int kMargin = 6;    // pixels at 96 dots an inch, as the next
constexpr int kStep = 16;     // of a level of the tree
constexpr int kTapAround = 8; // a box, on both sides
constexpr int kProgressHeight = 2;
constexpr int kMostSteps = 8; // levels that are moved in: deeper ones stand there too
constexpr WORD kWhole = 100;

ULONGLONG IdOf(const DATATASKS& row) {
    if (row.m_oid != 0) return row.m_oid;
    const std::u16string_view name = row.m_szSubject ? row.m_szSubject : u"";
    return (ULONGLONG{std::hash<std::u16string_view>()(name)} | 1) << 32;
}

// A task and all below it that its list has.
std::vector<DATATASKS*> Branch(DATATASKS* task) {
    std::vector<DATATASKS*> tasks{task};
    for (std::size_t i = 0; i < tasks.size(); ++i)
        for (DATATASKS* child : tasks[i]->m_listChildren) tasks.push_back(child);
    return tasks;
}

HRESULT UndoAll(std::vector<UndoChange>& steps) {
    TaskBatch batch;
    for (; !steps.empty(); steps.pop_back())
        if (const HRESULT undone = steps.back()(); FAILED(undone)) return undone;
    return batch.End();
}

} // namespace

void TaskData::Prepare() { Loading().SetDateOn(Today()); }

TasksView::TasksView() : m_data([this] { Loaded(); }, {kTasksDb}), m_choice([this] { Reload(); }) {
    m_data.busy = [this](bool busy) { ShowBusy(busy); };
    CCategoryColorIcons::InitCategoryColors();
}

void TasksView::Begin() {
    if (!std::exchange(m_begun, true)) m_data.Reload();
}

void TasksView::CategoriesChosen(std::vector<std::u16string> names) {
    m_data.SetCategories(std::move(names));
    if (m_begun) m_data.Reload();
}

// --- Rows ---------------------------------------------------------------------------------------------------------

void TasksView::Loaded() {
    m_loaded = true;
    RestoreBranches();
    TakeRows();
}

// Groups without tasks are left out.
void TasksView::TakeRows() {
    m_rows.clear();
    m_hasBranches = false;
    auto left = m_data.Shown().GetActiveDataCount();
    for (DATATASKS* row : m_data.Shown().GetList()) {
        if (left-- <= 0) break;
        if (row->m_oid != 0 || row->IsParentNode()) m_rows.push_back(row);
        m_hasBranches |= row->m_oid != 0 && row->IsParentNode();
    }
    ShowRows();
    FillBar();
}

// A rule is about the tasks themselves: in its list they are seen below their parents unless these were closed here.
void TasksView::RestoreBranches() {
    if (!KeepsBranches()) return m_opened.clear();
    CTasksThread& thread = m_data.Shown();
    std::vector<DATATASKS*> branches;
    for (DATATASKS* row : thread.GetList())
        if (row->IsParentNode()) branches.push_back(row);
    std::ranges::stable_sort(branches, {}, &DATATASKS::m_nDepth); // opening one opens those below it too
    bool changed = false;
    for (DATATASKS* branch : branches) {
        const auto kept = m_opened.find(IdOf(*branch));
        const bool open = kept != m_opened.end() ? kept->second : branch->m_oid != 0 || branch->m_bExpanded;
        if (open == (branch->m_bExpanded != 0)) continue;
        thread.ExpandTreeNode(open, branch, false);
        changed = true;
    }
    if (changed) thread.SortDataList();
}

// A task of several categories is as many rows.
ULONGLONG TasksView::RowId(std::size_t row) const {
    const DATATASKS& task = *m_rows[row];
    const bool several = task.m_oid != 0 && task.m_pParent && GroupBy() == kGroupCategory;
    return IdOf(task) | (several ? IdOf(*task.m_pParent) : 0);
}

std::u16string TasksView::RowText(std::size_t row) {
    const DATATASKS& task = *m_rows[row];
    if (task.m_oid == 0) return TaskHeadingText(task, GroupBy() == kGroupDueDate);
    return TaskRowText(task, m_hasBranches, IsNarrow(), task.m_bKeptForChildren && !CountsParents());
}

CardText TasksView::CardOf(std::size_t row) { return TaskCard(*m_rows[row]); }

int TasksView::Indent(std::size_t row) const {
    return IsGrouped() ? 0 : std::clamp<int>(m_rows[row]->m_nDepth, 0, kMostSteps) * Scaled(kStep);
}

int TasksView::WrapIndent(std::size_t row) const {
    return TaskBoxWidth() * (IsItem(row) && m_hasBranches ? 2 : 1);
}

const WCHAR* TasksView::CategoriesOf(std::size_t row) const { return m_rows[row]->m_szCategories; }

std::size_t TasksView::RowOf(const DATATASKS* task) const {
    const auto found = std::ranges::find(m_rows, task);
    return found == m_rows.end() ? kNoRow : static_cast<std::size_t>(found - m_rows.begin());
}

// How far the task is: a line at the lower edge of its row.
bool TasksView::PaintRow(HDC hdc, const RECT& place, std::size_t row, bool selected) {
    const DATATASKS& task = *m_rows[row];
    if (task.m_oid == 0 || task.m_wPercent == 0 || task.m_wPercent >= kWhole) return false;
    FillColor(hdc, place,
              selected ? GetSysColor(static_cast<int>(COLOR_HIGHLIGHT | SYS_COLOR_INDEX_FLAG))
                       : ColorOf(Paint::Window));
    const LONG left = place.left + Scaled(kMargin) + Indent(row) + (m_hasBranches ? TaskBoxWidth() : 0);
    const LONG right = place.right - Scaled(kMargin);
    const LONG bottom = place.bottom - 1; // the line between the rows
    FillColor(
        hdc,
        {left, bottom - Scaled(kProgressHeight), left + (right - left) * task.m_wPercent / kWhole, bottom},
        ColorOf(selected ? Paint::TodayText : Paint::Progress));
    return true;
}

// --- Branches -----------------------------------------------------------------------------------------------------

void TasksView::ShowBelow(std::size_t row, bool show) {
    for (const DATATASKS* branch : Branch(m_rows[row]))
        if (KeepsBranches() && branch->IsParentNode()) m_opened[IdOf(*branch)] = show;
    std::optional<TaskBatch> batch; // each task below keeps it
    if (GroupBy() == kGroupTree) batch.emplace();
    m_data.Change([&](CTasksThread& thread) { thread.ExpandTreeNode(show, m_rows[row], true); });
    TakeRows();
}

bool TasksView::StepIn(std::size_t row) {
    if (!IsBranch(row)) return false;
    if (m_rows[row]->m_bExpanded)
        SelectRow(row + 1);
    else
        ShowBelow(row, true);
    return true;
}

bool TasksView::StepOut(std::size_t row) {
    if (IsBranch(row) && m_rows[row]->m_bExpanded) return ShowBelow(row, false), true;
    const std::size_t parent = m_rows[row]->m_pParent ? RowOf(m_rows[row]->m_pParent) : kNoRow;
    if (parent != kNoRow) SelectRow(parent);
    return parent != kNoRow;
}

// --- Pointer and keys ---------------------------------------------------------------------------------------------

bool TasksView::TakeTap(std::size_t row, int x) {
    if (!IsItem(row)) return false;
    const int left = Scaled(kMargin) + Indent(row), box = TaskBoxWidth();
    const int boxLeft = left + (m_hasBranches ? box : 0);
    if (x < boxLeft && IsBranch(row)) return ShowBelow(row, !m_rows[row]->m_bExpanded), true;
    if (x < boxLeft - Scaled(kTapAround) || x >= boxLeft + box + Scaled(kTapAround)) return false;
    return Mark(row), true;
}

bool TasksView::RowKey(std::size_t row, WPARAM key) {
    if (row == kNoRow) return false;
    switch (key) {
    case VK_SPACE:
        IsItem(row) ? Mark(row) : ActOnHeading(row);
        return true;
    case VK_RIGHT:
        return StepIn(row);
    case VK_LEFT:
        return StepOut(row);
    default:
        return false;
    }
}

// --- Changes ------------------------------------------------------------------------------------------------------

void TasksView::Finish(HRESULT result, const WCHAR* what, std::u16string_view name,
                       std::function<HRESULT()> undo) {
    if (FAILED(result)) COutlook::DisplayPIMSaveError(result);
    if (undo) Tell(what, name, std::move(undo));
    m_data.Reload(); // also to put back what could not be changed
}

// What is below a task goes with it: in the tree it is as done as these are.
void TasksView::Mark(std::size_t row) {
    DATATASKS* task = m_rows[row];
    const bool done = !task->m_bCompleted;
    const std::u16string name(TaskName(*task));
    auto steps = std::make_shared<std::vector<UndoChange>>();
    TaskBatch batch;
    HRESULT result = S_OK;
    for (DATATASKS* each : Branch(task)) {
        if (each != task && (each->m_bCompleted != 0) == done) continue;
        UndoChange undo;
        result = MarkTask(each->m_oid, done, undo);
        if (FAILED(result)) break;
        steps->push_back(std::move(undo));
        each->m_bCompleted = done;
        UpdateRow(RowOf(each));
    }
    if (const HRESULT ended = batch.End(); FAILED(ended)) steps->clear(), result = ended;
    UndoChange undo;
    if (!steps->empty()) undo = [steps] { return UndoAll(*steps); };
    Finish(result, done ? u"Done: " : u"Open again: ", name, std::move(undo));
}

void TasksView::Skip(std::size_t row) {
    const std::u16string name(TaskName(*m_rows[row]));
    UndoChange undo;
    const HRESULT result = SkipTask(m_rows[row]->m_oid, undo);
    if (result == E_FAIL) return Tell(u"No later date: ", name);
    Finish(result, u"Moved on: ", name, std::move(undo));
}

// A message box serves messages meanwhile: the rows may be others when it is answered.
void TasksView::DeleteCurrent() {
    const std::size_t row = CurrentItem();
    if (row == kNoRow) return;
    const DWORD oid = m_rows[row]->m_oid;
    const std::u16string name(TaskName(*m_rows[row]));
    std::u16string question = u"Delete \"" + Shortened(name) + u"\"";
    if (m_rows[row]->m_wFlag7) question += u" with all its dates";
    question += IsBranch(row) ? u"?\n\nThe tasks below it stay, a level higher. You can undo it."
                              : u"?\n\nYou can undo it.";
    const DWORD parent = m_rows[row]->m_oidParentStored;
    std::vector<DWORD> children;
    for (const DATATASKS* child : m_rows[row]->m_listChildren) children.push_back(child->m_oid);
    if (!AskToDelete(question, u"Delete_Task")) return;
    UndoChange undo;
    const HRESULT result = DeleteTask(oid, parent, std::move(children), undo);
    Finish(result, u"Deleted: ", name, std::move(undo));
}

// --- Menus --------------------------------------------------------------------------------------------------------

std::vector<MenuRow> TasksView::ItemMenu(std::size_t row) {
    const DATATASKS& task = *m_rows[row];
    const ULONGLONG id = RowId(row);
    const auto onRow = [this, id](void (TasksView::*act)(std::size_t)) {
        return [this, id, act] {
            if (const std::size_t found = FindRow(id); found != kNoRow) (this->*act)(found);
        };
    };
    std::vector<MenuRow> rows{
        {u"Open\tEnter", [this] { OpenCurrent(); }},
        {task.m_bCompleted ? u"Open again\tSpace" : u"Done\tSpace", onRow(&TasksView::Mark)}};
    if (task.m_wFlag7 && !task.m_bCompleted) rows.push_back({u"Skip this date", onRow(&TasksView::Skip)});
    rows.push_back({u"Delete ...\tDelete", [this] { DeleteCurrent(); }});
    return rows;
}

std::vector<MenuRow> TasksView::ListRows() {
    const auto named = [](const WCHAR* word, const std::u16string& name) {
        return word + (name.empty() ? u"" : u": " + name) + u" ...";
    };
    std::vector<MenuRow> rows{
        {named(u"Groups", m_choice.GroupName()), [this] { ShowTitleMenu(m_choice.GroupRows()); }},
        {named(u"Order", m_choice.OrderName()), [this] { ShowTitleMenu(m_choice.OrderRows()); }}};
    for (MenuRow& row : m_choice.SwitchRows()) rows.push_back(std::move(row));
    return rows;
}

std::vector<MenuRow> TasksView::MenuRows() {
    std::vector<MenuRow> rows = ListRows();
    rows.insert(rows.begin(),
                {u"Tasks: " + MenuText(m_choice.RuleName()) + u" ...", [this] { ChooseRule(); }});
    return rows;
}

void TasksView::ChooseRule() {
    std::vector<MenuRow> rows = m_choice.RuleRows();
    const auto& contexts = m_data.Shown().GetContexts();
    if (!contexts.empty())
        rows.push_back({u"Context ...",
                        [this] { ShowTitleMenu(m_choice.ContextRows(m_data.Shown().GetContexts())); }, true,
                        m_choice.Rule() == kTasksOfContext});
    rows.push_back({});
    for (MenuRow& row : ListRows()) rows.push_back(std::move(row));
    ShowTitleMenu(rows);
}

// Tasks that are to be done; of the done ones all.
LONG TasksView::OpenCount() {
    const CTasksThread::Counts& counts = m_data.Shown().GetCounts();
    if (m_choice.Rule() == kTasksCompleted) return counts.lCompleted;
    LONG open = std::max<LONG>(counts.lActive - counts.lCompleted, 0);
    if (CountsParents())
        for (const DATATASKS* row : m_data.Shown().GetList())
            open += row->m_bKeptForChildren && !row->m_bCompleted;
    return open;
}

std::vector<Bar::Cell> TasksView::TitleCells() {
    std::u16string title = u"<B>" + std::u16string(IsNarrow() ? u"" : u"Tasks: ") +
                           HTMLEscape(Shortened(m_choice.RuleName(), 24)) + u"</B>";
    if (m_loaded) title += u" (" + Utf16(std::to_string(OpenCount())) + u")";
    return {{title + u" \u25BE", 0, [this] { ChooseRule(); }}};
}

// --- The empty list -----------------------------------------------------------------------------------------------

std::u16string TasksView::EmptyText() const {
    const std::u16string link = u"<BR><BR><U><A=fill>" + FontTag(Paint::Link);
    if (!m_data.Categories().empty())
        return u"No tasks of the chosen categories." + link + u"Show all categories</A></U>";
    if (m_data.Shown().GetCounts().lTotal <= 0)
        return u"Tasks will stand here. There are none yet.<BR><BR>The command<BR><B>qn import "
               u"FILE.ics</B><BR>reads those of a calendar file.";
    if (m_choice.Rule() != kTasksAll) return m_choice.NoneText() + link + u"Show all tasks</A></U>";
    return m_choice.ShowsDone() ? m_choice.NoneText()
                                : u"All tasks are done." + link + u"Show the done ones</A></U>";
}

void TasksView::FillEmpty() {
    if (!m_data.Categories().empty()) return ShowCategories({});
    if (m_data.Shown().GetCounts().lTotal <= 0) return;
    if (m_choice.Rule() != kTasksAll)
        m_choice.ShowAll();
    else if (!m_choice.ShowsDone())
        m_choice.ShowDone(true);
}

} // namespace qn
