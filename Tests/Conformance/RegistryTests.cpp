#include "Checks.h"

#include <array>
#include <thread>
#include <tuple>

namespace
{

/// A separate key for each test, empty again at its end.
class RegistryTest : public testing::Test
{
protected:
    ~RegistryTest() override
    {
        EXPECT_EQ(ERROR_SUCCESS, RegCloseKey(Key));
        EXPECT_EQ(ERROR_SUCCESS, Delete(""));
    }

    HKEY Create(const std::string& below = "") const
    {
        HKEY key = nullptr;
        EXPECT_EQ(ERROR_SUCCESS, RegCreateKeyA(HKEY_LOCAL_MACHINE, (Path + below).c_str(), &key));
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
        EXPECT_EQ(ERROR_SUCCESS, Store(Key, "Value", kind, stored));
        std::string data(8, '#');
        DWORD type = 99;
        DWORD size = room;
        EXPECT_EQ(result, RegQueryValueExA(Key, "vALUE", nullptr, &type, reinterpret_cast<BYTE*>(data.data()), &size));
        EXPECT_EQ(kind, type);
        EXPECT_EQ(expectedSize, size) << stored << " in a room of " << room;
        EXPECT_EQ(std::string(expectedData, 8), data) << stored << " in a room of " << room;
    }
}

TEST_F(RegistryTest, ReturnsTheSizeAndRefusesDataWithoutASize)
{
    EXPECT_EQ(ERROR_SUCCESS, Store(Key, "", REG_SZ, "ab"));
    DWORD type = 99;
    DWORD size = 0;
    BYTE data = 0;
    EXPECT_EQ(ERROR_SUCCESS, RegQueryValueExA(Key, nullptr, nullptr, nullptr, nullptr, &size));
    EXPECT_EQ(ERROR_INVALID_PARAMETER, RegQueryValueExA(Key, nullptr, nullptr, &type, &data, nullptr));
    EXPECT_EQ(ERROR_SUCCESS, RegQueryValueExA(Key, nullptr, nullptr, &type, nullptr, nullptr));
    EXPECT_EQ(DWORD{REG_SZ}, type);
    EXPECT_EQ(ERROR_FILE_NOT_FOUND, RegQueryValueExA(Key, "missing", nullptr, &type, &data, &size));
    EXPECT_EQ(DWORD{REG_NONE}, type);
    EXPECT_EQ(2U, size) << "without the NUL that it lacks, and nothing of the missing one";
}

TEST_F(RegistryTest, TreatsPathsAsWindowsDoes)
{
    EXPECT_EQ(ERROR_SUCCESS, RegCloseKey(Create("\\Vendor\\Product")));
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
        EXPECT_EQ(expected, results) << path;
        EXPECT_EQ(std::get<1>(results) == 0, created != Key && RegCloseKey(created) == ERROR_SUCCESS) << path;
        EXPECT_EQ(std::get<0>(results) == 0, opened == Key || RegCloseKey(opened) == ERROR_SUCCESS) << path;
    }
    EXPECT_EQ(ERROR_SUCCESS, Delete("\\Vendor"));
}

TEST_F(RegistryTest, HandlesWithoutAPathOrAKey)
{
    HKEY again = nullptr;
    EXPECT_EQ(ERROR_SUCCESS, RegOpenKeyW(Key, CWideText{""}.Text, &again));
    EXPECT_EQ(Key, again) << "nothing to open gives the same handle";
    const HKEY closed = Create();
    EXPECT_EQ(ERROR_SUCCESS, RegCloseKey(closed));
    EXPECT_EQ(ERROR_INVALID_HANDLE, RegCloseKey(closed));
    EXPECT_EQ(ERROR_INVALID_HANDLE, RegFlushKey(nullptr));
    EXPECT_EQ(ERROR_SUCCESS, RegCloseKey(HKEY_LOCAL_MACHINE));
    EXPECT_EQ(ERROR_SUCCESS, RegFlushKey(HKEY_LOCAL_MACHINE));
    const Opened deleted = Create("\\A");
    EXPECT_EQ(ERROR_SUCCESS, Delete("\\A"));
    EXPECT_EQ(ERROR_KEY_DELETED, RegQueryValueExA(deleted, "v", nullptr, nullptr, nullptr, nullptr));
    EXPECT_EQ(ERROR_KEY_DELETED, RegCreateKeyA(deleted, "C", &again));
    EXPECT_EQ(ERROR_FILE_NOT_FOUND, RegOpenKeyA(Key, "A", &again));
    EXPECT_EQ(nullptr, again);
}

TEST_F(RegistryTest, ValueNamesAreCaseInsensitive)
{
    EXPECT_EQ(ERROR_SUCCESS, Store(Key, "Name", REG_BINARY, "1"));
    EXPECT_EQ(ERROR_SUCCESS, Store(Key, "NAME", REG_DWORD, ""));
    EXPECT_EQ(ERROR_NOACCESS, RegSetValueExA(Key, "NAME", 0, REG_DWORD, nullptr, 4));
    DWORD type = 99;
    DWORD size = 99;
    EXPECT_EQ(ERROR_SUCCESS, RegQueryValueExA(Key, "name", nullptr, &type, nullptr, &size));
    EXPECT_EQ(std::pair(DWORD{REG_DWORD}, DWORD{0}), std::pair(type, size));
    EXPECT_EQ(ERROR_SUCCESS, RegDeleteKeyValueA(Key, nullptr, "nAme"));
    EXPECT_EQ(ERROR_FILE_NOT_FOUND, RegDeleteKeyValueA(HKEY_LOCAL_MACHINE, Path.c_str(), "Name"));
    EXPECT_EQ(ERROR_FILE_NOT_FOUND, RegDeleteKeyValueA(Key, "B", "Name"));
}

TEST_F(RegistryTest, ServesFourThreadsAtOnce)
{
    const auto work = [this](char name) {
        const std::string below = std::string("\\") + name;
        for (char i = 0; i < 100; ++i)
        {
            const Opened key = Create(below);
            BYTE read = 0;
            DWORD size = 1;
            EXPECT_EQ(ERROR_SUCCESS, Store(key, "v", REG_BINARY, {i}));
            EXPECT_EQ(ERROR_SUCCESS, RegQueryValueExA(key, "v", nullptr, nullptr, &read, &size));
            EXPECT_EQ(i, read);
            EXPECT_EQ(ERROR_SUCCESS, Delete(below));
        }
    };
    std::array<std::jthread, 4> threads;
    for (char name = 'a'; auto& thread : threads)
        thread = std::jthread(work, name++);
}

} // namespace
