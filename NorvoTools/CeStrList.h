// CeStrList<T>: a CeList of texts (or other blocks behind pointers) with the copying and comparing built in. T is the
// pointer type, WCHAR* unless told otherwise. A null element is legal in every mode and stays null.
#pragma once

#include "NorvoTools/CeList.h"

#include <type_traits>

// How an added element is copied, and freed again.
enum CeStrCopyMode {
    STRLIST_POINTER = 0, // the pointer only; nothing is freed
    STRLIST_MALLOC = 1,  // a C-heap block of the same size
    STRLIST_LOCAL = 2,   // a local-heap block of the same size
    STRLIST_ADDREF = 3,  // the pointer, counted by AddRef and Release
    STRLIST_WCSDUP = 4,  // UTF-16 text
    STRLIST_STRDUP = 5,  // narrow text
    STRLIST_BSTR = 6,    // BSTR
};

// Below, equal to or above 0. A null text is below any other and occurs in none.
enum CeStrCompareMode {
    STRCOMPARE_NUMBER = 0,       // the pointers as unsigned numbers
    STRCOMPARE_WCS = 1,          // wcscmp
    STRCOMPARE_WCSNOCASE = 2,    // _wcsicmp
    STRCOMPARE_STR = 3,          // strcmp
    STRCOMPARE_STRNOCASE = 4,    // _stricmp
    STRCOMPARE_LOCALE = 5,       // the user's locale, string sort
    STRCOMPARE_LOCALENOCASE = 6, // the same without regard to case
    STRCOMPARE_HOLDS = 7,        // 0 when the second occurs in the first, otherwise 1
    STRCOMPARE_HOLDSNOCASE = 8,
};

// The mode tables behind the template.
QN_API void* CeCopyForMode(int nCopyMode, const void* element); // null when memory ran out
QN_API void CeDeleteForMode(int nCopyMode, void* element);
QN_API int CeCompareForMode(int nCompareMode, const void* a, const void* b);
// The bytes of a text with its terminator; or a text, copied as the mode says, from bytes that need no terminator.
// An empty run of bytes is a null element. False when memory ran out, and in a mode that would not free the text.
QN_API bool CeDescribeForMode(int nCopyMode, void** element, CeElementBytes* bytes);

template<class T = WCHAR*>
class CeStrList : public CeList<T> {
    using List = CeList<T>;
    // Texts often come as constants: copying only reads them.
    using ConstT = std::add_pointer_t<std::add_const_t<std::remove_pointer_t<T>>>;

public:
    explicit CeStrList(int nBase = 0, int nCopyMode = STRLIST_WCSDUP,
                       int nCompareMode = STRCOMPARE_LOCALENOCASE)
        : List(nBase, CompareFor(nCompareMode)) {
        switch (nCopyMode) {
        case STRLIST_MALLOC:
            Own<STRLIST_MALLOC>();
            break;
        case STRLIST_LOCAL:
            Own<STRLIST_LOCAL>();
            break;
        case STRLIST_ADDREF:
            Own<STRLIST_ADDREF>();
            break;
        case STRLIST_WCSDUP:
            Own<STRLIST_WCSDUP>();
            break;
        case STRLIST_STRDUP:
            Own<STRLIST_STRDUP>();
            break;
        case STRLIST_BSTR:
            Own<STRLIST_BSTR>();
            break;
        default:
            this->SetDescribe(&DescribeAs<STRLIST_POINTER>);
        }
    }

    int Add(ConstT text) { return List::Add(const_cast<T>(text)); }
    int Insert(int nIndex, ConstT text) { return List::Insert(nIndex, const_cast<T>(text)); }
    int InsertAfterCached(ConstT text) { return List::InsertAfterCached(const_cast<T>(text)); }
    int Find(ConstT text) const { return List::Find(const_cast<T>(text)); }
    bool Remove(ConstT text) { return List::Remove(const_cast<T>(text)); }

private:
    static void* Plain(T p) { return const_cast<void*>(static_cast<const void*>(p)); }

    template<int Mode>
    void Own() {
        this->SetCopy(&CopyAs<Mode>);
        this->SetDelete(&DeleteAs<Mode>);
        if constexpr (Mode != STRLIST_ADDREF) this->SetDescribe(&DescribeAs<Mode>); // an object is no text
    }
    template<int Mode>
    static void CopyAs(T* place, const T& element, CEUSER) {
        if constexpr (Mode == STRLIST_ADDREF) {
            *place = element;
            if constexpr (requires(T p) { p->AddRef(); })
                if (element) element->AddRef();
        } else {
            *place = static_cast<T>(CeCopyForMode(Mode, Plain(element)));
        }
    }
    template<int Mode>
    static void DeleteAs(T* place, CEUSER, void*) {
        if constexpr (Mode == STRLIST_ADDREF) {
            if constexpr (requires(T p) { p->Release(); })
                if (*place) (*place)->Release();
        } else {
            CeDeleteForMode(Mode, Plain(*place));
        }
    }
    template<int Mode>
    static bool DescribeAs(T* element, CeElementBytes* bytes, CEUSER) {
        void* p = Plain(*element);
        bool done = CeDescribeForMode(Mode, &p, bytes);
        *element = static_cast<T>(p);
        return done;
    }

    template<int Mode>
    static int CompareAs(const T& a, const T& b, CEUSER) {
        return CeCompareForMode(Mode, a, b);
    }
    static typename List::Compare CompareFor(int mode) {
        static constexpr typename List::Compare kModes[] = {
            &CompareAs<0>, &CompareAs<1>, &CompareAs<2>, &CompareAs<3>, &CompareAs<4>,
            &CompareAs<5>, &CompareAs<6>, &CompareAs<7>, &CompareAs<8>,
        };
        return kModes[mode >= STRCOMPARE_NUMBER && mode <= STRCOMPARE_HOLDSNOCASE ? mode : STRCOMPARE_NUMBER];
    }
};
