// The fields of items by their names, and the conditions that a restriction makes of them.
#include "Platform/host/poom_filter.h"

#include "Platform/clock.h"

#include <algorithm>
#include <charconv>

namespace plat::poom {

// --- Fields ---------------------------------------------------------------------------------------------------------

namespace {

enum class FieldForm { Text, Number, Bool, Present, DayDate, OwnDate };
struct FieldName {
    std::u16string_view name;
    CEPROPID id;
    FieldForm form;
};
using enum FieldForm;

constexpr FieldName kCommonFields[] = {
    {u"Subject", PIMPR_SUBJECT, Text},           {u"Categories", PIMPR_CATEGORIES, Text},
    {u"Sensitivity", PIMPR_SENSITIVITY, Number}, {u"ReminderSet", PIMPR_REMINDER_SET, Bool},
    {u"IsRecurring", PIMPR_RECURRING, Bool},
};
constexpr FieldName kAppointmentFields[] = {
    {u"Location", PIMPR_LOCATION, Text},
    {u"Start", PIMPR_START, OwnDate},
    {u"End", PIMPR_END, OwnDate},
    {u"Duration", PIMPR_DURATION, Number},
    {u"AllDayEvent", PIMPR_ALLDAY, Bool},
    {u"BusyStatus", PIMPR_BUSYSTATUS, Number},
    {u"MeetingStatus", PIMPR_MEETINGSTATUS, Number},
    {u"ReminderMinutesBeforeStart", PIMPR_REMINDER_MINUTES, Number},
};
constexpr FieldName kTaskFields[] = {
    {u"StartDate", PIMPR_TASK_START, DayDate},         {u"DueDate", PIMPR_TASK_DUE, DayDate},
    {u"DateCompleted", PIMPR_TASK_COMPLETED, DayDate}, {u"Complete", PIMPR_TASK_COMPLETED, Present},
    {u"Importance", PIMPR_IMPORTANCE, Number},         {u"ReminderTime", PIMPR_REMINDER_TIME, OwnDate},
};
constexpr FieldName kContactFields[] = {
    {u"FileAs", PIMPR_FILEAS, Text},
    {u"Title", PIMPR_TITLE, Text},
    {u"FirstName", PIMPR_FIRST_NAME, Text},
    {u"MiddleName", PIMPR_MIDDLE_NAME, Text},
    {u"LastName", PIMPR_LAST_NAME, Text},
    {u"Suffix", PIMPR_SUFFIX, Text},
    {u"CompanyName", PIMPR_COMPANY, Text},
    {u"Department", PIMPR_DEPARTMENT, Text},
    {u"JobTitle", PIMPR_JOB_TITLE, Text},
    {u"Email1Address", PIMPR_EMAIL1, Text},
    {u"Email2Address", PIMPR_EMAIL2, Text},
    {u"Email3Address", PIMPR_EMAIL3, Text},
    {u"MobileTelephoneNumber", PIMPR_MOBILE_TEL, Text},
    {u"BusinessTelephoneNumber", PIMPR_BUSINESS_TEL, Text},
    {u"HomeTelephoneNumber", PIMPR_HOME_TEL, Text},
    {u"Birthday", PIMPR_BIRTHDAY, DayDate},
    {u"Anniversary", PIMPR_ANNIVERSARY, DayDate},
};

std::span<const FieldName> OwnFields(int kind) {
    switch (kind) {
    case olAppointmentItem:
        return kAppointmentFields;
    case olTaskItem:
        return kTaskFields;
    default:
        return kContactFields;
    }
}

const FieldName* FindField(int kind, std::u16string_view name) {
    for (std::span<const FieldName> fields : {std::span<const FieldName>(kCommonFields), OwnFields(kind)}) {
        const auto at =
            std::ranges::find_if(fields, [&](const auto& f) { return SameWithoutCase(f.name, name); });
        if (at != fields.end()) return &*at;
    }
    return nullptr;
}

bool IsDate(const FieldName* field) { return field && (field->form == DayDate || field->form == OwnDate); }

} // namespace

bool PoomItem::IsField(const ItemKind& kind, std::u16string_view name) {
    return SameWithoutCase(name, kOidField) || FindField(kind.kind, name);
}

bool PoomItem::Field(std::u16string_view name, FieldValue& value) {
    if (SameWithoutCase(name, kOidField)) {
        value = {false, static_cast<double>(Oid()), {}};
        return true;
    }
    const FieldName* field = FindField(m_kind.kind, name);
    if (!field) return false;
    value = {};
    switch (field->form) {
    case Text:
        value = {true, 0, TextOf(field->id)};
        break;
    case Number:
        value.number = LongOf(field->id);
        break;
    case Bool:
        value.number = BoolOf(field->id);
        break;
    case Present:
        value.number = DayAt(field->id).has_value();
        break;
    case DayDate:
        value.number = DayAt(field->id) ? DateFromSeconds(*DayAt(field->id)) : kNoDate;
        break;
    case OwnDate: // filled in by the kind of item
        break;
    }
    return true;
}

// --- Restrictions ---------------------------------------------------------------------------------------------------

bool Holds(Op op, int order) {
    switch (op) {
    case Op::Equal:
        return order == 0;
    case Op::NotEqual:
        return order != 0;
    case Op::Less:
        return order < 0;
    case Op::LessOrEqual:
        return order <= 0;
    case Op::Greater:
        return order > 0;
    default:
        return order >= 0;
    }
}

int Order(const FieldValue& a, const FieldValue& b) {
    if (a.isText != b.isText) return a.isText ? 1 : -1;
    if (a.isText) return CompareWithoutCase(a.text, b.text);
    return a.number < b.number ? -1 : a.number > b.number;
}

namespace {

// From left to right.
class FilterReader {
public:
    FilterReader(const ItemKind& kind, std::u16string_view text) : m_kind(kind), m_rest(text) {}

    bool Read(Filter& filter) {
        SkipBlanks();
        while (!m_rest.empty()) {
            Condition condition;
            if (!ReadField(condition.field) || !ReadOp(condition.op) || !ReadValue(condition)) return false;
            filter.push_back(std::move(condition));
            SkipBlanks();
            if (m_rest.empty()) return true;
            if (!TakeWord(u"AND")) return false;
        }
        return !filter.empty();
    }

private:
    void SkipBlanks() {
        while (!m_rest.empty() && (m_rest.front() == u' ' || m_rest.front() == u'\t'))
            m_rest.remove_prefix(1);
    }
    bool Take(std::u16string_view token) {
        if (!m_rest.starts_with(token)) return false;
        m_rest.remove_prefix(token.size());
        return true;
    }
    bool TakeWord(std::u16string_view word) {
        SkipBlanks();
        if (!SameWithoutCase(m_rest.substr(0, word.size()), word)) return false;
        m_rest.remove_prefix(word.size());
        return true;
    }
    bool ReadField(std::u16string& field) {
        SkipBlanks();
        const auto end = m_rest.find(u']');
        if (!m_rest.starts_with(u'[') || end == m_rest.npos) return false;
        field = m_rest.substr(1, end - 1);
        m_rest.remove_prefix(end + 1);
        return PoomItem::IsField(m_kind, field);
    }
    bool ReadOp(Op& op) {
        SkipBlanks();
        static constexpr std::pair<std::u16string_view, Op> kOps[] = {
            {u"<>", Op::NotEqual}, {u"<=", Op::LessOrEqual}, {u">=", Op::GreaterOrEqual},
            {u"=", Op::Equal},     {u"<", Op::Less},         {u">", Op::Greater},
        };
        for (const auto& [token, meaning] : kOps) {
            if (!Take(token)) continue;
            op = meaning;
            return true;
        }
        return false;
    }
    bool ReadValue(Condition& condition) {
        SkipBlanks();
        if (m_rest.starts_with(u'"') || m_rest.starts_with(u'\'')) return ReadText(condition);
        if (TakeWord(u"TRUE")) return SetNumber(condition, 1);
        if (TakeWord(u"FALSE")) return SetNumber(condition, 0);
        Take(u"<"); // a date by its number of days stands behind this mark
        return ReadNumber(condition);
    }
    bool ReadText(Condition& condition) {
        const WCHAR quote = m_rest.front();
        const auto end = m_rest.find(quote, 1);
        if (end == m_rest.npos) return false;
        std::u16string text(m_rest.substr(1, end - 1));
        m_rest.remove_prefix(end + 1);
        DATE date = 0;
        if (IsDate(FindField(m_kind.kind, condition.field))) {
            if (FAILED(VarDateFromStr(text.c_str(), 1024, 0, &date))) return false;
            return SetNumber(condition, date);
        }
        condition.value = {true, 0, std::move(text)};
        return true;
    }
    bool ReadNumber(Condition& condition) {
        std::string digits;
        for (; !m_rest.empty() && m_rest.front() < 128; m_rest.remove_prefix(1)) {
            const char c = static_cast<char>(m_rest.front());
            if (!(c >= '0' && c <= '9') && c != '.' && !(c == '-' && digits.empty())) break;
            digits += c;
        }
        double number = 0;
        const auto read = std::from_chars(digits.data(), digits.data() + digits.size(), number);
        if (read.ec != std::errc() || read.ptr != digits.data() + digits.size()) return false;
        // An OID with its top bit set is written as a signed number.
        if (SameWithoutCase(condition.field, kOidField) && number < 0) number += 4294967296.0;
        return SetNumber(condition, number);
    }
    static bool SetNumber(Condition& condition, double number) {
        condition.value = {false, number, {}};
        return true;
    }

    const ItemKind& m_kind;
    std::u16string_view m_rest;
};

} // namespace

bool ReadFilter(const ItemKind& kind, std::u16string_view text, Filter& filter) {
    return FilterReader(kind, text).Read(filter);
}

bool Passes(PoomItem& item, const Condition& condition) {
    FieldValue value;
    return item.Field(condition.field, value) && Holds(condition.op, Order(value, condition.value));
}

} // namespace plat::poom
