// A calendar page on an empty device: Friday 20 November 2026, noon, universal time, American English.
#pragma once

#include "NorvoTools/StrFunctions.h"
#include "NorvoTools/paths.h"
#include "NorvoTools/registryfunctions.h"
#include "NorvoUI/hidpi.h"
#include "Platform/clock.h"
#include "Platform/testing.h"
#include "QNNewEditUI/CCalendarSubview.h"
#include "tests/support/sidestores.h"

inline constexpr LONG kFriday = 46346;

class CalendarPage : public SideStoresTest {
protected:
    CalendarPage() {
        PlatSetLocale("en_US");
        PlatSetTimeZoneByName("UTC");
        const SYSTEMTIME noon{2026, 11, 5, 20, 12, 0, 0, 0};
        PlatSetClock(&noon);
        HIDPI_InitScaling();
        CCategoryColorIcons::ClearInit();
    }
    ~CalendarPage() override { CCategoryColorIcons::ClearInit(); }

    static void Set(const WCHAR* sub, const WCHAR* name, DWORD value) {
        SetToRegistry(HKEY_CURRENT_USER, Key(sub).c_str(), name, value);
    }
    static void Set(const WCHAR* sub, const WCHAR* name, const WCHAR* text) {
        SetToRegistrySZ(HKEY_CURRENT_USER, Key(sub).c_str(), name, text);
    }
    // A category with a colour.
    void Color(const WCHAR* category, COLORREF color) {
        AddCategory(category);
        ResetFullCategoryList();
        Set(u"Colors\\Categories", category, color);
    }
    CCalendarSubview& Page() {
        m_page.Init();
        m_page.InitColors(true);
        m_page.InitOptionsSpecific();
        return m_page;
    }

    CCalendarSubview m_page;

private:
    static std::u16string Key(const WCHAR* sub) { return std::u16string(kSuiteKey) + u"\\" + sub; }
};

// An appointment, from Friday at "start" (hours; 25.5 is Saturday, half past one) for so many minutes, on Friday's list.
struct Item : DATACALENDAR {
    Item(double start, LONG minutes, LONG busyStatus = 2, const WCHAR* subject = u"Lunch") {
        m_oid = 0x40000001;
        m_lBusyStatus = busyStatus;
        m_dtStart = kFriday + start / 24;
        m_dtEnd = m_dtStart + minutes / 1440.0;
        m_lDuration = minutes;
        m_lDay = kFriday;
        m_bstrSubject = AllocBSTR(subject);
    }
    Item(const Item& other) : DATACALENDAR(other) {
        m_bstrSubject = other.m_bstrSubject ? AllocBSTR(other.m_bstrSubject) : nullptr;
        m_bstrLocation = other.m_bstrLocation ? AllocBSTR(other.m_bstrLocation) : nullptr;
        m_szCategories = other.m_szCategories ? _wcsdup(other.m_szCategories) : nullptr;
        m_szIcon = other.m_szIcon ? _wcsdup(other.m_szIcon) : nullptr;
        m_pTask = other.m_pTask ? other.m_pTask->Copy(false) : nullptr;
    }
    Item& OnDay(LONG day) {
        m_lDay = day;
        return *this;
    }
    Item& AllDay() {
        m_bAllDay = 1;
        m_dtEnd = m_dtStart;
        return *this;
    }
    Item& Categories(const WCHAR* names) {
        m_szCategories = _wcsdup(names);
        return *this;
    }
    Item& Place(const WCHAR* place) {
        m_bstrLocation = AllocBSTR(place);
        return *this;
    }
    Item& Type(LONG type) {
        m_nType = type;
        return *this;
    }
};
