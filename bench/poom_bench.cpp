// The object model: one durable save against one bare SQLite commit in the same run, and an import in batches.
//
// The saves of both kinds are taken in turns, each in a folder of its own, and the ratio of their medians is printed.
#include "Platform/poom.h"
#include "Platform/memory.h"
#include "Platform/testing.h"

#include <benchmark/benchmark.h>
#include <sqlite3.h>

#include <algorithm>
#include <chrono>
#include <cstdlib>
#include <filesystem>
#include <string>
#include <vector>

namespace {

constexpr int kEvents = 10'000;
constexpr int kBatch = 500;
constexpr int kRounds = 20; // saves in one measure

double Now() {
    return std::chrono::duration<double>(std::chrono::steady_clock::now().time_since_epoch()).count();
}
double Median(std::vector<double> values) {
    std::nth_element(values.begin(), values.begin() + static_cast<long>(values.size() / 2), values.end());
    return values[values.size() / 2];
}

class Text {
public:
    explicit Text(const std::u16string& text) : m_text(SysAllocString(text.c_str())) {}
    ~Text() { SysFreeString(m_text); }
    Text(const Text&) = delete;
    Text& operator=(const Text&) = delete;
    operator BSTR() const { return m_text; }

private:
    BSTR m_text;
};

class Device {
public:
    Device() {
        std::string pattern = (std::filesystem::temp_directory_path() / "qnbench-XXXXXX").string();
        m_folder = mkdtemp(pattern.data());
        PlatSetDeviceFolder(m_folder);
        void* app = nullptr;
        CoCreateInstance(CLSID_Application, nullptr, 0, IID_IPOutlookApp2, &app);
        m_app = static_cast<IPOutlookApp2*>(app);
        const WCHAR* name = u"uid";
        m_app->GetIDsFromNames(1, &name, CEVT_LPWSTR | kCreateNamedProperty, &m_uid);
    }
    ~Device() {
        m_app->Release();
        PlatSetDeviceFolder("");
        std::filesystem::remove_all(m_folder);
    }
    // A fifth are series, all have a category, a note and, when imported, a UID that is looked for first.
    bool Save(int n, bool import) {
        const std::string digits = std::to_string(n);
        const std::u16string number(digits.begin(), digits.end());
        IDispatch* made = nullptr;
        if (m_app->CreateItem(olAppointmentItem, &made) != S_OK) return false;
        auto* item = static_cast<IAppointment*>(made);
        item->put_Subject(Text(u"Meeting about the plans of week " + number));
        item->put_Location(Text(u"Room 12, second floor, house B"));
        item->put_Start(40'238.0 + n % 700 + 0.375);
        item->put_Duration(60);
        if (import) Import(item, number, n);
        const bool saved = item->Save() == S_OK;
        item->Release();
        return saved;
    }
    IPOutlookApp2* App() const { return m_app; }
    const std::string& Folder() const { return m_folder; }

private:
    void Import(IAppointment* item, const std::u16string& number, int n) {
        CEOID oid = 0;
        std::u16string uid = u"event-" + number + u"@example.org";
        PlatFindItemByNamedText(m_app, olFolderCalendar, m_uid, uid.c_str(), &oid);
        BYTE note[] = "{\\pwi a short description of the event}";
        const CEBLOB ink{sizeof note, note};
        item->put_BodyInk(&ink);
        item->put_Categories(Text(n % 3 ? u"Work" : u"Home"));
        void* face = nullptr;
        item->QueryInterface(IID_IItem, &face);
        CEPROPVAL value{};
        value.propid = m_uid;
        value.val.lpwstr = uid.data();
        static_cast<IItem*>(face)->SetProps(0, 1, &value);
        static_cast<IItem*>(face)->Release();
        if (n % 5) return;
        IRecurrencePattern* rule = nullptr;
        item->GetRecurrencePattern(&rule);
        rule->put_RecurrenceType(olRecursWeekly);
        if (n % 10) rule->put_Occurrences(30);
        rule->put_Interval(1);
        rule->Release();
    }

    std::string m_folder;
    IPOutlookApp2* m_app = nullptr;
    CEPROPID m_uid = 0;
};

// One row a commit into a table with an index, as durable as the store.
class Peer {
public:
    explicit Peer(const std::string& folder) {
        sqlite3_open((folder + "/peer.db").c_str(), &m_db);
        sqlite3_exec(
            m_db,
            "PRAGMA journal_mode=WAL; PRAGMA synchronous=FULL;"
            "CREATE TABLE r(id INTEGER PRIMARY KEY, start INTEGER, b BLOB); CREATE INDEX i ON r(start)",
            nullptr, nullptr, nullptr);
        sqlite3_prepare_v2(m_db, "INSERT INTO r(start, b) VALUES(?, ?)", -1, &m_insert, nullptr);
    }
    ~Peer() {
        sqlite3_finalize(m_insert);
        sqlite3_close(m_db);
    }
    bool Save(int n) {
        static const BYTE bytes[344] = {};
        sqlite3_bind_int64(m_insert, 1, n);
        sqlite3_bind_blob(m_insert, 2, bytes, sizeof bytes, SQLITE_STATIC);
        const bool saved = sqlite3_step(m_insert) == SQLITE_DONE;
        sqlite3_reset(m_insert);
        return saved;
    }

private:
    sqlite3* m_db = nullptr;
    sqlite3_stmt* m_insert = nullptr;
};

void DurableSave(benchmark::State& state) {
    Device device;
    Peer peer(device.Folder());
    std::vector<double> own, bare;
    int n = 0;
    for (auto _ : state) {
        const double start = Now();
        for (int i = 0; i < kRounds; ++i)
            if (!device.Save(++n, false)) state.SkipWithError("not saved");
        const double middle = Now();
        for (int i = 0; i < kRounds; ++i)
            if (!peer.Save(++n)) state.SkipWithError("the peer didn't save");
        own.push_back((middle - start) / kRounds);
        bare.push_back((Now() - middle) / kRounds);
        state.SetIterationTime(own.back());
    }
    state.counters["peer_ms"] = Median(bare) * 1000;
    state.counters["ratio"] = Median(own) / Median(bare);
}

void Import(benchmark::State& state) {
    std::vector<double> seconds;
    for (auto _ : state) {
        Device device;
        const double start = Now();
        for (int n = 0; n < kEvents; ++n) {
            if (n % kBatch == 0 && FAILED(PlatBeginItemBatch(device.App()))) state.SkipWithError("no batch");
            if (!device.Save(n, true)) state.SkipWithError("not saved");
            if (n % kBatch == kBatch - 1 && FAILED(PlatEndItemBatch(device.App(), true)))
                state.SkipWithError("not kept");
        }
        seconds.push_back(Now() - start);
        state.SetIterationTime(seconds.back());
    }
    state.counters["events_per_s"] = kEvents / Median(seconds);
}

BENCHMARK(DurableSave)->UseManualTime()->Unit(benchmark::kMillisecond)->Iterations(30);
BENCHMARK(Import)->UseManualTime()->Unit(benchmark::kMillisecond)->Iterations(3);

} // namespace

BENCHMARK_MAIN();
