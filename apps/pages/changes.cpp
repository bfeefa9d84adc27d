#include "apps/pages/changes.h"

#include "Platform/clock.h"
#include "Platform/zonerules.h"
#include "QNWorkerClass/COutlook.h"

#include <cmath>

namespace qn {

namespace {

// The beginning of an occurrence on the device's clock; the getter tells it on that of the series.
DATE LocalStart(IAppointment& occurrence) {
    void* object = nullptr;
    if (FAILED(occurrence.QueryInterface(IID_IItem, &object))) return kNoDate;
    const Com<IItem> bag(static_cast<IItem*>(object));
    constexpr CEPROPID kStart = PIMPR_START;
    CEPROPVAL* values = nullptr;
    ULONG size = 0;
    if (FAILED(bag->GetProps(&kStart, CEDB_ALLOWREALLOC, 1, &values, &size, nullptr))) return kNoDate;
    SYSTEMTIME time{};
    TIME_ZONE_INFORMATION zone{};
    GetTimeZoneInformation(&zone);
    bool summer = false;
    const bool read = FileTimeToSystemTime(&values->val.filetime, &time) &&
                      CeSystemTimeToTzSpecificLocalTime(&zone, &time, &time, &summer) == 1;
    LocalFree(values);
    return read ? ToDate(time) : kNoDate;
}

// Of several occurrences the one that begins nearest to the line.
class Nearest {
public:
    explicit Nearest(const DATACALENDAR& line) : m_line(line) {}

    void Offer(Com<IAppointment> occurrence) {
        const double distance = std::abs(LocalStart(*occurrence.Get()) - m_line.m_dtStart);
        if (distance >= m_distance) return;
        m_distance = distance;
        m_found = std::move(occurrence);
    }
    // Lists and items may be apart by an hour on the day when summer time changes.
    bool IsExact() const { return m_distance < 1.0 / 86400; }
    HRESULT Give(Com<IAppointment>& occurrence) {
        constexpr double kFarthest = 1.01 / 24;
        if (m_distance > (m_line.m_bAllDay ? 1 : kFarthest)) return E_NOTFOUND;
        occurrence = std::move(m_found);
        return S_OK;
    }

private:
    const DATACALENDAR& m_line;
    double m_distance = kNoDate;
    Com<IAppointment> m_found;
};

void OfferByRule(IAppointment& series, const DATACALENDAR& line, Nearest& nearest) {
    Com<IRecurrencePattern> pattern;
    if (FAILED(series.GetRecurrencePattern(pattern.Out()))) return;
    for (const int away : {0, -1, 1}) { // the series may live in another zone
        Com<IAppointment> occurrence;
        const HRESULT result = pattern->GetOccurrence(std::floor(line.m_dtStart) + away, occurrence.Out());
        if (SUCCEEDED(result)) nearest.Offer(std::move(occurrence));
        if (nearest.IsExact()) return;
    }
}

// A moved occurrence is on another day than its rule says; it stands among all of them.
void OfferByTime(const DATACALENDAR& line, Nearest& nearest) {
    Com<IFolder> folder;
    Com<IPOutlookItemCollection> all, some;
    if (FAILED(g_pOutlook->GetDefaultFolder(olFolderCalendar, folder.Out())) ||
        FAILED(folder->get_Items(all.Out())) || FAILED(all->put_IncludeRecurrences(VARIANT_TRUE)))
        return;
    const auto day = static_cast<LONG>(std::floor(line.m_dtStart));
    const std::string wanted = "[Oid] = " + std::to_string(line.m_oid) + " AND [Start] >= <" +
                               std::to_string(day - 1) + " AND [Start] < <" + std::to_string(day + 2);
    if (FAILED(all->Restrict(Bstr(Utf16(wanted)), some.Out()))) return;
    int count = 0;
    some->get_Count(&count);
    for (int i = 1; i <= count; ++i) {
        Com<IDispatch> found;
        if (FAILED(some->Item(i, found.Out()))) continue;
        if (auto occurrence = found.As<IAppointment>(IID_IAppointment)) nearest.Offer(std::move(occurrence));
    }
}

} // namespace

HRESULT OpenAppointment(const DATACALENDAR& line, Com<IAppointment>& item) {
    Com<IDispatch> found;
    if (!g_pOutlook) return E_FAIL;
    const HRESULT result = g_pOutlook->GetItemFromOid(line.m_oid, found.Out());
    if (FAILED(result)) return result;
    auto opened = found.As<IAppointment>(IID_IAppointment);
    if (!opened) return E_NOTFOUND;
    if (!line.m_bRecurring) return item = std::move(opened), S_OK;
    Nearest nearest(line);
    OfferByRule(*opened.Get(), line, nearest);
    if (!nearest.IsExact()) OfferByTime(line, nearest);
    return nearest.Give(item);
}

HRESULT MoveAppointment(const DATACALENDAR& line, DATE start) {
    Com<IAppointment> item;
    DATE now = 0;
    HRESULT result = OpenAppointment(line, item);
    if (SUCCEEDED(result)) result = item->get_Start(&now);
    if (SUCCEEDED(result)) result = item->put_Start(now + (start - line.m_dtStart));
    return SUCCEEDED(result) ? item->Save() : result;
}

HRESULT DeleteAppointment(const DATACALENDAR& line, Com<IItem>& undo) {
    Com<IAppointment> item;
    Com<IItem> twin;
    HRESULT result = OpenAppointment(line, item);
    if (FAILED(result)) return result;
    if (const auto bag = item.As<IItem>(IID_IItem); bag && !line.m_bRecurring) result = bag->Copy(twin.Out());
    if (SUCCEEDED(result)) result = item->Delete();
    if (SUCCEEDED(result)) undo = std::move(twin);
    return result;
}

HRESULT DeleteItem(DWORD oid, Com<IItem>& undo) {
    Com<IItem> item, twin;
    if (!g_pOutlook) return E_FAIL;
    HRESULT result = g_pOutlook->GetItemFromOidEx(oid, item.Out());
    if (SUCCEEDED(result)) result = item->Copy(twin.Out());
    if (SUCCEEDED(result)) result = item->Delete();
    if (SUCCEEDED(result)) undo = std::move(twin);
    return result;
}

} // namespace qn
