// Fields of items that iCalendar has no word for: they go as values of this suite's own, and come back as they went.
#pragma once

#include "QNWorkerClass/CTaskProjects.h"
#include "apps/qn/ownvalues.h"
#include "apps/qn/store.h"

#include <optional>
#include <string>
#include <vector>

namespace qn {

// The suite's fields of tasks beside those of the platform; a project goes by its name. What a file doesn't tell stays as
// it is.
class TaskFields {
public:
    explicit TaskFields(Store& store) : m_store(store) {}
    void Add(icalcomponent* component, const Com<IItem>& bag);
    void Set(const Com<IItem>& bag, const OwnValues& values);

private:
    CEPROPID Id(const WCHAR* property, WORD type, bool create) const; // 0: there is none
    CTaskProjects& Projects();
    void AddProject(icalcomponent* component, const Com<IItem>& bag);
    void SetProject(const Com<IItem>& bag, const std::string& name);

    Store& m_store;
    std::optional<CTaskProjects> m_projects; // loaded at the first need
};

// A note: its text as the description, and, of one with more than text, the note itself.
void AddNote(icalcomponent* component, const CEBLOB& note);
// The note itself when it has this text, else the text: it was changed on its way.
std::vector<BYTE> TakeNote(const std::string& text, const OwnValues& values);

} // namespace qn
