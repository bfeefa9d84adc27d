// What several threads use at once: the session while one closes it, the category list while one reads it anew.
#include "QNWorkerClass/CQNDataThread.h"
#include "QNWorkerClass/categorycolors.h"
#include "tests/support/sidestores.h"

#include <atomic>
#include <cstdlib>
#include <thread>

namespace {

class Loader : public CQNDataThread {
protected:
    DWORD ThreadProc() override { return 0; }
};

class ThreadsEngine : public SideStoresTest {
protected:
    ThreadsEngine() { g_pOutlook = &m_outlook; }
    ~ThreadsEngine() override {
        g_pOutlook = nullptr;
        CCategoryColorIcons::ClearInit();
    }
    void TearDown() override {
        m_outlook.Close();
        SideStoresTest::TearDown();
    }
    template<class Work>
    static std::vector<std::thread> Start(int count, Work work) {
        std::vector<std::thread> threads;
        for (int i = 0; i < count; ++i) threads.emplace_back(work);
        return threads;
    }
    static void Join(std::vector<std::thread> threads) {
        for (auto& thread : threads) thread.join();
    }
    COutlook m_outlook;
};

// Nobody waits for a logon, so a call may find no session; it never finds one that is gone.
TEST_F(ThreadsEngine, TheSessionIsClosedUnderItsUsers) {
    const DWORD id = m_outlook.GetPOOM2Property(u"QN_New", CEVT_UI4, true);
    ASSERT_NE(0u, id);
    std::atomic<int> wrong{0};
    auto users = Start(3, [&] {
        for (int i = 0; i < 20; ++i) {
            const DWORD found = m_outlook.GetPOOM2Property(u"QN_New", CEVT_UI4, false);
            if (found != 0 && found != id) ++wrong;
        }
    });
    for (int i = 0; i < 10; ++i) m_outlook.Close();
    Join(std::move(users));
    EXPECT_EQ(0, wrong);
    EXPECT_EQ(id, m_outlook.GetPOOM2Property(u"QN_New", CEVT_UI4, false));
}

TEST_F(ThreadsEngine, LoadsGoOnWhileCategoriesAreReadAnew) {
    const LONG work = AddCategory(u"Work");
    Associate(0x40000001, work);
    SetNamed(0x40000001, m_outlook.GetPOOM2Property(u"QN_GTDStarred", CEVT_BOOL, true), {1, 0, 0, 0});
    ResetFullCategoryList();
    std::atomic<int> good{0};
    auto loads = Start(3, [&] {
        for (int i = 0; i < 5; ++i) {
            Loader loader;
            loader.SetupThreadResources();
            CCategoryColorIcons::InitCategoryColors();
            WCHAR* text = loader.CategoryFromEDB(0x40000001);
            if (Narrow(text) == "Work" && loader.GtdStarredFromOID(0x40000001)) ++good;
            std::free(text);
        }
    });
    for (int i = 0; i < 10; ++i) ResetFullCategoryList();
    Join(std::move(loads));
    EXPECT_EQ(15, good);
}

} // namespace
