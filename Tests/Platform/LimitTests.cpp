// Where the stand-in does less than Windows, and where Wine differs from Windows.
#include "WindowFixture.h"

namespace
{

using LimitTest = WindowingTest;

TEST_F(LimitTest, WindowsAndWaits)
{
    const Opened event = CreateEventW(nullptr, FALSE, TRUE, nullptr);
    const HANDLE handle = event;
    EXPECT_FAILS_WITH(ERROR_INVALID_PARAMETER, WaitForMultipleObjects(1, &handle, TRUE, 0) != WAIT_FAILED);

    Box->FailCall("CreateWindowExW", 1, ERROR_NOT_ENOUGH_MEMORY);
    EXPECT_FAILS_WITH(ERROR_NOT_ENOUGH_MEMORY, MakeWindow());
    const HWND window = MakeWindow();
    EXPECT_FAILS_WITH(ERROR_INVALID_WINDOW_HANDLE, MakeWindow(ClassName.Text, nullptr, window));
    EXPECT_FAILS_WITH(ERROR_RESOURCE_NAME_NOT_FOUND, LoadCursorW(nullptr, nullptr));
    EXPECT_FAILS_WITH(ERROR_CANNOT_FIND_WND_CLASS, MakeWindow(u"Nothing"));
    EXPECT_FAILS_WITH(ERROR_INVALID_DATA, Register(window, 28));
    EXPECT_FAILS_WITH(ERROR_INVALID_PARAMETER, RegisterDeviceNotificationW(window, nullptr, 0));
    MSG message{};
    EXPECT_FAILS_WITH(ERROR_INVALID_PARAMETER, GetMessageW(&message, window, 0, 0) != -1);
    const HDEVNOTIFY registered = Register(window);
    EXPECT_TRUE(UnregisterDeviceNotification(registered));
    EXPECT_FAILS_WITH(ERROR_INVALID_HANDLE, UnregisterDeviceNotification(registered));
    int posted = 0;
    while (PostMessageW(nullptr, WM_USER, 0, 0))
        ++posted;
    EXPECT_EQ(posted, 10000);
    EXPECT_EQ(GetLastError(), DWORD{ERROR_NOT_ENOUGH_QUOTA});
    EXPECT_EQ(Platform::CountOpenObjects().Windows, 1U);
    EXPECT_TRUE(DestroyWindow(window));
    EXPECT_FAILS_WITH(ERROR_INVALID_WINDOW_HANDLE, DestroyWindow(window));
    EXPECT_FAILS_WITH(ERROR_INVALID_WINDOW_HANDLE, UpdateWindow(window));
    EXPECT_EQ(Platform::CountOpenObjects().Windows, 0U);
}

TEST_F(LimitTest, CallerWithoutRightsOnlyReadsTheRegistry)
{
    Box->SetValue("SOFTWARE\\A", "Old", Platform::RegistryValue::Number(1));
    Box->SetCallerRights(false);
    HKEY opened = nullptr;
    EXPECT_EQ(RegCreateKeyA(HKEY_LOCAL_MACHINE, "SOFTWARE\\New", &opened), ERROR_ACCESS_DENIED);
    for (const auto open : {&RegOpenKeyA, &RegCreateKeyA})
    {
        ASSERT_EQ(open(HKEY_LOCAL_MACHINE, "SOFTWARE\\A", &opened), ERROR_SUCCESS) << "for reading";
        const Opened key = opened;
        EXPECT_EQ(RegQueryValueExA(key, "Old", nullptr, nullptr, nullptr, nullptr), ERROR_SUCCESS);
        EXPECT_EQ(RegSetValueExA(key, "New", 0, REG_SZ, nullptr, 0), ERROR_ACCESS_DENIED);
        EXPECT_EQ(RegDeleteKeyValueA(key, nullptr, "Old"), ERROR_ACCESS_DENIED);
        Box->SetCallerRights(true);
        EXPECT_EQ(RegSetValueExA(key, "New", 0, REG_SZ, nullptr, 0), ERROR_ACCESS_DENIED) << "rights of the opening";
        Box->SetCallerRights(false);
    }
    EXPECT_EQ(RegDeleteKeyValueA(HKEY_LOCAL_MACHINE, "SOFTWARE\\A", "Old"), ERROR_ACCESS_DENIED);
    EXPECT_EQ(RegDeleteKeyA(HKEY_LOCAL_MACHINE, "SOFTWARE\\A"), ERROR_ACCESS_DENIED);
    EXPECT_FAILS_WITH(ERROR_ACCESS_DENIED, SetupDiOpenClassRegKey(nullptr, KEY_ALL_ACCESS) != INVALID_HANDLE_VALUE);
    EXPECT_TRUE(Box->Value("SOFTWARE\\A", "Old").has_value());
}

} // namespace
