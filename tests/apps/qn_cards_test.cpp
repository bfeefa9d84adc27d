// Cards of other programs become contacts, and contacts cards that say the same.
#include "tests/apps/qn_run.h"

#include <sstream>

namespace {

class QnCards : public QnTest {
protected:
    // Lines end as they must, whatever the test wrote.
    static std::string Card(const std::string& version, const std::string& lines) {
        std::string card = "BEGIN:VCARD\r\n" + (version.empty() ? "" : "VERSION:" + version + "\r\n");
        for (const char c : lines)
            if (c != '\r') card += c == '\n' ? "\r\n" : std::string(1, c);
        return card + "\r\nEND:VCARD\r\n";
    }
    Ran ImportCards(const std::string& bytes) const {
        Write("in.vcf", bytes);
        return Qn({"import", "in.vcf"});
    }
    // The lines of all cards without what every card has, unfolded.
    std::string Exported() const {
        const Ran ran = Qn({"export", "--vcf"});
        EXPECT_EQ(ran.code, 0) << ran.err;
        std::string text;
        std::istringstream in(ran.out);
        for (std::string line; std::getline(in, line);) {
            EXPECT_LE(line.size(), 76u); // with its carriage return
            EXPECT_TRUE(line.ends_with('\r'));
            line.pop_back();
            const bool goesOn = line.starts_with(' ');
            if (goesOn) text.pop_back();
            const bool spare = line == "BEGIN:VCARD" || line == "VERSION:4.0" || line.starts_with("UID:qn-");
            if (!spare) text += (goesOn ? line.substr(1) : line) + "\n";
        }
        return text;
    }
    std::vector<std::string> Names() const {
        std::vector<std::string> names;
        for (JsonRecord& record : Records(Qn({"list", "contacts", "--json"}).out))
            names.push_back(record["fileas"]);
        return names;
    }
};

// Each card of the folder comes out as the text beside it tells, and is the same once more on another device.
TEST_F(QnCards, WhatTheySayIsKept) {
    int cards = 0;
    for (const auto& entry : std::filesystem::directory_iterator(QN_SOURCE_DIR "/tests/apps/cards")) {
        std::filesystem::path file = entry.path();
        if (file.extension() != ".vcf") continue;
        SCOPED_TRACE(file.stem());
        m_device = m_folder + "/d" + std::to_string(++cards);
        const Ran ran = Qn({"import", file.string()});
        EXPECT_EQ(ran.code, 0) << ran.out << ran.err;
        const std::string exported = Exported();
        std::ifstream expected(file.replace_extension(".txt"));
        EXPECT_EQ(exported, std::string(std::istreambuf_iterator<char>(expected), {}));
        m_device += "again";
        EXPECT_EQ(ImportCards(Card("4.0", exported.substr(0, exported.rfind("\nEND:")))).code, 0);
        EXPECT_EQ(Exported(), exported);
    }
    EXPECT_GT(cards, 10);
}

TEST_F(QnCards, PicturesComeThroughWhole) {
    std::string bytes = "\xFF\xD8";
    for (int i = 0; i < 1000; ++i) bytes += static_cast<char>(i * 7);
    Write("raw", bytes);
    ASSERT_EQ(
        std::system(("base64 -w 60 " + m_folder + "/raw | sed 's/^/ /' > " + m_folder + "/lines").c_str()),
        0);
    const std::string lines = Read("lines");
    std::string bare;
    for (const char c : lines)
        if (c != '\n' && c != ' ') bare += c;
    const std::string forms[] = {
        "PHOTO;ENCODING=BASE64;TYPE=JPEG:\n" + lines + "\n", "PHOTO;ENCODING=b;TYPE=JPEG:" + bare,
        "PHOTO;BASE64:\n" + bare.substr(0, 60) + "\n" + bare.substr(60),
        "PHOTO:data:image/jpeg;base64," + bare, "PHOTO:data:image/jpeg;base64\\," + bare};
    const char* versions[] = {"2.1", "3.0", "2.1", "4.0", "4.0"};
    for (std::size_t i = 0; i < std::size(forms); ++i) {
        SCOPED_TRACE(forms[i].substr(0, 30));
        m_device = m_folder + "/d" + std::to_string(i);
        const Ran ran = ImportCards(Card(versions[i], "N:P;Q\n" + forms[i]));
        EXPECT_EQ(ran.code, 0) << ran.out;
        EXPECT_EQ(Exported(), "FN:Q P\nN:P;Q;;;\nPHOTO:data:image/jpeg;base64," + bare + "\nEND:VCARD\n");
    }
}

TEST_F(QnCards, OnceMoreByUidOrName) {
    const std::string ann =
        Card("4.0", "UID:a\nN:Smith;Ann\nEMAIL:a@x\nNOTE:old\nBDAY:19800101\nX-RINGTONE:r");
    const std::string bob = Card("3.0", "N:Jones;Bob\nEMAIL:b@x\nTEL;TYPE=cell:1");
    EXPECT_EQ(ImportCards(ann + bob).code, 0);
    // By UID the contact is what the card says; by name it gets what the card has.
    const Ran ran = ImportCards(Card("4.0", "UID:a\nN:Smith;Anna\nTEL;TYPE=cell:2") +
                                Card("3.0", "N:Jones;Bob\nTEL;TYPE=cell:3\nUID:b"));
    EXPECT_TRUE(ran.Says("2 contacts imported, 0 skipped\n  2 contacts were there")) << ran.out;
    EXPECT_EQ(Exported(), "UID:a\nFN:Anna Smith\nN:Smith;Anna;;;\nTEL;TYPE=cell:2\nEND:VCARD\n"
                          "UID:b\nFN:Bob Jones\nN:Jones;Bob;;;\nTEL;TYPE=cell:3\nEMAIL:b@x\nEND:VCARD\n");
    // People share names: neither two of one file nor one of another UID are the same.
    const std::string twins =
        Card("3.0", "N:Jones;Bob\nUID:c") + Card("3.0", "N:Lee;Kim") + Card("3.0", "N:Lee;Kim");
    EXPECT_EQ(ImportCards(twins).code, 0);
    EXPECT_EQ(ImportCards(twins).code, 0);
    EXPECT_EQ(Names(), (LineList{"Smith, Anna", "Jones, Bob", "Jones, Bob", "Lee, Kim", "Lee, Kim"}));
    // What can't be read takes nothing away, and what has no field no note.
    m_device += "2";
    ImportCards(Card("4.0", "UID:a\nN:A;A\nBDAY:19800101\nPHOTO:data:image/gif;base64,R0lG") +
                Card("4.0", "N:B;B\nNOTE:mine"));
    ImportCards(Card("4.0", "UID:a\nN:A;A\nBDAY:--0101\nPHOTO:http://x.example/a") +
                Card("4.0", "N:B;B\nTEL;TYPE=fax:1\nTEL;TYPE=fax:2\nTEL;TYPE=fax:3"));
    EXPECT_EQ(
        Exported(),
        "UID:a\nFN:A A\nN:A;A;;;\nBDAY:19800101\nPHOTO:data:application/octet-stream;base64,R0lG\nEND:VCARD\n"
        "FN:B B\nN:B;B;;;\nTEL;TYPE=work,fax:1\nTEL;TYPE=home,fax:2\nNOTE:mine\\n\\nFax: 3\nEND:VCARD\n");
    const Ran twice =
        ImportCards(Card("3.0", "UID:d\nN:New;A\nREV:2020") + Card("3.0", "UID:d\nN:Old;A\nREV:2019"));
    EXPECT_EQ(twice.code, 1);
    EXPECT_TRUE(twice.Says("in.vcf:7: skipped: its UID stands in the file once more")) << twice.out;
    EXPECT_EQ(Names().back(), "New, A");
}

TEST_F(QnCards, BrokenInputCostsOnlyItself) {
    const std::string good = Card("3.0", "N:Good;G");
    const LineList both{"B, B", "Good, G"}, alone{"Good, G"};
    struct Case {
        std::string bytes;
        int code;
        const char* said;
        LineList names;
    };
    std::vector<Case> cases = {
        {"", 1, "bad.vcf: the file is empty", {}},
        {"hello\nworld\n", 1, "not a vCard file", {}},
        {"\xFF\xFE\x42", 1, "UTF-16 text", {}},
        {"junk\r\n" + good + "more\r\nmore\r\n\xEF\xBB\xBF" + Card("3.0", "N:B;B"),
         1,
         "bad.vcf:6: stands in no card",
         {"Good, G", "B, B"}},
        {"BEGIN:VCARD\r\nVERSION:3.0\r\nN:B;B\r\n" + good, 1, "bad.vcf:1: END:VCARD is missing", both},
        {good + "BEGIN:VCARD\r\nN:B;B\r\nNOTE;QUOTED-PRINTABLE:a=",
         1,
         "bad.vcf:5: the file ends inside",
         {"Good, G", "B, B"}},
        {Card("3.0", "N:B\xE9;B") + good,
         1,
         "bad.vcf:3: N: not UTF-8, taken as Windows-1252",
         {"Bé, B", "Good, G"}},
        {Card("2.1", "N;QUOTED-PRINTABLE:B=ZZ;B") + good,
         1,
         "quoted-printable that is none",
         {"B=ZZ, B", "Good, G"}},
        {Card("3.0", "NOTE:x") + good, 1, "bad.vcf:1: skipped: a card that names nobody", alone},
        {Card("4.0", "KIND:group\nFN:All") + good, 1, "skipped: a group of cards", alone},
        {"BEGIN:VCARD\nN:B;B\nNOTE:" + std::string(17 << 20, 'x') + "\nEND:VCARD\n" + good, 1,
         "bad.vcf:1: a card of more than 16 MiB: skipped", alone},
        {"begin:vcard\rversion:3.0\rn:B;B\rend:vcard\r", 0, "1 contact imported", {"B, B"}},
    };
    // Lines of a card that is taken in any case.
    const struct {
        const char* version;
        std::string line;
        int code;
        const char* said;
    } lines[] = {
        {"3.0", "what now\nTEL:1", 1, "bad.vcf:4: a line that makes no sense"},
        {"2.1", "AGENT:\nBEGIN:VCARD\nN:Agent\nEND:VCARD", 0, "not kept: 1 AGENT"},
        {"2.1", "TITLE;CHARSET=KLINGON:B", 1, "TITLE: the characters are not all of KLINGON"},
        {"3.0", "PHOTO;ENCODING=b:@@@@", 1, "bad.vcf:4: PHOTO: base64 that is none"},
        {"3.0", "PHOTO;VALUE=uri:http://x.example/p", 0, "not kept: 1 pictures that are elsewhere"},
        {"4.0", "BDAY:--0415", 0, "bad.vcf:4: BDAY: a date without a year"},
        {"4.0", "ANNIVERSARY;X-APPLE-OMIT-YEAR=1604:1604-02-03", 0, "ANNIVERSARY: a date without a year"},
        {"4.0", "BDAY:20010230", 1, "BDAY: \"20010230\" is no date"},
        {"3.0", "TITLE:" + std::string(5000, 't'), 0, "in the note now"},
    };
    for (const auto& one : lines)
        cases.push_back({Card(one.version, "N:B;B\n" + one.line) + good, one.code, one.said, both});
    for (std::size_t i = 0; i < cases.size(); ++i) {
        const Case& one = cases[i];
        SCOPED_TRACE(one.said);
        m_device = m_folder + "/d" + std::to_string(i);
        Write("bad.vcf", one.bytes);
        const Ran ran = Qn({"import", "bad.vcf"});
        EXPECT_EQ(ran.code, one.code) << ran.out << ran.err;
        EXPECT_TRUE(ran.Says(one.said)) << ran.out << ran.err;
        EXPECT_EQ(Names(), one.names);
    }
}

// From a pipe, by what it begins with.
TEST_F(QnCards, KnownByTheirFirstLine) {
    Write("cards", "\xEF\xBB\xBF" + Card("3.0", "N:P;Q"));
    m_redirect = " <cards";
    EXPECT_EQ(Qn({"import", "-"}).code, 0);
    m_redirect.clear();
    EXPECT_EQ(Names(), LineList{"P, Q"});
}

} // namespace
