// The contacts thread as a worker: what its window is told, stops, typing while it runs, edits meanwhile, a terminated run.
#include "tests/support/clientwindow.h"
#include "tests/support/contacts.h"

#include <chrono>
#include <thread>

namespace {

class ThreadsContacts : public ContactsTest {
protected:
    ThreadsContacts() { Format(kDisplayFirstLast); }
    void AddMany(int count) {
        const HANDLE session = NewSession();
        CeBeginTransaction(session, 1);
        const HANDLE db = Open(u"Contacts Database", nullptr, session);
        for (int i = 0; i < count; ++i) {
            const std::u16string name{static_cast<WCHAR>(u'a' + i % 26),
                                      static_cast<WCHAR>(u'a' + i / 26 % 26)};
            m_record = Add(db, Values()
                                   .Text(HIWORD(PIMPR_FILEAS), name)
                                   .Text(HIWORD(PIMPR_FIRST_NAME), name)
                                   .Text(HIWORD(PIMPR_COMPANY), name.substr(1)));
        }
        Close(db);
        CeEndTransaction(session, TRUE);
        Close(session);
    }
    ClientWindow m_client;
};

TEST_F(ThreadsContacts, TellsItsWindow) {
    AddContact(u"Ada", u"Byron").Company(u"Acme").Save();
    AddContact(u"Bob", u"Cook").Save();
    CContactsThread thread;
    thread.m_hClientWnd = m_client;
    // What is sent may overtake what was posted before.
    const auto run = [&] {
        thread.Start();
        const std::string told = m_client.UntilFinished();
        return told.starts_with("1274") ? "32802 " + told.substr(0, told.find(' ')) + " 32803 " : told;
    };
    EXPECT_EQ("32802 1274(1,2) 32803 ", run());
    thread.SetCompareString(u"b", false, kFindQuick);
    EXPECT_EQ("32802 1274(1,1) 32803 ", run());
    thread.ClearCompareString();
    Format(kDisplayByCompany);
    EXPECT_EQ("32802 1274(1,2) 32803 ", run());
    thread.WaitForComplete();
    thread.TreeAddList(1, 1, false);
    thread.TreeAddList(1, 1, true);
    thread.TreeDeleteList(1);
    EXPECT_EQ("1274(4,3) 1274(1,2) ", m_client.Pending());
}

// Each key is a new start, while the list is drawn and the cache is edited.
TEST_F(ThreadsContacts, StartsStopsAndEditsFollowEachOther) {
    AddMany(200);
    CContactsThread thread;
    for (int round = 0; round < 40; ++round) {
        Format(round % 3 == 0 ? kDisplayByCompany : kDisplayFirstLast);
        const WCHAR typed[] = {static_cast<WCHAR>(u'a' + round % 4), 0};
        thread.SetCompareString(round % 5 ? typed : nullptr, round % 7 == 0, round % 3);
        thread.Start();
        std::this_thread::sleep_for(std::chrono::microseconds(round % 8 * 500));
        if (round % 6 == 1) thread.UpdateCatCacheItem(m_record);
        if (round % 6 == 2) thread.FindCatCacheItem(u"b", 1, kDisplayLookUp, true, 1);
        if (round % 6 == 3) thread.SetCategoryRestrict(false);
        if (round % 6 == 4) thread.Stop(false);
        if (round % 6 == 5) thread.SortDataList(round % 4 == 1);
        if (round % 10 == 5) thread.ClearCatCache();
        EXPECT_GE(thread.GetTotalNumRecords(), 0);
    }
    thread.ClearCompareString();
    Format(kDisplayFileAs);
    thread.Start();
    thread.WaitForComplete();
    EXPECT_EQ(200, thread.GetActiveDataCount());
}

// Drawing a row at the time when a run begins neither disturbs it nor makes it give up.
TEST_F(ThreadsContacts, DrawingLosesNoRun) {
    AddMany(100);
    CContactsThread thread;
    Load(thread);
    DATACONTACTS* row = thread.GetCatCacheItem(1);
    for (int round = 0; round < 30; ++round) {
        thread.SetCompareString(round % 2 ? u"a" : nullptr, false, kFindQuick);
        thread.Start();
        for (int i = 0; i < 20; ++i) thread.FillContactInfo(row);
        thread.WaitForComplete();
        ASSERT_EQ(round % 2 ? 4 : 100, thread.GetActiveDataCount());
    }
}

// A terminated run leaves neither its lock nor half a cache.
TEST_F(ThreadsContacts, ATerminatedRunIsPutRight) {
    AddMany(300);
    CContactsThread thread;
    thread.m_hClientWnd = m_client;
    for (int round = 0; round < 8; ++round) {
        Format(round % 2 ? kDisplayByCompany : kDisplayByKey8);
        if (round % 3 == 0) thread.ClearCatCache();
        thread.Start();
        std::string told;
        while (told.empty()) told = m_client.Pending();
        std::this_thread::sleep_for(std::chrono::microseconds(round * 700));
        if (!thread.IsRunning()) continue;
        thread.Kill(1);
        thread.ClearData(); // would wait for ever
    }
    Format(kDisplayFirstLast);
    EXPECT_NE("", Load(thread));
    EXPECT_EQ(300, thread.GetActiveDataCount());
    EXPECT_EQ(300, thread.GetTotalNumRecords());
}

TEST_F(ThreadsContacts, ManyContactsAndTwoAtOnce) {
    AddMany(3000);
    CContactsThread threads[2];
    for (CContactsThread& thread : threads) thread.Start();
    for (CContactsThread& thread : threads) {
        thread.WaitForComplete();
        EXPECT_EQ(3000, thread.GetActiveDataCount());
    }
}

} // namespace
