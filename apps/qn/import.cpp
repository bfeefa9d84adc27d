// Reads iCalendar files into the store.
#include "apps/qn/commands.h"
#include "apps/qn/icssave.h"
#include "apps/qn/options.h"

#include <unistd.h>

#include <cerrno>
#include <chrono>
#include <cstdio>
#include <algorithm>
#include <cstring>
#include <filesystem>
#include <fstream>
#include <iostream>
#include <unordered_map>

namespace qn {

namespace {

constexpr std::size_t kBatch = 500; // groups saved in one transaction

// One line on a terminal, drawn over and over; nothing elsewhere.
class Progress {
public:
    explicit Progress(bool wanted) : m_on(wanted && isatty(STDERR_FILENO)) {}
    ~Progress() { Clear(); }
    void Show(const char* what, std::size_t done, std::size_t all) {
        const unsigned percent = all ? static_cast<unsigned>(done * 100 / all) : 100;
        if (!m_on || (m_drawn && percent == m_percent && what == m_what)) return;
        constexpr unsigned kWidth = 40;
        const unsigned filled = percent * kWidth / 100;
        std::fprintf(stderr, "\r%-8s [%s%s] %3u%%", what, std::string(filled, '#').c_str(),
                     std::string(kWidth - filled, ' ').c_str(), percent);
        m_drawn = true;
        m_percent = percent;
        m_what = what;
    }
    void Clear() {
        if (m_drawn) std::fputs("\r\033[K", stderr);
        m_drawn = false;
    }

private:
    bool m_on;
    bool m_drawn = false;
    unsigned m_percent = 0;
    const char* m_what = nullptr;
};

// Saves inside are one transaction; what was not committed is taken back.
class Batch {
public:
    explicit Batch(IPOutlookApp2* app) : m_app(app) {
        const HRESULT begun = PlatBeginItemBatch(app);
        if (FAILED(begun)) throw StoreFailure("the store can't be written: " + Reason(begun));
        m_open = true;
    }
    ~Batch() {
        if (m_open) PlatEndItemBatch(m_app, false);
    }
    Batch(const Batch&) = delete;
    Batch& operator=(const Batch&) = delete;
    void Commit() {
        m_open = false;
        const HRESULT done = PlatEndItemBatch(m_app, true);
        if (FAILED(done)) throw StoreFailure("the store can't be written: " + Reason(done));
    }

private:
    IPOutlookApp2* m_app;
    bool m_open = false;
};

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
            places.try_emplace((item.isTodo ? "T" : "E") + item.uid, groups.size()).first->second;
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

IcsFile ReadFile(const std::string& name, Progress& progress) {
    if (name == "-") return ReadIcs(std::cin, "standard input", nullptr);
    std::error_code error;
    if (std::filesystem::is_directory(name, error)) throw Failure(name + ": is a folder");
    std::ifstream in(name, std::ios::binary);
    if (!in) throw Failure(name + ": " + std::strerror(errno));
    const auto size = std::filesystem::file_size(name, error); // a pipe has none
    try {
        return ReadIcs(in, name, [&, known = !error](std::size_t bytes) {
            if (known) progress.Show("reading", std::min<std::uintmax_t>(bytes, size), size);
        });
    } catch (const std::ios_base::failure& failed) {
        throw Failure(name + ": can't be read: " + failed.code().message());
    }
}

// --- The summary --------------------------------------------------------------------------------------------------

// "  3 tasks were there", "  1 task was there": the noun, and what follows for one and for many.
void Count(unsigned number, const char* noun, const char* one, const char* many) {
    if (number) std::printf("  %s\n", Plural(number, noun, number == 1 ? one : many).c_str());
}

// The first of many, and how many more there are.
template<class List, class Print>
void PrintSome(const List& list, const char* what, Print print) {
    constexpr std::size_t kMost = 20;
    for (std::size_t i = 0; i < list.size() && i < kMost; ++i) print(list[i]);
    if (list.size() > kMost) std::printf("  and %zu more %s\n", list.size() - kMost, what);
}

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
    constexpr const char* kWas = " was there and is up to date";
    constexpr const char* kWere = " were there and are up to date";
    Count(tally.updatedAppointments, "appointment", kWas, kWere);
    Count(tally.updatedTasks, "task", kWas, kWere);
    Count(tally.changedOccurrences, "occurrence", " changed", " changed");
    Count(tally.deletedOccurrences, "occurrence", " taken out", " taken out");
    Count(tally.cancelled, "item", " cancelled, and not in the store", " cancelled, and not in the store");
    Count(tally.leftovers, "single appointment", " taken out that its series has no more",
          " taken out that their series have no more");
    PrintSplits(name, saver);
    for (const auto& [what, times] : tally.remarks) std::printf("  not kept: %u %s\n", times, what.c_str());
}

struct ImportWishes {
    LONG horizonYears;
    bool quiet;
    bool timing;
};

class Stopwatch {
public:
    double Seconds() const { return std::chrono::duration<double>(Clock::now() - m_start).count(); }

private:
    using Clock = std::chrono::steady_clock;
    Clock::time_point m_start = Clock::now();
};

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
}

// True when nothing was skipped.
bool ImportFile(Store& store, const std::string& name, const ImportWishes& wishes, Progress& progress) {
    const Stopwatch reading;
    IcsFile file = ReadFile(name, progress);
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

} // namespace

int ImportCommand(const Words& words) {
    constexpr OptionRule kRules[] = {{"--horizon", true}, {"--quiet", false}, {"--timing", false}};
    const Options options("import", words, kRules);
    if (options.Rest().empty()) Usage("import wants a file");
    const ImportWishes wishes{static_cast<LONG>(options.Number("--horizon", 5, 1, 100)),
                              options.Has("--quiet"), options.Has("--timing")};
    Store store;
    Progress progress(!wishes.quiet);
    int code = kExitDone;
    for (const std::string& name : options.Rest()) {
        try {
            if (!ImportFile(store, name, wishes, progress)) code = kExitFailed;
        } catch (const StoreFailure&) {
            throw; // no other file can be stored either
        } catch (const Failure& failure) {
            progress.Clear();
            std::fflush(stdout);
            std::fprintf(stderr, "qn: %s\n", failure.what());
            code = kExitFailed;
        }
    }
    return code;
}

} // namespace qn
