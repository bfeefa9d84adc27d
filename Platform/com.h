// The base of the object model: reference-counted interfaces, a table of classes, clipboard formats.
//
// All operations may be called on any thread; the object model is free-threaded. An interface pointer that an operation
// gives out carries a reference, which the receiver releases.
#pragma once

#include "Platform/types.h"

#pragma GCC visibility push(default)

inline constexpr IID IID_IUnknown = {0x00000000, 0x0000, 0x0000, {0xC0, 0, 0, 0, 0, 0, 0, 0x46}};
inline constexpr IID IID_IDispatch = {0x00020400, 0x0000, 0x0000, {0xC0, 0, 0, 0, 0, 0, 0, 0x46}};
inline constexpr IID IID_IDataObject = {0x0000010E, 0x0000, 0x0000, {0xC0, 0, 0, 0, 0, 0, 0, 0x46}};

struct IUnknown {
    // E_NOINTERFACE and a null pointer for an interface that the object has not; E_POINTER without a place for it.
    virtual HRESULT QueryInterface(const IID& iid, void** object) = 0;
    virtual ULONG AddRef() = 0;
    virtual ULONG Release() = 0;

protected:
    virtual ~IUnknown() = default; // objects end in Release
};

struct VARIANT;
struct DISPPARAMS;
struct EXCEPINFO;
struct ITypeInfo;

// Late-bound calls are not served: whoever derives inherits the refusals.
struct IDispatch : IUnknown {
    virtual HRESULT GetTypeInfoCount(UINT* count) {
        if (count) *count = 0;
        return E_NOTIMPL;
    }
    virtual HRESULT GetTypeInfo(UINT, LCID, ITypeInfo** info) {
        if (info) *info = nullptr;
        return E_NOTIMPL;
    }
    virtual HRESULT GetIDsOfNames(const IID&, WCHAR**, UINT, LCID, LONG*) { return E_NOTIMPL; }
    virtual HRESULT Invoke(LONG, const IID&, LCID, WORD, DISPPARAMS*, VARIANT*, EXCEPINFO*, UINT*) {
        return E_NOTIMPL;
    }
};

inline constexpr DWORD TYMED_HGLOBAL = 1;
inline constexpr DWORD DVASPECT_CONTENT = 1;

struct FORMATETC {
    WORD cfFormat; // a number of RegisterClipboardFormatW
    void* ptd;
    DWORD dwAspect;
    LONG lindex;
    DWORD tymed;
};
struct STGMEDIUM {
    DWORD tymed;
    union {
        HGLOBAL hGlobal; // of LocalAlloc
        WCHAR* lpszFileName;
    };
    IUnknown* pUnkForRelease; // when set, releasing it frees the medium
};
struct IEnumFORMATETC;
struct IEnumSTATDATA;
struct IAdviseSink;

struct IDataObject : IUnknown {
    virtual HRESULT GetData(FORMATETC* format, STGMEDIUM* medium) = 0;
    virtual HRESULT GetDataHere(FORMATETC* format, STGMEDIUM* medium) = 0;
    virtual HRESULT QueryGetData(FORMATETC* format) = 0;
    virtual HRESULT GetCanonicalFormatEtc(FORMATETC* in, FORMATETC* out) = 0;
    virtual HRESULT SetData(FORMATETC* format, STGMEDIUM* medium, BOOL release) = 0;
    virtual HRESULT EnumFormatEtc(DWORD direction, IEnumFORMATETC** formats) = 0;
    virtual HRESULT DAdvise(FORMATETC* format, DWORD flags, IAdviseSink* sink, DWORD* connection) = 0;
    virtual HRESULT DUnadvise(DWORD connection) = 0;
    virtual HRESULT EnumDAdvise(IEnumSTATDATA** connections) = 0;
};

// Nothing is to be done on this host: S_OK always.
HRESULT CoInitializeEx(void* reserved, DWORD flags);
void CoUninitialize();
// Makes an object of a registered class. REGDB_E_CLASSNOTREG (0x80040154) for an unknown one, E_NOINTERFACE when it has
// not that interface, E_INVALIDARG for aggregation, else what its factory says. Without success *object is null.
HRESULT CoCreateInstance(const CLSID& clsid, IUnknown* outer, DWORD context, const IID& iid, void** object);

// Makes one object and gives it out as the interface it was registered with, carrying one reference. Every interface
// derives from IUnknown alone, so other interfaces are reached from there through QueryInterface.
using PlatClassFactory = HRESULT (*)(void** object);
// Host side: puts a class into the table, or another in its place; a null factory takes it out.
void PlatRegisterClassObject(const CLSID& clsid, const IID& iid, PlatClassFactory factory);

// The number of a clipboard format, 0xC000 and up, the same for the same name (case-blind) for the life of the process.
// 0 with error 87 for no name, 8 when all numbers are taken.
UINT RegisterClipboardFormatW(LPCWSTR name);

#pragma GCC visibility pop
