// Saves what an iCalendar file says through the object model.
#pragma once

#include "apps/qn/icsfile.h"
#include "apps/qn/icsrules.h"
#include "apps/qn/store.h"

#include <map>
#include <string>
#include <vector>

namespace qn {

// What an import did, for its summary.
struct ImportTally {
    unsigned newAppointments = 0;
    unsigned updatedAppointments = 0;
    unsigned newTasks = 0;
    unsigned updatedTasks = 0;
    unsigned changedOccurrences = 0;
    unsigned deletedOccurrences = 0;
    unsigned splitSeries = 0;
    unsigned splitAppointments = 0;
    bool horizonCut = false;
    unsigned skipped = 0;
    std::map<std::string, unsigned> remarks; // what could not be kept, and how often
};

// The components of one UID: the item itself and its changed occurrences.
struct IcsGroup {
    const IcsItem* master = nullptr;
    std::vector<const IcsItem*> changes;
};

class IcsSaver {
public:
    IcsSaver(Store& store, ZoneTable& zones, LONG horizonYears);

    // Saves one group as an appointment (or several) or as a task. What it can't be is told to `complain` with the line.
    void Save(const IcsGroup& group);
    const ImportTally& Tally() const { return m_tally; }
    LONG HorizonDay() const { return m_horizonDay; }

    struct Complaint {
        unsigned line;
        std::string why;
    };
    std::vector<Complaint> TakeComplaints() { return std::move(m_complaints); }

private:
    struct Target {
        Com<IAppointment> appointment;
        bool isNew = true;
    };
    // Of a series: its clock and where it begins there.
    struct Series {
        std::string tzid;
        icaltimetype start;
    };

    void SaveAppointment(const IcsGroup& group);
    void SaveTask(const IcsItem& item);
    void SaveSeries(const IcsGroup& group, const Pattern& pattern, const Series& series);
    void SaveSplit(const IcsGroup& group, const Series& series);
    void SaveSingle(const IcsItem& item, const When& start, const std::string& uid);
    void SaveExtras(const IcsItem& master, std::size_t& index);
    void DropLeftovers(const std::string& uid, std::size_t from);

    Target Open(const std::string& uid);
    CEOID Find(LONG folder, const std::string& uid);
    void Finish(Target& target, const IcsItem& item, const std::string& uid);
    void FillTexts(IAppointment* appointment, const IcsItem& item);
    void FillPeople(IAppointment* appointment, const IcsItem& item);
    void FillReminder(IAppointment* appointment, const IcsItem& item);
    void FillTimes(IAppointment* appointment, const IcsItem& item, DATE start);
    void ApplyPattern(IRecurrencePattern* rule, const Pattern& pattern, DATE firstDay) const;
    void SetPattern(IAppointment* appointment, const IcsItem& item, const Pattern& pattern, const Series& series);
    void DeleteOccurrence(IRecurrencePattern* rule, const When& date, const Series& series, unsigned line);
    void ChangeOccurrence(IRecurrencePattern* rule, const IcsItem& change, const IcsItem& master, const Series& series);
    void GiveZone(IAppointment* appointment, const Series& series);
    template<class Item>
    void GiveUid(const Com<Item>& item, const std::string& uid);
    void FillTask(ITask* task, const IcsItem& item, const Com<IItem>& properties);

    LONG DurationMinutes(const IcsItem& item);
    std::string SeriesZone(const IcsItem& item);
    void Remark(const std::string& what, unsigned times = 1);
    void Complain(unsigned line, std::string why);
    void Check(HRESULT result) const;

    Store& m_store;
    ZoneTable& m_zones;
    LONG m_horizonDay;
    int m_thisYear;
    ImportTally m_tally;
    std::vector<Complaint> m_complaints;
};

} // namespace qn
