// The list behind a page: two data threads of one kind, of which one holds the rows that are shown while the other loads
// them anew, whenever the store has changed.
//
// The thread that makes the object gets everything.
#pragma once

#include "NorvoTools/CeDb.h"
#include "QNWorkerClass/CQNDataThread.h"

#include <functional>
#include <memory>
#include <string>
#include <utility>
#include <vector>

namespace qn {

class ListLoad {
public:
    // `changed` is called whenever the rows are others. The store's databases that are watched for changes.
    ListLoad(std::function<void()> changed, const std::vector<const WCHAR*>& databases);
    virtual ~ListLoad();
    ListLoad(const ListLoad&) = delete;
    ListLoad& operator=(const ListLoad&) = delete;

    void Reload();
    bool IsLoading() const { return m_loading; }
    // Dispatches messages until nothing is being loaded any more, the application ends, or so many milliseconds are
    // over (0: however long it takes).
    void Wait(UINT most = 0);
    // Called when a load begins and when it is over.
    std::function<void(bool loading)> busy;
    // Called when a load tells that it has more rows, with their number. The list may be read while the call lasts.
    std::function<void(LONG rows)> progress;
    // Names of categories: only items that have one of them; none shows all. Counts from the next load on.
    void SetCategories(std::vector<std::u16string> names) { m_categories = std::move(names); }
    const std::vector<std::u16string>& Categories() const { return m_categories; }

protected:
    virtual CQNDataThread& Next() = 0;                // the thread that loads
    virtual bool HasQuestion() const { return true; } // whether it is known what to load
    virtual void Prepare() {}                         // before Next() starts
    virtual bool Accept() { return true; }            // a load is complete: whether its rows are still wanted
    virtual void Turn() = 0;                          // what Next() has is shown from now on
    virtual void StoreChanged() {}                    // before the load that follows it
    HWND Window() const { return m_window; }
    void StopListening(); // before the threads go: what they send is answered, and the page is going

private:
    static LRESULT Procedure(HWND window, UINT message, WPARAM wParam, LPARAM lParam);
    LRESULT OnMessage(UINT message, WPARAM wParam, LPARAM lParam);
    void Start();
    void Take();
    void Finished();
    void ChooseCategories(CQNDataThread& thread) const;

    std::function<void()> m_changed;
    HWND m_window = nullptr;
    std::vector<std::unique_ptr<CeDb>> m_watched; // tell the window of changes
    bool m_loading = false;
    bool m_waitOver = false;
    bool m_taken = false; // the rows of this load are shown
    bool m_again = false; // something has changed meanwhile
    std::vector<std::u16string> m_categories;
};

template<class Thread>
class ListData : public ListLoad {
public:
    ListData(std::function<void()> changed, const std::vector<const WCHAR*>& databases)
        : ListLoad(std::move(changed), databases) {
        for (auto& thread : m_threads) {
            thread = std::make_unique<Thread>();
            thread->m_hClientWnd = Window();
        }
    }
    ~ListData() override { StopListening(); } // a thread that goes ends its run

    Thread& Shown() { return *m_threads[m_shown]; }
    const Thread& Shown() const { return *m_threads[m_shown]; }
    Thread& Loading() {
        return *m_threads[1 - m_shown];
    } // to be touched before a load and within `progress` alone

    // Changes the list that is shown; a load that goes on meanwhile is done again, as it may know nothing of that.
    template<class Edit>
    void Change(Edit edit) {
        const HWND window = std::exchange(Shown().m_hClientWnd, nullptr); // whose messages are about the load
        edit(Shown());
        Shown().m_hClientWnd = window;
        if (IsLoading()) Reload();
    }

protected:
    CQNDataThread& Next() override { return Loading(); }
    void Turn() override { m_shown = 1 - m_shown; }

private:
    std::unique_ptr<Thread> m_threads[2];
    int m_shown = 0;
};

} // namespace qn
