// Tasks on a test device:
//
//     const DWORD call = AddTask(u"A1: Call").Due("2010-03-05").Starred().Save();
//     AddTask(u"Ring").Below(call).Percent(50).Save();
//     EXPECT_EQ("...", Rows(thread));
//
// Today is Wednesday, 10 March 2010.
#pragma once

#include "Platform/civil.h"
#include "Platform/clock.h"
#include "Platform/poom.h"
#include "QNWorkerClass/tasksthread.h"
#include "tests/support/engine.h"

#include <array>
#include <cstdio>
#include <functional>
#include <string>

class TasksTest : public EngineTest {
protected:
    static constexpr WCHAR kView[] = u"Software\\Norvo\\Quillonary\\TV";

    TasksTest() {
        const SYSTEMTIME noon{2010, 3, 3, 10, 12, 0, 0, 0};
        PlatSetClock(&noon);
    }

    class Task {
    public:
        Task(TasksTest& test, std::u16string subject) : m_test(test), m_subject(std::move(subject)) {}
        Task& Due(const char* date) { return Date(PIMPR_TASK_DUE, date); }
        Task& Start(const char* date) { return Date(PIMPR_TASK_START, date); }
        Task& Done(const char* date) { return Date(PIMPR_TASK_COMPLETED, date); }
        Task& Importance(LONG value) { return Number(PIMPR_IMPORTANCE, value); }
        Task& Sensitivity(LONG value) { return Number(PIMPR_SENSITIVITY, value); }
        Task& Percent(DWORD value) {
            return Later([=](TasksTest& t, DWORD oid) {
                t.SetNamedScalar(oid, u"QN_TaskPercentStatus", CEVT_UI4, value);
            });
        }
        Task& Below(DWORD parent, bool expanded = true) {
            return Later([=](TasksTest& t, DWORD oid) {
                t.SetNamedScalar(oid, u"QN_ParentOID", CEVT_R8, parent + (expanded ? 0.5 : 0.0));
            });
        }
        Task& Project(DWORD project) {
            return Later(
                [=](TasksTest& t, DWORD oid) { t.SetNamedScalar(oid, u"QN_GTDProject", CEVT_UI4, project); });
        }
        Task& Status(WORD value) {
            return Later(
                [=](TasksTest& t, DWORD oid) { t.SetNamedScalar(oid, u"QN_GTDStatus", CEVT_UI2, value); });
        }
        Task& Starred() {
            return Later([](TasksTest& t, DWORD oid) {
                t.SetNamedScalar(oid, u"QN_GTDStarred", CEVT_BOOL, DWORD{1});
            });
        }
        Task& Context(std::u16string name) {
            return Later([=](TasksTest& t, DWORD oid) { t.SetNamedText(oid, u"QN_GTDContext", name); });
        }
        Task& In(LONG category) {
            return Later([=](TasksTest& t, DWORD oid) { t.Associate(oid, category); });
        }
        // The task's OID.
        DWORD Save() {
            const HANDLE db = m_test.Side(u"Tasks Database");
            m_values.Text(HIWORD(PIMPR_SUBJECT), m_subject);
            const CEOID record = Add(db, m_values);
            CeSeekDatabaseEx(db, CEDB_SEEK_CEOID, record, 1, nullptr);
            const DWORD oid = Read(db, {PIMPR_NUMBER})[0].val.ulVal | kOidTask;
            m_test.Close(db);
            for (const auto& step : m_later) step(m_test, oid);
            return oid;
        }

    private:
        using Step = std::function<void(TasksTest&, DWORD)>;
        Task& Date(CEPROPID id, const char* date) {
            int year = 0, month = 0, day = 0;
            std::sscanf(date, "%d-%d-%d", &year, &month, &day);
            m_values.Time(HIWORD(id), static_cast<ULONGLONG>(civil::DaysFromCivil(year, month, day) *
                                                             civil::kTicksPerDay));
            return *this;
        }
        Task& Number(CEPROPID id, LONG value) {
            return m_values.UInt(HIWORD(id), static_cast<ULONG>(value)), *this;
        }
        Task& Later(Step step) { return m_later.push_back(std::move(step)), *this; }

        TasksTest& m_test;
        std::u16string m_subject;
        Values m_values;
        std::vector<Step> m_later;
    };
    Task AddTask(std::u16string subject) { return {*this, std::move(subject)}; }

    static void Rule(LONG rule) { SetNumber(kView, u"TV_FilterData", static_cast<DWORD>(rule)); }
    // At the key of a rule.
    static void RuleSetting(const WCHAR* name, LONG value, LONG rule = kTasksAll) {
        WCHAR key[80];
        wsprintfW(key, u"%s\\%d", kView, rule);
        SetNumber(key, name, static_cast<DWORD>(value));
    }

    // A blank for each level of depth, "[+]" or "[-]" before what has children, and a "|" where the hidden rows begin.
    static std::string Text(CTasksThread& thread) {
        std::string text;
        int index = 0;
        for (DATATASKS* row : thread.GetList()) {
            if (index++ == thread.GetActiveDataCount()) text += "| ";
            text += std::string(static_cast<std::size_t>(row->m_nDepth), '.');
            if (row->m_oid == 0)
                text += row->m_bExpanded ? "=" : "#";
            else if (row->IsParentNode())
                text += row->m_bExpanded ? "-" : "+";
            text += Narrow(row->m_szSubject) + " ";
        }
        return text;
    }
    static std::string Load(CTasksThread& thread) {
        CeManualEvent stop;
        thread.TasksThreadProc(&stop);
        return Text(thread);
    }
    static std::string Load() {
        CTasksThread thread;
        return Load(thread);
    }
    // What a client does when a task has changed, or is new. Gives whether its row is visible.
    static int Update(CTasksThread& thread, DWORD oid) {
        CeDb* store = thread.GetDatabaseClass();
        EXPECT_TRUE(store->MountVolumeEDB(u"\\pim.vol", false) &&
                    store->Open(u"Tasks Database", PIMPR_NUMBER));
        CEPROPVAL key{PIMPR_NUMBER, 0, 0, {}};
        key.val.ulVal = oid & ~kOidKindMask;
        std::array<CEPROPID, 20> ids{};
        const WORD count = thread.SetPropIds(ids.data());
        CeDbRecord record;
        EXPECT_TRUE(store->SeekRec(&key, 1) && store->ReadRec(record, count, ids.data()));
        const int index = IndexOf(thread, oid);
        bool show = false;
        const int visible = thread.AddNewTask(&record, &show, index ? index : -1, true, false);
        store->Close();
        return visible;
    }
    static DATATASKS* RowOf(CTasksThread& thread, DWORD oid) {
        for (DATATASKS* row : thread.GetList())
            if (row->m_oid == oid) return row;
        return nullptr;
    }
    static int IndexOf(CTasksThread& thread, DWORD oid) {
        int index = 1;
        for (DATATASKS* row : thread.GetList()) {
            if (row->m_oid == oid) return index;
            ++index;
        }
        return 0;
    }
};
