// Cards of other programs become contacts, and contacts cards that say the same.
#include "tests/apps/qn_run.h"

#include <sstream>

namespace {

class QnCards : public QnTest {
protected:
    static std::string Card(const std::string& version, const std::string& lines) {
        return "BEGIN:VCARD\r\n" + (version.empty() ? "" : "VERSION:" + version + "\r\n") + lines +
               "\r\nEND:VCARD\r\n";
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

struct Taken {
    const char* name;
    const char* version;
    std::string lines;
    std::string exported; // what one of ours says of it, without END:VCARD
};

TEST_F(QnCards, WhatTheySayIsKept) {
    const Taken cases[] = {
        {"parts of a name", "3.0", "N:van der Berg;Jan;Piet,Jan;Dr.;Jr.\\, M.D.\r\nFN:x",
         "FN:Dr. Jan Piet Jan van der Berg Jr.\\, M.D.\nN:van der Berg;Jan;Piet Jan;Dr.;Jr.\\, M.D.\n"},
        {"a full name alone", "4.0", "FN:Wile E. Coyote", "FN:Wile E. Coyote\n"},
        {"a company", "3.0", "N:;;;;\r\nFN:Acme\\, Inc.\r\nORG:Acme\\, Inc.;Sales;North\\;East",
         "FN:Acme\\, Inc.\nORG:Acme\\, Inc.;Sales\\, North\\;East\n"},
        {"a name for lists", "3.0", "N:Smith;Ann\r\nX-EVOLUTION-FILE-AS:Mum",
         "FN:Ann Smith\nN:Smith;Ann;;;\nX-FILE-AS:Mum\n"},
        {"a card of the device", "",
         "FN:Smith\\, "
         "Ann\r\nN:Smith;Ann;;;\r\nORG:A\\,B\r\nEMAIL;INTERNET:a@b.example\r\nTEL;HOME:1\r\nTEL;HOME;FAX:"
         "2\r\n"
         "TEL;WORK:3\r\nTEL;RADIO:4\r\nTEL;PAGER:5\r\nTEL;CAR:6\r\nTEL;COMPANY:7\r\nX-CUSTOMERID:c\r\nX-IM;1:"
         "joe\r\n"
         "CATEGORIES:Work\\, Home\r\nADR;HOME:;;1 Road;Town;St;123;Land\r\nBDAY;value=date:1985-4-2\r\n"
         "X-ABDATE;type=pref:2010-11-30",
         "FN:Ann Smith\nN:Smith;Ann;;;\nORG:A\\,B\nX-CUSTOMERID:c\nTEL;TYPE=home,fax:2\nTEL;TYPE=pager:5\n"
         "TEL;TYPE=x-car:6\nTEL;TYPE=x-radio:4\nTEL;TYPE=x-company:7\nTEL;TYPE=work:3\nTEL;TYPE=home:1\n"
         "EMAIL:a@b.example\nIMPP:im:joe\nADR;TYPE=home:;;1 Road;Town;St;123;Land\nBDAY:19850402\n"
         "ANNIVERSARY:20101130\nCATEGORIES:Work,Home\n"},
        {"quoted-printable in sets of characters", "2.1",
         "N;CHARSET=ISO-8859-1;ENCODING=QUOTED-PRINTABLE:M=FCller;J=F6rg\r\n"
         "ORG;CHARSET=WINDOWS-1251;QUOTED-PRINTABLE:=CC=E8=F0\r\n"
         "NOTE;ENCODING=QUOTED-PRINTABLE;CHARSET=UTF-8:one=0D=0At=\r\nwo "
         "=E6=9D=B1=\r\n=E4=BA=AC\r\nURL:http://x.example/a\\b",
         "FN:Jörg Müller\nN:Müller;Jörg;;;\nORG:Мир\nURL:http://x.example/a\\\\b\nNOTE:one\\ntwo 東京\n"},
        {"folded lines by version", "2.1", "N:Long;A\r\nNOTE:one\r\n two",
         "FN:A Long\nN:Long;A;;;\nNOTE:one two\n"},
        {"folded in a character", "3.0",
         "N:Stra\xC3\r\n \x9F"
         "e;A\r\nNOTE:a\\,b\\;c\\nd\\\\e",
         "FN:A Straße\nN:Straße;A;;;\nNOTE:a\\,b\\;c\\nd\\\\e\n"},
        {"numbers by type, and what is over", "4.0",
         "N:P;Q\r\nTEL;VALUE=uri;TYPE=\"voice,cell\";PREF=2:tel:+1;ext=7;x=1\r\nTEL:2\r\nTEL;TYPE=work:"
         "3\r\nTEL;TYPE="
         "work:4\r\n"
         "TEL;TYPE=work:5\r\nTEL;TYPE=home,pref:6\r\nTEL;TYPE=fax:7\r\nTEL;TYPE=fax,work:8\r\nTEL;TYPE=fax,"
         "work:9",
         "FN:Q P\nN:P;Q;;;\nTEL;TYPE=work,fax:8\nTEL;TYPE=home,fax:7\nTEL;TYPE=cell:+1 x7\nTEL;TYPE=work:3\n"
         "TEL;TYPE=work:4\nTEL;TYPE=home;PREF=1:6\nTEL;TYPE=home:2\nNOTE:Tel: 5\\nFax: 9\n"},
        {"the preferred one first", "3.0",
         "N:P;Q\r\nEMAIL:a@x\r\nEMAIL;TYPE=INTERNET,PREF:b@x\r\nEMAIL:c@x\r\nEMAIL:d@x",
         "FN:Q P\nN:P;Q;;;\nEMAIL:b@x\nEMAIL:a@x\nEMAIL:c@x\nNOTE:E-mail: d@x\n"},
        {"addresses", "4.0",
         "N:P;Q\r\nADR;TYPE=work:Box 1;Floor 2;3 Road\\, East;Town;;;\r\nADR:;;Else;;;;\r\n"
         "ADR;TYPE=home:;;;;;;Land\r\nADR;TYPE=home:;;Second;There;;;",
         "FN:Q P\nN:P;Q;;;\nADR;TYPE=home:;;;;;;Land\nADR;TYPE=work:;;3 Road\\, East\\nFloor 2\\nBox "
         "1;Town;;;\n"
         "ADR:;;Else;;;;\nNOTE:Address: Second\\, There\n"},
        {"messengers and relations", "4.0",
         "N:P;Q\r\nIMPP:xmpp:p@x\r\nX-SKYPE:q\r\nRELATED;TYPE=spouse;VALUE=text:R\r\nRELATED;TYPE=child;"
         "VALUE=text:S\r\n"
         "RELATED;TYPE=child;VALUE=text:T\r\nX-EVOLUTION-MANAGER:Boss\r\nROLE:Chef\r\nTITLE:Cook\r\nNICKNAME:"
         "q\\,p",
         "FN:Q P\nN:P;Q;;;\nNICKNAME:q\\,p\nTITLE:Cook\nX-MANAGER:Boss\nX-SPOUSE:R\nX-CHILDREN:S\\, T\n"
         "IMPP:skype:q\nIMPP:xmpp:p@x\nNOTE:Role: Chef\n"},
        {"a labelled date and categories", "3.0",
         "N:P;Q\r\nitem1.X-ABDATE:2001-02-03\r\nitem1.X-ABLabel:_$!<Anniversary>!$_\r\nitem2.X-ABDATE:2002-"
         "02-03\r\n"
         "item2.X-ABLabel:First met\r\nBDAY;VALUE=date-and-or-time:19560229T101112Z\r\nCATEGORIES:One,Two\\, "
         "too",
         "FN:Q P\nN:P;Q;;;\nBDAY:19560229\nANNIVERSARY:20010203\nCATEGORIES:One,Two\\; too\n"},
    };
    int number = 0;
    for (const Taken& one : cases) {
        SCOPED_TRACE(one.name);
        m_device = m_folder + "/d" + std::to_string(number++);
        const Ran ran = ImportCards(Card(one.version, one.lines));
        EXPECT_EQ(ran.code, 0) << ran.out << ran.err;
        const std::string exported = Exported();
        EXPECT_EQ(exported, one.exported + "END:VCARD\n");
        // Read back, on a device of its own, it is the same once more.
        m_device += "again";
        EXPECT_EQ(ImportCards(Card("4.0", exported.substr(0, exported.size() - 11))).code, 0);
        EXPECT_EQ(Exported(), exported);
    }
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
        const Ran ran = ImportCards(Card(versions[i], "N:P;Q\r\n" + forms[i]));
        EXPECT_EQ(ran.code, 0) << ran.out;
        EXPECT_EQ(Exported(), "FN:Q P\nN:P;Q;;;\nPHOTO:data:image/jpeg;base64," + bare + "\nEND:VCARD\n");
    }
}

TEST_F(QnCards, OnceMoreByUidOrName) {
    const std::string ann =
        Card("4.0", "UID:a\r\nN:Smith;Ann\r\nEMAIL:a@x\r\nNOTE:old\r\nBDAY:19800101\r\nX-RINGTONE:r");
    const std::string bob = Card("3.0", "N:Jones;Bob\r\nEMAIL:b@x\r\nTEL;TYPE=cell:1");
    EXPECT_EQ(ImportCards(ann + bob).code, 0);
    // By UID the contact is what the card says; by name it gets what the card has.
    const Ran ran = ImportCards(Card("4.0", "UID:a\r\nN:Smith;Anna\r\nTEL;TYPE=cell:2") +
                                Card("3.0", "N:Jones;Bob\r\nTEL;TYPE=cell:3\r\nUID:b"));
    EXPECT_TRUE(ran.Says("2 contacts imported, 0 skipped\n  2 contacts were there")) << ran.out;
    EXPECT_EQ(Exported(), "UID:a\nFN:Anna Smith\nN:Smith;Anna;;;\nTEL;TYPE=cell:2\nEND:VCARD\n"
                          "UID:b\nFN:Bob Jones\nN:Jones;Bob;;;\nTEL;TYPE=cell:3\nEMAIL:b@x\nEND:VCARD\n");
    // People share names: neither two of one file nor one of another UID are the same.
    const std::string twins =
        Card("3.0", "N:Jones;Bob\r\nUID:c") + Card("3.0", "N:Lee;Kim") + Card("3.0", "N:Lee;Kim");
    EXPECT_EQ(ImportCards(twins).code, 0);
    EXPECT_EQ(ImportCards(twins).code, 0);
    EXPECT_EQ(Names(), (LineList{"Smith, Anna", "Jones, Bob", "Jones, Bob", "Lee, Kim", "Lee, Kim"}));
    // What can't be read takes nothing away, and what has no field no note.
    m_device += "2";
    ImportCards(Card("4.0", "UID:a\r\nN:A;A\r\nBDAY:19800101\r\nPHOTO:data:image/gif;base64,R0lG") +
                Card("4.0", "N:B;B\r\nNOTE:mine"));
    ImportCards(Card("4.0", "UID:a\r\nN:A;A\r\nBDAY:--0101\r\nPHOTO:http://x.example/a") +
                Card("4.0", "N:B;B\r\nTEL;TYPE=fax:1\r\nTEL;TYPE=fax:2\r\nTEL;TYPE=fax:3"));
    EXPECT_EQ(
        Exported(),
        "UID:a\nFN:A A\nN:A;A;;;\nBDAY:19800101\nPHOTO:data:application/octet-stream;base64,R0lG\nEND:VCARD\n"
        "FN:B B\nN:B;B;;;\nTEL;TYPE=work,fax:1\nTEL;TYPE=home,fax:2\nNOTE:mine\\n\\nFax: 3\nEND:VCARD\n");
    const Ran twice = ImportCards(Card("3.0", "UID:d\r\nN:New;A\r\nREV:2020") +
                                  Card("3.0", "UID:d\r\nN:Old;A\r\nREV:2019"));
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
        {Card("4.0", "KIND:group\r\nFN:All") + good, 1, "skipped: a group of cards", alone},
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
        {"3.0", "what now\r\nTEL:1", 1, "bad.vcf:4: a line that makes no sense"},
        {"2.1", "AGENT:\r\nBEGIN:VCARD\r\nN:Agent\r\nEND:VCARD", 0, "not kept: 1 AGENT"},
        {"2.1", "TITLE;CHARSET=KLINGON:B", 1, "TITLE: the characters are not all of KLINGON"},
        {"3.0", "PHOTO;ENCODING=b:@@@@", 1, "bad.vcf:4: PHOTO: base64 that is none"},
        {"3.0", "PHOTO;VALUE=uri:http://x.example/p", 0, "not kept: 1 pictures that are elsewhere"},
        {"4.0", "BDAY:--0415", 0, "bad.vcf:4: BDAY: a date without a year"},
        {"4.0", "ANNIVERSARY;X-APPLE-OMIT-YEAR=1604:1604-02-03", 0, "ANNIVERSARY: a date without a year"},
        {"4.0", "BDAY:20010230", 1, "BDAY: \"20010230\" is no date"},
        {"3.0", "TITLE:" + std::string(5000, 't'), 0, "in the note now"},
    };
    for (const auto& one : lines)
        cases.push_back({Card(one.version, "N:B;B\r\n" + one.line) + good, one.code, one.said, both});
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
