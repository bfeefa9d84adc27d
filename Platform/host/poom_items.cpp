// Folders and their collections: the filter of a restriction, the order, series as their occurrences.
#include "Platform/host/poom_host.h"

#include "Platform/clock.h"
#include "Platform/threads.h"

#include <algorithm>
#include <charconv>
#include <memory>

namespace plat::poom {

// --- Fields ---------------------------------------------------------------------------------------------------------

namespace {

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

constexpr std::u16string_view kOidField = u"Oid";

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

namespace {

enum class Op { Equal, NotEqual, Less, LessOrEqual, Greater, GreaterOrEqual };

struct Condition {
    std::u16string field;
    Op op = Op::Equal;
    FieldValue value;
};
using Filter = std::vector<Condition>;

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

// "[Prop] op value AND ...", read from left to right.
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

bool Passes(PoomItem& item, const Condition& condition) {
    FieldValue value;
    return item.Field(condition.field, value) && Holds(condition.op, Order(value, condition.value));
}

constexpr std::u16string_view kStartField = u"Start";
bool IsOfTime(const Condition& condition) {
    return SameWithoutCase(condition.field, kStartField) || SameWithoutCase(condition.field, u"End");
}

// --- The collection -------------------------------------------------------------------------------------------------

constexpr Seconds kOccurrenceSpan = 400 * kDay;

// One row: an item, or an occurrence of one.
struct Row {
    CEOID oid;
    std::optional<DWORD> day; // of the occurrence, by the rule
    FieldValue key;           // of the sort
};

class Collection final : public Object<IPOutlookItemCollection> {
public:
    Collection(PoomApplication& app, const ItemKind& kind, Filter filter, bool occurrences)
        : m_app(Ref<PoomApplication>::Of(app)), m_kind(kind), m_filter(std::move(filter)),
          m_occurrences(occurrences) {}

    HRESULT get_Count(int* count) override {
        if (!count) return E_POINTER;
        return m_app->Call([&] {
            if (HRESULT hr = Load(); FAILED(hr)) return hr;
            *count = static_cast<int>(m_rows->size());
            return S_OK;
        });
    }
    HRESULT Item(int index, IDispatch** item) override {
        return m_app->Give(item, [&]() -> HRESULT {
            if (HRESULT hr = Load(); FAILED(hr)) return hr;
            if (index < 1 || static_cast<std::size_t>(index) > m_rows->size()) return E_INVALIDARG;
            return Open((*m_rows)[static_cast<std::size_t>(index) - 1], item);
        });
    }
    HRESULT Find(BSTR restriction, IDispatch** item) override {
        return m_app->Give(item, [&]() -> HRESULT {
            Filter filter;
            if (!FilterReader(m_kind, ViewOf(restriction)).Read(filter)) return E_INVALIDARG;
            filter.insert(filter.end(), m_filter.begin(), m_filter.end());
            m_found.clear();
            m_next = 0;
            if (HRESULT hr = Collect(filter, m_found); FAILED(hr)) return hr;
            return GiveNext(item);
        });
    }
    HRESULT FindNext(IDispatch** item) override {
        return m_app->Give(item, [&] { return GiveNext(item); });
    }
    HRESULT Restrict(BSTR restriction, IPOutlookItemCollection** items) override {
        return m_app->Give(items, [&]() -> HRESULT {
            Filter filter = m_filter;
            if (!FilterReader(m_kind, ViewOf(restriction)).Read(filter)) return E_INVALIDARG;
            *items = new Collection(*m_app, m_kind, std::move(filter), m_occurrences);
            return S_OK;
        });
    }
    HRESULT Sort(BSTR property, VARIANT_BOOL descending) override {
        return m_app->Call([&]() -> HRESULT {
            std::u16string_view name = ViewOf(property);
            if (name.starts_with(u'[') && name.ends_with(u']')) name = name.substr(1, name.size() - 2);
            if (!PoomItem::IsField(m_kind, name)) return E_INVALIDARG;
            m_sort = name;
            m_descending = descending != VARIANT_FALSE;
            m_rows.reset();
            return S_OK;
        });
    }
    HRESULT get_IncludeRecurrences(VARIANT_BOOL* include) override {
        return m_app->Tell(include, [this] { return m_occurrences ? VARIANT_TRUE : VARIANT_FALSE; });
    }
    HRESULT put_IncludeRecurrences(VARIANT_BOOL include) override {
        return m_app->Call([&]() -> HRESULT {
            if (m_kind.kind != olAppointmentItem && include != VARIANT_FALSE) return E_INVALIDARG;
            m_occurrences = include != VARIANT_FALSE;
            m_rows.reset();
            return S_OK;
        });
    }

private:
    ~Collection() override = default;

    HRESULT Load() {
        if (m_rows) return S_OK;
        std::vector<Row> rows;
        if (HRESULT hr = Collect(m_filter, rows); FAILED(hr)) return hr;
        m_rows = std::move(rows);
        return S_OK;
    }

    // Items by number; an OID that the filter names is opened directly.
    HRESULT Collect(const Filter& filter, std::vector<Row>& rows) {
        const auto oid = std::ranges::find_if(filter, [](const Condition& c) {
            return c.op == Op::Equal && !c.value.isText && SameWithoutCase(c.field, kOidField);
        });
        HRESULT hr = S_OK;
        if (oid != filter.end()) {
            Ref<PoomItem> item;
            const double number = oid->value.number;
            if (number < 0 || number > std::numeric_limits<CEOID>::max()) return S_OK;
            hr = m_app->OpenItem(static_cast<CEOID>(number), item);
            if (hr == E_NOTFOUND) return S_OK;
            if (SUCCEEDED(hr) && &item->Kind() == &m_kind) hr = AddRows(*item, filter, rows);
        } else {
            hr = CollectAll(filter, rows);
        }
        if (FAILED(hr)) return hr;
        SortRows(rows);
        return S_OK;
    }
    HRESULT CollectAll(const Filter& filter, std::vector<Row>& rows) {
        Store& store = m_app->Records();
        if (store.Get(m_kind.side) == INVALID_HANDLE_VALUE) return LastFailure();
        for (bool more = store.SeekNth(m_kind.side, 0, false); more;
             more = store.SeekNth(m_kind.side, 1, true)) {
            Ref<PoomItem> item;
            if (HRESULT hr = m_app->ItemAtCursor(m_kind, item); FAILED(hr)) continue; // deleted meanwhile
            if (HRESULT hr = AddRows(*item, filter, rows); FAILED(hr)) return hr;
            store.SeekRecord(m_kind.side, item->Record()); // streams have moved the cursor
        }
        return S_OK;
    }

    HRESULT AddRows(PoomItem& item, const Filter& filter, std::vector<Row>& rows) {
        FieldValue recurring;
        if (m_occurrences && item.Field(u"IsRecurring", recurring) && recurring.number != 0)
            return AddOccurrences(item, filter, rows);
        for (const Condition& condition : filter)
            if (!Passes(item, condition)) return S_OK;
        Row row{item.Oid(), std::nullopt, {}};
        item.Field(SortField(), row.key);
        rows.push_back(std::move(row));
        return S_OK;
    }
    // A damaged or uncountable series has no occurrences; the others are to be seen.
    HRESULT AddOccurrences(PoomItem& series, const Filter& filter, std::vector<Row>& rows) {
        std::vector<OccurrenceTimes> times;
        if (FAILED(OccurrencesOf(series, FirstStart(filter), kOccurrenceSpan, times))) return S_OK;
        const bool passes = std::ranges::all_of(filter, [&](const Condition& condition) {
            return IsOfTime(condition) || Passes(series, condition);
        });
        for (const OccurrenceTimes& one : times)
            if (one.changed ? ChangedPasses(series, one.day, filter) : passes && InTime(one, filter))
                AddOccurrence(series, one, rows);
        return S_OK;
    }
    // The latest of the dates from which a filter wants them.
    static Seconds FirstStart(const Filter& filter) {
        Seconds from = 0;
        for (const Condition& condition : filter) {
            const bool bound = condition.op == Op::Greater || condition.op == Op::GreaterOrEqual ||
                               condition.op == Op::Equal;
            if (bound && SameWithoutCase(condition.field, kStartField))
                from = std::max(from, SecondsFromDate(condition.value.number).value_or(0));
        }
        return from;
    }
    static bool InTime(const OccurrenceTimes& one, const Filter& filter) {
        return std::ranges::all_of(filter, [&](const Condition& condition) {
            const bool start = SameWithoutCase(condition.field, kStartField);
            const FieldValue time{false, DateFromSeconds(start ? one.start : one.end), {}};
            return !IsOfTime(condition) || Holds(condition.op, Order(time, condition.value));
        });
    }
    // It may differ from the series in any of its fields.
    static bool ChangedPasses(PoomItem& series, DWORD day, const Filter& filter) {
        Ref<PoomItem> occurrence;
        if (FAILED(static_cast<SeriesItem&>(series).OpenOccurrence(day, occurrence))) return false;
        return std::ranges::all_of(
            filter, [&](const Condition& condition) { return Passes(*occurrence, condition); });
    }
    void AddOccurrence(PoomItem& series, const OccurrenceTimes& one, std::vector<Row>& rows) {
        Row row{series.Oid(), one.day, {false, DateFromSeconds(one.start), {}}};
        if (!SameWithoutCase(SortField(), kStartField)) series.Field(SortField(), row.key);
        rows.push_back(std::move(row));
    }

    std::u16string_view SortField() const {
        if (!m_sort.empty()) return m_sort;
        return m_occurrences ? kStartField : kOidField;
    }
    void SortRows(std::vector<Row>& rows) {
        if (m_sort.empty() && !m_occurrences) return;
        std::ranges::stable_sort(rows, [this](const Row& a, const Row& b) {
            return m_descending ? Order(b.key, a.key) < 0 : Order(a.key, b.key) < 0;
        });
    }

    HRESULT Open(const Row& row, IDispatch** out) {
        Ref<PoomItem> item;
        if (HRESULT hr = m_app->OpenItem(row.oid, item); FAILED(hr)) return hr;
        if (row.day) {
            const Ref<PoomItem> series = item;
            const HRESULT hr = static_cast<SeriesItem&>(*series).OpenOccurrence(*row.day, item);
            if (FAILED(hr)) return hr;
        }
        *out = item.Give()->AsDispatch();
        return S_OK;
    }
    // What has been deleted since it was found is left out.
    HRESULT GiveNext(IDispatch** item) {
        HRESULT hr = E_NOTFOUND;
        while (hr == E_NOTFOUND && m_next < m_found.size()) hr = Open(m_found[m_next++], item);
        return hr;
    }

    Ref<PoomApplication> m_app;
    const ItemKind& m_kind;
    Filter m_filter;
    bool m_occurrences = false;
    std::u16string m_sort;
    bool m_descending = false;
    std::optional<std::vector<Row>> m_rows;
    std::vector<Row> m_found;
    std::size_t m_next = 0;
};

} // namespace

HRESULT MakeCollection(PoomApplication& app, int folder, IPOutlookItemCollection** out) {
    const ItemKind* kind = KindOfFolder(folder);
    if (!kind) return E_FAIL;
    *out = new Collection(app, *kind, {}, false);
    return S_OK;
}

} // namespace plat::poom
