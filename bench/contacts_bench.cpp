// 10,000 contacts with companies, cities, numbers and categories: the first load, a key of the quick find and of the key pad,
// groups, and the rows of a screen; the memory of a load. Processor time, the least of several runs. Ends with 1 when a figure
// is over its limit.
#include "NorvoTools/globals.h"
#include "NorvoTools/registryfunctions.h"
#include "Platform/modules.h"
#include "Platform/poom.h"
#include "QNWorkerClass/contactsthread.h"
#include "bench/figures.h"
#include "bench/stores.h"

#include <array>
#include <random>

namespace {

constexpr int kContacts = 10000;
constexpr WCHAR kView[] = u"Software\\Norvo\\Quillonary\\CV";

// A device folder of its own, with contacts.
class Device {
public:
    Device() {
        m_outlook.GetPOOM2Property(u"QN_IconName", CEVT_LPWSTR, true); // the suite's session makes the stores
        OpenStore(m_contacts, u"Contacts Database");
        OpenStore(m_members, kCategoryAssocDb);
        for (CeDb* db : {&m_contacts, &m_members}) {
            db->BeginTransaction();
            for (int i = 1; i <= kContacts; ++i)
                db == &m_contacts ? AddContact(i)
                                  : JoinCategory(m_members, kOidContact | static_cast<ULONG>(i), i);
            db->Commit();
        }
        AddCategories();
        ResetFullCategoryList();
        g_pOutlook = &m_outlook;
    }
    ~Device() {
        g_pOutlook = nullptr;
        m_outlook.Close();
        for (CeDb* db : {&m_contacts, &m_members}) db->UnMountVolume();
    }
    Device(const Device&) = delete;
    Device& operator=(const Device&) = delete;

private:
    std::size_t Number(std::size_t from, std::size_t to) {
        return std::uniform_int_distribution<std::size_t>(from, to)(m_engine);
    }
    // A name of syllables; accents in some.
    std::u16string Name(std::size_t syllables) {
        static constexpr const WCHAR* kSyllables[] = {u"an",  u"be",  u"cor", u"da",  u"el", u"fri", u"go",
                                                      u"han", u"is",  u"jo",  u"kle", u"lu", u"mar", u"ni",
                                                      u"ol",  u"per", u"ro",  u"sa",  u"tü", u"wé"};
        std::u16string name;
        for (std::size_t i = 0; i < syllables; ++i) name += kSyllables[Number(0, std::size(kSyllables) - 1)];
        name[0] = towupper(name[0]);
        return name;
    }
    void AddContact(int i) {
        const std::u16string first = i % 20 ? Name(2) : std::u16string(), last = Name(3),
                             company = Name(1) + Name(1) + u" Ltd", phone = u"+49 (30) 55-" + Digits(6),
                             city = Name(2);
        const std::u16string fileAs = first.empty() ? last : last + u", " + first;
        std::array<CEPROPVAL, 6> values{};
        WORD count = 0;
        const auto add = [&](CEPROPID id, const std::u16string& text) {
            if (text.empty()) return;
            values[count].propid = id;
            values[count++].val.lpwstr = const_cast<WCHAR*>(text.c_str());
        };
        add(PIMPR_FILEAS, fileAs);
        add(PIMPR_FIRST_NAME, first);
        add(PIMPR_LAST_NAME, last);
        if (i % 3) add(PIMPR_COMPANY, company);
        add(PIMPR_MOBILE_TEL, phone);
        if (i % 4) add(PIMPR_HOME_CITY, city);
        if (!CeWriteRecordProps(m_contacts.m_hDb, 0, count, values.data())) std::abort();
    }
    std::u16string Digits(int count) {
        std::u16string digits;
        while (count-- > 0) digits += static_cast<WCHAR>(u'0' + Number(0, 9));
        return digits;
    }

    TemporaryDevice m_device;
    std::mt19937 m_engine{10000};
    COutlook m_outlook;
    CeDb m_contacts, m_members;
};

void SetFormat(LONG format) {
    SetToRegistry(HKEY_CURRENT_USER, kView, u"DisplayFormat", static_cast<DWORD>(format));
}

// Before anything else is measured, or the load would find the room that others gave back.
void MeasureMemory(CeManualEvent& stop) {
    CContactsThread thread;
    PrintFigure("peak memory of the load, MiB", PeakMiB([&] { thread.LoadContacts(&stop); }), 32);
    const double finding = PeakMiB([&] {
        for (const bool full : {false, true}) {
            thread.SetCompareString(full ? u"mar ol" : u"405", full, full ? kFindQuick : kFindKeypad);
            thread.LoadContacts(&stop);
        }
    });
    PrintFigure("  what finding takes besides, MiB", finding, 32);
}

void MeasureRows(CeManualEvent& stop) {
    CContactsThread thread;
    thread.LoadContacts(&stop);
    const double screen = LeastMs(5, [&] {
        int rows = 0;
        for (DATACONTACTS* row : thread.GetList()) {
            if (rows++ == 20) break;
            thread.FillContactInfo(row);
        }
    });
    PrintFigure("20 rows drawn, ms", screen, 10);
    thread.SetCompareString(u"55-12", true, kFindQuick);
    SetToRegistry(HKEY_CURRENT_USER, kView, u"bSearchFullData", 1);
    PrintFigure("a text in all fields, ms", LeastMs(5, [&] { thread.LoadContacts(&stop); }), 200);
    thread.ClearCompareString();
    SetFormat(kDisplayByCompany);
    PrintFigure("to groups by company, ms", LeastMs(1, [&] { thread.LoadContacts(&stop); }), 80);
}

} // namespace

int main() {
    g_hResources = LoadLibraryW(u"QNResources.dll");
    const Device device;
    CeManualEvent stop;
    SetFormat(kDisplayFirstLast);
    MeasureMemory(stop);
    const struct {
        const char* name;
        LONG format;
    } kFormats[] = {{"first last", kDisplayFirstLast}, {"last, first", kDisplayLastFirst},
                    {"file-as", kDisplayFileAs},       {"by company", kDisplayByCompany},
                    {"by city", kDisplayByKey8},       {"by category", kDisplayByCategory}};
    for (const auto& view : kFormats) {
        SetFormat(view.format);
        const double load = LeastMs(7, [&] {
            CContactsThread thread;
            thread.LoadContacts(&stop);
            if (thread.GetTotalNumRecords() != kContacts) std::abort();
        });
        PrintFigure(std::string(view.name) + ": first load, ms", load, 80);
        CContactsThread thread;
        thread.LoadContacts(&stop);
        const struct {
            const char* name;
            const WCHAR* text;
            bool full;
            int mode;
        } kFinds[] = {{"  a key, many found, ms", u"m", false, kFindQuick},
                      {"  a key, few found, ms", u"marlu", false, kFindQuick},
                      {"  key pad, ms", u"405", false, kFindKeypad},
                      {"  words anywhere, ms", u"mar ol", true, kFindQuick}};
        for (const auto& find : kFinds) {
            thread.SetCompareString(find.text, find.full, find.mode);
            thread.LoadContacts(&stop);
            if (find.mode != kFindQuick && thread.GetActiveDataCount() == 0) std::abort();
            PrintFigure(find.name, LeastMs(9, [&] { thread.LoadContacts(&stop); }), find.full ? 80 : 15);
        }
    }
    SetFormat(kDisplayFirstLast);
    MeasureRows(stop);
    return g_bAllWithin ? 0 : 1;
}
