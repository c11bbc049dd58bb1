#include "Expect.h"

#include <array>
#include <cstring>
#include <thread>

using Platform::RegistryValue;

namespace
{

class RegistryTest : public OnMachine
{
protected:
    static HKEY Open(const char* path)
    {
        HKEY key = nullptr;
        EXPECT_EQ(ERROR_SUCCESS, RegOpenKeyA(HKEY_LOCAL_MACHINE, path, &key));
        return key;
    }

    static HKEY Create(const char* path)
    {
        HKEY key = nullptr;
        EXPECT_EQ(ERROR_SUCCESS, RegCreateKeyA(HKEY_LOCAL_MACHINE, path, &key));
        return key;
    }
};

struct ReadCase
{
    const char* Name;
    RegistryValue Stored;
    DWORD Room;
    LSTATUS Result;
    DWORD Size;        ///< Reported.
    const char* Bytes; ///< In the buffer afterwards, which was full of '#'.
};

const ReadCase ReadCases[] = {
    {"text fits", RegistryValue::Text("abc"), 8, 0, 4, "abc\0####"},
    {"text fits exactly", RegistryValue::Text("abc"), 4, 0, 4, "abc\0####"},
    {"text too long", RegistryValue::Text("abc"), 3, ERROR_MORE_DATA, 4, "########"},
    {"no NUL, room for one", {REG_SZ, {'a', 'b'}}, 3, 0, 3, "ab\0#####"},
    {"no NUL, no room for one", {REG_SZ, {'a', 'b'}}, 2, 0, 2, "ab######"},
    {"no NUL, too long", {REG_EXPAND_SZ, {'a', 'b'}}, 1, ERROR_MORE_DATA, 3, "########"},
    {"binary gets no NUL", RegistryValue::Binary({'a', 'b'}), 8, 0, 2, "ab######"},
    {"empty text gets no NUL", {REG_SZ, {}}, 8, 0, 0, "########"},
    {"no room at all", RegistryValue::Number(7), 0, ERROR_MORE_DATA, 4, "########"},
};

TEST_F(RegistryTest, ReadsWithinTheRoomGiven)
{
    for (const ReadCase& c : ReadCases)
    {
        SCOPED_TRACE(c.Name);
        Box->SetValue("SOFTWARE\\Reads", "Value", c.Stored);
        const HKEY key = Open("software\\READS");
        std::array<BYTE, 9> data{};
        std::memset(data.data(), '#', 8);
        DWORD type = 99;
        DWORD size = c.Room;
        EXPECT_EQ(c.Result, RegQueryValueExA(key, "vALUE", nullptr, &type, data.data(), &size));
        EXPECT_EQ(c.Stored.Type, type);
        EXPECT_EQ(c.Size, size);
        EXPECT_EQ(0, std::memcmp(c.Bytes, data.data(), 8));
        EXPECT_EQ(ERROR_SUCCESS, RegCloseKey(key));
    }
}

TEST_F(RegistryTest, AsksForSizeAndRefusesDataWithoutOne)
{
    Box->SetValue("SOFTWARE\\A", "", RegistryValue{REG_SZ, {'a', 'b'}});
    const HKEY key = Open("SOFTWARE\\A");
    DWORD type = 99;
    DWORD size = 0;
    BYTE data[4] = {};
    EXPECT_EQ(ERROR_SUCCESS, RegQueryValueExA(key, nullptr, nullptr, nullptr, nullptr, &size));
    EXPECT_EQ(3U, size);
    EXPECT_EQ(ERROR_INVALID_PARAMETER, RegQueryValueExA(key, nullptr, nullptr, &type, data, nullptr));
    EXPECT_EQ(ERROR_FILE_NOT_FOUND, RegQueryValueExA(key, "missing", nullptr, &type, data, &size));
    EXPECT_EQ(REG_NONE, type);
    EXPECT_EQ(3U, size);
    RegCloseKey(key);
}

struct PathCase
{
    const char* Path;
    LSTATUS OpenResult;
    LSTATUS CreateResult;
    LSTATUS DeleteResult;
};

TEST_F(RegistryTest, TreatsPathsAsWindowsDoes)
{
    Box->SetValue("SOFTWARE\\Vendor\\Product", "v", RegistryValue::Number(1));
    const PathCase cases[] = {
        {"SOFTWARE\\Vendor", 0, 0, ERROR_ACCESS_DENIED},
        {"software\\\\VENDOR\\product\\", 0, 0, 0},
        {"\\SOFTWARE", ERROR_BAD_PATHNAME, ERROR_BAD_PATHNAME, ERROR_BAD_PATHNAME},
        {"SOFTWARE\\None", ERROR_FILE_NOT_FOUND, 0, 0},
        {"NoHive\\Key", ERROR_FILE_NOT_FOUND, ERROR_INVALID_PARAMETER, ERROR_FILE_NOT_FOUND},
        {"", 0, 0, ERROR_ACCESS_DENIED},
    };
    for (const PathCase& c : cases)
    {
        SCOPED_TRACE(c.Path);
        HKEY opened = HKEY_LOCAL_MACHINE;
        HKEY created = HKEY_LOCAL_MACHINE;
        EXPECT_EQ(c.OpenResult, RegOpenKeyA(HKEY_LOCAL_MACHINE, c.Path, &opened));
        EXPECT_EQ(c.CreateResult, RegCreateKeyA(HKEY_LOCAL_MACHINE, c.Path, &created));
        EXPECT_EQ(c.OpenResult == 0, opened != nullptr);
        EXPECT_EQ(c.CreateResult == 0 ? ERROR_SUCCESS : ERROR_INVALID_HANDLE, RegCloseKey(created));
        EXPECT_EQ(c.OpenResult == 0 ? ERROR_SUCCESS : ERROR_INVALID_HANDLE, RegCloseKey(opened));
        EXPECT_EQ(c.DeleteResult, RegDeleteKeyA(HKEY_LOCAL_MACHINE, c.Path));
    }
}

TEST_F(RegistryTest, OpeningNothingGivesTheSameHandle)
{
    const HKEY key = Create("SOFTWARE\\A");
    HKEY again = nullptr;
    EXPECT_EQ(ERROR_SUCCESS, RegOpenKeyW(key, u"", &again));
    EXPECT_EQ(key, again);
    EXPECT_EQ(ERROR_SUCCESS, RegCloseKey(again));
    EXPECT_EQ(ERROR_INVALID_HANDLE, RegCloseKey(key));
    EXPECT_EQ(ERROR_INVALID_HANDLE, RegFlushKey(nullptr));
    EXPECT_EQ(ERROR_SUCCESS, RegCloseKey(HKEY_LOCAL_MACHINE));
    EXPECT_EQ(ERROR_SUCCESS, RegFlushKey(HKEY_LOCAL_MACHINE));
}

TEST_F(RegistryTest, KeepsTheCaseOfTheFirstWriting)
{
    const HKEY key = Create("SOFTWARE\\A");
    const BYTE one[] = {1};
    EXPECT_EQ(ERROR_SUCCESS, RegSetValueExA(key, "Name", 0, REG_BINARY, one, 1));
    EXPECT_EQ(ERROR_SUCCESS, RegSetValueExA(key, "NAME", 0, REG_DWORD, one, 0));
    EXPECT_EQ(ERROR_NOACCESS, RegSetValueExA(key, "NAME", 0, REG_DWORD, nullptr, 4));
    EXPECT_EQ((RegistryValue{REG_DWORD, {}}), Box->Value("software\\a", "name"));
    EXPECT_EQ(ERROR_SUCCESS, RegDeleteKeyValueA(key, nullptr, "nAme"));
    EXPECT_EQ(ERROR_FILE_NOT_FOUND, RegDeleteKeyValueA(HKEY_LOCAL_MACHINE, "SOFTWARE\\A", "Name"));
    EXPECT_EQ(ERROR_FILE_NOT_FOUND, RegDeleteKeyValueA(HKEY_LOCAL_MACHINE, "SOFTWARE\\B", "Name"));
    RegCloseKey(key);
}

TEST_F(RegistryTest, KeyDeletedUnderAHandle)
{
    Box->SetValue("SOFTWARE\\A\\B", "v", RegistryValue::Number(1));
    const HKEY key = Open("SOFTWARE\\A\\B");
    Box->DeleteTree("SOFTWARE\\A");
    HKEY below = nullptr;
    DWORD size = 0;
    EXPECT_EQ(ERROR_KEY_DELETED, RegQueryValueExA(key, "v", nullptr, nullptr, nullptr, &size));
    EXPECT_EQ(ERROR_KEY_DELETED, RegCreateKeyA(key, "C", &below));
    EXPECT_EQ(ERROR_KEY_DELETED, RegFlushKey(key));
    EXPECT_FALSE(Box->KeyExists("SOFTWARE\\A"));
    EXPECT_EQ(ERROR_SUCCESS, RegCloseKey(key));
}

TEST_F(RegistryTest, HandleOutlivesTheScopeOfItsMachine)
{
    HKEY key = nullptr;
    {
        const Platform::ScopedMachine inner;
        inner->SetValue("SOFTWARE\\Inner", "v", RegistryValue::Number(1));
        key = Open("SOFTWARE\\Inner");
    }
    EXPECT_FALSE(Box->KeyExists("SOFTWARE\\Inner"));
    EXPECT_EQ(ERROR_SUCCESS, RegQueryValueExA(key, "v", nullptr, nullptr, nullptr, nullptr));
    EXPECT_EQ(ERROR_SUCCESS, RegCloseKey(key));
}

TEST_F(RegistryTest, ServesFourThreadsAtOnce)
{
    const auto work = [](char name) {
        const std::string path = std::string("SOFTWARE\\Shared\\") + name;
        for (DWORD i = 0; i < 200; ++i)
        {
            const HKEY key = Create(path.c_str());
            BYTE data[4];
            std::memcpy(data, &i, 4);
            EXPECT_EQ(ERROR_SUCCESS, RegSetValueExA(key, "v", 0, REG_DWORD, data, 4));
            DWORD read = 0;
            DWORD size = 4;
            EXPECT_EQ(ERROR_SUCCESS,
                      RegQueryValueExA(key, "v", nullptr, nullptr, reinterpret_cast<BYTE*>(&read), &size));
            EXPECT_EQ(i, read);
            EXPECT_EQ(ERROR_SUCCESS, RegDeleteKeyA(HKEY_LOCAL_MACHINE, path.c_str()));
            EXPECT_EQ(ERROR_SUCCESS, RegCloseKey(key));
        }
    };
    std::array<std::jthread, 4> threads;
    for (char name = 'a'; auto& thread : threads)
    {
        thread = std::jthread(work, name++);
    }
}

} // namespace
