#include "NorvoTools/INIFile.h"

#include "Platform/strings.h"

#include <algorithm>
#include <iterator>

namespace {

constexpr std::u16string_view kDoubleWordMark = u"dword:";
constexpr std::size_t kDigitsAt = 6; // where a double word's digits start, wherever the mark stands
constexpr int kDoubleWordDigits = 8;
constexpr int kHexRadix = 16;
constexpr WCHAR kDefaultName = u'@';

bool SameName(std::u16string_view a, std::u16string_view b) {
    return a.size() == b.size() && _wcsnicmp(a.data(), b.data(), a.size()) == 0;
}

bool IsEdge(WCHAR c) { return c == u'\r' || iswctype(c, kCharSpace); }

std::u16string_view Trimmed(std::u16string_view line) {
    while (!line.empty() && IsEdge(line.front())) line.remove_prefix(1);
    while (!line.empty() && IsEdge(line.back())) line.remove_suffix(1);
    return line;
}

std::u16string_view Unquoted(std::u16string_view text) {
    const bool quoted = text.size() >= 2 && text.front() == u'"' && text.back() == u'"';
    return quoted ? text.substr(1, text.size() - 2) : text;
}

std::u16string DoubleWordText(DWORD number) {
    constexpr std::u16string_view kHex = u"0123456789ABCDEF";
    std::u16string text(kDoubleWordMark);
    for (int digit = kDoubleWordDigits - 1; digit >= 0; --digit) text += kHex[(number >> (4 * digit)) & 15];
    return text;
}

// The name stands in quotes unless it begins with "@".
std::u16string ValueLine(const INIFile::Value& value) {
    std::u16string line = value.name.front() == kDefaultName ? value.name : u'"' + value.name + u'"';
    line += u'=';
    line += value.type == kValueDoubleWord ? DoubleWordText(value.number) : u'"' + value.text + u'"';
    return line;
}

template<class List, class Get>
auto FindName(List& list, std::u16string_view name, Get nameOf) {
    return std::find_if(list.begin(), list.end(),
                        [&](const auto& entry) { return SameName(nameOf(entry), name); });
}

constexpr auto kNameOf = [](const auto& entry) -> const std::u16string& { return entry.name; };

void ForgetName(std::vector<std::u16string>& names, std::u16string_view name) {
    std::erase_if(names, [&](const std::u16string& entry) { return SameName(entry, name); });
}

void RemoveValue(INIFile::Section& section, std::u16string_view name) {
    if (auto it = FindName(section.values, name, kNameOf); it != section.values.end())
        section.values.erase(it);
}

// What this process did to a section, done to the section as it stands on disk.
void MergeSection(const INIFile::Section& ours, INIFile::Section& fresh) {
    for (const INIFile::Value& value : ours.values) {
        const bool missing = !fresh.Find(value.name);
        if (!missing && !value.changed) continue;
        // A value that another process deleted and nobody changed here comes back as well; that is the rule.
        RemoveValue(fresh, value.name);
        fresh.values.push_back(value);
    }
    for (const std::u16string& name : ours.deleted) RemoveValue(fresh, name);
}

} // namespace

// --- Sections and values --------------------------------------------------------------------------------------------

INIFile::Value* INIFile::Section::Find(std::u16string_view value) {
    auto it = FindName(values, value, kNameOf);
    return it == values.end() ? nullptr : &*it;
}

const INIFile::Value* INIFile::Section::Find(std::u16string_view value) const {
    return const_cast<Section*>(this)->Find(value);
}

bool INIFile::Section::Delete(std::u16string_view value) {
    auto it = FindName(values, value, kNameOf);
    if (it == values.end()) return false;
    deleted.push_back(std::move(it->name));
    values.erase(it);
    changed = true;
    return true;
}

void INIFile::Section::Set(Value value) {
    value.changed = changed = true;
    if (Value* old = Find(value.name)) {
        value.name = std::move(old->name); // as it was first spelled
        *old = std::move(value);
        return;
    }
    ForgetName(deleted, value.name);
    values.push_back(std::move(value));
}

INIFile::Section* INIFile::Find(std::u16string_view section) {
    auto it = FindName(m_sections, section, kNameOf);
    return it == m_sections.end() ? nullptr : &*it;
}

INIFile::Section& INIFile::Open(std::u16string_view section, bool& isNew) {
    Section* found = Find(section);
    isNew = found == nullptr;
    if (found) return *found;
    Section& added = m_sections.emplace_back();
    added.name = section;
    if (auto it = FindName(m_deletedSections, section, kNameOf); it != m_deletedSections.end()) {
        added.deleted = std::move(it->deleted);
        added.changed = true; // so that the next save takes these values out of the file
        m_deletedSections.erase(it);
    }
    return added;
}

bool INIFile::Delete(std::u16string_view section) {
    auto it = FindName(m_sections, section, kNameOf);
    if (it == m_sections.end()) return false;
    for (Value& value : it->values) it->deleted.push_back(std::move(value.name));
    it->values.clear();
    it->changed = true;
    m_deletedSections.push_back(std::move(*it));
    m_sections.erase(it);
    m_dirty = true;
    return true;
}

// --- Text -----------------------------------------------------------------------------------------------------------

void INIFile::Parse(std::u16string_view text) {
    m_sections.clear();
    m_deletedSections.clear();
    m_dirty = false;
    m_linesLost = 0;
    while (!text.empty()) {
        const std::size_t end = text.find(u'\n');
        ParseLine(Trimmed(text.substr(0, end)));
        if (end == std::u16string_view::npos) break;
        text.remove_prefix(end + 1);
    }
}

void INIFile::ParseLine(std::u16string_view line) {
    if (line.empty()) return;
    if (line.size() >= kMaxLine) {
        ++m_linesLost;
        return;
    }
    if (const std::size_t zero = line.find(u'\0'); zero != std::u16string_view::npos) {
        // No text of ours holds a zero: the file is damaged. What stands before it may still be good.
        ++m_linesLost;
        line = Trimmed(line.substr(0, zero));
        if (line.empty()) return;
    }
    if (line.front() == u'[') {
        m_sections.emplace_back().name =
            line.size() > 2 ? line.substr(1, line.size() - 2) : std::u16string_view();
        return;
    }
    const std::size_t equals = line.find(u'=');
    if (m_sections.empty() || equals == std::u16string_view::npos) {
        ++m_linesLost;
        return;
    }
    Value value;
    value.name = Unquoted(line.substr(0, equals));
    value.text = Unquoted(line.substr(equals + 1));
    if (value.name.empty()) ++m_linesLost; // kept in memory, never written
    // A string that holds the mark anywhere comes back as a number. That is the form of these files.
    if (value.text.find(kDoubleWordMark) != std::u16string::npos) {
        value.type = kValueDoubleWord;
        value.number = wcstoul(value.text.c_str() + kDigitsAt, nullptr, kHexRadix);
        value.text.clear();
    }
    m_sections.back().values.push_back(std::move(value));
}

std::vector<std::u16string> INIFile::Lines() const {
    std::vector<std::u16string> lines(1); // the first line is empty
    for (const Section& section : m_sections) {
        if (section.values.empty()) continue;
        lines.push_back(u'[' + section.name + u']');
        for (const Value& value : section.values)
            if (!value.name.empty()) lines.push_back(ValueLine(value));
        lines.emplace_back();
    }
    return lines;
}

// --- Merging --------------------------------------------------------------------------------------------------------

void INIFile::MergeInto(INIFile& fresh) const {
    for (const Section& section : m_sections) {
        Section* other = fresh.Find(section.name);
        if (!other)
            fresh.m_sections.push_back(section);
        else if (section.changed)
            MergeSection(section, *other);
    }
    for (const Section& section : m_deletedSections)
        if (auto it = FindName(fresh.m_sections, section.name, kNameOf); it != fresh.m_sections.end())
            fresh.m_sections.erase(it);
}

void INIFile::ClearChanges() {
    for (Section& section : m_sections) {
        section.changed = false;
        section.deleted.clear();
        for (Value& value : section.values) value.changed = false;
    }
    m_deletedSections.clear();
    m_dirty = false;
    m_linesLost = 0;
    m_readFailed = false;
}
