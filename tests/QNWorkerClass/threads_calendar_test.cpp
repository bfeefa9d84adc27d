// The calendar thread as a worker: what its window is told, stopping, starting anew, and two of them at once.
#include "QNWorkerClass/calendarthread.h"
#include "tests/support/appointments.h"
#include "tests/support/clientwindow.h"

#include <gtest/gtest.h>

#include <chrono>
#include <thread>

namespace {

class ThreadsCalendar : public AppointmentTest {
protected:
    void AddMany(int count) {
        m_store->Db().BeginTransaction();
        for (int i = 0; i < count; ++i)
            AddAppointment().On("2010-03-01 10:00").Daily(1 + static_cast<DWORD>(i % 5)).Save();
        m_store->Db().Commit();
    }
    static void Restrict(CCalendarThread& thread, const char* first, const char* last) {
        SYSTEMTIME from = Date(first);
        SYSTEMTIME to = Date(last);
        thread.SetRestrict(&from, &to, true);
    }
    ClientWindow m_client;
};

TEST_F(ThreadsCalendar, TellsItsWindowOfALoad) {
    AddAppointment().On("2010-03-01 10:00").Daily(1).Save();
    CCalendarThread thread;
    thread.m_hClientWnd = m_client;
    Restrict(thread, "2010-03-01", "2010-03-03");
    thread.Start();
    EXPECT_EQ("32802 1274(1,6) 32803 ", m_client.UntilFinished());
    thread.WaitForComplete();
    EXPECT_EQ(6, thread.GetActiveDataCount());
    // Another range, by a new start.
    Restrict(thread, "2010-03-01", "2010-03-05");
    thread.Start();
    EXPECT_EQ("32802 1274(1,10) 32803 ", m_client.UntilFinished());
    // On the caller's thread nothing is told, nor without a range.
    thread.WaitForComplete();
    thread.CalendarThreadProc(nullptr, 0);
    CCalendarThread idle;
    idle.m_hClientWnd = m_client;
    idle.Start();
    idle.WaitForComplete();
    EXPECT_EQ("", m_client.Pending());
    EXPECT_EQ(0, idle.GetActiveDataCount());
}

TEST_F(ThreadsCalendar, AStoppedLoadIsNotAnnounced) {
    AddMany(400);
    CCalendarThread thread;
    thread.m_hClientWnd = m_client;
    Restrict(thread, "2010-03-01", "2011-03-01");
    thread.Start();
    std::string told;
    while (told.empty()) told = m_client.Pending(); // it has begun
    thread.Stop(false);
    told += m_client.Pending();
    EXPECT_EQ("32802 32803 ", told); // a whole load takes far longer than the way to Stop
    EXPECT_LT(thread.GetActiveDataCount(), 400 * 73);
    // The lock is free again, and the next load is whole.
    thread.Start();
    EXPECT_EQ("32802 1274(1,", m_client.UntilFinished().substr(0, 13));
}

TEST_F(ThreadsCalendar, ALoadThatFindsAnotherGoingGivesUp) {
    AddMany(200);
    CCalendarThread thread;
    thread.m_hClientWnd = m_client;
    Restrict(thread, "2010-03-01", "2010-12-31");
    thread.Start();
    thread.CalendarThreadProc(nullptr, 0); // at once, or a load of its own behind the worker's
    thread.SortDataList(true);
    thread.RemoveTasksFromThread();
    std::string told = m_client.UntilFinished();
    thread.WaitForComplete();
    if (told.find("1274") == std::string::npos) thread.CalendarThreadProc(nullptr, 0); // the worker gave up
    LONG count = thread.GetActiveDataCount();
    thread.CalendarThreadProc(nullptr, 0);
    EXPECT_EQ(count, thread.GetActiveDataCount());
}

TEST_F(ThreadsCalendar, StartsAndStopsFollowEachOther) {
    AddMany(60);
    CCalendarThread thread;
    thread.m_hClientWnd = m_client;
    for (int round = 0; round < 500; ++round) {
        Restrict(thread, "2010-03-01", round % 2 ? "2010-03-10" : "2010-04-10");
        thread.Start();
        SYSTEMTIME date = Date("2010-03-05");
        EXPECT_TRUE(thread.IsInCache(&date));
        if (round % 3 == 0) std::this_thread::sleep_for(std::chrono::microseconds(round * 7 % 900));
        if (round % 3 == 1) thread.Stop(false);
        m_client.Pending();
    }
    thread.Stop(false);
    Restrict(thread, "2010-03-01", "2010-03-01");
    m_client.Pending();
    thread.Start();
    EXPECT_EQ("32802 1274(1,61) 32803 ", m_client.UntilFinished());
}

TEST_F(ThreadsCalendar, TwoThreadsLoadAtOnce) {
    AddMany(50);
    std::string alone = Days("2010-03-01", "2010-06-30");
    CCalendarThread threads[2];
    for (int round = 0; round < 10; ++round) {
        for (CCalendarThread& thread : threads) {
            Restrict(thread, "2010-03-01", "2010-06-30");
            thread.Start();
        }
        for (CCalendarThread& thread : threads) {
            thread.WaitForComplete();
            ASSERT_EQ(alone, ListText(thread.GetList(), false));
        }
    }
}

// A terminated load leaves its lock and its databases behind: they are put right, and the next load is whole.
TEST_F(ThreadsCalendar, ATerminatedLoadIsPutRight) {
    AddMany(300);
    CCalendarThread thread;
    thread.m_hClientWnd = m_client;
    Restrict(thread, "2010-03-01", "2010-12-31");
    for (int round = 0; round < 8; ++round) {
        thread.Start();
        std::string told;
        while (told.empty()) told = m_client.Pending();
        std::this_thread::sleep_for(std::chrono::milliseconds(round)); // in the middle of a record, for one
        EXPECT_NE(0, thread.Kill(1));
        EXPECT_EQ("32802 32803 ", told + m_client.Pending());
    }
    Restrict(thread, "2010-03-01", "2010-03-01");
    thread.CalendarThreadProc(nullptr, 0);
    EXPECT_EQ(301, thread.GetActiveDataCount());
}

// A window that has gone, and a thread object that dies in the middle of its load.
TEST_F(ThreadsCalendar, EndsInTheMiddleOfALoad) {
    AddMany(100);
    for (int round = 0; round < 20; ++round) {
        CCalendarThread thread;
        {
            ClientWindow gone;
            thread.m_hClientWnd = gone;
        }
        Restrict(thread, "2010-03-01", "2010-12-31");
        thread.Start();
        std::this_thread::sleep_for(std::chrono::microseconds(round * 200));
    }
}

} // namespace
