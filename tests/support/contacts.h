// Contacts on a test device:
//
//     const DWORD ada = AddContact(u"Ada", u"Byron").Company(u"Acme").Text(PIMPR_HOME_TEL, u"030 1").In(work).Save();
//     Format(kDisplayLastFirst);
//     EXPECT_EQ("Byron, Ada", Load());
#pragma once

#include "Platform/poom.h"
#include "QNWorkerClass/contactsthread.h"
#include "tests/support/engine.h"

#include <string>

class ContactsTest : public EngineTest {
protected:
    static constexpr WCHAR kView[] = u"Software\\Norvo\\Quillonary\\CV";

    ContactsTest() { g_nDisplayFormatCompany = 0; }

    class Contact {
    public:
        Contact(ContactsTest& test, const WCHAR* first, const WCHAR* last) : m_test(test) {
            std::u16string fileAs = last;
            if (*first) fileAs += (fileAs.empty() ? u"" : u", ") + std::u16string(first);
            Text(PIMPR_FIRST_NAME, first).Text(PIMPR_LAST_NAME, last).FileAs(fileAs.c_str());
        }
        Contact& FileAs(const WCHAR* text) { return m_fileAs = text, *this; }
        Contact& Company(const WCHAR* text) { return Text(PIMPR_COMPANY, text); }
        Contact& Text(CEPROPID id, const WCHAR* text) {
            if (*text) m_values.Text(HIWORD(id), text);
            return *this;
        }
        Contact& Number(CEPROPID id, DWORD value) { return m_values.UInt(HIWORD(id), value), *this; }
        Contact& Numbers() { return Text(PIMPR_HOME_TEL, u"home").Text(PIMPR_MOBILE_TEL, u"mobile"); }
        Contact& Prefer(DWORD id) { return Number(PIMPR_DEFAULT_NUMBER, id); }
        Contact& In(LONG category) { return m_categories.push_back(category), *this; }
        // The contact's OID; the record's id goes to m_record of the test.
        DWORD Save() {
            Text(PIMPR_FILEAS, m_fileAs.c_str());
            const HANDLE db = m_test.Side(u"Contacts Database");
            m_test.m_record = Add(db, m_values);
            CeSeekDatabaseEx(db, CEDB_SEEK_CEOID, m_test.m_record, 1, nullptr);
            const DWORD oid = Read(db, {PIMPR_NUMBER})[0].val.ulVal | kOidContact;
            m_test.Close(db);
            for (const LONG category : m_categories) m_test.Associate(oid, category);
            return oid;
        }

    private:
        ContactsTest& m_test;
        std::u16string m_fileAs;
        Values m_values;
        std::vector<LONG> m_categories;
    };
    Contact AddContact(const WCHAR* first, const WCHAR* last) { return {*this, first, last}; }

    static void Setting(const WCHAR* name, LONG value) { SetNumber(kView, name, static_cast<DWORD>(value)); }
    static void Format(LONG format) { Setting(u"DisplayFormat", format); }

    // Names as the format shows them, a header as "=label(count)" when it is open and "#label(count)" when it is not.
    static std::string Text(CContactsThread& thread) {
        std::string text;
        for (DATACONTACTS* row : thread.GetList()) {
            if (!text.empty()) text += " | ";
            if (row->m_bGroupHeader) text += row->m_bOpen ? "=" : "#";
            text += Narrow(row->GetNameDisplay(thread.GetContactsDisplay()));
            if (row->m_bGroupHeader) text += Narrow(row->m_szExtraLine);
        }
        return text;
    }
    static std::string Load(CContactsThread& thread) {
        CeManualEvent stop;
        thread.LoadContacts(&stop);
        EXPECT_EQ(thread.GetList().Count(), thread.GetActiveDataCount());
        return Text(thread);
    }
    static std::string Load() {
        CContactsThread thread;
        return Load(thread);
    }
    static std::string Find(CContactsThread& thread, const WCHAR* text, bool full = false,
                            int mode = kFindQuick) {
        thread.SetCompareString(text, full, mode);
        return Load(thread);
    }
    // Where a header with this label stands; 0: nowhere.
    static int HeaderAt(CContactsThread& thread, const char* label) {
        int index = 1;
        for (DATACONTACTS* row : thread.GetList()) {
            if (row->m_bGroupHeader && Narrow(row->m_szFileAs) == label) return index;
            ++index;
        }
        return 0;
    }

    CEOID m_record = 0;
};
