// Saves what an iCalendar file says through the object model.
#pragma once

#include "QNWorkerClass/journalstore.h"
#include "apps/qn/icsfile.h"
#include "apps/qn/icsrules.h"
#include "apps/qn/ownfields.h"
#include "apps/qn/saving.h"

#include <map>
#include <set>
#include <span>
#include <string>
#include <unordered_map>
#include <vector>

namespace qn {

// What an import did, for its summary.
struct ImportTally {
    unsigned newAppointments = 0;
    unsigned updatedAppointments = 0;
    unsigned newTasks = 0;
    unsigned updatedTasks = 0;
    unsigned newEntries = 0; // of the journal
    unsigned updatedEntries = 0;
    unsigned changedOccurrences = 0;
    unsigned deletedOccurrences = 0;
    unsigned cancelled = 0;                  // left out, or taken out of the store
    unsigned leftovers = 0;                  // single appointments of a series that it has no more
    std::map<std::string, unsigned> remarks; // what could not be kept, and how often
    struct Split {
        unsigned line;
        std::string subject;
        std::size_t count; // of single appointments
        LONG until;        // day up to which they go where the rule has more; 0: it has no more
        bool ruled;        // by a rule that no pattern can hold
        bool extras;       // of dates beside a rule that is kept
    };
    std::vector<Split> splits;
};

// The components of one UID: the item itself and its changed occurrences.
struct IcsGroup {
    const IcsItem* master = nullptr;
    std::vector<const IcsItem*> changes;
};

class IcsSaver {
public:
    IcsSaver(Store& store, ZoneTable& zones, LONG horizonYears);

    // Saves one group as an appointment (or several) or as a task; what it can't be becomes a complaint.
    void Save(const IcsGroup& group);
    // Behind all of them, for a parent may stand later in the file than its children.
    void SaveParents();
    void SaveJournal();
    void SaveLinks();
    const ImportTally& Tally() const { return m_tally; }
    LONG HorizonDay() const { return m_horizonDay; }

    struct Complaint {
        unsigned line;
        std::string why;
    };
    std::vector<Complaint> TakeComplaints() { return std::move(m_complaints); }

private:
    // By what an appointment is found again: its UID, or, for one date of a series that was split, its place among them.
    struct Identity {
        std::string uid;
        std::string part;
    };
    struct Target {
        Com<IAppointment> appointment;
        bool isNew = true;
    };
    // Of a series: its clock and where it begins there.
    struct Series {
        std::string tzid;                           // empty: the device's
        std::optional<TIME_ZONE_INFORMATION> rules; // of one that is in the store already
        icaltimetype start = icaltime_null_time();
    };
    // One date that becomes an appointment of its own.
    struct SingleDate {
        icaltimetype wall;
        std::optional<LONG> minutes;
        const IcsItem* change = nullptr;
        bool out = false;
    };
    using SingleDates = std::vector<SingleDate>;

    void SaveAppointment(const IcsGroup& group);
    void Cancel(const IcsItem& item);
    bool SaveSingle(const IcsItem& item, const When& start, std::optional<LONG> minutes,
                    const Identity& identity);

    // Series (icsseries.cpp)
    Series SeriesOf(const IcsItem& item);
    icaltimetype Wall(const When& when, const Series& series);
    std::optional<icaltimetype> UntilWall(const std::string& rule, const IcsItem& item, const Series& series);
    void SaveRepeating(const IcsGroup& group);
    void SaveSeries(const IcsGroup& group, const Pattern& pattern, const Series& series, SingleDates extras);
    void SaveSplit(const IcsGroup& group, const Series& series);
    void SaveOrphans(const IcsGroup& group);
    void SaveOrphan(const IcsItem& change);
    static Identity DateIdentity(const std::string& uid, std::size_t index);
    std::optional<std::size_t> FindSplitDate(const IcsItem& change);
    void CloseGap(const std::string& uid, std::size_t gap);
    SingleDates ExtrasOf(const IcsItem& item, const Series& series);
    void SaveDates(const SingleDates& dates, const IcsItem& item, const Series& series, std::size_t index,
                   bool dropRest, LONG until);
    void DropParts(const std::string& uid, std::size_t from);
    bool DropPart(const std::string& part);
    void GiveZone(IAppointment* appointment, const Series& series, const Pattern& pattern);
    void ApplyPattern(IRecurrencePattern* rule, const Pattern& pattern, DATE firstDay) const;
    void DeleteOccurrence(IRecurrencePattern* rule, const When& date, const Series& series, unsigned line);
    void ChangeOccurrence(IRecurrencePattern* rule, const IcsItem& change, const IcsItem* master,
                          const Series& series);
    void SaveStrayChange(const IcsItem& change);
    void RemarkDifferences(const IcsItem& change, const IcsItem& master);

    // Tasks (icstasks.cpp)
    void SaveTodo(const IcsGroup& group);
    void SaveTask(const IcsItem& item);
    void FillTask(ITask* task, const IcsItem& item, const Com<IItem>& properties, bool isNew);
    void FillTaskDates(ITask* task, const IcsItem& item, const Com<IItem>& properties);
    void FillTaskReminder(ITask* task, const IcsItem& item, std::optional<DATE> due);
    void FillTaskRule(ITask* task, const IcsItem& item);
    std::optional<DATE> DueOf(const IcsItem& item);

    // Parents of tasks, by the numbers of both (icsparents.cpp)
    using Parents = std::unordered_map<CEOID, CEOID>;
    struct Place {
        unsigned line;
        CEOID oid;
        std::string parentUid;
    };
    CEOID ParentOf(CEOID oid, Parents& parents);
    bool LeadsTo(CEOID from, CEOID oid, Parents& parents);
    void StoreParent(CEOID oid, CEOID parent, bool isParent);
    DWORD ParentProperty();

    // Journal (icsjournal.cpp)
    void KeepEntry(const IcsGroup& group);
    void FillEntry(CJournalData& entry, const IcsItem& item);
    void SaveEntries(std::span<const IcsItem* const> items, std::vector<CJournalData>& entries);
    CEOID FindAny(const std::string& uid);

    Target Open(const Identity& identity);
    CEOID Find(LONG folder, DWORD property, const std::string& text);
    CEOID FindItem(const Identity& identity);
    bool Delete(CEOID oid);
    void Finish(Target& target, const IcsItem& item, const Identity& identity);
    std::string Categories(const IcsItem& item);
    void FillTexts(IAppointment* appointment, const IcsItem& item);
    void FillPeople(const Target& target, const IcsItem& item);
    void FillReminder(IAppointment* appointment, const IcsItem& item);
    void FillTimes(IAppointment* appointment, const IcsItem& item, DATE start, LONG minutes);
    LONG DurationMinutes(const IcsItem& item);
    void Remark(const std::string& what, unsigned times = 1);
    void RemarkUnkept(const IcsItem& item);
    void Complain(unsigned line, std::string why);

    Store& m_store;
    ZoneTable& m_zones;
    TaskFields m_taskFields;
    LONG m_horizonDay;
    int m_thisYear;
    CategoryNames m_categories;
    std::vector<Place> m_places;           // of the tasks of this file
    std::vector<const IcsItem*> m_entries; // of its journal
    std::vector<const IcsItem*> m_related; // items that are related to others
    DWORD m_parentProperty = 0;
    ImportTally m_tally;
    std::vector<Complaint> m_complaints;
};

DATE WholeDay(DATE date);

} // namespace qn
