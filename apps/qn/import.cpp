// Reads iCalendar files into the store.
#include "apps/qn/commands.h"
#include "apps/qn/icssave.h"
#include "apps/qn/options.h"

#include <unistd.h>

#include <cerrno>
#include <cstdio>
#include <cstring>
#include <fstream>
#include <iostream>
#include <unordered_map>

namespace qn {

namespace {

constexpr std::size_t kBatch = 500; // groups saved in one transaction
constexpr std::size_t kMostComplaints = 20;

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
        if (FAILED(begun)) throw Failure("the store can't be written: " + Reason(begun));
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
        if (FAILED(done)) throw Failure("the store can't be written: " + Reason(done) + "; what was saved before is safe");
    }

private:
    IPOutlookApp2* m_app;
    bool m_open = false;
};

// The items of one UID belong together, in the order of the file. An item without one stands alone.
std::vector<IcsGroup> GroupItems(const std::vector<IcsItem>& items, std::vector<const IcsItem*>& doubles) {
    std::vector<IcsGroup> groups;
    std::unordered_map<std::string, std::size_t> places;
    for (const IcsItem& item : items) {
        std::size_t place = groups.size();
        if (!item.uid.empty()) place = places.try_emplace((item.isTodo ? "T" : "E") + item.uid, place).first->second;
        if (place == groups.size()) groups.emplace_back();
        IcsGroup& group = groups[place];
        if (item.recurrenceId.IsSet() && !item.isTodo)
            group.changes.push_back(&item);
        else if (!group.master)
            group.master = &item;
        else
            doubles.push_back(&item);
    }
    return groups;
}

IcsFile ReadFile(const std::string& name, Progress& progress) {
    if (name == "-") return ReadIcs(std::cin, "standard input", nullptr);
    std::ifstream in(name, std::ios::binary | std::ios::ate);
    if (!in) throw Failure(name + ": " + std::strerror(errno));
    const auto size = static_cast<std::size_t>(std::max<std::streamoff>(in.tellg(), 0));
    in.seekg(0);
    return ReadIcs(in, name, [&](std::size_t bytes) { progress.Show("reading", bytes, size); });
}

void Count(const char* what, unsigned number) {
    if (number) std::printf("  %u %s\n", number, what);
}

void PrintComplaints(const std::string& name, const std::vector<IcsSaver::Complaint>& complaints) {
    for (std::size_t i = 0; i < complaints.size() && i < kMostComplaints; ++i)
        std::printf("  skipped %s:%u: %s\n", name.c_str(), complaints[i].line, complaints[i].why.c_str());
    if (complaints.size() > kMostComplaints)
        std::printf("  and %zu more skipped\n", complaints.size() - kMostComplaints);
}

void PrintSummary(const std::string& name, const IcsSaver& saver, const std::vector<IcsSaver::Complaint>& complaints) {
    const ImportTally& tally = saver.Tally();
    std::printf("%s: %u appointments and %u tasks imported, %zu skipped\n", name.c_str(),
                tally.newAppointments + tally.updatedAppointments, tally.newTasks + tally.updatedTasks,
                complaints.size());
    Count("appointments were there and are up to date", tally.updatedAppointments);
    Count("tasks were there and are up to date", tally.updatedTasks);
    Count("occurrences changed", tally.changedOccurrences);
    Count("occurrences taken out", tally.deletedOccurrences);
    if (tally.splitSeries || tally.splitAppointments)
        std::printf("  %u series that no pattern can hold and dates beside a rule became %u single appointments%s\n",
                    tally.splitSeries, tally.splitAppointments,
                    tally.horizonCut ? (", up to " + IsoDay(saver.HorizonDay())).c_str() : "");
    for (const auto& [what, times] : tally.remarks) std::printf("  not kept: %u %s\n", times, what.c_str());
    PrintComplaints(name, complaints);
}

// True when nothing was skipped.
bool ImportFile(Store& store, const std::string& name, LONG horizonYears, Progress& progress, bool quiet) {
    IcsFile file = ReadFile(name, progress);
    std::vector<const IcsItem*> doubles;
    const std::vector<IcsGroup> groups = GroupItems(file.items, doubles);
    IcsSaver saver(store, file.zones, horizonYears);
    for (std::size_t first = 0; first < groups.size(); first += kBatch) {
        const std::size_t end = std::min(first + kBatch, groups.size());
        Batch batch(store.App());
        for (std::size_t i = first; i < end; ++i) saver.Save(groups[i]);
        batch.Commit();
        progress.Show("saving", end, groups.size());
    }
    progress.Clear();
    std::vector<IcsSaver::Complaint> complaints = saver.TakeComplaints();
    for (const auto& skipped : file.skipped) complaints.push_back({skipped.line, skipped.why});
    for (const IcsItem* item : doubles) complaints.push_back({item->line, "its UID stands in the file already"});
    if (!quiet) {
        PrintSummary(name, saver, complaints);
        for (const std::string& zone : file.zones.Unknown())
            std::printf("  time zone \"%s\" is not known: taken as the device's\n", zone.c_str());
    }
    return complaints.empty();
}

} // namespace

int ImportCommand(const Words& words) {
    constexpr OptionRule kRules[] = {{"--horizon", true}, {"--quiet", false}};
    const Options options("import", words, kRules);
    if (options.Rest().empty()) Usage("import wants a file");
    const LONG horizon = static_cast<LONG>(options.Number("--horizon", 5, 1, 100));
    Store store;
    Progress progress(!options.Has("--quiet"));
    int code = kExitDone;
    for (const std::string& name : options.Rest()) {
        try {
            if (!ImportFile(store, name, horizon, progress, options.Has("--quiet"))) code = kExitFailed;
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
