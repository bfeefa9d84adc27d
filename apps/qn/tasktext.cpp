#include "apps/qn/tasktext.h"

#include "QNWorkerClass/DATATASKS.h"
#include "apps/qn/support.h"

namespace qn {

namespace {

std::string Facts(const DATATASKS& row) {
    std::string facts;
    const auto add = [&facts](bool wanted, const std::string& fact) {
        if (wanted) facts += (facts.empty() ? "  (" : ", ") + fact;
    };
    add(row.m_dtDue != kNoDate, "due " + ShortDay(static_cast<LONG>(row.m_dtDue)));
    add(row.m_bOverdue, "overdue");
    add(row.m_bCompleted && row.m_dtCompleted != kNoDate,
        "done " + ShortDay(static_cast<LONG>(row.m_dtCompleted)));
    add(row.m_wPercent > 0 && row.m_wPercent < 100, std::to_string(row.m_wPercent) + " %");
    add(row.m_nImportance == 2, "high");
    add(row.m_nImportance == 0, "low");
    add(row.m_bStarred, "starred");
    add(row.m_wFlag8, "reminder");
    add(row.m_bHasNote, "note");
    return facts.empty() ? facts : facts + ")";
}

} // namespace

std::string TaskText(const DATATASKS& row) {
    std::string text = row.m_bCompleted ? "[x] " : "[ ] ";
    const std::string priority = TextOf(row.m_szPriorityLetter) + TextOf(row.m_szPriorityNumber);
    if (!priority.empty()) text += Printable(priority) + " ";
    text += Printable(TextOf(row.m_szSubject));
    if (row.IsParentNode() && !row.m_bExpanded) text += " ...";
    text += Facts(row);
    if (row.m_szCategories && *row.m_szCategories) text += "  [" + Printable(Utf8(row.m_szCategories)) + "]";
    return text;
}

} // namespace qn
