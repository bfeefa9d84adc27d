// Programs, documents, shortcuts, and the queue of notifications.
#include "Platform/clock.h"
#include "Platform/messaging.h"
#include "Platform/notify.h"
#include "Platform/phone.h"
#include "Platform/process.h"
#include "Platform/registry.h"
#include "Platform/security.h"
#include "Platform/threads.h"
#include "tests/support/devicefiles.h"

#include <algorithm>
#include <chrono>
#include <cstdlib>
#include <thread>
#include <vector>

namespace fs = std::filesystem;

namespace {

class Host : public DeviceFilesTest {
protected:
    Host() : m_path(std::getenv("PATH") ? std::getenv("PATH") : "") {
        // The desktop's own programs must not be found; those of the test write down how they were called.
        fs::create_directories(HostPath("bin"));
        setenv("PATH", HostPath("bin").c_str(), 1);
    }
    ~Host() override { setenv("PATH", m_path.c_str(), 1); }

    // A host program that writes its arguments, one a line, to <name>.log.
    std::string MakeProgram(const std::string& name) {
        const std::string path = HostPath("bin/" + name);
        Put("bin/" + name, "#!/bin/sh\nfor a in \"$@\"; do echo \"$a\"; done > '" + Log(name) +
                               ".part'\n/bin/mv '" + Log(name) + ".part' '" + Log(name) + "'\n");
        fs::permissions(path, fs::perms::owner_all);
        return path;
    }
    std::string Log(const std::string& name) const { return HostPath(name + ".log"); }
    // What the program was given; it runs by itself, so wait for it.
    std::string Called(const std::string& name) {
        for (int i = 0; i < 500 && !OnDisk(name + ".log"); ++i)
            std::this_thread::sleep_for(std::chrono::milliseconds(10));
        const std::string lines = Get(name + ".log");
        fs::remove(Log(name));
        return lines;
    }
    static void Register(LPCWSTR name, const std::string& command) {
        HKEY key = nullptr;
        const std::u16string wide(command.begin(), command.end());
        RegCreateKeyExW(HKEY_LOCAL_MACHINE, u"Software\\Norvo\\HostPrograms", 0, nullptr, 0, 0, nullptr, &key,
                        nullptr);
        RegSetValueExW(key, name, 0, REG_SZ, reinterpret_cast<const BYTE*>(wide.c_str()),
                       static_cast<DWORD>((wide.size() + 1) * 2));
        RegCloseKey(key);
    }
    static DWORD Open(LPCWSTR file, LPCWSTR parameters = nullptr) {
        SHELLEXECUTEINFO info{};
        info.cbSize = sizeof info;
        info.lpVerb = u"open";
        info.lpFile = file;
        info.lpParameters = parameters;
        return ShellExecuteEx(&info) ? 0 : GetLastError();
    }
    static DWORD Start(LPCWSTR image, LPCWSTR arguments) {
        return CreateProcessW(image, arguments, nullptr, nullptr, FALSE, 0, nullptr, nullptr, nullptr,
                              nullptr)
                   ? 0
                   : GetLastError();
    }

private:
    const std::string m_path;
};

TEST_F(Host, ArgumentsReachTheProgramAsTheyAre) {
    Register(u"Mail.exe", "\"" + MakeProgram("mail") + "\" --host \"two words\"");
    const struct {
        const char16_t* arguments;
        const char* lines;
    } cases[] = {{u"-open  x", "--host\ntwo words\n-open\nx\n"},
                 {u"-to \"Ann B <a@b.c>\" \"\"", "--host\ntwo words\n-to\nAnn B <a@b.c>\n\n"},
                 {u"say \"a \"\"b\"\" c\"", "--host\ntwo words\nsay\na \"b\" c\n"},
                 {u"$(touch x); `id` | * ' \\", "--host\ntwo words\n$(touch\nx);\n`id`\n|\n*\n'\n\\\n"},
                 {nullptr, "--host\ntwo words\n"}};
    for (const auto& c : cases) {
        EXPECT_EQ(Start(u"\\Program Files\\MAIL.EXE", c.arguments), 0u);
        EXPECT_EQ(Called("mail"), c.lines);
    }
    Register(u"\\A\\mail.exe", MakeProgram("one")); // a row by the whole path comes first
    EXPECT_EQ(Start(u"\\a\\MAIL.exe", u"1"), 0u);
    EXPECT_EQ(Called("one"), "1\n");
}

TEST_F(Host, WhatCantBeStarted) {
    Put("Windows/there.exe", "MZ");
    Put("My Documents/letter.doc", "x");
    Register(u"gone.exe", "/nonexistent/program");
    Register(u"text.exe", HostPath("My Documents/letter.doc"));
    const struct {
        const char16_t* file;
        DWORD created, opened;
    } cases[] = {{u"\\Windows\\none.exe", 2, 2},
                 {u"\\None\\none.exe", 3, 3},
                 {u"\\Windows\\there.exe", 1155, 1155},
                 {u"\\Windows\\gone.exe", 1155, 2},           // its row is there, its command is not
                 {u"text.exe", 1155, 2},                      // not executable
                 {u"\\My Documents\\letter.doc", 1155, 1155}, // no xdg-open on the path
                 {u"..\\x.exe", 123, 123},
                 {u"http://example.org/", 123, 1155},
                 {u"", 87, 87}};
    for (const auto& c : cases) {
        EXPECT_EQ(Start(c.file, nullptr), c.created) << fs::path(c.file).string();
        EXPECT_EQ(Open(c.file), c.opened) << fs::path(c.file).string();
    }
}

TEST_F(Host, ShortcutsGoToTheirTargetAndDocumentsToTheDesktop) {
    Register(u"QNTab.exe", MakeProgram("tab"));
    EXPECT_EQ(SHCreateShortcut(u"\\Cal.lnk", u"\"\\Program Files\\QNTab.exe\" 52"), TRUE);
    EXPECT_EQ(Get("Cal.lnk"), "\"\\Program Files\\QNTab.exe\" 52");
    WCHAR target[64];
    EXPECT_TRUE(SHGetShortcutTarget(u"\\cal.LNK", target, 64));
    EXPECT_EQ(std::u16string(target), u"\"\\Program Files\\QNTab.exe\" 52");
    EXPECT_EQ(Open(u"\\Cal.lnk", u"\"x y\""), 0u);
    EXPECT_EQ(Called("tab"), "52\nx y\n");

    Put("Device.lnk", "20#\\windows\\QNTab.exe 9\r\n"); // as a device writes it
    EXPECT_EQ(Open(u"\\Device.lnk"), 0u);
    EXPECT_EQ(Called("tab"), "9\n");
    MakeProgram("xdg-open");
    Put("My Documents/a b.doc", "x");
    EXPECT_EQ(Open(u"\\my documents\\A B.DOC"), 0u);
    EXPECT_EQ(Called("xdg-open"), HostPath("My Documents/a b.doc") + "\n");
    EXPECT_EQ(Open(u"https://example.org/?a=1&b='2'"), 0u);
    EXPECT_EQ(Called("xdg-open"), "https://example.org/?a=1&b='2'\n");
    EXPECT_EQ(Open(u"\\My Documents\\none.doc"), 2u);
    Put("Ring.lnk", "\\Ring.lnk");
    EXPECT_EQ(Open(u"\\Ring.lnk"), 1155u);
    Put("Empty.lnk", "");
    EXPECT_EQ(Open(u"\\Empty.lnk"), ERROR_BAD_FORMAT);
    EXPECT_EQ(Open(u"\\None.lnk"), 2u);
}

TEST_F(Host, RecordingStartsNothing) {
    Register(u"a.exe", MakeProgram("a"));
    PlatRecordPrograms(true);
    EXPECT_EQ(Start(u"a.exe", u"1 2"), 0u);
    EXPECT_EQ(Open(u"mailto:x@y.z"), 0u);
    PlatRecordPrograms(true, 8);
    EXPECT_EQ(Open(u"b.doc", u"p"), 8u);
    std::u16string all;
    for (const auto& program : PlatTakePrograms()) all += program.file + u"(" + program.arguments + u")";
    EXPECT_EQ(all, u"a.exe(1 2)mailto:x@y.z()b.doc(p)");
    EXPECT_FALSE(OnDisk("a.log"));
}

// --- Notifications ------------------------------------------------------------------------------------------------

constexpr SYSTEMTIME At(WORD day, WORD hour, WORD minute = 0) {
    return {2026, 11, 0, day, hour, minute, 0, 0};
}

class Notifications : public Host {
protected:
    static HANDLE Set(const SYSTEMTIME& start, LPCWSTR title, LPCWSTR text, HANDLE handle = nullptr) {
        CE_NOTIFICATION_TRIGGER trigger{52, CNT_TIME, 0, u"CALENDAR.EXE", nullptr, start, {}};
        CE_USER_NOTIFICATION user{PUN_DIALOG, title, text, nullptr, 0, 0};
        return CeSetUserNotificationEx(handle, &trigger, &user);
    }
    static std::vector<HANDLE> Handles() {
        DWORD count = 0;
        CeGetUserNotificationHandles(nullptr, 0, &count);
        std::vector<HANDLE> handles(count);
        EXPECT_TRUE(CeGetUserNotificationHandles(handles.data(), count, &count));
        return handles;
    }
    static std::u16string Delivered() {
        std::u16string all;
        for (const auto& program : PlatTakePrograms()) all += program.file + u"(" + program.arguments + u")";
        return all;
    }
};

TEST_F(Notifications, AreDeliveredOnceAndSurviveARestart) {
    PlatRecordPrograms(true);
    const HANDLE later = Set(At(21, 9, 30), u"Later", u"b");
    Set(At(21, 9), u"Sooner", u"a");
    const HANDLE cleared = Set(At(21, 9), u"Cleared", u""), moved = Set(At(21, 9), u"Old", u"");
    ASSERT_NE(later, nullptr);
    EXPECT_LT(reinterpret_cast<ULONG_PTR>(later), 0x80000000u);
    EXPECT_EQ(Set(At(24, 9), u"New", u"", moved), moved);
    EXPECT_TRUE(CeClearUserNotification(cleared));
    EXPECT_EQ(ErrorOf(Set(At(22, 9), u"x", u"", cleared)), ERROR_INVALID_HANDLE);
    const struct {
        SYSTEMTIME now;
        DWORD count;
        const char16_t* delivered;
    } steps[] = {{At(21, 8, 59), 0, u""},
                 {At(21, 9), 1, u"notify-send(Sooner\na)"},
                 {At(23, 0), 1, u"notify-send(Later\nb)"}, // overdue
                 {At(23, 0), 0, u""},
                 {At(24, 9), 1, u"notify-send(New\n)"}};
    for (const auto& step : steps) {
        PlatSetDeviceFolder(m_folder); // a restart
        EXPECT_EQ(PlatRunDueNotifications(step.now), step.count);
        EXPECT_EQ(Delivered(), step.delivered);
    }
    EXPECT_TRUE(Handles().empty());
    EXPECT_EQ(ErrorOf(CeClearUserNotification(later)), ERROR_INVALID_HANDLE);
    const HANDLE fresh = Set(At(24, 9), u"Newer", u"");
    EXPECT_EQ(Handles(), std::vector{fresh});
    EXPECT_NE(fresh, later); // numbers of the past don't come back
}

TEST_F(Notifications, WhatIsRefused) {
    const CE_NOTIFICATION_TRIGGER refused[] = {
        {sizeof(CE_NOTIFICATION_TRIGGER), CNT_TIME, 0, u"x.exe", nullptr, At(21, 9), {}},
        {52, 4, 0, u"x.exe", nullptr, At(21, 9), {}},
        {52, CNT_TIME, 0, u"x.exe", nullptr, At(31, 9), {}}, // of November
        {52, CNT_TIME, 0, u"x.exe", nullptr, {}, {}}};
    for (const CE_NOTIFICATION_TRIGGER& trigger : refused)
        EXPECT_EQ(ErrorOf(CeSetUserNotificationEx(nullptr, &trigger, nullptr)), ERROR_INVALID_PARAMETER);
    EXPECT_EQ(CeSetUserNotificationEx(nullptr, nullptr, nullptr), nullptr);
    EXPECT_TRUE(Handles().empty());
}

TEST_F(Notifications, GivesBackWhatWasSet) {
    const HANDLE handle = Set(At(21, 9), u"POOM: 1 ", u"Dentist\r\nMain Street");
    DWORD needed = 0;
    EXPECT_FALSE(CeGetUserNotification(handle, 0, &needed, nullptr));
    std::vector<std::max_align_t> room(needed / sizeof(std::max_align_t) + 1);
    auto* buffer = reinterpret_cast<BYTE*>(room.data());
    EXPECT_EQ(ErrorOf(CeGetUserNotification(handle, needed - 1, &needed, buffer)), ERROR_INSUFFICIENT_BUFFER);
    ASSERT_TRUE(CeGetUserNotification(handle, needed, &needed, buffer));
    const auto& header = *reinterpret_cast<const CE_NOTIFICATION_INFO_HEADER*>(buffer);
    EXPECT_EQ(header.hNotification, handle);
    EXPECT_EQ(header.pcent->dwSize, 52u);
    EXPECT_EQ(std::u16string(header.pcent->lpszApplication), u"CALENDAR.EXE");
    EXPECT_EQ(header.pcent->stStartTime.wHour, 9);
    EXPECT_EQ(header.pcent->stStartTime.wDay, 21);
    EXPECT_EQ(header.pcent->stEndTime.wYear, 0);
    EXPECT_EQ(std::u16string(header.pceun->pwszDialogText), u"Dentist\r\nMain Street");
    EXPECT_EQ(header.pceun->ActionFlags, PUN_DIALOG);
}

TEST_F(Notifications, PeopleSeeTheTextNotTheLineForPrograms) {
    MakeProgram("notify-send");
    Set(At(21, 9), u"POOM: 1073741825 2026 11 21 ", u"-Dentist & <Co>\r\nMain Street");
    EXPECT_EQ(PlatRunDueNotifications(At(21, 9)), 1u);
    EXPECT_EQ(Called("notify-send"), "--app-name=Quillonary\n--\n-Dentist & <Co>\nMain Street\n");
    Set(At(21, 9), u"Title", u"a & <b>");
    EXPECT_EQ(PlatRunDueNotifications(At(21, 9)), 1u);
    EXPECT_EQ(Called("notify-send"), "--app-name=Quillonary\n--\nTitle\na &amp; &lt;b&gt;\n");
    // Without a desktop there is a line in the debug output.
    fs::remove(HostPath("bin/notify-send"));
    PlatTakeDebugOutput();
    Set(At(21, 9), u"Title", u"text");
    EXPECT_EQ(PlatRunDueNotifications(At(21, 9)), 1u);
    const auto lines = PlatTakeDebugOutput();
    EXPECT_TRUE(
        std::ranges::any_of(lines, [](const auto& line) { return line.find(u"Title") != line.npos; }));
}

TEST_F(Notifications, ThePumpDelivers) {
    PlatRecordPrograms(true);
    const SYSTEMTIME now = At(21, 9);
    PlatSetTimeZoneByName("UTC");
    PlatSetClock(&now);
    Set(At(21, 8), u"Overdue", u"");
    PlatStartNotificationPump();
    PlatStartNotificationPump();
    std::vector<PlatProgramRecord> all;
    const auto wait = [&](std::size_t count) {
        for (int i = 0; i < 500 && all.size() < count; ++i) {
            for (auto& program : PlatTakePrograms()) all.push_back(std::move(program));
            std::this_thread::sleep_for(std::chrono::milliseconds(10));
        }
        return all.size();
    };
    EXPECT_EQ(wait(1), 1u);
    Set(At(21, 9), u"Now", u""); // wakes it
    EXPECT_EQ(wait(2), 2u);
    PlatStopNotificationPump();
    PlatStopNotificationPump();
    Set(At(21, 9), u"Stopped", u"");
    EXPECT_EQ(Handles().size(), 1u);
}

TEST_F(Notifications, ProvidersShowRemindersAndStartPrograms) {
    std::u16string seen;
    PlatSetReminderProvider(
        [](void* user, LPCWSTR title, LPCWSTR text) {
            *static_cast<std::u16string*>(user) += std::u16string(title) + u"/" + text + u";";
        },
        &seen);
    PlatSetProgramProvider(
        [](void* user, LPCWSTR file, LPCWSTR arguments) -> DWORD {
            *static_cast<std::u16string*>(user) += std::u16string(file) + u"(" + arguments + u");";
            return file[0] == u'x' ? 8 : 0;
        },
        &seen);
    // Without a dialog the application is started; an event never happens.
    const CE_NOTIFICATION_TRIGGER trigger{52, CNT_TIME, 0, u"\\Note.exe", u"a b", At(21, 9), {}};
    const CE_NOTIFICATION_TRIGGER event{52, CNT_EVENT, 7, u"x.exe", nullptr, {}, {}};
    EXPECT_NE(CeSetUserNotificationEx(nullptr, &trigger, nullptr), nullptr);
    EXPECT_NE(CeSetUserNotificationEx(nullptr, &event, nullptr), nullptr);
    Set(At(21, 10), u"POOM: 1 ", u"Dentist\r\nMain Street");
    EXPECT_EQ(PlatRunDueNotifications(At(21, 10)), 2u);
    EXPECT_EQ(Open(u"http://a.b/"), 0u);
    EXPECT_EQ(Start(u"x.exe", nullptr), 8u);
    EXPECT_EQ(seen, u"\\Note.exe(a b);Dentist/Main Street;http://a.b/();x.exe();");
    PlatResetForTests();
    EXPECT_EQ(Start(u"x.exe", nullptr), 2u);
}

// --- Services that others provide ---------------------------------------------------------------------------------

TEST_F(Host, MailIsComposedOnTheDesktop) {
    MAILCOMPOSEFIELDS fields{};
    fields.pszTo = u"a@b.c";
    fields.pszSubject = u"Hi; rm -r *";
    fields.pszAttachments = u"\\A.txt\0\\b.txt\0";
    fields.cAttachments = 2;
    Put("a.txt", "");
    EXPECT_EQ(MailComposeMessage(&fields), E_INVALIDARG); // one attachment is missing
    Put("b.txt", "");
    EXPECT_EQ(MailComposeMessage(&fields), E_FAIL); // no mail program
    MakeProgram("xdg-email");
    EXPECT_EQ(MailComposeMessage(&fields), S_OK);
    EXPECT_EQ(Called("xdg-email"), "--utf8\n--subject\nHi; rm -r *\n--attach\n" + HostPath("a.txt") +
                                       "\n--attach\n" + HostPath("b.txt") + "\na@b.c\n");
    fields.pszTo = u"--help";
    EXPECT_EQ(MailComposeMessage(&fields), E_INVALIDARG);
    fields.pszAccount = u"SMS";
    EXPECT_EQ(MailComposeMessage(&fields), E_FAIL);
    EXPECT_EQ(MailComposeMessage(nullptr), E_INVALIDARG);
}

TEST_F(Host, ProvidersTakeOverUntilTheReset) {
    PHONEMAKECALLINFO call{kPhoneMakeCallSize, 1, u"123", nullptr, u"Ann", nullptr};
    MAILCOMPOSEFIELDS mail{};
    mail.pszAccount = u"SMS";
    std::u16string seen;
    for (int round = 0; round < 2; ++round, PlatResetForTests()) {
        EXPECT_EQ(PhoneMakeCall(&call), E_NOINTERFACE);
        EXPECT_EQ(MailComposeMessage(&mail), E_FAIL);
        EXPECT_EQ(SHDeviceLockAndPrompt(), 0);
        EXPECT_TRUE(VerifyUser(nullptr, nullptr, nullptr, 2, nullptr));
        PlatSetPhoneProvider(
            [](void* user, const PHONEMAKECALLINFO& info) -> LONG {
                return *static_cast<std::u16string*>(user) += info.pszDestAddress, 0;
            },
            &seen);
        PlatSetMailProvider(
            [](void* user, const MAILCOMPOSEFIELDS& fields) -> HRESULT {
                return *static_cast<std::u16string*>(user) += fields.pszAccount, S_FALSE;
            },
            &seen);
        PlatSetLockProvider([](void*, HWND, LPCWSTR prompt) { return prompt != nullptr; }, nullptr);
        EXPECT_EQ(PhoneMakeCall(&call), 0);
        EXPECT_EQ(MailComposeMessage(&mail), S_FALSE);
        EXPECT_LT(SHDeviceLockAndPrompt(), 0);
        EXPECT_TRUE(VerifyUser(nullptr, u"?", nullptr, 2, nullptr));
    }
    EXPECT_EQ(seen, u"123SMS123SMS");
    call.cbSize = sizeof call;
    EXPECT_EQ(PhoneMakeCall(&call), E_INVALIDARG);
}

} // namespace
