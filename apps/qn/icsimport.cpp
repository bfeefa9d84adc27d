// An iCalendar file into the store.
#include "apps/qn/icssave.h"
#include "apps/qn/saving.h"

#include <algorithm>
#include <cstdio>
#include <unordered_map>

namespace qn {

namespace {

// A UID that stands twice in a file: the greater sequence number is the newer one, then the later time stamp; else the
// first stays.
void TakeMaster(IcsGroup& group, const IcsItem& item, std::vector<const IcsItem*>& doubles) {
    if (group.master && !item.IsNewerThan(*group.master)) {
        doubles.push_back(&item);
        return;
    }
    if (group.master) doubles.push_back(group.master);
    group.master = &item;
}

// The items of one UID belong together, in the order of the file; of two changes of one date the newer comes last.
std::vector<IcsGroup> GroupItems(const std::vector<IcsItem>& items, std::vector<const IcsItem*>& doubles) {
    std::vector<IcsGroup> groups;
    std::unordered_map<std::string, std::size_t> places;
    for (const IcsItem& item : items) {
        const std::size_t place =
            places.try_emplace((item.isTodo      ? "T"
                                : item.isJournal ? "J"
                                                 : "E") +
                                   item.uid,
                               groups.size())
                .first->second;
        if (place == groups.size()) groups.emplace_back();
        if (item.recurrenceId.IsSet())
            groups[place].changes.push_back(&item);
        else
            TakeMaster(groups[place], item, doubles);
    }
    for (IcsGroup& group : groups)
        std::stable_sort(group.changes.begin(), group.changes.end(),
                         [](const IcsItem* a, const IcsItem* b) { return b->IsNewerThan(*a); });
    return groups;
}

// --- The summary --------------------------------------------------------------------------------------------------

void PrintSplits(const std::string& name, const IcsSaver& saver) {
    PrintSome(saver.Tally().splits, "split", [&](const ImportTally::Split& split) {
        const std::string subject = Printable(split.subject);
        const char* why = split.extras  ? "dates beside the rule"
                          : split.ruled ? "no pattern can hold the rule"
                                        : "dates without a rule";
        std::printf("  split %s:%u: %s: %s: %s%s\n", name.c_str(), split.line, subject.c_str(), why,
                    Plural(split.count, "single appointment").c_str(),
                    split.until ? (" up to " + ShortDay(split.until)).c_str() : "");
    });
}

using Complaints = std::vector<IcsSaver::Complaint>;

Complaints AllComplaints(const IcsFile& file, IcsSaver& saver, const std::vector<const IcsItem*>& doubles) {
    Complaints complaints = saver.TakeComplaints();
    for (const auto& skipped : file.skipped) complaints.push_back({skipped.line, skipped.why});
    for (const IcsItem* item : doubles)
        complaints.push_back({item->line, "its UID stands in the file once more"});
    std::stable_sort(complaints.begin(), complaints.end(),
                     [](const auto& a, const auto& b) { return a.line < b.line; });
    return complaints;
}

void PrintSummary(const std::string& name, const IcsSaver& saver, const Complaints& complaints) {
    const ImportTally& tally = saver.Tally();
    std::printf("%s: %s and %s imported, %zu split, %zu skipped\n", name.c_str(),
                Plural(tally.newAppointments + tally.updatedAppointments, "appointment").c_str(),
                Plural(tally.newTasks + tally.updatedTasks, "task").c_str(), tally.splits.size(),
                complaints.size());
    const auto entries = [](unsigned count) {
        return std::to_string(count) + (count == 1 ? " journal entry" : " journal entries");
    };
    if (const unsigned all = tally.newEntries + tally.updatedEntries)
        std::printf("  %s imported\n", entries(all).c_str());
    if (const unsigned known = tally.updatedEntries)
        std::printf("  %s%s\n", entries(known).c_str(), known == 1 ? kWasThere : kWereThere);
    PrintCount(tally.updatedAppointments, "appointment", kWasThere, kWereThere);
    PrintCount(tally.updatedTasks, "task", kWasThere, kWereThere);
    PrintCount(tally.changedOccurrences, "occurrence", " changed", " changed");
    PrintCount(tally.deletedOccurrences, "occurrence", " taken out", " taken out");
    PrintCount(tally.cancelled, "item", " cancelled, and not in the store",
               " cancelled, and not in the store");
    PrintCount(tally.leftovers, "single appointment", " taken out that its series has no more",
               " taken out that their series have no more");
    PrintSplits(name, saver);
    for (const auto& [what, times] : tally.remarks) std::printf("  not kept: %u %s\n", times, what.c_str());
}

// Saves the groups, some in one transaction. A store that fails tells how far it came.
void SaveGroups(Store& store, const std::vector<IcsGroup>& groups, IcsSaver& saver, const std::string& name,
                Progress& progress) {
    std::size_t end = 0;
    for (std::size_t first = 0; first < groups.size(); first = end) {
        try {
            Batch batch(store.App());
            const std::size_t last = std::min(first + kBatch, groups.size());
            for (std::size_t i = first; i < last; ++i) saver.Save(groups[i]);
            batch.Commit();
            end = last;
        } catch (const StoreFailure& failure) {
            throw StoreFailure(name + ": " + failure.what() + "; stored: " + std::to_string(first) + " of " +
                               Plural(groups.size(), "item") + ", import again for the rest");
        }
        progress.Show("saving", end, groups.size());
    }
    Batch batch(store.App());
    saver.SaveParents();
    saver.SaveJournal();
    saver.SaveLinks();
    batch.Commit();
}

} // namespace

bool ImportCalendar(Store& store, InputFile& input, const ImportWishes& wishes, Progress& progress) {
    const std::string& name = input.Name();
    const Stopwatch reading;
    IcsFile file = ReadIcs(input.Stream(), name, [&](std::size_t bytes) {
        if (input.Size()) progress.Show("reading", bytes, input.Size());
    });
    const double read = reading.Seconds();
    const Stopwatch saving;
    std::vector<const IcsItem*> doubles;
    const std::vector<IcsGroup> groups = GroupItems(file.items, doubles);
    IcsSaver saver(store, file.zones, wishes.horizonYears);
    SaveGroups(store, groups, saver, name, progress);
    progress.Clear();
    const double saved = saving.Seconds();
    const Complaints complaints = AllComplaints(file, saver, doubles);
    if (!wishes.quiet) {
        PrintSummary(name, saver, complaints);
        PrintSome(complaints, "skipped", [&](const IcsSaver::Complaint& complaint) {
            std::printf("  skipped %s:%u: %s\n", name.c_str(), complaint.line, complaint.why.c_str());
        });
        PrintSome(file.zones.Unknown(), "unknown time zones", [](const std::string& zone) {
            std::printf("  time zone \"%s\" is not known: taken as the device's\n", Printable(zone).c_str());
        });
    }
    if (wishes.timing)
        std::printf("  read in %.3f s, saved in %.3f s: %.0f events a second\n", read, saved,
                    saved > 0 ? static_cast<double>(file.items.size()) / saved : 0.0);
    return complaints.empty();
}

} // namespace qn
