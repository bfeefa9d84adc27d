// A device with the side databases and the suite's session on the object model, for tests of data threads. The numbers of the
// named properties are the process's: they are forgotten before and after each test.
#pragma once

#include "NorvoTools/globals.h"
#include "Platform/modules.h"
#include "Platform/testing.h"
#include "QNWorkerClass/CQNDataThread.h"
#include "tests/support/sidestores.h"

#include <cstring>

class EngineTest : public SideStoresTest {
protected:
    EngineTest() {
        TIME_ZONE_INFORMATION zone = {};
        PlatSetTimeZone(&zone);
        ForgetProperties();
        g_pOutlook = &m_outlook;
        g_hResources = LoadLibraryW(u"QNResources.dll");
    }
    ~EngineTest() override {
        FreeLibrary(g_hResources);
        g_hResources = nullptr;
        g_pOutlook = nullptr;
        ForgetProperties();
    }
    void TearDown() override {
        m_outlook.Close();
        SideStoresTest::TearDown();
    }
    static void ForgetProperties() {
        for (auto* number : {&CQNDataThread::ms_IconProperty, &CQNDataThread::ms_ParentProperty,
                             &CQNDataThread::ms_PercentProperty, &CQNDataThread::ms_TrackedProperty,
                             &CQNDataThread::ms_GtdProjectProperty, &CQNDataThread::ms_StarredProperty,
                             &CQNDataThread::ms_ContextProperty, &CQNDataThread::ms_StatusProperty})
            *number = 0;
    }

    template<class T>
    void SetNamedScalar(CEOID item, const WCHAR* name, WORD type, T value) {
        std::vector<BYTE> bytes(sizeof value);
        std::memcpy(bytes.data(), &value, sizeof value);
        SetNamed(item, m_outlook.GetPOOM2Property(name, type, true), std::move(bytes));
    }
    void SetNamedText(CEOID item, const WCHAR* name, const std::u16string& text) {
        std::vector<BYTE> bytes((text.size() + 1) * sizeof(WCHAR));
        std::memcpy(bytes.data(), text.c_str(), bytes.size());
        SetNamed(item, m_outlook.GetPOOM2Property(name, CEVT_LPWSTR, true), std::move(bytes));
    }

    static void SetNumber(const WCHAR* key, const WCHAR* name, DWORD value) {
        CRegistry registry;
        registry.OpenKey(HKEY_CURRENT_USER, key);
        registry.SetValue(name, value);
        registry.CloseKey();
    }
    static void SetText(const WCHAR* key, const WCHAR* name, const WCHAR* value) {
        CRegistry registry;
        registry.OpenKey(HKEY_CURRENT_USER, key);
        registry.SetValue(name, value);
        registry.CloseKey();
    }

    COutlook m_outlook;
};
