// A vCard file (2.1, 3.0, 4.0, and cards that tell no version), card by card: one card is in memory at a time. Broken
// lines and encodings cost only themselves, and are told with their line.
#pragma once

#include "Platform/types.h"
#include "apps/qn/textlines.h"

#include <istream>
#include <span>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

extern "C" struct UConverter;

namespace qn {

struct VcardProperty {
    unsigned line = 0;
    std::string group; // in capitals, as the name and the names of the parameters
    std::string name;
    std::vector<std::pair<std::string, std::string>> parameters; // each value alone; types in capitals
    std::string value;      // UTF-8, or bytes when it was in base64 of no text; escapes still in it
    bool isEncoded = false; // it was in base64
    bool isBroken = false;  // which could not be read, so that there is no value

    bool HasType(std::string_view type) const;
    std::string Parameter(std::string_view name) const; // the first one, empty when there is none
};

struct Vcard {
    unsigned line = 0;
    int version = 0; // 21, 30, 40; 0: told nothing
    std::vector<VcardProperty> properties;

    bool IsOld() const { return version < 30; } // fewer escapes, types without a name
};

// What a value says without its escapes, and a list or a structure as its parts, with their escapes or without.
std::string PlainValue(std::string_view value, bool isOld);
std::vector<std::string_view> RawParts(std::string_view value, char separator, bool isOld);
std::vector<std::string> SplitValue(std::string_view value, char separator, bool isOld);

std::string EncodeBase64(std::span<const BYTE> bytes);
bool DecodeBase64(std::string_view text, std::string& bytes); // false: something in it is none

// Something in the file that could not be taken as it stands.
struct VcardNotice {
    unsigned line;
    std::string what;
    bool isBroken = true; // by the file's fault; otherwise there is no place for it
};

// Notices of a file, the first thousand.
class VcardNotices {
public:
    void Add(unsigned line, std::string what, bool isBroken = true);
    const std::vector<VcardNotice>& List() const { return m_list; }
    std::size_t Broken() const { return m_broken; }

private:
    std::vector<VcardNotice> m_list;
    std::size_t m_broken = 0;
};

class VcardReader {
public:
    VcardReader(std::istream& in, std::string name);
    ~VcardReader();
    VcardReader(const VcardReader&) = delete;
    VcardReader& operator=(const VcardReader&) = delete;

    // The next card; false at the end. A stream without any card is a Failure.
    bool Next(Vcard& card, VcardNotices& notices);
    std::size_t Bytes() const { return m_lines.Bytes(); }

private:
    struct Line {
        unsigned number;
        std::string text;
    };
    bool FindCard(VcardNotices& notices);
    bool GatherCard(VcardNotices& notices);
    void TakeLines(Vcard& card, VcardNotices& notices);
    void Decode(VcardProperty& property, VcardNotices& notices);
    bool FromCharset(const std::string& charset, std::string& text);

    TextLines m_lines;
    std::string m_name;
    bool m_any = false;
    unsigned m_begin = 0;     // of the present card
    std::vector<Line> m_card; // its lines, without BEGIN and END
    std::string m_charset;    // the one below is for this
    UConverter* m_converter = nullptr;
};

} // namespace qn
