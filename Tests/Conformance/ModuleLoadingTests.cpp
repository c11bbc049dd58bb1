#include "Checks.h"

#include <filesystem>
#include <tuple>

namespace
{

int NumberOf(HMODULE module)
{
    // By way of the type that compilers take as any function's.
    const auto address = reinterpret_cast<void (*)()>(GetProcAddress(module, "ModuleNumber"));
    return address != nullptr ? reinterpret_cast<int (*)()>(address)() : 0;
}

TEST(ModuleLoadingTest, SearchesTheProgramFolderBeforeTheCurrentFolder)
{
    // The current folder, the name, and the library's number; 0: not found.
    const std::tuple<const char*, const char*, int> cases[] = {
        {OTHER_FOLDER, "PlatformTestModule.dll", 1},
        {"/", OTHER_FOLDER "/PlatformTestModule.dll", 2},
        {OTHER_FOLDER, "PlatformTestOther.dll", 3},
        {"/", "PlatformTestOther.dll", 0},
    };
    for (const auto& [folder, name, number] : cases)
    {
        std::filesystem::current_path(folder);
        SetLastError(0xABCD);
        const HMODULE module = LoadLibraryA(name);
        EXPECT_EQ(number, NumberOf(module)) << name;
        EXPECT_EQ(number == 0, module == nullptr) << name;
        EXPECT_EQ(number != 0, FreeLibrary(module) != FALSE);
    }
    EXPECT_FAILS_WITH(ERROR_MOD_NOT_FOUND, LoadLibraryA("PlatformTestOther.dll"));
}

TEST(ModuleLoadingTest, TheLastFreeUnloadsAModuleUnlessItIsPinned)
{
    const HMODULE first = LoadLibraryA("PlatformTestModule.dll");
    EXPECT_EQ(first, LoadLibraryA("PlatformTestModule.dll"));
    EXPECT_TRUE(FreeLibrary(first));
    EXPECT_EQ(NumberOf(first), 1);
    EXPECT_FAILS_WITH(ERROR_PROC_NOT_FOUND, GetProcAddress(first, "Nothing"));
    EXPECT_FAILS_WITH(ERROR_PROC_NOT_FOUND, GetProcAddress(first, "malloc")); // a module it depends on has it
    EXPECT_TRUE(FreeLibrary(first));
    EXPECT_FAILS_WITH(ERROR_MOD_NOT_FOUND, GetProcAddress(first, "ModuleNumber"));

    HMODULE found = nullptr;
    const HMODULE pinned = LoadLibraryA("PlatformTestModule.dll");
    const auto* inside = reinterpret_cast<const WCHAR*>(GetProcAddress(pinned, "ModuleNumber"));
    constexpr DWORD pin = GET_MODULE_HANDLE_EX_FLAG_FROM_ADDRESS | GET_MODULE_HANDLE_EX_FLAG_PIN;
    EXPECT_TRUE(GetModuleHandleExW(pin, inside, &found));
    EXPECT_EQ(pinned, found);
    for (int i = 0; i < 3; ++i)
        EXPECT_TRUE(FreeLibrary(pinned));
    EXPECT_EQ(NumberOf(pinned), 1);
    EXPECT_TRUE(GetModuleHandleExW(pin, reinterpret_cast<const WCHAR*>(&NumberOf), &found));
    EXPECT_EQ(found, GetModuleHandleW(nullptr)) << "the program itself";
}

} // namespace
