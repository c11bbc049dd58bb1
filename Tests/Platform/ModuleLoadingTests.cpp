#include "Expect.h"

#include <filesystem>

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
    const struct
    {
        const char* Folder; ///< Current one.
        const char* Name;
        int Number; ///< 0: not found.
    } cases[] = {
        {OTHER_FOLDER, "PlatformTestModule.dll", 1}, {OTHER_FOLDER, "./PlatformTestModule.dll", 2},
        {OTHER_FOLDER, "PlatformTestOther.dll", 3},  {"/", OTHER_FOLDER "/PlatformTestOther.dll", 3},
        {"/", "PlatformTestOther.dll", 0},           {"/", "./PlatformTestModule.dll", 0},
    };
    for (const auto& c : cases)
    {
        SCOPED_TRACE(c.Name);
        std::filesystem::current_path(c.Folder);
        SetLastError(0);
        const HMODULE module = LoadLibraryA(c.Name);
        EXPECT_EQ(c.Number != 0, module != nullptr);
        EXPECT_EQ(static_cast<DWORD>(c.Number != 0 ? 0 : ERROR_MOD_NOT_FOUND), GetLastError());
        EXPECT_EQ(c.Number, NumberOf(module));
        EXPECT_EQ(c.Number != 0, FreeLibrary(module) != FALSE);
    }
    const HMODULE system = LoadLibraryA("libm.so.6");
    EXPECT_NE(nullptr, GetProcAddress(system, "cos"));
    EXPECT_FAILS_WITH(ERROR_PROC_NOT_FOUND, GetProcAddress(system, "malloc")); // a module it depends on has it
    EXPECT_TRUE(FreeLibrary(system));
}

TEST_F(ModuleLoadingTest, CountsLoads)
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
}

TEST_F(ModuleLoadingTest, PinKeepsAModuleAndCountsAsNothing)
{
    const HMODULE module = LoadLibraryA("PlatformTestModule.dll");
    const auto* address = reinterpret_cast<const WCHAR*>(GetProcAddress(module, "ModuleNumber"));
    HMODULE pinned = nullptr;
    EXPECT_TRUE(
        GetModuleHandleExW(GET_MODULE_HANDLE_EX_FLAG_PIN | GET_MODULE_HANDLE_EX_FLAG_FROM_ADDRESS, address, &pinned));
    EXPECT_EQ(module, pinned);
    for (int i = 0; i < 3; ++i)
    {
        EXPECT_TRUE(FreeLibrary(module));
    }
    EXPECT_EQ(1, NumberOf(module));
}

TEST_F(ModuleLoadingTest, FindsModulesByAddress)
{
    HMODULE module = nullptr;
    const auto* here = reinterpret_cast<const WCHAR*>(&NumberOf);
    EXPECT_TRUE(GetModuleHandleExW(GET_MODULE_HANDLE_EX_FLAG_FROM_ADDRESS, here, &module));
    EXPECT_EQ(1U, Platform::CountOpenObjects().Modules);
    EXPECT_TRUE(FreeLibrary(module));
    EXPECT_FAILS_WITH(ERROR_MOD_NOT_FOUND,
                      GetModuleHandleExW(GET_MODULE_HANDLE_EX_FLAG_FROM_ADDRESS, nullptr, &module));
    EXPECT_FAILS_WITH(ERROR_INVALID_PARAMETER, GetModuleHandleExW(0, here, &module));
}

} // namespace
