#include "Checks.h"

#include <tuple>

namespace
{

/// A separate key for each test, empty again at its end.
class RegistryTest : public testing::Test
{
protected:
    ~RegistryTest() override
    {
        EXPECT_EQ(RegCloseKey(Key), ERROR_SUCCESS);
        EXPECT_EQ(Delete(""), ERROR_SUCCESS);
    }

    HKEY Create(const std::string& below = "") const
    {
        HKEY key = nullptr;
        EXPECT_EQ(RegCreateKeyA(HKEY_LOCAL_MACHINE, (Path + below).c_str(), &key), ERROR_SUCCESS);
        return key;
    }

    LSTATUS Delete(const std::string& below) const { return RegDeleteKeyA(HKEY_LOCAL_MACHINE, (Path + below).c_str()); }

    const std::string Path =
        std::string("SOFTWARE\\ZVConformance.") + testing::UnitTest::GetInstance()->current_test_info()->name();
    const HKEY Key = Create();
};

/// Stores text bytes that may lack their NUL; the byte that follows them here is not NUL.
LSTATUS Store(HKEY key, const char* name, DWORD type, const std::string& bytes)
{
    const std::string data = bytes + "#";
    return RegSetValueExA(key, name, 0, type, reinterpret_cast<const BYTE*>(data.data()),
                          static_cast<DWORD>(bytes.size()));
}

TEST_F(RegistryTest, ReadsAtMostTheBufferSize)
{
    const std::string text("abc\0", 4);
    const std::string open = "ab"; // without a NUL
    const std::tuple<DWORD, std::string, DWORD, LSTATUS, DWORD, const char*> cases[] = {
        {REG_SZ, text, 8, 0, 4, "abc\0####"},
        {REG_SZ, text, 4, 0, 4, "abc\0####"},
        {REG_SZ, text, 3, ERROR_MORE_DATA, 4, "########"},
        {REG_SZ, open, 3, 0, 2, "ab\0#####"},
        {REG_SZ, open, 2, 0, 2, "ab######"},
        {REG_EXPAND_SZ, open, 1, ERROR_MORE_DATA, 2, "########"},
        {REG_BINARY, open, 8, 0, 2, "ab######"},
        {REG_SZ, "", 8, 0, 0, "########"},
        {REG_DWORD, "1234", 0, ERROR_MORE_DATA, 4, "########"},
    };
    for (const auto& [kind, stored, room, result, expectedSize, expectedData] : cases)
    {
        EXPECT_EQ(Store(Key, "Value", kind, stored), ERROR_SUCCESS);
        std::string data(8, '#');
        DWORD type = 99;
        DWORD size = room;
        EXPECT_EQ(result, RegQueryValueExA(Key, "vALUE", nullptr, &type, reinterpret_cast<BYTE*>(data.data()), &size));
        EXPECT_EQ(kind, type);
        EXPECT_EQ(size, expectedSize) << stored << " in a buffer of " << room;
        EXPECT_EQ(data, std::string(expectedData, 8)) << stored << " in a buffer of " << room;
    }
}

TEST_F(RegistryTest, ReturnsTheSizeAndRefusesDataWithoutASize)
{
    EXPECT_EQ(Store(Key, "", REG_SZ, "ab"), ERROR_SUCCESS);
    DWORD type = 99;
    DWORD size = 0;
    BYTE data = 0;
    EXPECT_EQ(RegQueryValueExA(Key, nullptr, nullptr, nullptr, nullptr, &size), ERROR_SUCCESS);
    EXPECT_EQ(RegQueryValueExA(Key, nullptr, nullptr, &type, &data, nullptr), ERROR_INVALID_PARAMETER);
    EXPECT_EQ(RegQueryValueExA(Key, nullptr, nullptr, &type, nullptr, nullptr), ERROR_SUCCESS);
    EXPECT_EQ(type, DWORD{REG_SZ});
    EXPECT_EQ(RegQueryValueExA(Key, "missing", nullptr, &type, &data, &size), ERROR_FILE_NOT_FOUND);
    EXPECT_EQ(type, DWORD{REG_NONE});
    EXPECT_EQ(size, 2U) << "without the NUL that it lacks, and nothing of the missing one";
}

TEST_F(RegistryTest, TreatsPathsAsWindowsDoes)
{
    EXPECT_EQ(RegCloseKey(Create("\\Vendor\\Product")), ERROR_SUCCESS);
    using Results = std::tuple<LSTATUS, LSTATUS, LSTATUS>; // of an open, a creation and a deletion
    const std::pair<const char*, Results> cases[] = {
        {"Vendor", {0, 0, ERROR_ACCESS_DENIED}},
        {R"(VENDOR\product\)", {0, 0, 0}},
        {"\\Vendor", {ERROR_BAD_PATHNAME, ERROR_BAD_PATHNAME, ERROR_BAD_PATHNAME}},
        {"None", {ERROR_FILE_NOT_FOUND, 0, 0}},
        {"", {0, 0, ERROR_ACCESS_DENIED}},
    };
    for (const auto& [path, expected] : cases)
    {
        HKEY opened = HKEY_LOCAL_MACHINE;
        HKEY created = HKEY_LOCAL_MACHINE;
        const Results results{RegOpenKeyA(Key, path, &opened), RegCreateKeyA(Key, path, &created),
                              RegDeleteKeyA(Key, path)};
        EXPECT_EQ(results, expected) << path;
        EXPECT_EQ(std::get<1>(results) == 0, created != Key && RegCloseKey(created) == ERROR_SUCCESS) << path;
        EXPECT_EQ(std::get<0>(results) == 0, opened == Key || RegCloseKey(opened) == ERROR_SUCCESS) << path;
    }
    EXPECT_EQ(Delete("\\Vendor"), ERROR_SUCCESS);
}

TEST_F(RegistryTest, ADeletedKeyRefusesItsHandles)
{
    HKEY again = nullptr;
    const Opened deleted = Create("\\A");
    EXPECT_EQ(Delete("\\A"), ERROR_SUCCESS);
    EXPECT_EQ(RegQueryValueExA(deleted, "v", nullptr, nullptr, nullptr, nullptr), ERROR_KEY_DELETED);
    EXPECT_EQ(RegCreateKeyA(deleted, "C", &again), ERROR_KEY_DELETED);
    EXPECT_EQ(RegOpenKeyA(Key, "A", &again), ERROR_FILE_NOT_FOUND);
    EXPECT_EQ(again, nullptr);
}

TEST_F(RegistryTest, ValueNamesAreCaseInsensitive)
{
    EXPECT_EQ(Store(Key, "Name", REG_BINARY, "1"), ERROR_SUCCESS);
    EXPECT_EQ(Store(Key, "NAME", REG_DWORD, ""), ERROR_SUCCESS);
    DWORD type = 99;
    DWORD size = 99;
    EXPECT_EQ(RegQueryValueExA(Key, "name", nullptr, &type, nullptr, &size), ERROR_SUCCESS);
    EXPECT_EQ(std::pair(type, size), std::pair(DWORD{REG_DWORD}, DWORD{0}));
    EXPECT_EQ(RegDeleteKeyValueA(HKEY_LOCAL_MACHINE, Path.c_str(), "nAme"), ERROR_SUCCESS);
    EXPECT_EQ(RegDeleteKeyValueA(HKEY_LOCAL_MACHINE, Path.c_str(), "Name"), ERROR_FILE_NOT_FOUND);
    EXPECT_EQ(RegDeleteKeyValueA(Key, "B", "Name"), ERROR_FILE_NOT_FOUND);
}

} // namespace
