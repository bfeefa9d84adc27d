#include "apps/qn/icsfile.h"

#include "apps/qn/support.h"

#include <algorithm>
#include <cinttypes>
#include <cstdio>
#include <memory>
#include <unordered_map>

namespace qn {

namespace {

constexpr std::size_t kLargestComponent = 32 << 20; // an attachment may be inside
constexpr std::size_t kDeepest = 8;                 // components in components; alarms in events are two
constexpr std::size_t kLongestKind = 40;            // of a component's name, in messages

struct FreeComponent {
    void operator()(icalcomponent* component) const { icalcomponent_free(component); }
};
using Component = std::unique_ptr<icalcomponent, FreeComponent>;

// "BEGIN:VEVENT" or "END:VEVENT"; the kind is empty for any other line.
struct Tag {
    bool begins = false;
    std::string kind;
};

Tag TagOf(const std::string& line) {
    const std::string head = Upper(std::string_view(line).substr(0, 6));
    const bool begins = head == "BEGIN:";
    if (!begins && !head.starts_with("END:")) return {};
    Tag tag{begins, Upper(std::string_view(line).substr(begins ? 6 : 4))};
    while (tag.kind.ends_with(' ') || tag.kind.ends_with('\t')) tag.kind.pop_back();
    return tag;
}

// What stands in a calendar and in nothing else: where one begins, the one before has ended.
bool StandsAlone(const std::string& kind) {
    for (const char* one : {"VCALENDAR", "VEVENT", "VTODO", "VJOURNAL", "VFREEBUSY", "VTIMEZONE"})
        if (kind == one) return true;
    return false;
}

// What answers an invitation says nothing of the event but who comes to it.
bool IsAnswer(const std::string& method) {
    for (const char* one : {"REPLY", "REFRESH", "COUNTER", "DECLINECOUNTER"})
        if (method == one) return true;
    return false;
}

// FNV-1a.
std::uint64_t Hash(std::string_view text) {
    std::uint64_t hash = 0xCBF29CE484222325;
    for (const char c : text) hash = (hash ^ static_cast<unsigned char>(c)) * 0x100000001B3;
    return hash;
}

// Where the value of a line begins: behind the first colon that stands in no quotes.
std::size_t ValueOf(std::string_view line) {
    bool quoted = false;
    for (std::size_t i = 0; i < line.size(); ++i) {
        if (line[i] == '"') quoted = !quoted;
        if (line[i] == ':' && !quoted) return i + 1;
    }
    return line.size();
}

bool IsList(std::string_view head) {
    return head.starts_with("EXDATE") || head.starts_with("RDATE") || head.starts_with("CATEGORIES");
}

// The library takes no more than 500 values of a line, and says nothing: a line of more becomes several.
void AddLine(std::string& text, const std::string& folded) {
    constexpr std::size_t kMostValues = 400;
    constexpr std::size_t kLongestHead = 1000;
    if (static_cast<std::size_t>(std::count(folded.begin(), folded.end(), ',')) < kMostValues) {
        text += folded;
        return;
    }
    std::string line;
    for (std::size_t i = 0; i < folded.size(); ++i)
        if (folded.compare(i, 2, "\r\n") == 0)
            i += 2; // and the blank behind it
        else
            line += folded[i];
    const std::string head = line.substr(0, ValueOf(line));
    const bool isList = head.size() < kLongestHead && IsList(Upper(head));
    text += head;
    std::size_t values = 0;
    for (std::size_t i = head.size(); i < line.size(); ++i) {
        const bool separates = line[i] == ',' && line[i - 1] != '\\';
        if (isList && separates && ++values % kMostValues == 0)
            text += "\r\n" + head;
        else
            text += line[i];
    }
    text += "\r\n";
}

// The component with its long lists in several lines.
std::string WithShortLists(const std::string& text) {
    std::string result;
    for (std::size_t begin = 0; begin < text.size();) {
        std::size_t end = begin;
        do end = text.find("\r\n", end) + 2;
        while (end < text.size() && (text[end] == ' ' || text[end] == '\t'));
        AddLine(result, text.substr(begin, end - begin));
        begin = end;
    }
    return result;
}

class Reader {
public:
    Reader(std::istream& in, const std::string& name, const std::function<void(std::size_t)>& progress)
        : m_lines(in, kLargestComponent), m_name(name), m_progress(progress) {}

    IcsFile Read() {
        std::string line;
        bool any = false;
        while (m_lines.Next(line)) {
            if (line.empty()) continue;
            const Tag tag = TagOf(line);
            if (!any && !(tag.begins && tag.kind == "VCALENDAR"))
                throw Failure(Place() + "not an iCalendar file");
            any = true;
            if (tag.kind == "VCALENDAR")
                m_inCalendar = tag.begins, m_method.clear();
            else if (tag.begins && !tag.kind.empty())
                ReadComponent(line, tag.kind);
            else if (Upper(std::string_view(line).substr(0, 7)) == "METHOD:")
                m_method = Upper(std::string_view(line).substr(7));
        }
        if (!any) throw Failure(m_name + ": the file is empty");
        if (m_inCalendar && !m_cut)
            Skip(m_lines.Number(), "the file ends here without END:VCALENDAR; more may be missing");
        return std::move(m_file);
    }

private:
    std::string Place() const { return m_name + ":" + std::to_string(m_lines.Number()) + ": "; }

    // Reads to the end of the component whose first line this is. What was left open inside of it is closed; one that the
    // next component or the end of the calendar cuts short is not taken, for nobody knows what it lacks.
    void ReadComponent(std::string line, const std::string& kind) {
        const unsigned begin = m_lines.Number();
        std::vector<std::string> open{kind};
        bool tooDeep = false;
        std::string text = line + "\r\n";
        while (!open.empty() && m_lines.Next(line)) {
            const Tag tag = TagOf(line);
            if (StandsAlone(tag.kind) && (tag.begins || tag.kind == "VCALENDAR")) {
                Skip(begin, "its end is missing");
                m_lines.Again(line);
                return;
            }
            if (tag.begins && !tag.kind.empty()) {
                tooDeep = tooDeep || open.size() >= kDeepest;
                if (!tooDeep) open.push_back(tag.kind);
            } else if (!tag.kind.empty()) {
                if (std::find(open.begin(), open.end(), tag.kind) == open.end()) continue;
                for (; open.back() != tag.kind; open.pop_back()) text += "END:" + open.back() + "\r\n";
                open.pop_back();
            }
            if (text.size() < kLargestComponent) text += line + "\r\n";
        }
        if (!open.empty()) {
            m_cut = true;
            Skip(begin, "the file ends inside of it");
        } else if (tooDeep || text.size() >= kLargestComponent) {
            Skip(begin, tooDeep ? "its parts are nested too deeply" : "larger than 32 MiB");
        } else {
            TakeComponent(kind, text, begin);
        }
        if (m_progress) m_progress(m_lines.Bytes());
    }

    void TakeComponent(const std::string& kind, const std::string& text, unsigned line) {
        if (kind == "VTIMEZONE") {
            if (!m_file.zones.AddDefinition(text)) Skip(line, "a time zone that can't be read");
        } else if (kind == "VEVENT" || kind == "VTODO" || kind == "VJOURNAL") {
            Take(text, line);
        } else {
            Skip(line, "a component of kind " + Printable(kind.substr(0, kLongestKind)));
        }
    }

    void Take(const std::string& text, unsigned line) {
        const Component component(icalcomponent_new_from_string(WithShortLists(text).c_str()));
        const icalcomponent_kind kind = component ? icalcomponent_isa(component.get()) : ICAL_NO_COMPONENT;
        if (kind != ICAL_VEVENT_COMPONENT && kind != ICAL_VTODO_COMPONENT &&
            kind != ICAL_VJOURNAL_COMPONENT) {
            Skip(line, "can't be read");
            return;
        }
        IcsItem item;
        item.line = line;
        const std::string objection = TakeItem(component.get(), item);
        if (!objection.empty()) {
            Skip(line, objection);
            return;
        }
        if (IsAnswer(m_method)) {
            Skip(line, "an answer to an invitation (METHOD:" + m_method + ")");
            return;
        }
        item.cancelled = item.cancelled || m_method == "CANCEL";
        if (item.uid.empty()) item.uid = MadeUid(item);
        m_file.items.push_back(std::move(item));
    }

    std::string MadeUid(const IcsItem& item) {
        const std::string start = item.start.IsSet() ? icaltime_as_ical_string(item.start.time) : "";
        char text[32];
        std::snprintf(text, sizeof text, "qn-%016" PRIx64,
                      Hash(start + item.start.tzid + "\n" + item.summary));
        const unsigned before = m_made[text]++;
        return before ? text + ("-" + std::to_string(before)) : text;
    }

    void Skip(unsigned line, std::string why) { m_file.skipped.push_back({line, std::move(why)}); }

    TextLines m_lines;
    const std::string& m_name;
    const std::function<void(std::size_t)>& m_progress;
    bool m_inCalendar = false;
    std::string m_method; // of the present calendar
    bool m_cut = false;
    std::unordered_map<std::string, unsigned> m_made; // UIDs made, and how often
    IcsFile m_file;
};

} // namespace

IcsFile ReadIcs(std::istream& in, const std::string& name, const std::function<void(std::size_t)>& progress) {
    icalerror_set_errors_are_fatal(0);
    return Reader(in, name, progress).Read();
}

} // namespace qn
