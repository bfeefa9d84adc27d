// The search: a real search thread looks through the stores, and each row is printed when the thread tells of it.
#include "QNWorkerClass/DATACALENDAR.h"
#include "QNWorkerClass/searchthread.h"
#include "apps/qn/categoryoptions.h"
#include "apps/qn/choice.h"
#include "apps/qn/client.h"
#include "apps/qn/commands.h"
#include "apps/qn/searchrow.h"

#include <algorithm>
#include <cstdio>
#include <set>
#include <tuple>

namespace qn {

namespace {

constexpr const WCHAR* kSearchView = u"Software\\Norvo\\Quillonary\\SV";

constexpr OptionRule kRules[] = {
    {"--in", true},       {"--field", true},        {"--begin", false},       {"--contents", false},
    {"--sound", false},   {"--from", true},         {"--to", true},           {"--tasks", true},
    {"--tracked", false}, {"--privacy", true},      {"--category", true},     {"--all-of", false},
    {"--hide", false},    {"--no-category", false}, {"--all-entries", false}, {"--no-links", false},
    {"--sort", true},     {"--descending", false},  {"--group", true},        {"--json", false},
};

enum Kind : DWORD { kContacts = 1, kTasks = 2, kAppointments = 4, kNotes = 8, kJournal = 16, kAllKinds = 31 };
constexpr Choice kKinds[] = {{"contacts", kContacts},
                             {"tasks", kTasks},
                             {"appointments", kAppointments},
                             {"notes", kNotes},
                             {"journal", kJournal}};
constexpr Choice kFields[] = {{"all", kSearchAll},           {"name", kSearchNames},
                              {"location", kSearchLocation}, {"first", kSearchFirstName},
                              {"last", kSearchLastName},     {"company", kSearchCompany},
                              {"mail", kSearchMail},         {"phone", kSearchPhone}};
constexpr Choice kTaskStates[] = {{"open", 0}, {"done", 1}};
constexpr Choice kPrivacies[] = {
    {"public", 0}, {"not-public", 1}, {"personal", 11}, {"private", 12}, {"confidential", 13}};
enum Sort : DWORD { kAsView = 0, kSubject = 5, kAsJournal = 6 }; // beside those of the thread
constexpr Choice kSorts[] = {{"subject", kSubject},
                             {"date", kSearchByDate},
                             {"category", kSearchByCategory},
                             {"sensitivity", kSearchBySensitivity},
                             {"timeline", kSearchByPureDate},
                             {"journal", kAsJournal},
                             {"view", kAsView}};
enum Group : DWORD { kByAge = 1, kByItem };
constexpr Choice kGroups[] = {{"age", kByAge}, {"item", kByItem}};

// --- The query ----------------------------------------------------------------------------------------------------

DWORD KindsOf(const Options& options) {
    DWORD kinds = 0;
    for (std::string names : options.All("--in")) {
        for (std::size_t comma; (comma = names.find(',')) != names.npos; names.erase(0, comma + 1))
            kinds |= Choose("search", "--in", names.substr(0, comma), kKinds);
        kinds |= Choose("search", "--in", names, kKinds);
    }
    return kinds ? kinds : DWORD{kAllKinds};
}

double DayOf(const Options& options, const char* option) {
    if (!options.Has(option)) return kNoDate;
    const auto day = ParseDay(options.Get(option));
    if (!day) Usage(std::string("search: ") + option + " can't be " + options.Get(option));
    return *day;
}

// Without the text and the field.
_QNSEARCH QueryOf(const Options& options) {
    _QNSEARCH query;
    const DWORD kinds = KindsOf(options);
    query.bContacts = (kinds & kContacts) != 0;
    query.bTasks = (kinds & kTasks) != 0;
    query.bCalendar = (kinds & kAppointments) != 0;
    query.bNotes = (kinds & kNotes) != 0;
    query.bJournal = (kinds & kJournal) != 0;
    query.bAnywhere = !options.Has("--begin");
    query.bSearchNotes = options.Has("--contents");
    query.bUseSoundex = options.Has("--sound");
    query.bTrackedOnly = options.Has("--tracked");
    query.bJournalAll = options.Has("--all-entries");
    query.bNoLinks = options.Has("--no-links");
    query.dFrom = DayOf(options, "--from");
    query.dTo = DayOf(options, "--to");
    if (query.dFrom != kNoDate && query.dFrom > query.dTo) Usage("search: --from is behind --to");
    if (const auto state = Wanted("search", options, "--tasks", kTaskStates))
        query.lCompleted = static_cast<LONG>(*state);
    if (const auto mode = Wanted("search", options, "--privacy", kPrivacies))
        query.lPrivacy = static_cast<LONG>(*mode);
    return query;
}

// Rows are printed as they are found, unless their order or their headers need all of them.
bool NeedsAll(const Options& options) { return options.Has("--sort") || options.Has("--group"); }

void FillOrder(const Options& options, _QNSEARCH& query, CSearchThread& search) {
    const DWORD sort = Wanted("search", options, "--sort", kSorts).value_or(kSearchByDate);
    if (options.Has("--descending") && (!options.Has("--sort") || sort == kAsView || sort == kAsJournal))
        Usage("search: --descending wants a --sort with a key");
    query.bJournalSort = sort == kAsJournal;
    search.SetSort(static_cast<LONG>(sort), options.Has("--descending"));
    query.bGroupByAge = Wanted("search", options, "--group", kGroups) == kByAge;
    if (query.bGroupByAge && query.dFrom == kNoDate) Usage("search: --group age counts from --from");
    search.SetProgress(!NeedsAll(options));
}

std::vector<DWORD> FieldsOf(const Options& options) {
    std::vector<DWORD> fields;
    for (const std::string& name : options.All("--field"))
        fields.push_back(Choose("search", "--field", name, kFields));
    if (fields.empty()) fields.push_back(kSearchAll);
    if (fields.size() > 1 && NeedsAll(options)) Usage("search: --sort and --group want one --field");
    return fields;
}

std::string TextFrom(const Options& options) {
    const std::vector<std::string>& rest = options.Rest();
    if (rest.empty() || rest[0].find_first_not_of(" \t\r\n") == std::string::npos)
        Usage("search: what is to be found? * is everything");
    if (rest.size() > 1) Usage("search: what is " + rest[1] + "? A text of several words stands in quotes");
    return rest[0];
}

// --- The results --------------------------------------------------------------------------------------------------

class Results {
public:
    Results(const Options& options, Store& store, CSearchThread& search)
        : m_json(options.Has("--json")), m_ordered(NeedsAll(options)), m_store(store), m_search(search) {}

    // What the thread tells: so many rows are found; at the end the list is sorted.
    void Changed(bool end, LONG rows) {
        if (end)
            PrintRest();
        else
            for (; m_next <= rows; ++m_next) Print(*m_search.GetList().Get(m_next));
        std::fflush(stdout);
    }
    std::size_t Count() const { return m_printed.size(); }

private:
    void PrintRest() {
        std::set<const DATAGENERAL*> grouped;
        for (const DATAPARENT* header : m_search.GetGroups())
            for (const DATAGENERAL* row : header->m_listChildren) grouped.insert(row);
        std::vector<const DATAGENERAL*> rows;
        for (const DATAGENERAL* row : m_search.GetList())
            if (!grouped.contains(row)) rows.push_back(row);
        if (!m_ordered) std::ranges::stable_sort(rows, {}, &PlaceOf);
        for (const DATAGENERAL* row : rows) Print(*row);
        PrintGroups();
        m_next = 1; // of the search for another field
    }
    void PrintGroups() {
        for (const DATAPARENT* header : m_search.GetGroups()) {
            std::puts((m_json ? HeaderJson(*header) : HeaderText(*header)).c_str());
            for (const DATAGENERAL* row : header->m_listChildren) Print(*row, header);
        }
    }
    // As the search goes through the kinds.
    static std::ptrdiff_t PlaceOf(const DATAGENERAL* row) {
        constexpr LONG kOrder[] = {kDataContact, kDataTask, kDataAppointment, kRowNote, kLineJournal};
        return std::ranges::find(kOrder, row->m_nType) - kOrder;
    }
    // Each once: further fields find some again.
    void Print(const DATAGENERAL& row, const DATAPARENT* header = nullptr) {
        if (!m_printed
                 .emplace(row.m_nType, row.m_oid, row.m_oidRecord, row.m_dtStart, TextOf(row.m_szSubject))
                 .second)
            return;
        const std::string indent = header ? "  " : "";
        std::puts((m_json ? SearchJson(row, m_store, header) : indent + SearchText(row, m_store)).c_str());
    }

    bool m_json;
    bool m_ordered;
    Store& m_store;
    CSearchThread& m_search;
    int m_next = 1;
    std::set<std::tuple<LONG, DWORD, DWORD, double, std::string>> m_printed;
};

void TellNothing(const std::string& text, const _QNSEARCH& query) {
    std::printf("Nothing found for \"%s\".%s\n", Printable(text).c_str(),
                query.bSearchNotes ? "" : " With --contents notes are searched too.");
}

} // namespace

int SearchCommand(const Words& words) {
    const Options options("search", words, kRules);
    const std::string text = TextFrom(options);
    const std::vector<DWORD> fields = FieldsOf(options);
    _QNSEARCH query = QueryOf(options);
    ViewKey view(kSearchView);
    FillCategoryModes("search", options, view);
    CSearchThread search(options.Has("--group"));
    FillOrder(options, query, search);
    Store store;
    search.Override(view.Get());
    ChooseCategories(options, search);
    Results results(options, store, search);
    Client client([&](WPARAM what, LPARAM rows) { results.Changed(what == 1, static_cast<LONG>(rows)); });
    search.m_hClientWnd = client.Window();
    const Bstr wide(Utf16(text));
    query.bstrText = wide;
    for (const DWORD field : fields) {
        query.lField = static_cast<LONG>(field);
        search.SetParams(&query);
        client.Run(search);
    }
    if (query.bUseSoundex && !search.GetParams().bUseSoundex)
        std::fprintf(stderr, "qn: search: \"%s\" has no sound, its letters alone were looked for\n",
                     Printable(text).c_str());
    if (results.Count() == 0 && !options.Has("--json")) TellNothing(text, query);
    return kExitDone;
}

} // namespace qn
