// A search over 10,000 contacts, 5,000 tasks, 10,000 appointments and 2,000 notes for a word that one in a thousand of them
// has: the time until the first progress is told, and until the end; with the notes of items searched too. The peer is
// "grep -ric" over the same data as text files, one for each store and each note. Wall-clock time, the least of several runs;
// the memory that a search takes, with all that it finds. Ends with 1 when a figure is over its limit.
#include "NorvoTools/CRegistry.h"
#include "NorvoTools/CeDb.h"
#include "NorvoTools/globals.h"
#include "Platform/civil.h"
#include "Platform/memory.h"
#include "Platform/modules.h"
#include "Platform/poom.h"
#include "Platform/strings.h"
#include "Platform/windows.h"
#include "QNWorkerClass/notestores.h"
#include "QNWorkerClass/searchthread.h"
#include "QNWorkerClass/sidestores.h"
#include "bench/figures.h"

#include <chrono>
#include <memory>
#include <vector>

namespace {

constexpr int kContacts = 10000, kTasks = 5000, kAppointments = 10000, kNotes = 2000;
constexpr int kRare = 1000; // one in so many has the word
constexpr int kFound = (kContacts + kTasks + kAppointments + kNotes) / kRare;

using Clock = std::chrono::steady_clock;
double MsSince(Clock::time_point start) {
    return std::chrono::duration<double, std::milli>(Clock::now() - start).count();
}

std::u16string Wide(const std::string& text) { return {text.begin(), text.end()}; }

// Words that differ from item to item.
std::string Words(int i, const char* kind) {
    const std::string number = std::to_string(i * 7919 % 100003);
    return std::string(kind) + " number " + number + (i % kRare == kRare / 2 ? " Needlework" : " ordinary");
}

class Device {
public:
    Device() {
        std::filesystem::create_directories(m_texts);
        Fill("Contacts Database", kContacts, [&](int i) { AddContact(i); });
        Fill("Tasks Database", kTasks, [&](int i) { AddTask(i); });
        Fill("Appointments Database", kAppointments, [&](int i) { AddAppointment(i); });
        AddNotes();
        g_pOutlook = &m_outlook;
    }
    ~Device() {
        g_pOutlook = nullptr;
        m_outlook.Close();
        m_db.UnMountVolume();
        CRegistry::INIFileCache.Clear();
    }
    Device(const Device&) = delete;
    Device& operator=(const Device&) = delete;
    const std::string& Texts() const { return m_texts; }

private:
    template<class AddItem>
    void Fill(const char* store, int count, AddItem add) {
        m_out.open(m_texts + "/" + store + ".txt");
        if (!m_db.MountVolumeEDB(kPimVolume, false) || !m_db.Open(Wide(store).c_str())) std::abort();
        m_db.BeginTransaction();
        for (int i = 0; i < count; ++i) add(i);
        m_db.Commit();
        m_db.Close();
        m_out.close();
    }
    CEVALUNION& Value(CEPROPID id) {
        m_values.push_back({id, 0, 0, {}});
        return m_values.back().val;
    }
    void Text(CEPROPID id, const std::string& text) {
        m_out << text << '\t';
        m_held.push_back(std::make_unique<std::u16string>(Wide(text)));
        Value(id).lpwstr = m_held.back()->data();
    }
    // Every fourth item has a note.
    void Note(int i) {
        if (i % 4 == 0) {
            m_note = "Some words that somebody wrote down about number " + std::to_string(i);
            m_out << m_note << '\t';
            Value(PIMPR_NOTE).blob = {static_cast<DWORD>(m_note.size()),
                                      reinterpret_cast<BYTE*>(m_note.data())};
        }
        m_out << '\n';
        if (!CeWriteRecordProps(m_db.m_hDb, 0, static_cast<WORD>(m_values.size()), m_values.data()))
            std::abort();
        m_values.clear();
        m_held.clear();
    }
    void AddContact(int i) {
        const std::string number = std::to_string(i);
        Text(PIMPR_FILEAS, Words(i, "Person"));
        Text(PIMPR_FIRST_NAME, "Given" + number);
        Text(PIMPR_LAST_NAME, "Family" + number);
        Text(PIMPR_COMPANY, "Company " + std::to_string(i % 300));
        Text(PIMPR_MOBILE_TEL, "+49 (170) " + std::to_string(1000000 + i * 37));
        Text(PIMPR_BUSINESS_TEL, "+49 (30) " + std::to_string(1000000 + i * 11));
        Text(PIMPR_EMAIL1, "person" + number + "@example.com");
        Text(PIMPR_BUSINESS_STREET, "Street " + std::to_string(i % 200));
        Text(PIMPR_BUSINESS_CITY, "City " + std::to_string(i % 50));
        Note(i);
    }
    void AddTask(int i) {
        Text(PIMPR_SUBJECT, "A1: " + Words(i, "Task"));
        Value(PIMPR_IMPORTANCE).ulVal = static_cast<ULONG>(i % 3);
        Value(PIMPR_TASK_DUE).filetime = Day(i % 400);
        Note(i);
    }
    void AddAppointment(int i) {
        Text(PIMPR_SUBJECT, Words(i, "Meeting"));
        Text(PIMPR_LOCATION, "Room " + std::to_string(i % 40));
        Value(PIMPR_START).filetime = Day(i % 1000);
        Value(PIMPR_DURATION).ulVal = 60;
        Note(i);
    }
    static FILETIME Day(int day) {
        return FileTimeFromTicks(
            static_cast<ULONGLONG>((civil::DaysFromCivil(2026, 1, 1) + day) * civil::kTicksPerDay));
    }
    void AddNotes() {
        for (int i = 0; i < kNotes; ++i) {
            const std::string name = "Folder " + std::to_string(i % 50),
                              file = "/Note " + std::to_string(i) + ".txt";
            const std::string text = std::string(1000, 'x') + " " + Words(i, "note") + "\n";
            for (std::string path : {m_device.Folder() + "/My Documents/", m_texts + "/"}) {
                path += name;
                std::filesystem::create_directories(path);
                path += file;
                std::ofstream(path) << text;
            }
        }
    }

    TemporaryDevice m_device;
    std::string m_texts = m_device.Folder() + "/texts", m_note;
    std::ofstream m_out;
    CeDb m_db;
    COutlook m_outlook;
    std::vector<CEPROPVAL> m_values;
    std::vector<std::unique_ptr<std::u16string>> m_held;
};

// A window of this thread, which is told at once.
Clock::time_point g_start;
double g_firstProgress;
LRESULT Receive(HWND window, UINT message, WPARAM wParam, LPARAM lParam) {
    if (message == kMsgListChanged && wParam == 0 && g_firstProgress == 0) g_firstProgress = MsSince(g_start);
    return DefWindowProcW(window, message, wParam, lParam);
}
HWND MakeWindow() {
    WNDCLASSW windowClass = {};
    windowClass.lpfnWndProc = &Receive;
    windowClass.lpszClassName = u"SearchBench";
    RegisterClassW(&windowClass);
    return CreateWindowExW(0, u"SearchBench", u"", 0, 0, 0, 0, 0, HWND_MESSAGE, nullptr, nullptr, nullptr);
}

struct Times {
    double first = DBL_MAX, all = DBL_MAX;
};
struct Kind {
    const WCHAR* text;
    bool notes, anywhere;
    LONG expected; // rows
};
Times SearchOnce(HWND window, const Kind& kind) {
    CSearchThread search;
    search.m_hClientWnd = window;
    _QNSEARCH query;
    query.bContacts = query.bTasks = query.bCalendar = query.bNotes = 1;
    query.bSearchNotes = kind.notes;
    query.bAnywhere = kind.anywhere;
    query.bstrText = SysAllocString(kind.text);
    search.SetParams(&query);
    SysFreeString(query.bstrText);
    g_start = Clock::now();
    g_firstProgress = 0;
    search.SearchThreadProc(0);
    const double all = MsSince(g_start);
    if (search.GetActiveDataCount() != kind.expected) std::abort(); // not what is there
    return {g_firstProgress, all};
}
Times Search(HWND window, const Kind& kind) {
    Times least;
    for (int run = 0; run < 5; ++run) {
        const Times times = SearchOnce(window, kind);
        least = {std::min(least.first, times.first), std::min(least.all, times.all)};
    }
    return least;
}

double Grep(const std::string& folder) {
    double least = DBL_MAX;
    const std::string command = "grep -ric needlework '" + folder + "' >/dev/null";
    for (int run = 0; run < 5; ++run) {
        const auto start = Clock::now();
        if (std::system(command.c_str()) != 0) std::abort();
        least = std::min(least, MsSince(start));
    }
    return least;
}

} // namespace

int main() {
    g_hResources = LoadLibraryW(u"QNResources.dll");
    const Device device;
    const HWND window = MakeWindow();
    const Kind plain{u"needlework", false, true, kFound - kNotes / kRare};
    const Kind inNotes{u"needlework", true, true, kFound};
    const Kind common{u"number", false, true, kFound * kRare - kNotes};
    const Kind everything{u"*", true, true, kFound * kRare};
    const double memory[] = {PeakMiB([&] { SearchOnce(window, inNotes); }),
                             PeakMiB([&] { SearchOnce(window, common); }),
                             PeakMiB([&] { SearchOnce(window, everything); })};
    const Times rare = Search(window, plain), notes = Search(window, inNotes);
    const double grep = Grep(device.Texts());
    PrintFigure("a rare word in all fields: first progress, ms", rare.first, 50);
    PrintFigure("  end, ms", rare.all, 600);
    PrintFigure("in all fields and notes: first progress, ms", notes.first, 50);
    PrintFigure("  end, ms", notes.all, 600);
    PrintFigure("  peak memory, MiB", memory[0], 32);
    PrintFigure("at the beginning of a field: end, ms", Search(window, {u"absent", false, false, 0}).all,
                600);
    PrintFigure("a word that all but the notes have: end, ms", Search(window, common).all, 600);
    PrintFigure("  peak memory, MiB", memory[1], 32);
    PrintFigure("everything: end, ms", Search(window, everything).all, 600);
    PrintFigure("  peak memory, MiB", memory[2], 32);
    std::printf("grep -ric over the same as text, ms %22.2f\n", grep);
    std::printf("  search with notes / grep %31.2f\n", notes.all / grep);
    return g_bAllWithin ? 0 : 1;
}
