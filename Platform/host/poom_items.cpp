// The items of a folder: found, put in order, series among them as their occurrences.
#include "Platform/host/poom_filter.h"

#include "Platform/threads.h"

#include <algorithm>

namespace plat::poom {

namespace {

constexpr Seconds kOccurrenceSpan = 400 * kDay;

bool IsOfTime(const Condition& condition) { return condition.IsOn(kStartField) || condition.IsOn(kEndField); }

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
            if (!ReadFilter(m_kind, ViewOf(restriction), filter)) return E_INVALIDARG;
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
            if (!ReadFilter(m_kind, ViewOf(restriction), filter)) return E_INVALIDARG;
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
            return c.op == Op::Equal && !c.value.isText && c.IsOn(kOidField);
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
        const bool passes = std::ranges::all_of(filter, [&](const Condition& condition) {
            return IsOfTime(condition) || Passes(series, condition);
        });
        std::vector<OccurrenceTimes> times;
        if (FAILED(OccurrencesOf(series, FirstStart(filter), kOccurrenceSpan, passes, times))) return S_OK;
        for (const OccurrenceTimes& one : times)
            if (InTime(one, filter) && (!one.changed || ChangedPasses(series, one.day, filter)))
                AddOccurrence(series, one, rows);
        return S_OK;
    }
    // The latest of the dates from which a filter wants them.
    static Seconds FirstStart(const Filter& filter) {
        Seconds from = 0;
        for (const Condition& condition : filter) {
            const bool bound = condition.op == Op::Greater || condition.op == Op::GreaterOrEqual ||
                               condition.op == Op::Equal;
            if (bound && condition.IsOn(kStartField))
                from = std::max(from, SecondsFromDate(condition.value.number).value_or(0));
        }
        return from;
    }
    static bool InTime(const OccurrenceTimes& one, const Filter& filter) {
        return std::ranges::all_of(filter, [&](const Condition& condition) {
            const bool start = condition.IsOn(kStartField);
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
