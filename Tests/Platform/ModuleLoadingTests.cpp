#include "Expect.h"

#include <filesystem>
#include <tuple>

namespace
{

using ModuleLoadingTest = OnMachine;

int NumberOf(HMODULE module)
{
    // By way of the type that compilers take as any function's.
    const auto address = reinterpret_cast<void (*)()>(GetProcAddress(module, "ModuleNumber"));
    return address != nullptr ? reinterpret_cast<int (*)()>(address)() : 0;
}

TEST_F(ModuleLoadingTest, LooksBesideTheProgramThenHereThenOnTheSystem)
{
    // The current folder, the name, and the library's number; 0: not found.
    const std::tuple<const char*, const char*, int> cases[] = {
        {OTHER_FOLDER, "PlatformTestModule.dll", 1}, {OTHER_FOLDER, "./PlatformTestModule.dll", 2},
        {OTHER_FOLDER, "PlatformTestOther.dll", 3},  {"/", OTHER_FOLDER "/PlatformTestOther.dll", 3},
        {"/", "PlatformTestOther.dll", 0},           {"/", "./PlatformTestModule.dll", 0},
    };
    for (const auto& [folder, name, number] : cases)
    {
        std::filesystem::current_path(folder);
        SetLastError(0);
        const HMODULE module = LoadLibraryA(name);
        EXPECT_EQ(static_cast<DWORD>(number != 0 ? 0 : ERROR_MOD_NOT_FOUND), GetLastError()) << name;
        EXPECT_EQ(number, NumberOf(module)) << name;
        EXPECT_EQ(number != 0, FreeLibrary(module) != FALSE);
    }
    const HMODULE system = LoadLibraryA("libm.so.6");
    EXPECT_NE(nullptr, GetProcAddress(system, "cos"));
    EXPECT_FAILS_WITH(ERROR_PROC_NOT_FOUND, GetProcAddress(system, "malloc")); // a module it depends on has it
    EXPECT_TRUE(FreeLibrary(system));
}

TEST_F(ModuleLoadingTest, CountsLoadsAndFindsThemByAddress)
{
    const HMODULE first = LoadLibraryA("PlatformTestModule.dll");
    EXPECT_EQ(first, LoadLibraryA("PlatformTestModule.dll"));
    EXPECT_EQ(2U, Platform::CountOpenObjects().Modules);
    EXPECT_TRUE(FreeLibrary(first));
    EXPECT_EQ(1, NumberOf(first));
    EXPECT_TRUE(FreeLibrary(first));
    EXPECT_FAILS_WITH(ERROR_MOD_NOT_FOUND, FreeLibrary(first));
    EXPECT_FAILS_WITH(ERROR_MOD_NOT_FOUND, GetProcAddress(first, "ModuleNumber"));
    EXPECT_FAILS_WITH(ERROR_INVALID_HANDLE, FreeLibrary(nullptr));
    EXPECT_FAILS_WITH(ERROR_MOD_NOT_FOUND, LoadLibraryA(""));

    HMODULE found = nullptr;
    constexpr DWORD byAddress = GET_MODULE_HANDLE_EX_FLAG_FROM_ADDRESS;
    EXPECT_FAILS_WITH(ERROR_MOD_NOT_FOUND, GetModuleHandleExW(byAddress, nullptr, &found));
    const auto* here = reinterpret_cast<const WCHAR*>(&NumberOf);
    EXPECT_FAILS_WITH(ERROR_INVALID_PARAMETER, GetModuleHandleExW(0, here, &found));
    EXPECT_TRUE(GetModuleHandleExW(byAddress, here, &found));
    EXPECT_EQ(1U, Platform::CountOpenObjects().Modules);
    EXPECT_TRUE(FreeLibrary(found));
    EXPECT_EQ(found, GetModuleHandleW(nullptr)) << "the program itself, not counted";
    EXPECT_FAILS_WITH(ERROR_PROC_NOT_FOUND, GetProcAddress(GetModuleHandleW(nullptr), "ModuleNumber"));
    EXPECT_FAILS_WITH(ERROR_MOD_NOT_FOUND, GetModuleHandleW(u"kernel32"));

    const HMODULE pinned = LoadLibraryA("PlatformTestModule.dll");
    const auto* inside = reinterpret_cast<const WCHAR*>(GetProcAddress(pinned, "ModuleNumber"));
    EXPECT_TRUE(GetModuleHandleExW(byAddress | GET_MODULE_HANDLE_EX_FLAG_PIN, inside, &found));
    EXPECT_EQ(pinned, found);
    for (int i = 0; i < 3; ++i)
        EXPECT_TRUE(FreeLibrary(pinned));
    EXPECT_EQ(1, NumberOf(pinned));
}

} // namespace
