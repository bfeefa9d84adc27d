// The contacts behind their page. Each of the two threads has a cache of all names: what was typed is found there, and it is
// read anew only when the store has changed.
//
// The thread that makes the object gets everything.
#pragma once

#include "QNWorkerClass/contactsthread.h"
#include "apps/pages/listdata.h"

#include <array>
#include <map>

namespace qn {

// Settings of the view.
inline constexpr const WCHAR* kContactView = u"Software\\Norvo\\Quillonary\\CV";
inline constexpr const WCHAR* kContactFormat = u"DisplayFormat"; // a ContactsDisplay
inline constexpr const WCHAR* kContactFindAll =
    u"bSearchFullData"; // 1: what is typed is looked for in all fields

class ContactsData : public ListData<CContactsThread> {
public:
    explicit ContactsData(std::function<void()> changed);

    // What is typed: the beginning of a name, or digits, each for the letters on its key; or any part of what a contact has,
    // as the setting says. Counts from the next load on.
    void SetText(std::u16string text) { m_text = std::move(text); }
    const std::u16string& Text() const { return m_text; }
    // That the list which is shown was made by.
    const std::u16string& ShownText() const { return m_shownText; }
    bool WasShown() const { return m_turned; } // there is a list
    // Nothing that was read counts any more.
    void Forget();
    // Reads the names for the thread that isn't shown too, so that the next key needn't wait for that.
    void Warm();

    // A group of the list that is shown: its rows come and go at once.
    void OpenGroup(DATACONTACTS& header, bool open);
    // All of them; counts from the next load on.
    void OpenAllGroups(bool open);

private:
    // What a thread knows.
    struct Knowledge {
        const CContactsThread* thread;
        bool current = false; // its cache is that of the store
        std::vector<std::u16string> categories = {};
    };

    void Prepare() override;
    bool Accept() override { return !m_warming; }
    void Turn() override;
    void StoreChanged() override { Forget(); }
    Knowledge& KnowledgeOf(const CContactsThread& thread);
    void TellGroups(CContactsThread& thread) const;

    std::array<Knowledge, 2> m_known;
    std::map<std::u16string, bool> m_groups; // by label, those that were opened or closed
    std::u16string m_text;
    std::u16string m_loadingText;
    std::u16string m_shownText;
    bool m_turned = false;
    bool m_warmNext = false; // the next load is only to fill the cache
    bool m_warming = false;
};

} // namespace qn
