// Where the stand-in does less than Windows, and where Wine differs from Windows.
#include "WindowFixture.h"

namespace
{

using LimitTest = WindowingTest;

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
