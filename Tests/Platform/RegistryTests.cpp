#include "Expect.h"

#include <array>
#include <thread>
#include <tuple>

using Platform::RegistryValue;

namespace
{

using RegistryTest = OnMachine;

HKEY Create(const std::string& path)
{
    HKEY key = nullptr;
    EXPECT_EQ(ERROR_SUCCESS, RegCreateKeyA(HKEY_LOCAL_MACHINE, path.c_str(), &key));
    return key;
}

TEST_F(RegistryTest, ReadsWithinTheRoomGiven)
{
    const RegistryValue text = RegistryValue::Text("abc");
    const RegistryValue open{REG_SZ, {'a', 'b'}}; // without a NUL
    const std::tuple<RegistryValue, DWORD, LSTATUS, DWORD, const char*> cases[] = {
        {text, 8, 0, 4, "abc\0####"},
        {text, 4, 0, 4, "abc\0####"},
        {text, 3, ERROR_MORE_DATA, 4, "########"},
        {open, 3, 0, 3, "ab\0#####"},
        {open, 2, 0, 2, "ab######"},
        {{REG_EXPAND_SZ, open.Data}, 1, ERROR_MORE_DATA, 3, "########"},
        {RegistryValue::Binary({'a', 'b'}), 8, 0, 2, "ab######"},
        {{REG_SZ, {}}, 8, 0, 0, "########"},
        {RegistryValue::Number(7), 0, ERROR_MORE_DATA, 4, "########"},
    };
    for (const auto& [stored, room, result, expectedSize, expectedData] : cases)
    {
        Box->SetValue("SOFTWARE\\Reads", "Value", stored);
        const Opened key = Create("software\\READS");
        std::string data(8, '#');
        DWORD type = 99;
        DWORD size = room;
        EXPECT_EQ(result, RegQueryValueExA(key, "vALUE", nullptr, &type, reinterpret_cast<BYTE*>(data.data()), &size));
        EXPECT_EQ(stored.Type, type);
        EXPECT_EQ(expectedSize, size);
        EXPECT_EQ(std::string(expectedData, 8), data) << "in a room of " << room;
    }
}

TEST_F(RegistryTest, AsksForSizeAndRefusesDataWithoutOne)
{
    Box->SetValue("SOFTWARE\\A", "", RegistryValue{REG_SZ, {'a', 'b'}});
    const Opened key = Create("SOFTWARE\\A");
    DWORD type = 99;
    DWORD size = 0;
    BYTE data = 0;
    EXPECT_EQ(ERROR_SUCCESS, RegQueryValueExA(key, nullptr, nullptr, nullptr, nullptr, &size));
    EXPECT_EQ(ERROR_INVALID_PARAMETER, RegQueryValueExA(key, nullptr, nullptr, &type, &data, nullptr));
    EXPECT_EQ(ERROR_SUCCESS, RegQueryValueExA(key, nullptr, nullptr, &type, nullptr, nullptr));
    EXPECT_EQ(REG_SZ, type);
    EXPECT_EQ(ERROR_FILE_NOT_FOUND, RegQueryValueExA(key, "missing", nullptr, &type, &data, &size));
    EXPECT_EQ(REG_NONE, type);
    EXPECT_EQ(3U, size) << "with the NUL that it lacks, and none of the missing one";
}

TEST_F(RegistryTest, TreatsPathsAsWindowsDoes)
{
    Box->SetValue("SOFTWARE\\Vendor\\Product", "v", RegistryValue::Number(1));
    using Results = std::tuple<LSTATUS, LSTATUS, LSTATUS>; // of an open, a creation and a deletion
    const std::pair<const char*, Results> cases[] = {
        {"SOFTWARE\\Vendor", {0, 0, ERROR_ACCESS_DENIED}},
        {R"(software\\VENDOR\product\)", {0, 0, 0}},
        {"\\SOFTWARE", {ERROR_BAD_PATHNAME, ERROR_BAD_PATHNAME, ERROR_BAD_PATHNAME}},
        {"SOFTWARE\\None", {ERROR_FILE_NOT_FOUND, 0, 0}},
        {"NoHive\\Key", {ERROR_FILE_NOT_FOUND, ERROR_INVALID_PARAMETER, ERROR_FILE_NOT_FOUND}},
        {"", {0, 0, ERROR_ACCESS_DENIED}},
    };
    for (const auto& [path, expected] : cases)
    {
        HKEY opened = HKEY_LOCAL_MACHINE;
        HKEY created = HKEY_LOCAL_MACHINE;
        const Results results{RegOpenKeyA(HKEY_LOCAL_MACHINE, path, &opened),
                              RegCreateKeyA(HKEY_LOCAL_MACHINE, path, &created),
                              RegDeleteKeyA(HKEY_LOCAL_MACHINE, path)};
        EXPECT_EQ(expected, results) << path;
        EXPECT_EQ(std::get<1>(results) == 0, RegCloseKey(created) == ERROR_SUCCESS) << path;
        EXPECT_EQ(std::get<0>(results) == 0, RegCloseKey(opened) == ERROR_SUCCESS) << path;
    }
}

TEST_F(RegistryTest, HandlesWithoutAPathOrAKeyOrAMachine)
{
    HKEY again = nullptr;
    auto inner = std::make_unique<Platform::ScopedMachine>();
    const HKEY key = Create("SOFTWARE\\A\\B");
    EXPECT_EQ(ERROR_SUCCESS, RegOpenKeyW(key, u"", &again));
    EXPECT_EQ(key, again) << "nothing to open gives the same handle";
    inner.reset();
    EXPECT_FALSE(Box->KeyExists("SOFTWARE\\A"));
    EXPECT_EQ(ERROR_SUCCESS, RegFlushKey(key)) << "the handle keeps its machine";
    EXPECT_EQ(ERROR_SUCCESS, RegCloseKey(key));
    EXPECT_EQ(ERROR_INVALID_HANDLE, RegCloseKey(again));
    EXPECT_EQ(ERROR_INVALID_HANDLE, RegFlushKey(nullptr));
    EXPECT_EQ(ERROR_SUCCESS, RegCloseKey(HKEY_LOCAL_MACHINE));
    EXPECT_EQ(ERROR_SUCCESS, RegFlushKey(HKEY_LOCAL_MACHINE));
    const Opened deleted = Create("SOFTWARE\\A\\B");
    Box->DeleteTree("SOFTWARE\\A");
    EXPECT_EQ(ERROR_KEY_DELETED, RegQueryValueExA(deleted, "v", nullptr, nullptr, nullptr, nullptr));
    EXPECT_EQ(ERROR_KEY_DELETED, RegCreateKeyA(deleted, "C", &again));
    EXPECT_FALSE(Box->KeyExists("SOFTWARE\\A"));
}

TEST_F(RegistryTest, NamesOfValuesHaveNoCase)
{
    const Opened key = Create("SOFTWARE\\A");
    const BYTE one[] = {1};
    EXPECT_EQ(ERROR_SUCCESS, RegSetValueExA(key, "Name", 0, REG_BINARY, one, 1));
    EXPECT_EQ(ERROR_SUCCESS, RegSetValueExA(key, "NAME", 0, REG_DWORD, one, 0));
    EXPECT_EQ(ERROR_NOACCESS, RegSetValueExA(key, "NAME", 0, REG_DWORD, nullptr, 4));
    EXPECT_EQ((RegistryValue{REG_DWORD, {}}), Box->Value("software\\a", "name"));
    EXPECT_EQ(ERROR_SUCCESS, RegDeleteKeyValueA(key, nullptr, "nAme"));
    EXPECT_EQ(ERROR_FILE_NOT_FOUND, RegDeleteKeyValueA(HKEY_LOCAL_MACHINE, "SOFTWARE\\A", "Name"));
    EXPECT_EQ(ERROR_FILE_NOT_FOUND, RegDeleteKeyValueA(HKEY_LOCAL_MACHINE, "SOFTWARE\\B", "Name"));
}

TEST_F(RegistryTest, ServesFourThreadsAtOnce)
{
    const auto work = [](char name) {
        const std::string path = std::string("SOFTWARE\\Shared\\") + name;
        for (BYTE i = 0; i < 200; ++i)
        {
            const Opened key = Create(path);
            BYTE read = 0;
            DWORD size = 1;
            EXPECT_EQ(ERROR_SUCCESS, RegSetValueExA(key, "v", 0, REG_BINARY, &i, 1));
            EXPECT_EQ(ERROR_SUCCESS, RegQueryValueExA(key, "v", nullptr, nullptr, &read, &size));
            EXPECT_EQ(i, read);
            EXPECT_EQ(ERROR_SUCCESS, RegDeleteKeyA(HKEY_LOCAL_MACHINE, path.c_str()));
        }
    };
    std::array<std::jthread, 4> threads;
    for (char name = 'a'; auto& thread : threads)
        thread = std::jthread(work, name++);
}

} // namespace
