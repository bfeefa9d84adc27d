// CePtrList<T>: a CeList of pointers, T being the pointer type: CePtrList<DATANOTES*>. A list of object ids,
// CePtrList<CEOID>, is allowed too; it owns nothing.
#pragma once

#include "NorvoTools/CeList.h"

#include <type_traits>

// Who frees what the pointers point to.
enum CePtrDeleteMode {
    PTRLIST_KEEP = 0,      // the list owns nothing
    PTRLIST_DELETE = 1,    // delete, through the destructor
    PTRLIST_FREE = 2,      // free
    PTRLIST_LOCALFREE = 3, // LocalFree
    PTRLIST_RELEASE = 4,   // Release of a counted object
    PTRLIST_BSTR = 5,      // SysFreeString
};

// The non-template halves of the delete modes; null is allowed.
QN_API void CeFreeElement(void* p);
QN_API void CeLocalFreeElement(void* p);
QN_API void CeBstrFreeElement(void* p);

template<class T>
class CePtrList : public CeList<T> {
public:
    // int(T const&, T const&, CEUSER); the default compares the pointers as unsigned numbers.
    using Compare = typename CeList<T>::Compare;

    explicit CePtrList(int nBase = 0, int nDeleteMode = PTRLIST_KEEP, Compare compare = nullptr,
                       CEUSER user = 0)
        : CeList<T>(nBase, compare ? compare : &ComparePointers, user) {
        this->SetDelete(DeleteForMode(nDeleteMode));
    }

    static int ComparePointers(const T& a, const T& b, CEUSER) {
        ULONG_PTR x = Number(a);
        ULONG_PTR y = Number(b);
        return x < y ? -1 : x > y;
    }

private:
    static void* Plain(T p) {
        if constexpr (std::is_pointer_v<T>)
            return const_cast<void*>(static_cast<const void*>(p));
        else
            return nullptr;
    }
    static ULONG_PTR Number(T p) {
        if constexpr (std::is_pointer_v<T>)
            return reinterpret_cast<ULONG_PTR>(p);
        else
            return static_cast<ULONG_PTR>(p);
    }
    static typename CeList<T>::DeleteElement DeleteForMode(int mode) {
        switch (mode) {
        case PTRLIST_DELETE:
            if constexpr (std::is_pointer_v<T> && !std::is_void_v<std::remove_pointer_t<T>>)
                return [](T* place, CEUSER, void*) { delete *place; };
            return nullptr;
        case PTRLIST_FREE:
            return [](T* place, CEUSER, void*) { CeFreeElement(Plain(*place)); };
        case PTRLIST_LOCALFREE:
            return [](T* place, CEUSER, void*) { CeLocalFreeElement(Plain(*place)); };
        case PTRLIST_RELEASE:
            if constexpr (requires(T p) { p->Release(); })
                return [](T* place, CEUSER, void*) {
                    if (*place) (*place)->Release();
                };
            return nullptr;
        case PTRLIST_BSTR:
            return [](T* place, CEUSER, void*) { CeBstrFreeElement(Plain(*place)); };
        default:
            return nullptr;
        }
    }
};
