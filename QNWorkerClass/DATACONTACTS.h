// One small record a contact, made in the private heap of its thread, which is dropped whole between two loads.
#pragma once

#include "Platform/memory.h"
#include "Platform/types.h"

#include <array>
#include <atomic>
#include <memory>
#include <string>
#include <string_view>

// How a contact's name is shown. From GroupByCategory on, the group forms follow the company setting.
enum ContactsDisplay : LONG {
    kDisplayFirstLast = 0,
    kDisplayLastFirst = 1,
    kDisplayByCompany = 2,
    kDisplayFileAs = 3,
    kDisplayCompanyStyle = 4,
    kDisplayByCategory = 6,
    kDisplayByKey7 = 7,
    kDisplayByKey8 = 8,
    kDisplayByKey9 = 9,
    kDisplayByKey10 = 10,
    kDisplayRecent = 11,
    kDisplayCallLog = 12,
    kDisplayLookUp = 13,
};

// `CV_DisplayFormatCompany`: file-scope on the device, since an absent setting leaves the value of an earlier thread.
extern QN_API std::atomic<LONG> g_nDisplayFormatCompany;

// What finding and sorting go by, made when it is first needed and dropped when a name changes.
struct ContactKeys {
    // Sort keys of the order that the number tells; the third is made when a row of the list lacks its first name.
    LONG nOrder = -1;
    std::string primary;
    std::string secondary;
    std::string joined;
    // Of the name by which rows of one group stand.
    LONG nShown = -1;
    std::string shown;
    // File-as name, group key, first name, last name, company in capitals, each with a zero; their ends.
    std::u16string capitals;
    std::array<DWORD, 5> ends{};
};

struct QN_API DATACONTACTS {
    explicit DATACONTACTS(HANDLE heap) : m_hHeap(heap) {}
    ~DATACONTACTS();
    DATACONTACTS(const DATACONTACTS&) = delete;
    DATACONTACTS& operator=(const DATACONTACTS&) = delete;

    // From the heap when there is one, else from the C heap; null when there is no room.
    static void* operator new(std::size_t size, HANDLE heap) noexcept;
    static void operator delete(void* block, HANDLE heap) noexcept;
    static void operator delete(DATACONTACTS* row, std::destroying_delete_t) noexcept;

    // The name as the format shows it; built once and kept until the format changes. Owned by the row, never null.
    const WCHAR* GetNameDisplay(ContactsDisplay format);
    void ClearNameDisplay();
    void ClearExtraData();     // extra line, category and icon text
    void NullData();           // all but the heap
    ContactKeys& Keys() const; // made when there are none
    bool HasKeys() const { return m_pKeys != nullptr; }
    void DropKeys() { m_pKeys.reset(); } // when a name has changed

    // The form of names that the company setting gives to group forms: first last, last first, or file-as.
    static LONG GroupNameFormat();

    // Whether the group field follows the form "last, first".
    static std::atomic<bool> m_bDisplayFormatGroupFieldAsLastFirst;

    DWORD m_oid = 0; // 0 is a group header, or a call
    DWORD m_oidRecord = 0;
    WCHAR* m_szFirstName = nullptr; // CSTR blocks of the heap, as the next four
    WCHAR* m_szLastName = nullptr;
    WCHAR* m_szGroupKey = nullptr;
    WCHAR* m_szCompany = nullptr;
    WCHAR* m_szFileAs = nullptr;
    WCHAR* m_szExtraLine = nullptr; // from the heap, as the next two
    WCHAR* m_szCategories = nullptr;
    WCHAR* m_szIcon = nullptr;
    BYTE m_bHasLink = 0;
    BYTE m_bHasJournalLink = 0;
    BYTE m_bHasNote = 0;
    BYTE m_bHasPicture = 0;
    DWORD m_dwExtraProperty = 0;
    DWORD m_dwSimNumber = 0;
    BYTE m_bFilled = 0;
    BYTE m_bGroupHeader = 0;
    BYTE m_bOpen = 0;
    BYTE m_bEmpty = 0;  // stands last
    BYTE m_bPasses = 0; // the category filter of its thread
    LONG m_lCount = 0;  // of a header
    DWORD m_dwGroupId = 0;
    DWORD m_dwSortGroupId = 0;
    WCHAR* m_szNameDisplay = nullptr; // cached, from the heap
    LONG m_nNameDisplayFormat = -1;
    HANDLE m_hHeap = nullptr; // the heap itself; null means the C heap

private:
    void FreeText(WCHAR*& text);
    void FreeBlock(WCHAR*& text);

    mutable std::unique_ptr<ContactKeys> m_pKeys;
};
