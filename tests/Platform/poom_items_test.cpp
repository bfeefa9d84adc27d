// Single items of the object model against the records that the lists read.
#include "Platform/files.h"
#include "Platform/rulewalk.h"
#include "Platform/zonerules.h"
#include "tests/support/poom.h"

#include <cmath>

namespace {

std::vector<BYTE> Bytes(const char* text) { return {text, text + std::char_traits<char>::length(text)}; }

class PoomItemsTest : public PoomTest {
protected:
    // An appointment in the store.
    LONG Saved(const WCHAR* subject, const char* start, LONG minutes = 60) {
        auto item = NewAppointment();
        item->put_Subject(Bstr(subject));
        item->put_Start(At(start));
        item->put_Duration(minutes);
        EXPECT_EQ(item->Save(), S_OK);
        return OidOf(item);
    }
    template<class I>
    static std::string Text(const Com<I>& item, HRESULT (I::*get)(BSTR*)) {
        BSTR text = nullptr;
        (item.Get()->*get)(&text);
        return TakeBstr(text);
    }
    template<class I>
    static DATE Date(const Com<I>& item, HRESULT (I::*get)(DATE*)) {
        DATE date = 0;
        EXPECT_EQ((item.Get()->*get)(&date), S_OK);
        return date;
    }
    std::string Categories(LONG oid) { return Text(Open<IAppointment>(oid), &IAppointment::get_Categories); }
    HRESULT SetText(const Com<IItem>& item, CEPROPID id, const WCHAR* text) {
        const Values values = std::move(Values().Text(static_cast<WORD>(id >> 16), text));
        return item->SetProps(0, 1, values.Data());
    }
    std::string GetOne(const Com<IItem>& item, CEPROPID id) {
        CEPROPVAL* values = nullptr;
        ULONG size = 0;
        if (item->GetProps(&id, CEDB_ALLOWREALLOC, 1, &values, &size, nullptr) != S_OK) return "failed";
        const std::string shown = Show(values[0]);
        LocalFree(values);
        return shown;
    }
    int CountOf(const Com<IPOutlookItemCollection>& items) {
        int count = -1;
        items->get_Count(&count);
        return count;
    }
};

TEST_F(PoomItemsTest, NewAppointmentIsWrittenWhole) {
    auto item = NewAppointment();
    item->put_Subject(Bstr(u"Lunch"));
    const WCHAR halves[] = {0xD800, u'x', 0xDC00, 0xFFFF, 0}; // of pairs, and what is no character
    item->put_Location(Bstr(halves));
    item->put_Start(At("2010-06-10 12:30"));
    item->put_Duration(45);
    item->put_BusyStatus(olTentative);
    item->put_ReminderSet(VARIANT_TRUE);
    item->put_ReminderMinutesBeforeStart(15);
    EXPECT_EQ(OidOf(item), 0);
    ASSERT_EQ(item->Save(), S_OK);
    const LONG oid = OidOf(item);
    EXPECT_EQ(oid, 0x40000001);
    EXPECT_EQ(StoredTime(oid, PIMPR_START), "2010-06-10 10:30"); // Berlin has summer time
    EXPECT_EQ(StoredTime(oid, PIMPR_END), "2010-06-10 11:15");
    const std::pair<CEPROPID, const char*> kExpected[] = {
        {PIMPR_SUBJECT, "'Lunch'"},
        {PIMPR_LOCATION, "'?x?"
                         "?'"},
        {PIMPR_DURATION, "45"},
        {PIMPR_ALLDAY, "false"},
        {PIMPR_REMINDER_SET, "true"},
        {PIMPR_REMINDER_MINUTES, "15"},
        {PIMPR_RECURRING, "false"},
        {PIMPR_SENSITIVITY, "0"},
        {PIMPR_BUSYSTATUS, "1"},
        {PIMPR_MEETINGSTATUS, "0"},
        {PIMPR_NUMBER, "1"},
        {PIMPR_ORGANIZER_NAME, "-"},
        {PIMPR_MEETING_ID, "-"},
        {PIMPR_TIMEZONE, "-"},
    };
    for (const auto& [id, text] : kExpected) EXPECT_EQ(Stored(oid, id), text) << std::hex << id;
    EXPECT_EQ(StoredStream(oid, PIMPR_RECURRENCE), std::vector<BYTE>{0xEE});
    BSTR read = nullptr;
    Open<IAppointment>(oid)->get_Location(&read);
    EXPECT_EQ(std::u16string(read), std::u16string(halves));
    SysFreeString(read);
}

TEST_F(PoomItemsTest, TimesGoThroughTheZone) {
    const struct {
        TIME_ZONE_INFORMATION zone;
        const char* local;
        const char* utc;
        const char* back;
    } kCases[] = {{Berlin(), "2010-01-15 08:00", "2010-01-15 07:00", "2010-01-15 08:00"},
                  {Berlin(), "2010-03-28 02:30", "2010-03-28 01:30", "2010-03-28 03:30"}, // the lost hour
                  {Berlin(), "2010-03-28 03:30", "2010-03-28 01:30", "2010-03-28 03:30"},
                  {Eastern(), "2010-07-04 12:00", "2010-07-04 16:00", "2010-07-04 12:00"},
                  {Sydney(), "2010-01-15 09:00", "2010-01-14 22:00", "2010-01-15 09:00"},
                  {Kolkata(), "2010-06-01 00:15", "2010-05-31 18:45", "2010-06-01 00:15"}};
    for (const auto& c : kCases) {
        SetZone(c.zone);
        const LONG oid = Saved(u"x", c.local);
        EXPECT_EQ(StoredTime(oid, PIMPR_START), c.utc) << c.local;
        EXPECT_EQ(ShowDate(Date(Open<IAppointment>(oid), &IAppointment::get_Start)), c.back);
    }
}

// What a list makes of a stored start: the offset is asked for the stored date, which is one of UTC.
DATE DayInTheList(ULONGLONG ticks, const TIME_ZONE_INFORMATION& zone) {
    const SYSTEMTIME stored = civil::SystemTimeFromTicks(static_cast<std::int64_t>(ticks));
    SYSTEMTIME change{};
    if (zone.StandardDate.wMonth) ConvertToAbsolute(stored.wYear, &zone.StandardDate, &change);
    const bool summer = IsInDST(stored.wYear, stored.wMonth, stored.wDay, &zone) ||
                        (change.wMonth == stored.wMonth && change.wDay == stored.wDay);
    const LONG offset = zone.Bias + (summer ? zone.DaylightBias : zone.StandardBias);
    const auto minutes = static_cast<std::int64_t>(ticks) / civil::kTicksPerMinute - offset;
    return static_cast<double>(civil::FloorDiv(minutes, 1440) - civil::kDaysTo1899);
}

TEST_F(PoomItemsTest, EveryAllDayDateComesBackInFiveZones) {
    ASSERT_EQ(PlatBeginItemBatch(m_app.Get()), S_OK);
    for (const TIME_ZONE_INFORMATION& zone : {Berlin(), Eastern(), Sydney(), Kolkata(), Newfoundland()}) {
        SetZone(zone);
        auto item = NewAppointment();
        item->put_AllDayEvent(VARIANT_TRUE);
        for (DATE day = At("2010-01-01"); day < At("2013-01-01"); day += 1) {
            item->put_Start(day + 0.4); // cut to the day
            item->put_Duration(10);
            ASSERT_EQ(item->Save(), S_OK);
            ASSERT_EQ(Date(item, &IAppointment::get_Start), day) << zone.Bias << " " << ShowDate(day);
            const CEPROPID ids[] = {PIMPR_START, PIMPR_END};
            CEPROPVAL* values = nullptr;
            ULONG size = 0;
            auto face = item.As<IItem>(IID_IItem);
            ASSERT_EQ(face->GetProps(ids, 1, 2, &values, &size, nullptr), S_OK);
            ASSERT_EQ(DayInTheList(FileTimeTicks(values[0].val.filetime), zone), day)
                << zone.Bias << " " << ShowDate(day);
            // Set back as they were given out they are the same day.
            LONG minutes = 0;
            ASSERT_EQ(face->SetProps(0, 2, values), S_OK);
            item->get_Duration(&minutes);
            ASSERT_EQ(Date(item, &IAppointment::get_Start), day) << zone.Bias;
            ASSERT_EQ(minutes, 1440) << zone.Bias << " " << ShowDate(day);
            LocalFree(values);
        }
    }
    EXPECT_EQ(PlatEndItemBatch(m_app.Get(), false), S_OK);
}

TEST_F(PoomItemsTest, DatesAreExact) {
    for (DATE date : {401736.0, 401768.0, At("2010-03-01 09:15")}) { // templates lie at the first two
        auto item = NewAppointment();
        item->put_Start(date);
        ASSERT_EQ(item->Save(), S_OK);
        EXPECT_EQ(Date(Open<IAppointment>(OidOf(item)), &IAppointment::get_Start), date);
    }
    auto item = NewAppointment();
    for (DATE bad : {kNoDate, 1e9, -1e9, std::nan("")}) EXPECT_EQ(item->put_Start(bad), E_INVALIDARG) << bad;
    item->put_Start(At("2010-03-01 10:00"));
    EXPECT_EQ(item->put_End(At("2010-03-01 09:00")), E_INVALIDARG);
    EXPECT_EQ(item->put_End(At("2010-03-01 11:30")), S_OK);
    LONG minutes = 0;
    item->get_Duration(&minutes);
    EXPECT_EQ(minutes, 90);

    auto face = item.As<IItem>(IID_IItem);
    for (WORD id : {0x1042, 0x1043})
        EXPECT_EQ(face->SetProps(0, 1, Values().Time(id, ~0ull).Data()), E_INVALIDARG);
    ASSERT_EQ(item->Save(), S_OK);
    const HANDLE db = RecordOf(OidOf(item)); // a damaged record
    ASSERT_TRUE(Change(db, Read(db, {PIMPR_START}).Oid(), Values().Time(0x1042, ~0ull)));
    EXPECT_GT(Date(Open<IAppointment>(OidOf(item)), &IAppointment::get_Start), kNoDate);
}

TEST_F(PoomItemsTest, OidsTellTheKind) {
    auto task = NewTask();
    auto contact = NewContact();
    contact->put_FileAs(Bstr(u"A"));
    ASSERT_EQ(task->Save(), S_OK);
    ASSERT_EQ(contact->Save(), S_OK);
    const LONG first = Saved(u"a", "2010-01-01");
    const LONG second = Saved(u"b", "2010-01-02");
    EXPECT_EQ(static_cast<DWORD>(OidOf(task)), 0xC0000001);
    EXPECT_EQ(static_cast<DWORD>(OidOf(contact)), 0x80000001);
    EXPECT_EQ(second, first + 1);
    for (CEOID none : {CEOID{0}, CEOID{1}, CEOID{0x40000063}, CEOID{0xC0000002}}) {
        IItem* item = reinterpret_cast<IItem*>(1);
        EXPECT_EQ(m_app->GetItemFromOidEx(none, 0, &item), E_NOTFOUND) << none;
        EXPECT_EQ(item, nullptr);
    }
    auto item = Open<IAppointment>(first);
    Com<IAppointment> copy;
    ASSERT_EQ(item->Copy(copy.Out()), S_OK);
    EXPECT_EQ(OidOf(copy), 0);
    ASSERT_EQ(copy->Save(), S_OK);
    EXPECT_EQ(OidOf(copy), second + 1);
    EXPECT_EQ(Stored(second + 1, PIMPR_SUBJECT), "'a'");
    ASSERT_EQ(item->Delete(), S_OK);
    EXPECT_EQ(item->Save(), E_NOTFOUND);
    EXPECT_EQ(Stored(first, PIMPR_SUBJECT), "no record");
}

TEST_F(PoomItemsTest, CategoriesAreRowsOfTwoTables) {
    const LONG oid = Saved(u"x", "2010-01-01");
    const struct {
        const WCHAR* set;
        const char* read;
    } kSteps[] = {
        {u" Work ,Home,, Work", "Work, Home"}, // in the order of their ids
        {u"Home, Garden", "Home, Garden"},
        {u"Garden,Work", "Work, Garden"},
        {u"work", "work"}, // by exact text: another one
        {u"", ""},
    };
    for (const auto& step : kSteps) {
        auto item = Open<IAppointment>(oid);
        item->put_Categories(Bstr(step.set));
        ASSERT_EQ(item->Save(), S_OK);
        EXPECT_EQ(Categories(oid), step.read);
        EXPECT_EQ(Text(item, &IAppointment::get_Categories), step.read) << "after the save";
    }
    const HANDLE names = Database(u"CategoryMainDB", 0x00010066);
    EXPECT_EQ(Walk(names, 0x0002001F), "'Work' 'Home' 'Garden' 'work'");
}

TEST_F(PoomItemsTest, DeletionTakesEverythingAlong) {
    const CEPROPID icon = Name(u"QN_IconName", CEVT_LPWSTR);
    Saved(u"other", "2010-01-01");
    const std::string before = DumpAll();
    auto item = NewAppointment();
    item->put_Categories(Bstr(u"Work"));
    ASSERT_EQ(SetText(item.As<IItem>(IID_IItem), icon, u"bell"), S_OK);
    ASSERT_EQ(item->Save(), S_OK);
    EXPECT_NE(DumpAll(), before);
    ASSERT_EQ(item->Delete(), S_OK);
    std::string after = DumpAll();
    const auto category = after.find("65638="); // the name of the category stays
    ASSERT_NE(category, std::string::npos);
    after.erase(category, after.find('\n', category) + 1 - category);
    EXPECT_EQ(after, before);
}

TEST_F(PoomItemsTest, NamedProperties) {
    EXPECT_EQ(Name(u"QN_Tracked", CEVT_BOOL, false), kUnknownNamedProperty);
    const CEPROPID tracked = Name(u"QN_Tracked", CEVT_BOOL);
    const CEPROPID parent = Name(u"QN_ParentOID", CEVT_R8);
    const CEPROPID icon = Name(u"QN_IconName", CEVT_LPWSTR);
    EXPECT_EQ(tracked, 0x6100000Bu);
    EXPECT_EQ(parent, 0x61010005u);
    EXPECT_EQ(icon, 0x6102001Fu);
    EXPECT_EQ(Name(u"QN_Tracked", CEVT_BOOL, false), tracked);

    auto task = NewTask();
    auto item = task.As<IItem>(IID_IItem);
    ASSERT_EQ(item->SetProps(0, 1, Values().Real(0x6101, 123.5).Data()), S_OK);
    EXPECT_EQ(GetOne(item, parent), "123.500000");
    const auto order = Order({{0x00010013, 0}, {0x00020013, 0}});
    const HANDLE values = Open(u"PIMNamedPropVals", &order);
    EXPECT_EQ(First(values), 0u); // waits for the save
    ASSERT_EQ(task->Save(), S_OK);
    const auto oid = static_cast<DWORD>(OidOf(task));
    ASSERT_NE(First(values), 0u);
    EXPECT_EQ(ReadOne(values, 0x00010013), std::to_string(oid));
    EXPECT_EQ(ReadOne(values, 0x00020013), std::to_string(parent));
    const Read read(values, {0x00030041});
    ASSERT_EQ(read[0].val.blob.dwCount, 8u);
    double stored = 0;
    std::memcpy(&stored, read[0].val.blob.lpb, 8);
    EXPECT_EQ(stored, 123.5);

    // On a saved item they are written at once, and deleted by their flag.
    ASSERT_EQ(item->SetProps(0, 1, Values().Bool(0x6100, true).Data()), S_OK);
    ASSERT_EQ(SetText(item, icon, u"bell"), S_OK);
    EXPECT_EQ(Walk(values, 0x00020013), "1627389963 1627455493 1627521055");
    auto again = Open<ITask>(static_cast<LONG>(oid)).As<IItem>(IID_IItem);
    EXPECT_EQ(GetOne(again, tracked), "true");
    EXPECT_EQ(GetOne(again, icon), "'bell'");
    ASSERT_EQ(again->SetProps(0, 1, Values().Flagged(tracked, CEDB_PROPDELETE).Data()), S_OK);
    EXPECT_EQ(GetOne(again, tracked), "-");
    EXPECT_EQ(Walk(values, 0x00020013), "1627455493 1627521055");
}

TEST_F(PoomItemsTest, PropertiesInABlock) {
    const LONG oid = Saved(u"Lunch", "2010-06-10 12:30");
    auto item = Open<IAppointment>(oid).As<IItem>(IID_IItem);
    const CEPROPID ids[] = {PIMPR_SUBJECT, PIMPR_LOCATION, PIMPR_DURATION, PIMPR_SUBJECT, PIMPR_NOTE};
    alignas(8) BYTE room[512];
    auto* values = reinterpret_cast<CEPROPVAL*>(room);
    ULONG size = 16;
    EXPECT_EQ(item->GetProps(ids, 0, 5, &values, &size, nullptr), E_INSUFFICIENTBUFFER);
    EXPECT_EQ(size, 5 * sizeof(CEPROPVAL) + 2 * 12); // two texts of five units and a terminator
    ASSERT_EQ(item->GetProps(ids, 0, 5, &values, &size, nullptr), S_OK);
    std::string shown;
    for (int i = 0; i < 5; ++i) shown += Show(values[i]) + " ";
    EXPECT_EQ(shown, "'Lunch' - 60 'Lunch' - ");

    const struct {
        Values values;
        HRESULT result;
    } kRefused[] = {
        {std::move(Values().Recid(0x1000, 7)), E_INVALIDARG},
        {std::move(Values().Stream(0x001E, {1})), E_INVALIDARG},
        {std::move(Values().Bool(0x0022, true)), E_INVALIDARG},
        {std::move(Values().Blob(0x0048, Pattern(47))), E_INVALIDARG},
        {std::move(Values().Text(0x0020, u"New").UInt(0x0045, 4)), E_INVALIDARG}, // all or none
    };
    for (const auto& c : kRefused) EXPECT_EQ(item->SetProps(0, c.values.Count(), c.values.Data()), c.result);
    EXPECT_EQ(GetOne(item, PIMPR_SUBJECT), "'Lunch'");
    EXPECT_EQ(SetText(item, PIMPR_SUBJECT, u""), S_OK);
    EXPECT_EQ(GetOne(item, PIMPR_SUBJECT), "-");
    EXPECT_EQ(Text(item.As<IAppointment>(IID_IAppointment), &IAppointment::get_Subject),
              "");                                    // one bag for both faces
    EXPECT_EQ(Stored(oid, PIMPR_SUBJECT), "'Lunch'"); // not saved
}

TEST_F(PoomItemsTest, NotesAndStreams) {
    auto item = NewAppointment();
    auto note = Bytes("{\\pwi");
    const CEBLOB ink{5, note.data()};
    item->put_BodyInk(&ink);
    ASSERT_EQ(item->Save(), S_OK);
    const LONG oid = OidOf(item);
    EXPECT_EQ(StoredStream(oid, PIMPR_NOTE), note);

    Com<IStream> stream;
    auto face = item.As<IItem>(IID_IItem);
    EXPECT_EQ(face->OpenProperty(PIMPR_PICTURE, GENERIC_READ, stream.Out()), E_NOTFOUND);
    EXPECT_EQ(face->OpenProperty(PIMPR_RECURRENCE, GENERIC_WRITE, stream.Out()), E_INVALIDARG);
    ASSERT_EQ(face->OpenProperty(PIMPR_NOTE, GENERIC_READ | GENERIC_WRITE, stream.Out()), S_OK);
    ULONGLONG position = 0;
    EXPECT_EQ(stream->Seek(0, STREAM_SEEK_FROM_END, &position), S_OK);
    EXPECT_EQ(position, 5u);
    EXPECT_EQ(stream->Seek(1, STREAM_SEEK_FROM_END, nullptr), STG_E_INVALIDFUNCTION);
    EXPECT_EQ(stream->Write("more", 4, nullptr), S_OK);
    EXPECT_EQ(stream->Commit(0), S_OK);
    EXPECT_EQ(StoredStream(oid, PIMPR_NOTE), note); // until the save
    ASSERT_EQ(item->Save(), S_OK);
    EXPECT_EQ(StoredStream(oid, PIMPR_NOTE), Bytes("{\\pwimore"));

    item->put_BodyInk(nullptr);
    ASSERT_EQ(item->Save(), S_OK);
    EXPECT_EQ(StoredStream(oid, PIMPR_NOTE), std::vector<BYTE>{0xEE});
    CEBLOB none{7, note.data()};
    item->get_BodyInk(&none);
    EXPECT_EQ(none.lpb, nullptr);
}

TEST_F(PoomItemsTest, BodyIsTheNoteAsText) {
    const struct {
        std::string bytes; // null bytes among them
        const char* text;  // null: not a text
    } kCases[] = {{std::string("\xFF\xFEh\0i\0", 6), "hi"},
                  {std::string("\xFE\xFF\0h\0i", 6), "hi"},
                  {std::string("h\0i\0", 4), "hi"},                 // UTF-16 without a mark
                  {std::string("\xFF\xFEh\0i\0\0\0x\0", 10), "hi"}, // ends at its terminator
                  {std::string("\xFF\xFEh\0i", 5), "h"},            // half a character
                  {"plain \xC3\xA9", "plain ?"},                    // UTF-8; one character
                  {"h", "h"},
                  {"{\\rtf1 x}", nullptr},
                  {"{\\pwi00", nullptr},
                  {"{\\pwi" + std::string(471, ' '), ""}, // the empty note of the ink format has 476 bytes
                  {"{\\pwi" + std::string(472, ' '), nullptr}};
    auto task = NewTask();
    for (const auto& c : kCases) {
        SCOPED_TRACE(&c - kCases);
        std::string bytes = c.bytes;
        const CEBLOB ink{static_cast<DWORD>(bytes.size()), reinterpret_cast<BYTE*>(bytes.data())};
        task->put_BodyInk(&ink);
        ASSERT_EQ(task->Save(), S_OK);
        BSTR text = nullptr;
        EXPECT_EQ(Open<ITask>(OidOf(task))->get_Body(&text), c.text ? S_OK : E_NOTIMPL);
        EXPECT_EQ(TakeBstr(text), c.text ? c.text : "");
    }
    auto contact = NewContact();
    contact->put_Body(Bstr(u"h\xD83Di"));
    ASSERT_EQ(contact->Save(), S_OK);
    EXPECT_EQ(StoredStream(OidOf(contact), PIMPR_NOTE),
              (std::vector<BYTE>{0xFF, 0xFE, 'h', 0, 0x3D, 0xD8, 'i', 0}));
    contact->put_Body(nullptr);
    ASSERT_EQ(contact->Save(), S_OK);
    EXPECT_EQ(StoredStream(OidOf(contact), PIMPR_NOTE), std::vector<BYTE>{0xEE});
}

TEST_F(PoomItemsTest, AnObjectIsOneByAllItsFaces) {
    auto item = NewAppointment();
    Com<IRecipients> people;
    Com<IRecipient> one;
    Com<IFolder> folder;
    Com<IStream> stream;
    item->get_Recipients(people.Out());
    people->Add(Bstr(u"Ann"), one.Out());
    m_app->GetDefaultFolder(olFolderTasks, folder.Out());
    item.As<IItem>(IID_IItem)->OpenProperty(PIMPR_NOTE, GENERIC_WRITE, stream.Out());
    const struct {
        IUnknown* object;
        std::vector<IID> faces;
    } kCases[] = {
        {item.Get(), {IID_IAppointment, IID_IItem, IID_IDispatch}},
        {one.Get(), {IID_IRecipient, IID_IRecipient2, IID_IDispatch}},
        {folder.Get(), {IID_IFolder, IID_IItem, IID_IDispatch}},
        {stream.Get(), {IID_IStream}},
        {m_app.Get(), {IID_IPOutlookApp2, IID_IDispatch}},
    };
    const auto query = [](IUnknown* object, const IID& iid) {
        void* face = &object;
        const HRESULT hr = object->QueryInterface(iid, &face);
        EXPECT_EQ(hr, face ? S_OK : E_NOINTERFACE);
        return Com<IUnknown>(static_cast<IUnknown*>(face));
    };
    for (const auto& c : kCases) {
        for (const IID& iid : c.faces) {
            auto face = query(c.object, iid);
            ASSERT_TRUE(face);
            EXPECT_EQ(query(face.Get(), IID_IUnknown).Get(), query(c.object, IID_IUnknown).Get());
        }
        EXPECT_FALSE(query(c.object, IID_ITask));
        EXPECT_EQ(c.object->QueryInterface(IID_IUnknown, nullptr), E_POINTER);
    }
    EXPECT_FALSE(query(stream.Get(), IID_IDispatch));
}

TEST_F(PoomItemsTest, PeopleMakeAMeeting) {
    auto item = NewAppointment();
    Com<IRecipients> people;
    ASSERT_EQ(item->get_Recipients(people.Out()), S_OK);
    for (const WCHAR* name : {u"Ann", u"Bob"}) {
        Com<IRecipient> one;
        ASSERT_EQ(people->Add(Bstr(name), one.Out()), S_OK);
        one.As<IRecipient2>(IID_IRecipient2)->put_Address(Bstr(u"a@example.org"));
        one.As<IRecipient2>(IID_IRecipient2)->put_Type(olOptional);
    }
    EXPECT_EQ(people->Remove(0), E_INVALIDARG);
    EXPECT_EQ(people->Remove(1), S_OK);
    ASSERT_EQ(item->Save(), S_OK);
    const auto id = StoredBlob(OidOf(item), PIMPR_MEETING_ID);
    EXPECT_EQ(id.size(), 28u);

    auto again = Open<IAppointment>(OidOf(item));
    again->get_Recipients(people.Out());
    int count = 0;
    people->get_Count(&count);
    ASSERT_EQ(count, 1);
    Com<IRecipient> bob;
    ASSERT_EQ(people->Item(1, bob.Out()), S_OK);
    EXPECT_EQ(Text(bob, &IRecipient::get_Name), "Bob");
    EXPECT_EQ(Text(bob, &IRecipient::get_Address), "a@example.org");
    LONG type = 0;
    bob.As<IRecipient2>(IID_IRecipient2)->get_Type(&type);
    EXPECT_EQ(type, olOptional);
    people->Add(Bstr(u"Cleo"), nullptr);
    ASSERT_EQ(again->Save(), S_OK);
    EXPECT_EQ(StoredBlob(OidOf(item), PIMPR_MEETING_ID), id); // kept
    Com<IAppointment> copy;
    again->Copy(copy.Out());
    ASSERT_EQ(copy->Save(), S_OK);
    EXPECT_NE(StoredBlob(OidOf(copy), PIMPR_MEETING_ID), id); // another meeting

    EXPECT_EQ(again->Send(), E_FAIL);
    PlatSetMeetingTransport([](IAppointment*, bool cancel) { return cancel ? S_FALSE : S_OK; });
    EXPECT_EQ(again->Send(), S_OK);
    EXPECT_EQ(again->Cancel(), S_FALSE);
    PlatSetMeetingTransport(nullptr);
}

TEST_F(PoomItemsTest, TasksAreWholeLocalDays) {
    const SYSTEMTIME now{2010, 6, 0, 10, 22, 30, 0, 0}; // 00:30 of the 11th in Berlin
    PlatSetClock(&now);
    auto task = NewTask();
    task->put_StartDate(At("2010-06-01 13:00"));
    task->put_DueDate(401768.0);
    task->put_ReminderSet(VARIANT_TRUE);
    task->put_ReminderTime(At("2010-06-11 09:00"));
    EXPECT_EQ(task->put_Importance(3), E_INVALIDARG);
    task->put_Complete(VARIANT_TRUE);
    ASSERT_EQ(task->Save(), S_OK);
    const LONG oid = OidOf(task);
    EXPECT_EQ(StoredTime(oid, PIMPR_TASK_START), "2010-06-01 00:00");
    EXPECT_EQ(StoredTime(oid, PIMPR_TASK_DUE), "2999-12-31 00:00");
    EXPECT_EQ(StoredTime(oid, PIMPR_TASK_COMPLETED), "2010-06-11 00:00");
    EXPECT_EQ(StoredTime(oid, PIMPR_REMINDER_TIME), "2010-06-11 07:00");
    EXPECT_EQ(Stored(oid, PIMPR_IMPORTANCE), "1");

    auto again = Open<ITask>(oid);
    EXPECT_EQ(Date(again, &ITask::get_DueDate), 401768.0);
    EXPECT_EQ(ShowDate(Date(again, &ITask::get_ReminderTime)), "2010-06-11 09:00");
    const SYSTEMTIME later{2010, 6, 0, 20, 12, 0, 0, 0};
    PlatSetClock(&later);
    again->put_Complete(VARIANT_TRUE); // keeps its day
    again->put_DueDate(kNoDate);
    ASSERT_EQ(again->Save(), S_OK);
    EXPECT_EQ(StoredTime(oid, PIMPR_TASK_COMPLETED), "2010-06-11 00:00");
    EXPECT_EQ(StoredTime(oid, PIMPR_TASK_DUE), "-");
    again->put_Complete(VARIANT_FALSE);
    ASSERT_EQ(again->Save(), S_OK);
    EXPECT_EQ(Date(again, &ITask::get_DateCompleted), kNoDate);
    EXPECT_EQ(StoredTime(oid, PIMPR_TASK_COMPLETED), "-");

    // What every task has falls back when it is deleted; the date that means none is no date.
    const ULONGLONG noDate = 1'059'203ull * 864'000'000'000; // 1 January 4501
    ASSERT_EQ(again->put_Importance(2), S_OK);
    const Values values = std::move(Values().Flagged(PIMPR_IMPORTANCE, CEDB_PROPDELETE).Time(0x0062, noDate));
    ASSERT_EQ(again.As<IItem>(IID_IItem)->SetProps(0, 2, values.Data()), S_OK);
    ASSERT_EQ(again->Save(), S_OK);
    EXPECT_EQ(Stored(oid, PIMPR_IMPORTANCE), "1");
    EXPECT_EQ(StoredTime(oid, PIMPR_TASK_START), "-");
    // Others store a day of the year 4500 for none.
    const HANDLE db = RecordOf(oid);
    ASSERT_TRUE(Change(db, Read(db, {PIMPR_NUMBER}).Oid(), Values().Time(0x0064, noDate - 864'000'000'000)));
    auto other = Open<ITask>(oid);
    VARIANT_BOOL complete = VARIANT_TRUE;
    other->get_Complete(&complete);
    EXPECT_EQ(complete, VARIANT_FALSE);
    EXPECT_EQ(Date(other, &ITask::get_DateCompleted), kNoDate);
}

TEST_F(PoomItemsTest, ContactsGetAName) {
    const struct {
        const WCHAR *first, *last, *company, *fileAs;
        const char* stored;
    } kCases[] = {{u"Ann", u"Lee", u"Acme", nullptr, "'Lee, Ann'"},
                  {u"Ann", u"", u"Acme", nullptr, "'Ann'"},
                  {u"", u"", u"Acme", nullptr, "'Acme'"},
                  {u"Ann", u"Lee", u"", u"Boss", "'Boss'"},
                  {u"", u"", u"", nullptr, "-"}};
    for (const auto& c : kCases) {
        auto contact = NewContact();
        auto item = contact.As<IItem>(IID_IItem);
        SetText(item, PIMPR_FIRST_NAME, c.first);
        SetText(item, PIMPR_LAST_NAME, c.last);
        SetText(item, PIMPR_COMPANY, c.company);
        if (c.fileAs) contact->put_FileAs(Bstr(c.fileAs));
        ASSERT_EQ(contact->Save(), S_OK);
        EXPECT_EQ(Stored(OidOf(contact), PIMPR_FILEAS), c.stored);
    }
    auto contact = NewContact();
    EXPECT_EQ(Date(contact, &IContact::get_Birthday), kNoDate);
    for (const auto& [date, stored] :
         {std::pair(At("1970-05-04 12:00"), "1970-05-04 00:00"), {kNoDate, "-"}}) {
        contact->put_Birthday(date);
        ASSERT_EQ(contact->Save(), S_OK);
        EXPECT_EQ(StoredTime(OidOf(contact), PIMPR_BIRTHDAY), stored);
    }
}

TEST_F(PoomItemsTest, FindsContactsByAddressThenByNumber) {
    const std::pair<CEPROPID, const WCHAR*> kContacts[] = {{PIMPR_HOME_TEL, u"+49 (30) 123-456"},
                                                           {PIMPR_EMAIL2, u"Ann@Example.org"},
                                                           {PIMPR_MOBILE_TEL, u"4930123456"}};
    for (const auto& [id, text] : kContacts) {
        auto contact = NewContact();
        SetText(contact.As<IItem>(IID_IItem), id, text);
        ASSERT_EQ(contact->Save(), S_OK);
    }
    const struct {
        const WCHAR* text;
        HRESULT result;
        CEOID oid;
        CEPROPID property;
    } kCases[] = {{u"ANN@example.ORG", S_OK, 0x80000002, PIMPR_EMAIL2},
                  {u"49-30-123456", S_OK, 0x80000001, PIMPR_HOME_TEL}, // the lowest number wins
                  {u"123456", E_NOTFOUND, 0, 0},
                  {u"bob@example.org", E_NOTFOUND, 0, 0},
                  {u"", E_INVALIDARG, 0, 0}};
    for (const auto& c : kCases) {
        Com<IItem> found;
        CEPROPID property = 0;
        EXPECT_EQ(FindMatchingContact(c.text, 0, found.Out(), &property), c.result);
        EXPECT_EQ(property, c.property);
        CEOID oid = 0;
        if (found) found->get_Oid(&oid);
        EXPECT_EQ(oid, c.oid);
    }
    CHOOSECONTACT choose{};
    EXPECT_EQ(ChooseContact(&choose), E_ABORT);
}

TEST_F(PoomItemsTest, RestrictionsAndOrder) {
    const LONG c = Saved(u"cc", "2010-03-03 10:00", 30);
    Saved(u"Aa", "2010-03-01 10:00", 60);
    Saved(u"bb", "2010-03-02 10:00", 60);
    auto task = NewTask();
    ASSERT_EQ(task->Save(), S_OK);
    constexpr int kRefused = -1;
    const struct {
        int count;
        std::vector<const WCHAR*> restrictions;
    } cases[] = {{0, {u"[Oid]=1073741899", u"[Oid]=-99999999999"}},
                 {1,
                  {u"[Subject] = \"AA\"", u"[Subject] > \"aa\" AND [Duration] >= 60",
                   u"[Start] < <40239.00", // 2 March 2010
                   u"[Oid]=1073741825 AND [Start] >= <40230.00"}},
                 {2, {u"[Subject] <> 'aa'", u"[Start] >= <40239.00", u"[start]<=\"2010-03-02 10:00\""}},
                 {3, {u"[AllDayEvent] = FALSE and [BusyStatus] = 2"}},
                 {kRefused,
                  {u"[Nothing] = 1", u"[Subject] = ", u"[Subject] ~ 'a'",
                   u"[Subject] = 'a' OR [Duration] = 1", u"[Subject] = 'a", u""}}};
    auto items = Items(olFolderCalendar);
    for (const auto& k : cases)
        for (const WCHAR* restriction : k.restrictions) {
            Com<IPOutlookItemCollection> some;
            const HRESULT hr = items->Restrict(Bstr(restriction), some.Out());
            EXPECT_EQ(hr == S_OK ? CountOf(some) : kRefused, k.count) << std::filesystem::path(restriction);
        }
    Com<IPOutlookItemCollection> tasks; // a task's oid reads as a signed number
    ASSERT_EQ(Items(olFolderTasks)->Restrict(Bstr(u"[Oid]=-1073741823"), tasks.Out()), S_OK);
    EXPECT_EQ(CountOf(tasks), 1);
    EXPECT_EQ(items->Sort(Bstr(u"[Subject]"), VARIANT_TRUE), S_OK);
    Com<IDispatch> first;
    ASSERT_EQ(items->Item(1, first.Out()), S_OK);
    EXPECT_EQ(OidOf(first.As<IAppointment>(IID_IAppointment)), c);
    EXPECT_EQ(items->Item(4, first.Out()), E_INVALIDARG);
    EXPECT_EQ(items->Find(Bstr(u"[Duration] = 60"), first.Out()), S_OK);
    EXPECT_EQ(items->FindNext(first.Out()), S_OK);
    EXPECT_EQ(items->FindNext(first.Out()), E_NOTFOUND);
    // What is deleted meanwhile doesn't end the search.
    ASSERT_EQ(items->Find(Bstr(u"[Duration] >= 30"), first.Out()), S_OK);
    ASSERT_EQ(Open<IAppointment>(c + 2)->Delete(), S_OK);
    EXPECT_EQ(items->FindNext(first.Out()), S_OK);
    EXPECT_EQ(OidOf(first.As<IAppointment>(IID_IAppointment)), c + 1);
}

TEST_F(PoomItemsTest, FoldersAndTheRest) {
    Com<IFolder> folder;
    EXPECT_EQ(m_app->GetDefaultFolder(77, folder.Out()), E_INVALIDARG);
    ASSERT_EQ(m_app->GetDefaultFolder(olFolderInfrared, folder.Out()), S_OK);
    EXPECT_EQ(folder->SendToInfrared(), E_FAIL);
    ASSERT_EQ(m_app->GetDefaultFolder(olFolderTasks, folder.Out()), S_OK);
    auto face = folder.As<IItem>(IID_IItem);
    EXPECT_EQ(face->SetProps(0, 1, Values().UInt(0x1001, 5).Data()), S_OK);
    EXPECT_EQ(GetOne(face, PIMPR_FOLDERNOTIFICATIONS), "5");
    EXPECT_EQ(SetText(face, PIMPR_SUBJECT, u"x"), E_INVALIDARG);
    VARIANT_BOOL team = VARIANT_TRUE;
    NewTask()->get_TeamTask(&team);
    EXPECT_EQ(team, VARIANT_FALSE);
}

// Without the engine that walks rules, a rule that has to be counted is refused, and nothing is written.
TEST_F(PoomItemsTest, CountingNeedsAWalk) {
    ASSERT_EQ(PlatGetRuleWalk(), nullptr); // nothing above the platform is linked in
    auto item = NewAppointment();
    Com<IRecurrencePattern> pattern;
    ASSERT_EQ(item->GetRecurrencePattern(pattern.Out()), S_OK);
    pattern->put_RecurrenceType(olRecursDaily);
    pattern->put_Occurrences(3);
    EXPECT_EQ(item->Save(), E_UNEXPECTED);
    EXPECT_EQ(DumpAll(), "");
    pattern->put_NoEndDate(VARIANT_TRUE);
    EXPECT_EQ(item->Save(), S_OK);
}

// --- Faults ---------------------------------------------------------------------------------------------------------

class PoomFaultTest : public PoomItemsTest,
                      public ::testing::WithParamInterface<std::tuple<PlatFault, bool>> {
protected:
    // A change of everything that a save can touch.
    void Fill(const Com<IAppointment>& item, const WCHAR* mark) {
        auto note = Bytes("note");
        const CEBLOB ink{4, note.data()};
        item->put_Subject(Bstr(mark));
        item->put_Start(At("2010-03-01 10:00"));
        item->put_BodyInk(&ink);
        item->put_Categories(Bstr((std::u16string(mark) + u", Home").c_str()));
        Com<IRecurrencePattern> pattern;
        item->GetRecurrencePattern(pattern.Out());
        pattern->put_RecurrenceType(olRecursWeekly);
        pattern->put_Interval(mark[0] == u'n' ? 2 : 3);
    }
    void BeginBatch() { ASSERT_EQ(PlatBeginItemBatch(m_app.Get()), S_OK); }
    void EndBatch() { ASSERT_EQ(PlatEndItemBatch(m_app.Get(), true), S_OK); }
};

TEST_P(PoomFaultTest, ASaveIsWholeOrAbsent) {
    const auto [fault, inBatch] = GetParam();
    const CEPROPID uid = Name(u"uid", CEVT_LPWSTR);
    auto kept = NewAppointment();
    Fill(kept, u"kept");
    ASSERT_EQ(kept->Save(), S_OK);
    if (inBatch) BeginBatch();
    auto other = NewAppointment();
    other->put_Subject(Bstr(u"other"));
    ASSERT_EQ(other->Save(), S_OK);
    const std::string before = inBatch ? "" : DumpAll();
    unsigned failures = 0;
    auto fresh = NewAppointment(); // the same each time: what failed can be repeated
    Fill(fresh, u"new");
    SetText(fresh.As<IItem>(IID_IItem), uid, u"u1");
    for (unsigned n = 1; n < 100; ++n) {
        PlatInjectFault(fault, n);
        const HRESULT hr = fresh->Save();
        const bool reached = PlatFaultCount(fault) >= n;
        PlatInjectFault(fault, 0);
        EXPECT_EQ(FAILED(hr), reached);
        if (!reached) break;
        ++failures;
        EXPECT_EQ(hr, static_cast<HRESULT>(0x80070070));
        EXPECT_EQ(OidOf(fresh), 0);
        if (!inBatch) {
            EXPECT_EQ(DumpAll(), before) << n;
        }
    }
    if (fault == PlatFault::StoreWrite)
        EXPECT_GE(failures, 5u); // record, two categories, two associations, the named value
    else
        EXPECT_EQ(failures, inBatch ? 0u : 1u);
    if (inBatch) {
        ASSERT_EQ(PlatEndItemBatch(m_app.Get(), true), S_OK);
        const HANDLE db = Database(u"Appointments Database", PIMPR_NUMBER);
        EXPECT_EQ(Walk(db, PIMPR_SUBJECT), "'kept' 'other' 'new'"); // the failed ones have left nothing
        const auto order = Order({{0x00010013, 0}, {0x00020013, 0}});
        EXPECT_EQ(Walk(Open(u"PIMNamedPropVals", &order), 0x00020013), std::to_string(uid));
    }
    EXPECT_EQ(Categories(OidOf(fresh)), "Home, new");
    EXPECT_EQ(StoredStream(OidOf(fresh), PIMPR_RECURRENCE).size(), 72u); // form 4 with a mask and no lists
}

TEST_P(PoomFaultTest, AChangeIsWholeOrAbsent) {
    const auto [fault, inBatch] = GetParam();
    auto item = NewAppointment();
    Fill(item, u"old");
    ASSERT_EQ(item->Save(), S_OK);
    const LONG oid = OidOf(item);
    const std::string before = DumpAll();
    HRESULT hr = E_FAIL;
    for (unsigned n = 1; n < 100 && FAILED(hr); ++n) {
        if (inBatch) BeginBatch();
        auto again = Open<IAppointment>(oid);
        Fill(again, u"new");
        PlatInjectFault(fault, n);
        hr = again->Save();
        EXPECT_EQ(FAILED(hr), PlatFaultCount(fault) >= n);
        PlatInjectFault(fault, 0);
        if (inBatch) EndBatch();
        if (SUCCEEDED(hr)) break;
        EXPECT_EQ(Stored(oid, PIMPR_SUBJECT), "'old'") << n;
        EXPECT_EQ(Categories(oid), "old, Home") << n;
        if (!inBatch) {
            EXPECT_EQ(DumpAll(), before) << n;
        }
    }
    EXPECT_EQ(Stored(oid, PIMPR_SUBJECT), "'new'");
    EXPECT_EQ(Categories(oid), "Home, new");
}

INSTANTIATE_TEST_SUITE_P(Store, PoomFaultTest,
                         ::testing::Combine(::testing::Values(PlatFault::StoreWrite, PlatFault::StoreCommit),
                                            ::testing::Bool()));

// --- Batches --------------------------------------------------------------------------------------------------------

TEST_F(PoomItemsTest, BatchesAreOneChange) {
    EXPECT_EQ(PlatEndItemBatch(m_app.Get(), true), E_UNEXPECTED);
    ASSERT_EQ(PlatBeginItemBatch(m_app.Get()), S_OK);
    EXPECT_EQ(PlatBeginItemBatch(m_app.Get()), E_UNEXPECTED);
    EXPECT_EQ(Saved(u"a", "2010-01-01"), 0x40000001);
    EXPECT_EQ(Saved(u"b", "2010-01-01"), 0x40000002);
    ASSERT_EQ(PlatEndItemBatch(m_app.Get(), false), S_OK);
    EXPECT_EQ(DumpAll(), "");
    ASSERT_EQ(PlatBeginItemBatch(m_app.Get()), S_OK);
    Saved(u"c", "2010-01-01");
    ASSERT_EQ(PlatEndItemBatch(m_app.Get(), true), S_OK);
    EXPECT_EQ(Walk(Database(u"Appointments Database", PIMPR_NUMBER), PIMPR_SUBJECT), "'c'");
}

TEST_F(PoomItemsTest, FindsItemsByANamedText) {
    const CEPROPID uid = Name(u"uid", CEVT_LPWSTR);
    const auto find = [&](const WCHAR* text, LONG folder = olFolderCalendar) {
        CEOID oid = 0;
        const HRESULT hr = PlatFindItemByNamedText(m_app.Get(), folder, uid, text, &oid);
        return hr == S_OK ? oid : static_cast<CEOID>(hr == E_NOTFOUND ? 0 : 1);
    };
    const auto save = [&](const WCHAR* text) {
        auto item = NewAppointment();
        SetText(item.As<IItem>(IID_IItem), uid, text);
        EXPECT_EQ(item->Save(), S_OK);
        return item;
    };
    auto first = save(u"u1");
    for (const bool batch : {false, true}) {
        SCOPED_TRACE(batch);
        EXPECT_TRUE(!batch || PlatBeginItemBatch(m_app.Get()) == S_OK);
        EXPECT_EQ(find(u"u1"), static_cast<CEOID>(OidOf(first)));
        EXPECT_EQ(find(u"U1"), 0u);
        EXPECT_EQ(find(u"u1", olFolderTasks), 0u);
        auto second = save(u"u2");
        EXPECT_EQ(find(u"u2"), static_cast<CEOID>(OidOf(second)));
        SetText(second.As<IItem>(IID_IItem), uid, u"u3");
        EXPECT_EQ(find(u"u2"), 0u);
        EXPECT_EQ(find(u"u3"), static_cast<CEOID>(OidOf(second)));
        ASSERT_EQ(second->Delete(), S_OK);
        EXPECT_EQ(find(u"u3"), 0u);
        EXPECT_TRUE(!batch || PlatEndItemBatch(m_app.Get(), true) == S_OK);
    }
}

} // namespace
