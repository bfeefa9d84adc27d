#include "apps/pages/tabs.h"

#include "apps/pages/calendarview.h"
#include "apps/pages/contactsview.h"
#include "apps/pages/notesview.h"
#include "apps/pages/searchview.h"
#include "apps/pages/tasksview.h"

namespace qn {

std::unique_ptr<TabView> MakeTab(TabKind kind) {
    switch (kind) {
    case TabKind::Tasks:
        return std::make_unique<TasksView>();
    case TabKind::Notes:
        return std::make_unique<NotesView>();
    case TabKind::Contacts:
        return std::make_unique<ContactsView>();
    case TabKind::Search:
        return std::make_unique<SearchView>();
    default:
        return std::make_unique<CalendarView>();
    }
}

} // namespace qn
