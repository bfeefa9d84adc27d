// Loads of tasks on worker threads: what a client is told, two at once, and one that is ended from outside.
#include "tests/support/clientwindow.h"
#include "tests/support/poom.h"
#include "tests/support/tasks.h"

namespace {

class ThreadsTasks : public TasksTest {
protected:
    void AddMany(int count) {
        DWORD parent = 0;
        for (int i = 0; i < count; ++i) {
            Task task = AddTask(u"task " + std::u16string(1, static_cast<WCHAR>(u'A' + i % 26)));
            task.Due(i % 2 ? "2010-03-08" : "2010-03-12");
            if (i % 5) task.Below(parent);
            const DWORD oid = task.Save();
            if (i % 5 == 0) parent = oid;
        }
    }
    ClientWindow m_client;
};

TEST_F(ThreadsTasks, AClientIsToldOfALoad) {
    CTasksThread thread;
    thread.m_hClientWnd = m_client;
    const auto told = [&] { // what is sent may overtake what is posted
        thread.Start();
        std::string text = m_client.UntilFinished();
        return text.starts_with("1274") ? "32802 " + text.substr(0, text.find(' ')) + " 32803 " : text;
    };
    EXPECT_EQ("32802 1274(1,0) 32803 ", told());
    AddMany(7);
    RuleSetting(u"GroupBy", kGroupTree);
    EXPECT_EQ("32802 1274(1,2) 32803 ", told()); // two closed ones
}

// Orders are those of each object, also while the other one sorts.
TEST_F(ThreadsTasks, TwoLoadAtOnce) {
    constexpr WCHAR kOther[] = u"Software\\Norvo\\Quillonary\\TV2";
    AddMany(40);
    RuleSetting(u"TaskSort", kSortSubject);
    SetNumber(u"Software\\Norvo\\Quillonary\\TV2\\42250", u"GroupBy", kGroupProgress);
    SetNumber(u"Software\\Norvo\\Quillonary\\TV2\\42250", u"TaskSortDescending", 1);
    CTasksThread list, groups;
    groups.Override(kOther);
    const std::string expected[] = {Load(list), Load(groups)};
    EXPECT_NE(expected[0], expected[1]);
    for (int round = 0; round < 10; ++round) {
        list.Start();
        groups.Start();
        list.WaitForComplete();
        groups.WaitForComplete();
        EXPECT_EQ(expected[0], Text(list));
        EXPECT_EQ(expected[1], Text(groups));
    }
}

TEST_F(ThreadsTasks, ALoadThatIsEndedHoldsNothing) {
    AddMany(40);
    for (const LONG group : {kGroupNone, kGroupCategory, kGroupTree}) {
        RuleSetting(u"GroupBy", group);
        CTasksThread thread;
        const std::string expected = Load(thread);
        for (int round = 0; round < 8; ++round) {
            thread.Start();
            std::this_thread::sleep_for(std::chrono::milliseconds(round));
            thread.Kill(1);
            EXPECT_TRUE(thread.GetActiveDataCount() == 0 || Text(thread) == expected);
            EXPECT_EQ(expected, Load(thread));
        }
    }
}

} // namespace
