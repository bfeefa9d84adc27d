// The shell's context-menu extensions: commands that other programs add to the menu of an item.
//
// Without a provider there are no extensions. Main thread only.
#pragma once

#include "Platform/com.h"
#include "Platform/types.h"

#pragma GCC visibility push(default)

// Whoever knows the extensions: a host, or a test.
struct PlatContextMenuProvider {
    // Adds rows with command ids from `first` to `last` to the popup, for the item that `data` tells of. Gives a handle and
    // an object that counts one reference beside one a row; both null when there is nothing to add.
    virtual HANDLE Extend(IDataObject* data, const WCHAR* className, const WCHAR* extensionClass, HMENU popup,
                          UINT first, UINT last, IUnknown** context) = 0;
    virtual void Invoke(HANDLE extensions, HWND owner, UINT command) = 0;
    virtual void Free(HANDLE extensions) = 0;

protected:
    ~PlatContextMenuProvider() = default;
};
void PlatSetContextMenuProvider(PlatContextMenuProvider* provider); // null takes it out

// What the provider does; null handles and objects without one.
HANDLE SHExtendContextMenu(IDataObject* data, const WCHAR* className, const WCHAR* extensionClass,
                           HMENU popup, UINT first, UINT last, IUnknown** context);
void SHInvokeContextMenu(HANDLE extensions, HWND owner, UINT command);
void SHFreeContextMenu(HANDLE extensions);

#pragma GCC visibility pop
