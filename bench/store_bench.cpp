// The property store against bare SQLite in the same run: walks, seeks, streams, saves, bulk adding.
//
// Each measure is taken in turns with its peer and printed with the ratio of their medians; the peer keeps the same
// bytes in one table with an index, and copies them. Run it on an otherwise quiet machine.
#include "Platform/databases.h"
#include "Platform/memory.h"
#include "Platform/testing.h"
#include "Platform/threads.h"

#include <benchmark/benchmark.h>
#include <sqlite3.h>

#include <algorithm>
#include <chrono>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <filesystem>
#include <functional>
#include <string>
#include <vector>

namespace {

constexpr int kRecords = 10000;
constexpr CEPROPID kStart = 0x10420040;
constexpr CEPROPID kPattern = 0x203F0064;
constexpr CEPROPID kNote = 0x001E0064;
constexpr CEPROPID kIds[] = {kStart,     0x10400013, 0x0044000B, 0x0028000B, 0x0022000B,
                             0x00210013, 0x00450013, 0x0020001F, 0x0041001F, 0x00500013,
                             0x00480041, kPattern,   0x10430040, 0x10000066};

double Seconds() {
    return std::chrono::duration<double>(std::chrono::steady_clock::now().time_since_epoch()).count();
}
double Median(std::vector<double> values) {
    std::nth_element(values.begin(), values.begin() + static_cast<long>(values.size() / 2), values.end());
    return values[values.size() / 2];
}

// An appointment of 344 bytes when packed: 13 properties, a zone, subject and location.
class Appointment {
public:
    explicit Appointment(int n) {
        std::fill(std::begin(m_zone), std::end(m_zone), static_cast<BYTE>(n));
        const std::string number = std::to_string(n);
        m_subject = u"Meeting about the plans of week " + std::u16string(number.begin(), number.end());
        m_location = u"Room 12, second floor, house B";
        Add(kStart).filetime = FileTimeFromTicks(
            0x01D00000'00000000ull + static_cast<ULONGLONG>(n * 7919 % kRecords) * 36000000000ull);
        Add(0x10430040).filetime = FileTimeFromTicks(0x01D00000'10000000ull);
        Add(0x10400013).ulVal = 60;
        Add(0x0044000B).boolVal = 0;
        Add(0x0028000B).boolVal = 1;
        Add(0x0022000B).boolVal = n % 5 == 0;
        Add(0x00210013).ulVal = 0;
        Add(0x00450013).ulVal = 2;
        Add(0x00500013).ulVal = 0;
        Add(0x0020001F).lpwstr = m_subject.data();
        Add(0x0041001F).lpwstr = m_location.data();
        Add(0x00480041).blob = {sizeof m_zone, m_zone};
        if (n % 5 == 0) Add(kPattern).blob = {sizeof m_pattern, m_pattern};
    }
    CEOID AddTo(HANDLE db) {
        return CeWriteRecordProps(db, 0, static_cast<WORD>(m_values.size()), m_values.data());
    }

private:
    CEVALUNION& Add(CEPROPID propid) {
        m_values.push_back({propid, 0, 0, {}});
        return m_values.back().val;
    }
    std::vector<CEPROPVAL> m_values;
    std::u16string m_subject;
    std::u16string m_location;
    BYTE m_zone[48];
    BYTE m_pattern[100] = {4, 0x30, 4, 0x30};
};

// A device folder with the records, and the peer's file beside it.
class Bench {
public:
    Bench() {
        std::string pattern = (std::filesystem::temp_directory_path() / "qnbench-XXXXXX").string();
        m_folder = mkdtemp(pattern.data());
        PlatSetDeviceFolder(m_folder);
        CeMountDBVolEx(&m_guid, u"\\pim.vol", nullptr, DBVOL_OPEN_ALWAYS);
        m_session = CeCreateSession(&m_guid);
        SORTORDERSPECEX order{2, 1, 0, 0, {kStart}, {0}};
        CEOID oid = 0;
        m_db =
            CeOpenDatabaseInSession(m_session, &m_guid, &oid, u"Appointments Database", &order, 0, nullptr);
        m_buffer = static_cast<BYTE*>(LocalAlloc(0, kBufferSize));
        OpenPeer();
    }
    ~Bench() {
        sqlite3_close(m_peer);
        PlatSetDeviceFolder("");
        std::filesystem::remove_all(m_folder);
    }

    void Fill() {
        CeBeginTransaction(m_session, 1);
        for (int i = 0; i < kRecords; ++i) Appointment(i).AddTo(m_db);
        CeEndTransaction(m_session, TRUE);
    }
    // The peer's rows are packed records of the same size under the same keys.
    void FillPeer() {
        Run("BEGIN");
        sqlite3_stmt* add = Prepare("INSERT INTO t(k,d) VALUES(?1,?2)");
        for (int i = 0; i < kRecords; ++i) {
            std::vector<BYTE> bytes(i % 5 == 0 ? 456 : 344, static_cast<BYTE>(i));
            sqlite3_bind_int64(add, 1, i * 7919 % kRecords);
            sqlite3_bind_blob(add, 2, bytes.data(), static_cast<int>(bytes.size()), SQLITE_STATIC);
            sqlite3_step(add);
            sqlite3_reset(add);
        }
        sqlite3_finalize(add);
        Run("COMMIT");
    }

    // All records with 14 properties each; with the pattern of the series when `streams`.
    int Walk(bool streams) {
        int found = 0;
        CEOID oid = CeSeekDatabaseEx(m_db, CEDB_SEEK_BEGINNING, 0, 1, nullptr);
        for (; oid; oid = CeSeekDatabaseEx(m_db, CEDB_SEEK_CURRENT, 1, 1, nullptr)) {
            WORD count = std::size(kIds);
            DWORD size = kBufferSize;
            CeReadRecordPropsEx(m_db, 0, &count, kIds, &m_buffer, &size, nullptr);
            ++found;
            if (streams && reinterpret_cast<CEPROPVAL*>(m_buffer)[4].val.boolVal) ReadStream(kPattern);
            if (streams) ReadStream(kNote);
        }
        return found;
    }
    int PeerWalk(const char* sql) {
        sqlite3_stmt* walk = Prepare(sql);
        int found = 0;
        while (sqlite3_step(walk) == SQLITE_ROW) {
            std::memcpy(m_copy, sqlite3_column_blob(walk, 0),
                        static_cast<size_t>(sqlite3_column_bytes(walk, 0)));
            benchmark::DoNotOptimize(m_copy);
            ++found;
        }
        sqlite3_finalize(walk);
        return found;
    }
    bool Save(int n) { return Appointment(n).AddTo(m_db) != 0; }
    void PeerSave(int n) {
        if (!m_peerAdd) m_peerAdd = Prepare("INSERT INTO t(k,d) VALUES(?1,?2)");
        Run("BEGIN IMMEDIATE");
        std::memset(m_copy, n, 344);
        sqlite3_bind_int64(m_peerAdd, 1, n);
        sqlite3_bind_blob(m_peerAdd, 2, m_copy, 344, SQLITE_STATIC);
        sqlite3_step(m_peerAdd);
        sqlite3_reset(m_peerAdd);
        Run("COMMIT");
    }
    HANDLE Db() const { return m_db; }
    void EndPeerSaves() {
        sqlite3_finalize(m_peerAdd);
        m_peerAdd = nullptr;
    }

private:
    static constexpr DWORD kBufferSize = 0x20000;

    void OpenPeer() {
        sqlite3_open_v2((m_folder + "/peer.db").c_str(), &m_peer,
                        SQLITE_OPEN_READWRITE | SQLITE_OPEN_CREATE | SQLITE_OPEN_NOMUTEX, nullptr);
        Run("PRAGMA journal_mode=WAL; PRAGMA synchronous=FULL; PRAGMA cache_size=-8192;"
            "CREATE TABLE t(id INTEGER PRIMARY KEY,k INTEGER,d BLOB); CREATE INDEX i ON t(k)");
    }
    void Run(const char* sql) { sqlite3_exec(m_peer, sql, nullptr, nullptr, nullptr); }
    sqlite3_stmt* Prepare(const char* sql) {
        sqlite3_stmt* statement = nullptr;
        sqlite3_prepare_v2(m_peer, sql, -1, &statement, nullptr);
        return statement;
    }
    void ReadStream(CEPROPID propid) {
        const HANDLE stream = CeOpenStream(m_db, propid, STREAM_READ);
        if (stream == INVALID_HANDLE_VALUE) return;
        DWORD size = 0;
        CeStreamSeek(stream, 0, STREAM_SEEK_END, &size);
        CeStreamSeek(stream, 0, STREAM_SEEK_SET, nullptr);
        CeStreamRead(stream, m_copy, std::min<DWORD>(size, sizeof m_copy), nullptr);
        CloseHandle(stream);
    }

    std::string m_folder;
    CEGUID m_guid{};
    HANDLE m_session;
    HANDLE m_db;
    BYTE* m_buffer;
    BYTE m_copy[4096];
    sqlite3* m_peer = nullptr;
    sqlite3_stmt* m_peerAdd = nullptr;
};

// Ours and the peer's in turns; the state tells microseconds an item and the ratio.
void InTurns(benchmark::State& state, int items, const std::function<void()>& ours,
             const std::function<void()>& peer) {
    std::vector<double> mine, theirs;
    for (auto _ : state) {
        const double start = Seconds();
        ours();
        const double middle = Seconds();
        peer();
        mine.push_back(middle - start);
        theirs.push_back(Seconds() - middle);
        state.SetIterationTime(middle - start);
    }
    state.counters["us_each"] = Median(mine) * 1e6 / items;
    state.counters["peer_us"] = Median(theirs) * 1e6 / items;
    state.counters["ratio"] = Median(mine) / Median(theirs);
}

Bench& Filled() {
    static Bench bench;
    static const bool filled = (bench.Fill(), bench.FillPeer(), true);
    benchmark::DoNotOptimize(filled);
    return bench;
}

constexpr const char* kPeerByIndex = "SELECT d FROM t ORDER BY k";
constexpr const char* kPeerByRow = "SELECT d FROM t ORDER BY id";

void Check(benchmark::State& state, int found) {
    if (found != kRecords) state.SkipWithError("not all records were found");
}

void WalkAll(benchmark::State& state) {
    Bench& bench = Filled();
    InTurns(
        state, kRecords, [&] { Check(state, bench.Walk(false)); },
        [&] { Check(state, bench.PeerWalk(kPeerByIndex)); });
}
void WalkAllAgainstTheTableAlone(benchmark::State& state) {
    Bench& bench = Filled();
    InTurns(
        state, kRecords, [&] { Check(state, bench.Walk(false)); },
        [&] { Check(state, bench.PeerWalk(kPeerByRow)); });
}
void WalkAllWithStreams(benchmark::State& state) {
    Bench& bench = Filled();
    InTurns(
        state, kRecords, [&] { Check(state, bench.Walk(true)); },
        [&] { Check(state, bench.PeerWalk(kPeerByIndex)); });
}
void SeekByIdAndRead(benchmark::State& state) {
    Bench& bench = Filled();
    std::vector<CEOID> oids;
    for (CEOID oid = CeSeekDatabaseEx(bench.Db(), CEDB_SEEK_BEGINNING, 0, 1, nullptr); oid;
         oid = CeSeekDatabaseEx(bench.Db(), CEDB_SEEK_CURRENT, 1, 1, nullptr))
        oids.push_back(oid);
    size_t at = 0;
    for (auto _ : state)
        benchmark::DoNotOptimize(
            CeSeekDatabaseEx(bench.Db(), CEDB_SEEK_CEOID, oids[at++ * 31 % oids.size()], 1, nullptr));
}
void SeekFirstEqual(benchmark::State& state) {
    Bench& bench = Filled();
    int n = 0;
    for (auto _ : state) {
        CEPROPVAL value{kStart, 0, 0, {}};
        value.val.filetime = FileTimeFromTicks(0x01D00000'00000000ull +
                                               static_cast<ULONGLONG>(n++ * 31 % kRecords) * 36000000000ull);
        if (!CeSeekDatabaseEx(bench.Db(), CEDB_SEEK_VALUEFIRSTEQUAL, reinterpret_cast<ULONG_PTR>(&value), 1,
                              nullptr))
            state.SkipWithError("not found");
    }
}
void DurableSave(benchmark::State& state) {
    Bench bench;
    int n = 0;
    InTurns(
        state, 20,
        [&] {
            for (int i = 0; i < 20; ++i)
                if (!bench.Save(++n)) state.SkipWithError("not saved");
        },
        [&] {
            for (int i = 0; i < 20; ++i) bench.PeerSave(++n);
        });
    bench.EndPeerSaves();
}
void BulkAdd(benchmark::State& state) {
    std::vector<double> seconds;
    for (auto _ : state) {
        Bench bench;
        const double start = Seconds();
        bench.Fill();
        seconds.push_back(Seconds() - start);
        state.SetIterationTime(seconds.back());
    }
    state.counters["records_per_s"] = kRecords / Median(seconds);
}

BENCHMARK(WalkAll)->UseManualTime()->Unit(benchmark::kMillisecond)->Iterations(40);
BENCHMARK(WalkAllAgainstTheTableAlone)->UseManualTime()->Unit(benchmark::kMillisecond)->Iterations(40);
BENCHMARK(WalkAllWithStreams)->UseManualTime()->Unit(benchmark::kMillisecond)->Iterations(40);
BENCHMARK(SeekByIdAndRead);
BENCHMARK(SeekFirstEqual);
BENCHMARK(DurableSave)->UseManualTime()->Unit(benchmark::kMillisecond)->Iterations(30);
BENCHMARK(BulkAdd)->UseManualTime()->Unit(benchmark::kMillisecond)->Iterations(8);

} // namespace

BENCHMARK_MAIN();
