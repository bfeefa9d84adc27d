#include "NorvoTools/CeDbRecord.h"
#include "NorvoTools/CeString.h"
#include "Platform/clock.h"
#include "Platform/locale.h"
#include "Platform/memory.h"
#include "tests/support/device.h"

#include <array>
#include <string>

namespace {

constexpr WORD kNumber = 1, kName = 2, kNote = 3, kData = 4;

class CeDbRecordTest : public DeviceTest {
protected:
    // A record of a number, two texts and a blob, all set.
    static void Fill(CeDbRecord& rec) {
        const CEPROPID ids[] = {CeDbRecord::PropId(kNumber, CEVT_I4), CeDbRecord::PropId(kName, CEVT_LPWSTR),
                                CeDbRecord::PropId(kNote, CEVT_LPWSTR), CeDbRecord::PropId(kData, CEVT_BLOB)};
        ASSERT_TRUE(rec.AddProps(ids, 4));
        ASSERT_TRUE(rec.SetIdVal(kNumber, LONG{-5}, CEVT_I4));
        ASSERT_TRUE(rec.SetIdVal(kName, u"name", CEVT_LPWSTR));
        ASSERT_TRUE(rec.SetIdVal(kNote, u"note", CEVT_LPWSTR));
        BYTE bytes[] = {1, 2, 3};
        ASSERT_TRUE(rec.SetIdVal(kData, CEBLOB{3, bytes}, CEVT_BLOB));
    }
    static std::string Show(const CeDbRecord& rec) {
        std::string out;
        for (int i = 0; i < rec.m_wNumProps; ++i) {
            CeString text;
            out += rec.GetIndexVal(i, text) ? "" : "-";
            for (WCHAR c : text.View()) out += static_cast<char>(c);
            out += "|";
        }
        return out;
    }
};

TEST_F(CeDbRecordTest, ALongerTextKeepsEverythingElse) {
    CeDbRecord rec;
    Fill(rec);
    EXPECT_EQ(Show(rec), "-5|name|note|010203|");
    const std::u16string longer(3000, u'x');
    ASSERT_TRUE(rec.SetIndexVal(1, longer.c_str()));
    EXPECT_EQ(rec.TextAt(1), longer);
    std::array<WCHAR, 4> cut = {};
    EXPECT_TRUE(rec.GetIndexVal(2, cut.data(), cut.size()));
    EXPECT_EQ(std::u16string(cut.data()), u"not");
    ASSERT_TRUE(rec.SetIndexVal(1, u"ab")); // shorter: in place
    EXPECT_EQ(Show(rec), "-5|ab|note|010203|");
    ASSERT_TRUE(rec.SetIndexVal(1, rec.m_pProps[2].val.lpwstr)); // a text out of the record itself
    ASSERT_TRUE(rec.SetIndexVal(2, static_cast<const WCHAR*>(nullptr)));
    EXPECT_EQ(Show(rec), "-5|note||010203|");
    EXPECT_TRUE(rec.AddProp(kName, CEVT_LPWSTR)); // there already
    EXPECT_EQ(rec.m_wNumProps, 4);
    EXPECT_TRUE(rec.AddProp(9, CEVT_R8));
    EXPECT_EQ(Show(rec), "-5|note||010203|0.000|");
}

TEST_F(CeDbRecordTest, BlobsGrowAndAreFreedOnce) {
    CeDbRecord rec;
    Fill(rec);
    BYTE bytes[1001];
    for (int i = 0; i < 1001; ++i) bytes[i] = static_cast<BYTE>(i);
    for (DWORD size : {10u, 1001u, 2u, 0u, 500u}) {
        ASSERT_TRUE(rec.SetIndexVal(3, CEBLOB{size, bytes}));
        CEBLOB copy = {};
        ASSERT_TRUE(rec.GetIndexVal(3, copy));
        EXPECT_EQ(copy.dwCount, size);
        EXPECT_EQ(std::string(copy.lpb, copy.lpb + size), std::string(bytes, bytes + size));
        EXPECT_EQ(LocalSize(copy.lpb), size == 0 ? 2 : (size + 1) / 2 * 2);
        LocalFree(copy.lpb);
        // The text's rebuild packs the separate block away.
        ASSERT_TRUE(rec.SetIndexVal(1, std::u16string(size + 5, u't').c_str()));
        EXPECT_EQ(rec.BlobAt(3)->dwCount, size);
    }
    EXPECT_EQ(rec.BlobAt(3)->lpb[499], static_cast<BYTE>(499));
}

TEST_F(CeDbRecordTest, AbsentPropertiesAndOtherIds) {
    CeDbRecord rec;
    Fill(rec);
    rec.RemProp(kNumber, CEVT_I4);
    EXPECT_EQ(rec.m_pProps[0].wFlags, kPropDelete);
    EXPECT_FALSE(rec.RemProp(1)); // always
    for (int i = 0; i < 4; ++i) rec.m_pProps[i].wFlags = kPropAbsent;
    LONG number = 77;
    bool flag = true;
    std::array<WCHAR, 5> text = {u'k', 0};
    WCHAR* pointer = text.data();
    CEBLOB blob = {9, nullptr};
    EXPECT_FALSE(rec.GetIdVal(99, number, CEVT_I4)); // not requested
    EXPECT_FALSE(rec.GetIdVal(kNumber, number, CEVT_I4));
    EXPECT_FALSE(rec.GetIndexVal(-1, number));
    EXPECT_EQ(number, 77);
    EXPECT_FALSE(rec.GetIndexVal(0, flag));
    EXPECT_TRUE(flag);
    EXPECT_FALSE(rec.GetIdVal(99, pointer, CEVT_LPWSTR)); // not in the array: untouched
    EXPECT_FALSE(rec.GetIndexVal(0, pointer));            // no text: untouched
    EXPECT_EQ(text[0], u'k');
    EXPECT_FALSE(rec.GetIdVal(kName, pointer, CEVT_LPWSTR)); // absent: empty
    EXPECT_EQ(text[0], 0);
    EXPECT_FALSE(rec.GetIndexVal(3, blob));
    EXPECT_EQ(blob.dwCount, 0u);
    EXPECT_TRUE(rec.SetIndexVal(0, LONG{4})); // setting brings it back
    EXPECT_TRUE(rec.GetIndexVal(0, number));
    EXPECT_EQ(number, 4);
    EXPECT_TRUE(rec.SetIndexVal(1, u"new"));
    EXPECT_EQ(rec.TextAt(1), u"new");
    EXPECT_FALSE(rec.SetIndexVal(0, u"no text property"));
    EXPECT_FALSE(rec.SetIndexVal(7, LONG{1}));
}

TEST_F(CeDbRecordTest, EveryTypeAsText) {
    CeDbRecord rec;
    WORD number = 0;
    for (WORD type :
         {CEVT_I2, CEVT_UI2, CEVT_I4, CEVT_UI4, CEVT_BOOL, CEVT_R8, CEVT_FILETIME, CEVT_FILETIME, WORD{77}})
        ASSERT_TRUE(rec.AddProp(++number, type));
    rec.SetIndexVal(0, SHORT{-1});
    rec.SetIndexVal(1, WORD{65535});
    rec.SetIndexVal(2, LONG{-70000});
    rec.SetIndexVal(3, DWORD{4000000000U});
    rec.SetIndexVal(4, true);
    rec.SetIndexVal(5, 2.5);
    const SYSTEMTIME date = {2026, 11, 6, 21, 14, 5, 9, 0};
    FILETIME time = {};
    ASSERT_TRUE(SystemTimeToFileTime(&date, &time));
    rec.SetIndexVal(6, time);
    rec.SetIndexVal(7, FILETIME{0xFFFFFFFF, 0xFFFFFFFF});
    PlatSetLocale("en_US");
    WCHAR day[40] = {}; // short date and time without seconds, in the system's own form
    WCHAR hour[40] = {};
    ASSERT_GT(GetDateFormatW(2048, 1, &date, nullptr, day, 40), 0);
    ASSERT_GT(GetTimeFormatW(2048, 2, &date, nullptr, hour, 40), 0);
    const std::u16string both = std::u16string(day) + u' ' + hour;
    EXPECT_EQ(Show(rec),
              "-1|65535|-70000|4000000000|true|2.500|" + std::string(both.begin(), both.end()) + "||-|");
    const BYTE bytes[] = {0x0A, 0xFF};
    EXPECT_EQ(CeDbRecord::GetBlob(2, bytes, true), u"0A FF ");
    EXPECT_EQ(CeDbRecord::GetBlob(2, bytes, false), u"0AFF");
}

} // namespace
