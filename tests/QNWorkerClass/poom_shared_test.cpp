// Items saved by several processes, and by processes that are killed: each save is there as a whole, or not at all.
#include "NorvoTools/CeDb.h"
#include "tests/support/helperprocess.h"
#include "tests/support/poom.h"

#include <random>

namespace {

constexpr LONG kStates = 2; // an item is made, then changed in all that it has
constexpr LONG kSaves = 40;

// "12.1": the same in every text of an item, and another in each state.
std::u16string MarkOf(LONG state) {
    const std::string mark = std::to_string(state / kStates) + "." + std::to_string(state % kStates);
    return {mark.begin(), mark.end()};
}

DATE StartIn(LONG state) { return At(state % kStates ? "2010-03-01 11:00" : "2010-03-01 10:00"); }

// The first of these that failed.
HRESULT FirstFailure(std::initializer_list<HRESULT> results) {
    for (const HRESULT result : results)
        if (result != S_OK) return result;
    return S_OK;
}

// Gives the occurrence on a day its own subject.
HRESULT ChangeOn(const Com<IAppointment>& item, DATE day, BSTR subject) {
    Com<IRecurrencePattern> rule;
    Com<IAppointment> occurrence;
    if (HRESULT hr = item->GetRecurrencePattern(rule.Out()); hr != S_OK) return hr;
    if (HRESULT hr = rule->GetOccurrence(day, occurrence.Out()); hr != S_OK) return hr;
    return FirstFailure({occurrence->put_Subject(subject), occurrence->Save()});
}

// Series, changed occurrence, people, category, note and named property: all that one save writes.
HRESULT Write(const Com<IAppointment>& item, CEPROPID uid, LONG state) {
    const std::u16string mark = MarkOf(state);
    const Bstr text(mark.c_str());
    item->put_Subject(text);
    item->put_Body(text);
    item->put_Categories(Bstr((u"Work, " + mark).c_str()));
    item->put_Start(StartIn(state)); // the rule goes with the save
    if (state % kStates == 0)        // on a saved item it would be a write of its own
        item.As<IItem>(IID_IItem)->SetProps(0, 1, Values().Text(static_cast<WORD>(uid >> 16), mark).Data());
    Com<IRecipients> people;
    item->get_Recipients(people.Out());
    people->Remove(1);
    people->Add(text, nullptr);
    Com<IRecurrencePattern> rule;
    item->GetRecurrencePattern(rule.Out());
    rule->put_RecurrenceType(olRecursDaily);
    rule->put_Occurrences(5);
    return FirstFailure({ChangeOn(item, At("2010-03-03"), text), item->Save()});
}

std::string SubjectOf(const Com<IAppointment>& item) { return TextOf(item, &IAppointment::get_Subject); }
// The subject of the occurrence on a day.
std::string SubjectOn(const Com<IAppointment>& item, const char* day) {
    Com<IRecurrencePattern> rule;
    Com<IAppointment> occurrence;
    item->GetRecurrencePattern(rule.Out());
    return rule && rule->GetOccurrence(At(day), occurrence.Out()) == S_OK ? SubjectOf(occurrence) : "none";
}

// --- The other process ----------------------------------------------------------------------------------------------

const WCHAR kUid[] = u"uid";
const LONG kSharedSeries = 0x40000001;

class Session {
public:
    explicit Session(const std::string& folder) {
        PlatSetDeviceFolder(folder);
        const TIME_ZONE_INFORMATION berlin = Berlin();
        PlatSetTimeZone(&berlin);
        void* app = nullptr;
        CoCreateInstance(CLSID_Application, nullptr, 0, IID_IPOutlookApp2, &app);
        m_app = Com<IPOutlookApp2>(static_cast<IPOutlookApp2*>(app));
        const WCHAR* name = kUid;
        m_app->GetIDsFromNames(1, &name, CEVT_LPWSTR | kCreateNamedProperty, &m_uid);
    }
    Com<IAppointment> Make() {
        IDispatch* item = nullptr;
        m_app->CreateItem(olAppointmentItem, &item);
        return Com<IAppointment>(static_cast<IAppointment*>(item));
    }
    Com<IAppointment> Shared() {
        IDispatch* item = nullptr;
        m_app->GetItemFromOid(kSharedSeries, &item);
        return Com<IAppointment>(static_cast<IAppointment*>(item));
    }
    CEPROPID Uid() const { return m_uid; }

private:
    Com<IPOutlookApp2> m_app;
    CEPROPID m_uid = 0;
};

TEST(PoomChild, DISABLED_Run) {
    char job[20], folder[300];
    LONG first = 0;
    ASSERT_EQ(sscanf(HelperProcess::Job().c_str(), "%19s %d %299s", job, &first, folder), 3);
    Session session(folder);
    if (std::string_view(job) == "killed") {
        Com<IAppointment> item;
        for (LONG state = first;; ++state) {
            if (state % kStates == 0) item = session.Make();
            if (Write(item, session.Uid(), state) != S_OK) _exit(1);
            HelperProcess::Say(state);
        }
    }
    for (LONG i = 0; i < kSaves; ++i) {
        HelperProcess::Say(Write(session.Make(), session.Uid(), first + i * kStates));
        HelperProcess::Say(ChangeOn(session.Shared(), At("2010-01-01") + 2 * i, Bstr(u"theirs")));
    }
}

class PoomShared : public PoomTest {
protected:
    struct Child : HelperProcess {
        Child(const std::string& folder, const std::string& job, LONG first)
            : HelperProcess("PoomChild.DISABLED_Run", job + " " + std::to_string(first) + " " + folder) {}
    };
    // "" for an item that is as Write leaves it in this state; else what isn't.
    std::string Lacks(const Com<IAppointment>& item, LONG state) {
        const std::u16string wide = MarkOf(state);
        const std::string mark(wide.begin(), wide.end());
        if (TextOf(item, &IAppointment::get_Body) != mark) return "note";
        if (TextOf(item, &IAppointment::get_Categories) != "Work, " + mark) return "categories";
        if (ValueOf(item, &IAppointment::get_Start) != StartIn(state)) return "start";
        if (SubjectOn(item, "2010-03-03") != mark || SubjectOn(item, "2010-03-05") != mark) return "series";
        Com<IRecipients> people;
        Com<IRecipient> one;
        item->get_Recipients(people.Out());
        if (ValueOf(people, &IRecipients::get_Count) != 1) return "people";
        if (people->Item(1, one.Out()) != S_OK || TextOf(one, &IRecipient::get_Name) != mark) return "name";
        CEOID oid = 0;
        PlatFindItemByNamedText(m_app.Get(), olFolderCalendar, Name(kUid, CEVT_LPWSTR),
                                MarkOf(state - state % kStates).c_str(), &oid);
        return oid == static_cast<CEOID>(OidOf(item)) ? "" : "named property";
    }
    // The states of all items from the nth on. Whatever isn't whole fails the test.
    std::vector<LONG> StatesFrom(int& n) {
        std::vector<LONG> states;
        auto items = Items(olFolderCalendar);
        for (const int count = ValueOf(items, &IPOutlookItemCollection::get_Count); n <= count; ++n) {
            Com<IDispatch> item;
            EXPECT_EQ(items->Item(n, item.Out()), S_OK);
            auto appointment = item.As<IAppointment>(IID_IAppointment);
            LONG number = -1, state = -1;
            std::sscanf(SubjectOf(appointment).c_str(), "%d.%d", &number, &state);
            states.push_back(number * kStates + state);
            EXPECT_EQ(Lacks(appointment, states.back()), "") << states.back();
        }
        return states;
    }
    // Nothing lies in the side tables that belongs to no item.
    void ExpectSideTables(size_t items) {
        const auto order = Order({{0x00010013, 0}, {0x00020003, 0}});
        const auto values = Order({{0x00010013, 0}, {0x00020013, 0}});
        EXPECT_EQ(Count(Open(u"CategoryAssocDB", &order)), 2 * items);
        EXPECT_EQ(Count(Open(u"PIMNamedPropVals", &values)), items);
    }
    static size_t Count(HANDLE db) {
        size_t count = 0;
        for (CEOID oid = First(db); oid; oid = Next(db)) ++count;
        return count;
    }
};

TEST_F(PoomShared, AKilledSaveIsWholeOrAbsent) {
    std::mt19937 random(7);
    int next = 1;
    size_t all = 0;
    for (LONG round = 0; round < 25; ++round) {
        const LONG first = round * 1000 * kStates;
        LONG last = first - 1;
        {
            Child child(m_folder, "killed", first);
            ASSERT_TRUE(child.Hear(last));
            usleep(random() % 40'000);
            child.Kill();
            for (LONG state = 0; child.Hear(state);) last = state;
        }
        const auto states = StatesFrom(next);
        ASSERT_FALSE(states.empty());
        // One state more than was told may be there: it was killed between the save and its word.
        const LONG reached = std::max(states.back(), last);
        EXPECT_LE(reached, last + 1);
        ASSERT_EQ(states.size(), static_cast<size_t>(reached / kStates - first / kStates + 1));
        for (size_t i = 0; i < states.size(); ++i) {
            const LONG item = first + static_cast<LONG>(i) * kStates;
            EXPECT_EQ(states[i], std::min(item + kStates - 1, reached)) << round;
        }
        all += states.size();
    }
    ExpectSideTables(all);
    EXPECT_EQ(Write(NewAppointment(), Name(kUid, CEVT_LPWSTR), 0), S_OK); // nobody left a lock behind
}

TEST_F(PoomShared, TwoProcessesSaveAtOnce) {
    auto series = NewAppointment();
    const CEPROPID uid = Name(kUid, CEVT_LPWSTR);
    ASSERT_EQ(Write(series, uid, 0), S_OK);
    ASSERT_EQ(OidOf(series), kSharedSeries);
    Com<IRecurrencePattern> rule;
    series->GetRecurrencePattern(rule.Out());
    rule->put_PatternStartDate(At("2010-01-01"));
    rule->put_Occurrences(2 * kSaves);
    ASSERT_EQ(series->Save(), S_OK);

    CeDb lists;
    const CEOID record = Read(RecordOf(kSharedSeries), {PIMPR_NUMBER}).Oid();
    ASSERT_TRUE(lists.MountVolumeEDB(u"\\pim.vol", false) && lists.Open(u"Appointments Database"));
    Child child(m_folder, "beside", 1000);
    LONG told = 0;
    ASSERT_TRUE(child.Hear(told));
    for (LONG i = 0; i < kSaves; ++i) {
        EXPECT_EQ(Write(NewAppointment(), uid, 2000 + i * kStates), S_OK);
        EXPECT_EQ(ChangeOn(Open<IAppointment>(kSharedSeries), At("2010-01-02") + 2 * i, Bstr(u"ours")), S_OK);
        for (int reads = 0; reads < 40; ++reads) { // a list always finds the rule, whoever changes it
            CEBLOB block{};
            EXPECT_TRUE(lists.SeekTo(record) && lists.ReadStream(PIMPR_RECURRENCE, &block)) << i;
            LocalFree(block.lpb);
        }
    }
    int done = 0;
    do {
        EXPECT_EQ(told, S_OK) << done;
        ++done;
    } while (child.Hear(told));
    EXPECT_EQ(done, 2 * kSaves);
    int next = 2; // behind the series
    auto states = StatesFrom(next);
    std::ranges::sort(states);
    ASSERT_EQ(states.size(), 2u * kSaves);
    for (LONG i = 0; i < 2 * kSaves; ++i)
        EXPECT_EQ(states[static_cast<size_t>(i)],
                  (i < kSaves ? 1000 : 2000 - kSaves * kStates) + i * kStates);
    ExpectSideTables(1 + 2 * kSaves);
    // Neither has taken back what the other changed in the one series.
    const auto shared = Open<IAppointment>(kSharedSeries);
    for (LONG i = 0; i < 2 * kSaves; ++i)
        EXPECT_EQ(SubjectOn(shared, ShowDate(At("2010-01-01") + i).c_str()), i % 2 ? "ours" : "theirs") << i;
}

} // namespace
