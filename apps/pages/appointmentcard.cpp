#include "apps/pages/appointmentcard.h"

#include "apps/pages/changes.h"
#include "apps/pages/pagetext.h"

namespace qn {

namespace {

// What the line doesn't tell.
struct Details {
    std::u16string note;
    LONG reminder = -1; // minutes
};

Details DetailsOf(const DATACALENDAR& line) {
    Details details;
    Com<IAppointment> item;
    if (FAILED(OpenAppointment(line, item))) return details;
    Bstr note;
    if (SUCCEEDED(item->get_Body(note.Out()))) details.note = LongText(note.View());
    VARIANT_BOOL set = VARIANT_FALSE;
    LONG minutes = 0;
    if (SUCCEEDED(item->get_ReminderSet(&set)) && set != VARIANT_FALSE &&
        SUCCEEDED(item->get_ReminderMinutesBeforeStart(&minutes)))
        details.reminder = minutes;
    return details;
}

std::u16string StatusText(LONG status) {
    constexpr const WCHAR* kTexts[] = {u"Free", u"Tentative", u"Busy", u"Out of office"};
    return status >= 0 && status < 4 ? kTexts[status] : u"";
}

std::u16string ReminderText(LONG minutes) {
    if (minutes < 0) return {};
    if (minutes == 0) return u"At the start";
    const auto counted = [](LONG count, const char* unit) {
        return Utf16(Plural(static_cast<std::size_t>(count), unit)) + u" before";
    };
    if (minutes % 1440 == 0) return counted(minutes / 1440, "day");
    return minutes % 60 == 0 ? counted(minutes / 60, "hour") : counted(minutes, "minute");
}

} // namespace

CardText AppointmentCard(const DATACALENDAR& line) {
    const Details details = line.m_nType == kLineAppointment ? DetailsOf(line) : Details();
    CardText card;
    card.title = TextOf(line.m_bstrSubject);
    card.Add(u"When", WhenText(line));
    card.Add(u"Where", std::u16string(TextOf(line.m_bstrLocation)));
    card.Add(u"Shown as", StatusText(line.m_lBusyStatus));
    card.Add(u"Categories", line.m_szCategories ? line.m_szCategories : u"");
    card.Add(u"Reminder", ReminderText(details.reminder));
    card.Add(u"Repeats",
             line.m_bRecurring ? line.m_bException ? u"One of a series, changed" : u"One of a series" : u"");
    card.Add(u"Private", line.m_bPrivate ? u"Yes" : u"");
    card.Add(u"Note", details.note);
    return card;
}

} // namespace qn
