#include "QNWorkerClass/DATACONTACTS.h"

#include "NorvoTools/CStr.h"
#include "Platform/strings.h"

#include <cstdlib>
#include <string>
#include <new>

std::atomic<LONG> g_nDisplayFormatCompany{0};
std::atomic<bool> DATACONTACTS::m_bDisplayFormatGroupFieldAsLastFirst{false};

namespace {

bool IsText(const WCHAR* text) { return text && *text; }

LONG EffectiveFormat(LONG format) {
    return format == kDisplayByCompany || format >= kDisplayByCategory ? DATACONTACTS::GroupNameFormat()
                                                                       : format;
}

} // namespace

LONG DATACONTACTS::GroupNameFormat() {
    switch (g_nDisplayFormatCompany.load(std::memory_order_relaxed)) {
    case 2:
        return kDisplayFileAs;
    case 0:
        return kDisplayFirstLast;
    default:
        return kDisplayLastFirst;
    }
}

DATACONTACTS::~DATACONTACTS() {
    for (WCHAR** text : {&m_szFirstName, &m_szLastName, &m_szGroupKey, &m_szCompany, &m_szFileAs})
        FreeText(*text);
    ClearNameDisplay();
    ClearExtraData();
}

void DATACONTACTS::NullData() {
    const HANDLE heap = m_hHeap;
    this->~DATACONTACTS();
    ::new (static_cast<void*>(this)) DATACONTACTS(heap);
}

ContactKeys& DATACONTACTS::Keys() const {
    if (!m_pKeys) m_pKeys = std::make_unique<ContactKeys>();
    return *m_pKeys;
}

void* DATACONTACTS::operator new(std::size_t size, HANDLE heap) noexcept {
    return heap ? HeapAlloc(heap, 0, size) : std::malloc(size);
}

void DATACONTACTS::operator delete(void* block, HANDLE heap) noexcept {
    if (heap)
        HeapFree(heap, 0, block);
    else
        std::free(block);
}

// The heap must be known after the destructor has run, so the two are done here together.
void DATACONTACTS::operator delete(DATACONTACTS* row, std::destroying_delete_t) noexcept {
    const HANDLE heap = row->m_hHeap;
    row->~DATACONTACTS();
    operator delete(static_cast<void*>(row), heap);
}

void DATACONTACTS::FreeText(WCHAR*& text) {
    if (!m_hHeap) FreeCSTR(text); // blocks of a private heap die with the heap
    text = nullptr;
}

void DATACONTACTS::FreeBlock(WCHAR*& text) {
    if (m_hHeap)
        HeapFree(m_hHeap, 0, text);
    else
        std::free(text);
    text = nullptr;
}

void DATACONTACTS::ClearNameDisplay() {
    FreeBlock(m_szNameDisplay);
    m_nNameDisplayFormat = -1;
}

void DATACONTACTS::ClearExtraData() {
    for (WCHAR** text : {&m_szExtraLine, &m_szCategories, &m_szIcon}) FreeBlock(*text);
    m_bFilled = 0;
}

const WCHAR* DATACONTACTS::GetNameDisplay(ContactsDisplay format) {
    if (m_szNameDisplay && m_nNameDisplayFormat == format) return m_szNameDisplay;
    ClearNameDisplay();
    const LONG effective = EffectiveFormat(format);
    const bool namesWanted = effective <= kDisplayLastFirst;
    const bool first = IsText(m_szFirstName);
    const bool last = IsText(m_szLastName);
    std::u16string name;
    if (namesWanted && first && last) {
        name = effective == kDisplayFirstLast ? std::u16string(m_szFirstName) + u" " + m_szLastName
                                              : std::u16string(m_szLastName) + u", " + m_szFirstName;
    } else if (namesWanted && (first || last)) {
        name = first ? m_szFirstName : m_szLastName;
    } else if (namesWanted && IsText(m_szCompany)) {
        name = m_szCompany;
    } else if (m_szFileAs) {
        name = m_szFileAs;
    }
    m_szNameDisplay = AllocHeapText(name, m_hHeap);
    m_nNameDisplayFormat = format;
    return m_szNameDisplay ? m_szNameDisplay : u"";
}
