// All data threads of a suite at once: started, started over and stopped in turn while items are saved.
#include "Platform/files.h"
#include "QNWorkerClass/calendarthread.h"
#include "QNWorkerClass/contactsthread.h"
#include "QNWorkerClass/notesthread.h"
#include "QNWorkerClass/searchthread.h"
#include "QNWorkerClass/tasksthread.h"
#include "tests/support/clientwindow.h"
#include "tests/support/engine.h"
#include "tests/support/poom.h"

#include <fstream>
#include <thread>

namespace {

constexpr int kItems = 40; // of each kind
constexpr DATE kFirstDay = 46347;

class ThreadsAll : public EngineTest {
protected:
    template<class Item, class Fill>
    void Make(int folder, const IID& iid, Fill fill) {
        Com<IDispatch> made;
        ASSERT_EQ(S_OK, g_pOutlook->CreateItem(folder, made.Out()));
        auto item = made.As<Item>(iid);
        fill(*item.Get());
        ASSERT_EQ(S_OK, item->Save());
    }
    void MakeAppointment(int day) {
        Make<IAppointment>(olAppointmentItem, IID_IAppointment, [day](IAppointment& item) {
            item.put_Subject(Bstr(u"word of an appointment"));
            item.put_Start(kFirstDay + day % 20 + 0.5);
            item.put_Duration(30);
        });
    }
    void SetUp() override {
        EngineTest::SetUp();
        for (int i = 0; i < kItems; ++i) {
            MakeAppointment(i);
            Make<ITask>(olTaskItem, IID_ITask,
                        [](ITask& item) { item.put_Subject(Bstr(u"word of a task")); });
            Make<IContact>(olContactItem, IID_IContact,
                           [](IContact& item) { item.put_FileAs(Bstr(u"Word, A")); });
        }
        CreateDirectoryW(u"\\My Documents", nullptr);
        for (int i = 0; i < kItems; ++i)
            std::ofstream(HostPath("My Documents/word" + std::to_string(i) + ".txt")) << "word";
    }
};

TEST_F(ThreadsAll, StartAndStopInTurn) {
    ClientWindow client;
    const SYSTEMTIME first{2026, 11, 6, 21, 0, 0, 0, 0}, last{2026, 12, 4, 10, 0, 0, 0, 0};
    Bstr word(u"word");
    _QNSEARCH query;
    query.bstrText = word;
    query.bCalendar = query.bTasks = query.bContacts = query.bNotes = 1;
    CCalendarThread calendar;
    CTasksThread tasks;
    CContactsThread contacts;
    CNotesThread notes;
    CSearchThread search;
    calendar.SetRestrict(&first, &last, true);
    calendar.m_hClientWnd = tasks.m_hClientWnd = contacts.m_hClientWnd = notes.m_hClientWnd =
        search.m_hClientWnd = client;
    CQNDataThread* const threads[] = {&calendar, &tasks, &contacts, &notes, &search};
    for (int round = 0; round < 30; ++round) {
        search.SetParams(&query);
        for (CQNDataThread* thread : threads) thread->Start();
        if (round % 3 == 0) MakeAppointment(round);
        std::this_thread::sleep_for(std::chrono::milliseconds(round % 7));
        threads[round % 5]->Start();          // over a run that may be going
        threads[(round + 2) % 5]->Stop(true); // which takes what it waits to tell
        if (round % 4 == 0) client.Pending();
        for (CQNDataThread* thread : threads) thread->Stop(true);
    }
    for (CQNDataThread* thread : threads) {
        client.Pending();
        search.SetParams(&query);
        thread->Start();
        EXPECT_NE(std::string::npos, client.UntilFinished().find("1274(1,"));
        thread->Stop(true);
    }
    EXPECT_LE(kItems + 10, calendar.GetActiveDataCount()); // and a header a day
    EXPECT_EQ(kItems, tasks.GetActiveDataCount());
    EXPECT_EQ(kItems, contacts.GetActiveDataCount());
    EXPECT_EQ(kItems, search.GetCounts().lTasks);
    EXPECT_EQ(kItems, search.GetCounts().lContacts);
    EXPECT_EQ(kItems, search.GetCounts().lNotes);
}

} // namespace
