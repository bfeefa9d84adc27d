// Series through the object model: the blocks they write, their ends, their occurrences.
#include "NorvoTools/CeDb.h"
#include "QNWorkerClass/CQNDataThread.h"
#include "tests/support/poom.h"
#include "tests/support/workedblobs.h"

#include <functional>

namespace {

std::string Hex(const std::vector<BYTE>& bytes) {
    std::string text;
    char byte[4];
    for (std::size_t i = 0; i < bytes.size(); ++i) {
        std::snprintf(byte, sizeof byte, "%02X%c", bytes[i], i % 16 == 15 ? '\n' : ' ');
        text += byte;
    }
    return text;
}

class SeriesTest : public PoomTest {
protected:
    // An appointment about to become a series.
    struct Draft {
        Com<IAppointment> item;
        Com<IRecurrencePattern> rule;
    };
    Draft Draw(const char* first, const char* time, LONG minutes, LONG type) {
        Draft draft{NewAppointment(), {}};
        draft.item->put_Subject(Bstr(u"Series"));
        draft.item->put_Start(At(first));
        draft.item->GetRecurrencePattern(draft.rule.Out());
        draft.rule->put_RecurrenceType(type);
        draft.rule->put_PatternStartDate(At(first));
        draft.rule->put_StartTime(At((std::string("1899-12-30 ") + time).c_str()));
        draft.rule->put_Duration(minutes);
        return draft;
    }
    // The series of most tests: Mondays from 1 March 2010, 14:00 to 15:00.
    Draft DrawMondays() { return Draw("2010-03-01", "14:00", 60, olRecursWeekly); }
    LONG Mondays() {
        auto draft = DrawMondays();
        return Save(draft);
    }
    LONG Save(Draft& draft) {
        EXPECT_EQ(draft.item->Save(), S_OK);
        return OidOf(draft.item);
    }
    Com<IRecurrencePattern> RuleOf(LONG oid) {
        Com<IRecurrencePattern> rule;
        Open<IAppointment>(oid)->GetRecurrencePattern(rule.Out());
        return rule;
    }
    Com<IAppointment> Occurrence(LONG oid, const char* day, HRESULT expected = S_OK) {
        Com<IAppointment> occurrence;
        EXPECT_EQ(RuleOf(oid)->GetOccurrence(At(day), occurrence.Out()), expected) << day;
        return occurrence;
    }
    void DeleteOccurrence(LONG oid, const char* day) {
        auto occurrence = Occurrence(oid, day);
        ASSERT_TRUE(occurrence);
        EXPECT_EQ(occurrence->Delete(), S_OK);
    }
    template<class Work>
    void Change(LONG oid, const char* day, Work work) {
        auto occurrence = Occurrence(oid, day);
        ASSERT_TRUE(occurrence);
        work(occurrence);
        EXPECT_EQ(occurrence->Save(), S_OK);
    }
    void Move(LONG oid, const char* day, const char* start, LONG minutes) {
        Change(oid, day, [&](auto& one) {
            one->put_Start(At(start));
            one->put_Duration(minutes);
        });
    }
    void Rename(LONG oid, const char* day, const WCHAR* subject) {
        Change(oid, day, [&](auto& one) { one->put_Subject(Bstr(subject)); });
    }
    std::string Block(LONG oid) { return Hex(StoredStream(oid, PIMPR_RECURRENCE)); }
    static std::string StartOf(const Com<IAppointment>& item) {
        return ShowDate(ValueOf(item, &IAppointment::get_Start));
    }
    std::string EndOf(const Com<IRecurrencePattern>& rule) {
        const DATE end = ValueOf(rule, &IRecurrencePattern::get_PatternEndDate);
        return (end == kNoDate ? "none " : ShowDate(end).substr(0, 11)) +
               std::to_string(ValueOf(rule, &IRecurrencePattern::get_Occurrences)) +
               (ValueOf(rule, &IRecurrencePattern::get_NoEndDate) ? " endless" : "");
    }
    // The starts of what a restriction finds, in its order.
    std::string Starts(const std::u16string& restriction) {
        auto items = Items(olFolderCalendar);
        EXPECT_EQ(items->put_IncludeRecurrences(VARIANT_TRUE), S_OK);
        Com<IPOutlookItemCollection> some;
        EXPECT_EQ(items->Restrict(Bstr(restriction.c_str()), some.Out()), S_OK);
        std::string all;
        for (int i = 1; i <= ValueOf(some, &IPOutlookItemCollection::get_Count); ++i) {
            Com<IDispatch> item;
            EXPECT_EQ(some->Item(i, item.Out()), S_OK);
            all += StartOf(item.As<IAppointment>(IID_IAppointment)) + "\n";
        }
        return all;
    }
};

// --- The block, byte for byte -----------------------------------------------------------------------------------------

TEST_F(SeriesTest, WritesTheWorkedBlocks) {
    const std::vector<std::function<LONG()>> kMakers = {
        [this] {
            auto d = Draw("2010-03-01", "10:00", 90, olRecursDaily);
            d.rule->put_Interval(2);
            d.rule->put_PatternEndDate(At("2010-03-31"));
            return Save(d);
        },
        [this] {
            auto d = Draw("2010-03-01", "08:30", 30, olRecursDaily);
            d.rule->put_Interval(0);
            d.rule->put_DayOfWeekMask(62);
            d.rule->put_NoEndDate(VARIANT_TRUE);
            const LONG oid = Save(d);
            DeleteOccurrence(oid, "2010-03-10");
            return oid;
        },
        [this] {
            auto d = DrawMondays();
            d.rule->put_Interval(2);
            d.rule->put_DayOfWeekMask(olMonday | olFriday);
            d.rule->put_Occurrences(10);
            const LONG oid = Save(d);
            Move(oid, "2010-03-19", "2010-03-20 10:00", 60);
            DeleteOccurrence(oid, "2010-03-05");
            Change(oid, "2010-03-15", [](auto& one) {
                one->put_Start(At("2010-03-15 14:30"));
                one->put_Duration(90);
                one->put_Subject(Bstr(u"Review"));
                one->put_Location(Bstr(u"Room 2"));
                one->put_BusyStatus(olOutOfOffice);
            });
            return oid;
        },
        [this] {
            auto d = Draw("2010-01-31", "00:00", 1440, olRecursMonthly);
            d.item->put_AllDayEvent(VARIANT_TRUE);
            const LONG oid = Save(d); // the day of the month follows the first date
            Move(oid, "2010-03-31", "2010-04-01", 1440);
            DeleteOccurrence(oid, "2010-05-31");
            return oid;
        },
        [this] {
            auto d = Draw("2010-01-06", "09:00", 60, olRecursMonthNth);
            d.rule->put_Instance(4);
            d.rule->put_DayOfWeekMask(62);
            const LONG oid = Save(d);
            Change(oid, "2010-03-04", [](auto& one) {
                BYTE note[] = {'{', '\\', 'p', 'w', 'i'};
                const CEBLOB ink{5, note};
                one->put_AllDayEvent(VARIANT_TRUE);
                one->put_BodyInk(&ink);
            });
            return oid;
        },
        [this] {
            auto d = Draw("2008-02-29", "00:00", 1440, olRecursYearly);
            d.item->put_AllDayEvent(VARIANT_TRUE);
            const LONG oid = Save(d);
            DeleteOccurrence(oid, "2010-02-28");
            Rename(oid, "2009-02-28", u"Leap");
            return oid;
        },
        [this] {
            auto d = Draw("2007-11-22", "22:00", 240, olRecursYearNth);
            d.rule->put_Instance(4);
            const LONG oid = Save(d);
            Change(oid, "2009-11-26", [](auto& one) {
                one->put_Start(At("2009-11-27 20:00"));
                one->put_End(At("2009-11-29 06:00"));
                one->put_Location(Bstr(u"Cabin"));
                one->put_BusyStatus(olOutOfOffice);
            });
            return oid;
        },
    };
    for (std::size_t i = 0; i < kMakers.size(); ++i) {
        SCOPED_TRACE(WorkedBlobs()[i].name);
        const LONG oid = kMakers[i]();
        EXPECT_EQ(Block(oid), Hex(WorkedBlobs()[i].bytes));
        EXPECT_EQ(Stored(oid, PIMPR_RECURRING), "true");
        // Read back and written again with an equal value it is the same.
        Com<IRecurrencePattern> rule;
        auto item = Open<IAppointment>(oid);
        item->GetRecurrencePattern(rule.Out());
        rule->put_RecurrenceType(ValueOf(rule, &IRecurrencePattern::get_RecurrenceType));
        EXPECT_EQ(item->Save(), S_OK);
        EXPECT_EQ(Block(oid), Hex(WorkedBlobs()[i].bytes));
    }
}

TEST_F(SeriesTest, KeepsWhatOthersWroteInARecord) {
    const LONG oid = Mondays();
    Move(oid, "2010-03-08", "2010-03-09 15:00", 60);
    // Another writer adds the two parts that are never written here, and a flag that nobody knows.
    auto block = StoredStream(oid, PIMPR_RECURRENCE);
    const std::size_t flags = block.size() - 4;
    block[flags] = 0x4C;
    const BYTE parts[] = {1, 2, 3, 4, 5, 6, 7, 8};
    block.insert(block.end(), std::begin(parts), std::end(parts));
    ASSERT_TRUE(WriteStream(RecordOf(oid), PIMPR_RECURRENCE, block));
    Change(oid, "2010-03-08", [](auto& one) { one->put_Location(Bstr(u"L")); });
    block[flags] = 0x5C;
    const BYTE location[] = {2, 0, 1, 0, 'L', 0};
    block.insert(block.end(), std::begin(location), std::end(location));
    EXPECT_EQ(Block(oid), Hex(block));
}

TEST_F(SeriesTest, DamagedBlocksAreLeftAlone) {
    const LONG oid = Mondays();
    Move(oid, "2010-03-08", "2010-03-09 15:00", 60);
    const auto good = StoredStream(oid, PIMPR_RECURRENCE);
    std::vector<std::vector<BYTE>> damaged;
    for (std::size_t size = 1; size < good.size(); ++size)
        damaged.emplace_back(good.begin(), good.begin() + static_cast<std::ptrdiff_t>(size));
    damaged.push_back(good);
    damaged.back()[0] = 5; // no form
    damaged.push_back(good);
    damaged.back()[41] = 0x7F; // two thousand million deleted dates
    for (const auto& block : damaged) {
        ASSERT_TRUE(WriteStream(RecordOf(oid), PIMPR_RECURRENCE, block));
        auto item = Open<IAppointment>(oid);
        Com<IRecurrencePattern> rule;
        EXPECT_EQ(item->GetRecurrencePattern(rule.Out()), E_FAIL) << block.size();
        EXPECT_EQ(item->put_Start(At("2010-03-01 15:00")), E_FAIL);
        EXPECT_EQ(item->put_Duration(30), E_FAIL);
        EXPECT_EQ(item->put_AllDayEvent(VARIANT_TRUE), E_FAIL);
        item->put_Subject(Bstr(u"changed"));
        EXPECT_EQ(item->Save(), S_OK);
        EXPECT_EQ(StoredStream(oid, PIMPR_RECURRENCE), block);
        EXPECT_EQ(Starts(u"[Subject] = 'changed'"), "");
    }
}

// --- Ends -------------------------------------------------------------------------------------------------------------

TEST_F(SeriesTest, EndsAreCountedEitherWay) {
    const auto monthly31 = [this] { return Draw("2010-01-31", "09:00", 60, olRecursMonthly); };
    auto d = monthly31();
    EXPECT_EQ(EndOf(d.rule), "none 0 endless");
    d.rule->put_Occurrences(3);
    EXPECT_EQ(EndOf(d.rule), "2010-05-31 3");
    d.rule->put_PatternEndDate(At("2010-03-30 12:00"));
    EXPECT_EQ(EndOf(d.rule), "2010-03-30 1");
    d.rule->put_PatternEndDate(At("2009-12-31"));
    EXPECT_EQ(EndOf(d.rule), "2009-12-31 0");
    d.rule->put_PatternEndDate(kNoDate);
    EXPECT_EQ(EndOf(d.rule), "none 0 endless");
    for (LONG bad : {0, -1, 2'000'000}) EXPECT_EQ(d.rule->put_Occurrences(bad), E_INVALIDARG);
    d.rule->put_Occurrences(2);
    d.rule->put_RecurrenceType(olRecursDaily); // the count stays, its end moves
    EXPECT_EQ(EndOf(d.rule), "2010-02-01 2");
    const LONG oid = Save(d);
    EXPECT_EQ(EndOf(RuleOf(oid)), "2010-02-01 2");
}

// --- The item and its rule --------------------------------------------------------------------------------------------

TEST_F(SeriesTest, LookingAtARuleMakesNoSeries) {
    auto item = NewAppointment();
    item->put_Start(At("2010-03-03 10:00"));
    Com<IRecurrencePattern> rule;
    ASSERT_EQ(item->GetRecurrencePattern(rule.Out()), S_OK);
    EXPECT_EQ(ValueOf(rule, &IRecurrencePattern::get_DayOfWeekMask), olWednesday);
    EXPECT_EQ(ValueOf(item, &IAppointment::get_IsRecurring), VARIANT_FALSE);
    ASSERT_EQ(item->Save(), S_OK);
    EXPECT_EQ(Stored(OidOf(item), PIMPR_RECURRING), "false");
    EXPECT_EQ(Stored(OidOf(item), PIMPR_TIMEZONE), "-");
}

TEST_F(SeriesTest, StartIsTheFirstOccurrence) {
    auto d = Draw("2010-03-03", "10:00", 30, olRecursWeekly); // a Wednesday
    d.rule->put_DayOfWeekMask(olMonday);
    Com<IAppointment> copy; // of what isn't saved yet
    ASSERT_EQ(d.item->Copy(copy.Out()), S_OK);
    ASSERT_EQ(copy->Save(), S_OK);
    EXPECT_EQ(StoredTime(OidOf(copy), PIMPR_START), "2010-03-08 09:00");
    const LONG oid = Save(d);
    EXPECT_EQ(StoredTime(oid, PIMPR_START), "2010-03-08 09:00");
    EXPECT_EQ(StoredTime(oid, PIMPR_END), "2010-03-08 09:30");
    EXPECT_EQ(ShowDate(ValueOf(RuleOf(oid), &IRecurrencePattern::get_PatternStartDate)), "2010-03-03 00:00");
    EXPECT_EQ(StartOf(Open<IAppointment>(oid)), "2010-03-08 10:00");
}

TEST_F(SeriesTest, ZoneIsThatOfTheMaking) {
    SetZone(Eastern());
    const LONG oid = Mondays();
    EXPECT_EQ(Hex(StoredBlob(oid, PIMPR_TIMEZONE)),
              Hex(HexBytes("2C010000 00000000 C4FFFFFF 00000000 0B000000 01000200"
                           "00000000 00000000 00000300 00000200 02000000 00000000")));
    const std::string block = Block(oid);
    SetZone(Berlin());
    auto item = Open<IAppointment>(oid);
    const CEPROPID id = PIMPR_TIMEZONE;
    CEPROPVAL* values = nullptr;
    ULONG size = 0;
    ASSERT_EQ(item.As<IItem>(IID_IItem)->GetProps(&id, 1, 1, &values, &size, nullptr), S_OK);
    ASSERT_EQ(values[0].val.blob.dwCount, 172u);
    TIME_ZONE_INFORMATION wide;
    std::memcpy(&wide, values[0].val.blob.lpb, sizeof wide);
    EXPECT_EQ(wide.Bias, 300);
    EXPECT_EQ(wide.DaylightDate.wMonth, 3);
    EXPECT_EQ(wide.StandardName[0], 0); // not the device's
    LocalFree(values);
    item->put_Subject(Bstr(u"elsewhere"));
    item->put_Duration(60);
    ASSERT_EQ(item->Save(), S_OK);
    EXPECT_EQ(Block(oid), block);
    EXPECT_EQ(StoredTime(oid, PIMPR_START), "2010-03-01 19:00");

    item->ClearRecurrencePattern();
    ASSERT_EQ(item->Save(), S_OK);
    EXPECT_EQ(Stored(oid, PIMPR_RECURRING), "false");
    EXPECT_EQ(Stored(oid, PIMPR_TIMEZONE), "-");
    EXPECT_EQ(StoredStream(oid, PIMPR_RECURRENCE), std::vector<BYTE>{0xEE});
    EXPECT_EQ(StoredTime(oid, PIMPR_START), "2010-03-01 19:00"); // the same moment
}

TEST_F(SeriesTest, AGivenZoneStays) {
    const TIME_ZONE_INFORMATION eastern = Eastern();
    std::vector<BYTE> wide(sizeof eastern);
    std::memcpy(wide.data(), &eastern, sizeof eastern);
    for (const bool before : {true, false}) { // given before the rule, or behind it
        auto item = NewAppointment();
        const Values zone = std::move(Values().Blob(0x0048, wide));
        if (before) {
            ASSERT_EQ(item.As<IItem>(IID_IItem)->SetProps(0, 1, zone.Data()), S_OK);
        }
        item->put_Start(At("2010-07-01 14:00"));
        Com<IRecurrencePattern> rule;
        item->GetRecurrencePattern(rule.Out());
        rule->put_RecurrenceType(olRecursDaily);
        if (!before) {
            ASSERT_EQ(item.As<IItem>(IID_IItem)->SetProps(0, 1, zone.Data()), S_OK);
        }
        ASSERT_EQ(item->Save(), S_OK);
        const LONG oid = OidOf(item);
        EXPECT_EQ(StoredBlob(oid, PIMPR_TIMEZONE).size(), 48u);
        EXPECT_EQ(StoredTime(oid, PIMPR_START), "2010-07-01 18:00");
        EXPECT_EQ(ValueOf(RuleOf(oid), &IRecurrencePattern::get_StartTime), 14 / 24.0);
    }
}

TEST_F(SeriesTest, MovingASeriesByItsStart) {
    const LONG oid = Mondays();
    DeleteOccurrence(oid, "2010-03-08");
    const auto deleted = [&] {
        return StoredStream(oid, PIMPR_RECURRENCE)[38];
    }; // the count, 0 or 1: E is 26
    auto item = Open<IAppointment>(oid);
    item->put_Start(At("2010-03-01 15:30"));
    item->put_Duration(90);
    ASSERT_EQ(item->Save(), S_OK);
    EXPECT_EQ(deleted(), 1);
    EXPECT_EQ(ShowDate(ValueOf(RuleOf(oid), &IRecurrencePattern::get_StartTime)), "1899-12-30 15:30");
    EXPECT_EQ(ValueOf(RuleOf(oid), &IRecurrencePattern::get_Duration), 90);

    item->put_Start(At("2010-03-15 15:30"));
    ASSERT_EQ(item->Save(), S_OK);
    EXPECT_EQ(deleted(), 0); // another day: no occurrence is what it was
    EXPECT_EQ(StoredTime(oid, PIMPR_START), "2010-03-15 14:30");
}

TEST_F(SeriesTest, WhichChangesKeepTheOccurrences) {
    const struct {
        const char* what;
        void (*change)(IRecurrencePattern*);
        bool kept;
    } kCases[] = {
        {"end", [](IRecurrencePattern* r) { r->put_Occurrences(20); }, true},
        {"time", [](IRecurrencePattern* r) { r->put_StartTime(0.25); }, true},
        {"duration", [](IRecurrencePattern* r) { r->put_Duration(10); }, true},
        {"same interval", [](IRecurrencePattern* r) { r->put_Interval(1); }, true},
        {"no type", [](IRecurrencePattern* r) { EXPECT_EQ(r->put_RecurrenceType(7), E_INVALIDARG); }, true},
        {"no mask", [](IRecurrencePattern* r) { EXPECT_EQ(r->put_DayOfWeekMask(128), E_INVALIDARG); }, true},
        {"no day", [](IRecurrencePattern* r) { EXPECT_EQ(r->put_DayOfMonth(32), E_INVALIDARG); }, true},
        {"no start", [](IRecurrencePattern* r) { EXPECT_EQ(r->put_PatternStartDate(kNoDate), E_INVALIDARG); },
         true},
        {"interval", [](IRecurrencePattern* r) { r->put_Interval(2); }, false},
        {"mask", [](IRecurrencePattern* r) { r->put_DayOfWeekMask(6); }, false},
        {"type", [](IRecurrencePattern* r) { r->put_RecurrenceType(olRecursMonthly); }, false},
        {"start date", [](IRecurrencePattern* r) { r->put_PatternStartDate(At("2010-02-22")); }, false},
    };
    for (const auto& c : kCases) {
        const LONG oid = Mondays();
        Move(oid, "2010-03-08", "2010-03-09 15:00", 60);
        auto item = Open<IAppointment>(oid);
        Com<IRecurrencePattern> rule;
        item->GetRecurrencePattern(rule.Out());
        c.change(rule.Get());
        ASSERT_EQ(item->Save(), S_OK);
        const auto block = StoredStream(oid, PIMPR_RECURRENCE);
        EXPECT_EQ(block[38] == 1 && block.size() == 72u + 8 + 16, c.kept) << c.what;
        if (!c.kept) continue;
        // The changed one names the rule's date with the time that the series has now.
        DWORD original = 0;
        std::memcpy(&original, &block[block.size() - 8], sizeof original);
        const bool moved = c.what == std::string("time");
        EXPECT_EQ(original, 215'208'000u + (moved ? 6 * 60 : 14 * 60)) << c.what; // 8 March 2010
    }
}

// --- Occurrences ------------------------------------------------------------------------------------------------------

TEST_F(SeriesTest, OccurrencesAsTheyStand) {
    auto d = DrawMondays();
    d.item->put_Categories(Bstr(u"Work"));
    d.rule->put_Occurrences(4);
    const LONG oid = Save(d);
    DeleteOccurrence(oid, "2010-03-08");
    Move(oid, "2010-03-15", "2010-03-17 09:00", 30);
    for (const char* none : {"2010-03-08", "2010-03-09", "2010-03-17", "2010-02-22", "2010-03-29"})
        Occurrence(oid, none, E_NOTFOUND);
    const auto told = [&](const char* day) {
        auto one = Occurrence(oid, day);
        EXPECT_EQ(OidOf(one), oid);
        return StartOf(one) + " " + std::to_string(ValueOf(one, &IAppointment::get_Duration)) + " " +
               TextOf(one, &IAppointment::get_Categories);
    };
    EXPECT_EQ(told("2010-03-22 23:00"), "2010-03-22 14:00 60 Work"); // by its whole day
    EXPECT_EQ(told("2010-03-15"), "2010-03-17 09:00 30 Work");
}

TEST_F(SeriesTest, OccurrencesRefuseWhatBelongsToTheSeries) {
    const LONG oid = Mondays();
    const std::string block = Block(oid);
    auto one = Occurrence(oid, "2010-03-08");
    EXPECT_EQ(one->put_Categories(Bstr(u"x")), E_FAIL);
    EXPECT_EQ(one->put_Sensitivity(olPrivate), E_FAIL);
    EXPECT_EQ(one->put_ReminderSet(VARIANT_TRUE), E_FAIL);
    EXPECT_EQ(one->put_MeetingStatus(1), E_FAIL);
    EXPECT_EQ(one->ClearRecurrencePattern(), E_FAIL);
    EXPECT_EQ(one->put_BusyStatus(4), E_INVALIDARG);
    EXPECT_EQ(one->Save(), S_OK); // nothing of its own: nothing is written
    EXPECT_EQ(Block(oid), block);
    ASSERT_TRUE(WriteStream(RecordOf(oid), PIMPR_RECURRENCE, WorkedBlobs()[7].bytes)); // the longer form
    EXPECT_EQ(EndOf(RuleOf(oid)), "2010-03-31 16");
}

TEST_F(SeriesTest, OccurrencesHaveTheSeriesPropertiesAndTheirOwn) {
    auto d = DrawMondays();
    d.item->put_Location(Bstr(u"Room"));
    const LONG oid = Save(d);
    const CEPROPID icon = Name(u"QN_IconName", CEVT_LPWSTR);
    auto one = Occurrence(oid, "2010-03-08");
    one->put_Subject(Bstr(u"Own"));
    auto face = one.As<IItem>(IID_IItem);
    const auto all = [&] {
        CEPROPVAL* values = nullptr;
        ULONG size = 0;
        std::string text;
        EXPECT_EQ(face->GetProps(nullptr, 1, 0, &values, &size, nullptr), S_OK);
        for (ULONG i = 0; i < size / sizeof(CEPROPVAL) && values[i].propid; ++i)
            if (TypeFromPropID(values[i].propid) == CEVT_LPWSTR) text += Show(values[i]) + " ";
        LocalFree(values);
        return text;
    };
    EXPECT_EQ(all(), "'Own' 'Room' ");
    ASSERT_EQ(face->SetProps(0, 1, Values().Text(static_cast<WORD>(icon >> 16), u"bell").Data()), S_OK);
    EXPECT_EQ(all(), "'Own' 'Room' 'bell' ");
    // What its record can't count is refused, not cut.
    std::vector<BYTE> note(0x10000, 'x');
    const CEBLOB ink{0x10000, note.data()};
    EXPECT_EQ(one->put_BodyInk(&ink), E_INVALIDARG);
    EXPECT_EQ(one->put_Subject(Bstr(std::u16string(0xFFFF, u'x').c_str())), E_INVALIDARG);
}

TEST_F(SeriesTest, TwoOccurrencesThroughTwoObjectsBothStay) {
    const LONG oid = Mondays();
    auto a = Occurrence(oid, "2010-03-08");
    auto b = Occurrence(oid, "2010-03-15");
    a->put_Subject(Bstr(u"A"));
    b->put_Subject(Bstr(u"B"));
    EXPECT_EQ(a->Save(), S_OK);
    EXPECT_EQ(b->Save(), S_OK);
    for (const auto& [day, subject] :
         {std::pair{"2010-03-08", "A"}, {"2010-03-15", "B"}, {"2010-03-22", "Series"}})
        EXPECT_EQ(TextOf(Occurrence(oid, day), &IAppointment::get_Subject), subject);
    // Set back to the series' value, the part goes out of the record again.
    Rename(oid, "2010-03-08", u"Series");
    const auto block = StoredStream(oid, PIMPR_RECURRENCE);
    EXPECT_EQ(block.size(), 72u + 2 * 8 + 16 + 22); // two changed ones, one with a subject of one letter
}

TEST_F(SeriesTest, CopiesOfSeriesAndOfOccurrences) {
    SetZone(Eastern());
    const LONG oid = Mondays();
    DeleteOccurrence(oid, "2010-03-15");
    auto one = Occurrence(oid, "2010-03-08");
    one->put_Location(Bstr(u"Here"));
    SetZone(Berlin());
    Com<IAppointment> series, copy;
    ASSERT_EQ(Open<IAppointment>(oid)->Copy(series.Out()), S_OK);
    ASSERT_EQ(series->Save(), S_OK);
    EXPECT_EQ(Block(OidOf(series)), Block(oid));
    EXPECT_EQ(Hex(StoredBlob(OidOf(series), PIMPR_TIMEZONE)), Hex(StoredBlob(oid, PIMPR_TIMEZONE)));
    ASSERT_EQ(one->Copy(copy.Out()), S_OK);
    ASSERT_EQ(copy->Save(), S_OK);
    const LONG other = OidOf(copy);
    EXPECT_NE(other, oid);
    EXPECT_EQ(Stored(other, PIMPR_RECURRING), "false");
    EXPECT_EQ(Stored(other, PIMPR_LOCATION), "'Here'");
    EXPECT_EQ(StoredTime(other, PIMPR_START), "2010-03-08 19:00");
    EXPECT_EQ(StoredStream(other, PIMPR_RECURRENCE), std::vector<BYTE>{0xEE});
    EXPECT_EQ(Stored(other, PIMPR_TIMEZONE), "-");
}

TEST_F(SeriesTest, CollectionsGiveOccurrences) {
    const LONG oid = Mondays();
    DeleteOccurrence(oid, "2010-03-08");
    Move(oid, "2010-03-29", "2010-03-16 09:00", 30);
    auto single = NewAppointment();
    single->put_Start(At("2010-03-20 08:00"));
    ASSERT_EQ(single->Save(), S_OK);
    // 40245 is 8 March 2010. The first of the series lies before it, the last within 400 days.
    const std::u16string one = u"[Oid]=" + std::u16string(u"1073741825") + u" AND [Start] >= <40245.00";
    const std::string starts = Starts(one);
    EXPECT_EQ(starts.substr(0, 4 * 17),
              "2010-03-15 14:00\n2010-03-16 09:00\n2010-03-22 14:00\n2010-04-05 14:00\n");
    EXPECT_EQ(starts.substr(starts.size() - 17), "2011-04-11 14:00\n");
    EXPECT_EQ(Starts(u"[Start] >= <40252.00 AND [Start] < <40259.00"),
              "2010-03-15 14:00\n2010-03-16 09:00\n2010-03-20 08:00\n");
    EXPECT_EQ(Starts(u"[Oid]=1073741826 AND [Start] >= <40250.00"), "2010-03-20 08:00\n");
    EXPECT_EQ(Starts(u"[Oid]=1073741826 AND [Start] >= <40260.00"), "");
    // Each by its own values: what touches 15 and 16 March, what one occurrence alone is called, what moved to the front.
    EXPECT_EQ(Starts(u"[Start] < <40254.00 AND [End] > <40252.00"), "2010-03-15 14:00\n2010-03-16 09:00\n");
    Rename(oid, "2010-03-22", u"Party");
    Move(oid, "2010-03-01", "2010-02-27 08:00", 30);
    EXPECT_EQ(Starts(u"[Subject] = 'Party'"), "2010-03-22 14:00\n");
    EXPECT_EQ(Starts(u"[Start] >= <30000.00 AND [Start] < <40250.00"), "2010-02-27 08:00\n");
    Com<IDispatch> found;
    auto items = Items(olFolderCalendar);
    items->put_IncludeRecurrences(VARIANT_TRUE);
    ASSERT_EQ(items->Find(Bstr(one.c_str()), found.Out()), S_OK);
    ASSERT_EQ(items->FindNext(found.Out()), S_OK);
    EXPECT_EQ(found.As<IAppointment>(IID_IAppointment)->Delete(), S_OK); // the moved one
    Occurrence(oid, "2010-03-29", E_NOTFOUND);
}

TEST_F(SeriesTest, AFailedOccurrenceLeavesTheSeries) {
    const LONG oid = Mondays();
    const std::string before = DumpAll();
    for (PlatFault fault : {PlatFault::StoreWrite, PlatFault::StoreCommit}) {
        auto one = Occurrence(oid, "2010-03-08");
        one->put_Subject(Bstr(u"A"));
        PlatInjectFault(fault, 1);
        EXPECT_EQ(one->Save(), static_cast<HRESULT>(0x80070070));
        PlatInjectFault(fault, 0);
        EXPECT_EQ(DumpAll(), before);
    }
    Rename(oid, "2010-03-08", u"A");
}

// --- Notes ------------------------------------------------------------------------------------------------------------

class Lists : public CQNDataThread {
protected:
    DWORD ThreadProc() override { return 0; }
};

// Whatever the length: 237 characters would be as large as a note that counts as empty.
TEST_F(SeriesTest, ABodyShowsInTheListsAsANote) {
    Lists lists;
    CeDb db;
    auto item = NewAppointment();
    for (const std::size_t length : {1, 236, 237, 238, 0}) {
        item->put_Body(Bstr(std::u16string(length, u'x').c_str()));
        ASSERT_EQ(item->Save(), S_OK);
        const CEOID record = Read(RecordOf(OidOf(item)), {PIMPR_NUMBER}).Oid();
        ASSERT_TRUE(db.MountVolumeEDB(u"\\pim.vol", false) && db.Open(u"Appointments Database") &&
                    db.SeekTo(record));
        EXPECT_EQ(lists.IsNoteEmpty(&db, PIMPR_NOTE), length == 0) << length;
        EXPECT_EQ(TextOf(Open<IAppointment>(OidOf(item)), &IAppointment::get_Body), std::string(length, 'x'));
    }
}

// --- Tasks ------------------------------------------------------------------------------------------------------------

TEST_F(SeriesTest, SkippingMovesATask) {
    auto task = NewTask();
    task->put_StartDate(At("2010-03-03"));
    task->put_DueDate(At("2010-03-05"));
    EXPECT_EQ(task->SkipRecurrence(), E_FAIL); // no rule
    Com<IRecurrencePattern> rule;
    task->GetRecurrencePattern(rule.Out());
    rule->put_RecurrenceType(olRecursWeekly);
    rule->put_PatternStartDate(At("2010-03-05"));
    rule->put_DayOfWeekMask(olFriday);
    rule->put_Occurrences(2);
    ASSERT_EQ(task->Save(), S_OK);
    const LONG oid = OidOf(task);
    EXPECT_EQ(StoredStream(oid, PIMPR_RECURRENCE), std::vector<BYTE>{0xEE});
    auto again = Open<ITask>(oid);
    ASSERT_EQ(again->SkipRecurrence(), S_OK);
    EXPECT_EQ(StoredTime(oid, PIMPR_TASK_DUE), "2010-03-12 00:00"); // written at once
    EXPECT_EQ(StoredTime(oid, PIMPR_TASK_START), "2010-03-10 00:00");
    EXPECT_EQ(again->SkipRecurrence(), E_FAIL); // past the end
    again->put_Complete(VARIANT_TRUE);
    ASSERT_EQ(again->Save(), S_OK);
    EXPECT_EQ(ValueOf(again, &ITask::get_IsRecurring), VARIANT_TRUE);
}

} // namespace
