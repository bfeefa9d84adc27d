#include "apps/pages/tasksview.h"

#include "QNGridCtrl/HTMLEscape.h"
#include "QNWorkerClass/tasksrecord.h"
#include "apps/pages/theme.h"

namespace qn {

TasksView::TasksView() : m_data([this] { ShowRows(); }, {kTasksDb}) {
    m_data.busy = [this](bool busy) { ShowBusy(busy); };
}

void TasksView::Begin() {
    if (!std::exchange(m_begun, true)) m_data.Reload();
}

void TasksView::CategoriesChosen(std::vector<std::u16string> names) {
    m_data.SetCategories(std::move(names));
    if (m_begun) m_data.Reload();
}

std::u16string TasksView::RowText(std::size_t row) {
    return GroundTag(Paint::Window) + FontTag(Paint::Text) +
           HTMLEscape(Row(row).m_szSubject ? Row(row).m_szSubject : u"");
}

ULONGLONG TasksView::RowId(std::size_t row) const { return Row(row).m_oid; }

CardText TasksView::CardOf(std::size_t row) {
    CardText card;
    card.title = Row(row).m_szSubject ? Row(row).m_szSubject : u"";
    return card;
}

std::vector<MenuRow> TasksView::ItemMenu(std::size_t) {
    return {{u"Open\tEnter", [this] { OpenCurrent(); }}};
}

std::u16string TasksView::EmptyText() const { return u"Tasks will stand here."; }

std::vector<Bar::Cell> TasksView::TitleCells() { return {{u"<B>Tasks</B>"}}; }

} // namespace qn
