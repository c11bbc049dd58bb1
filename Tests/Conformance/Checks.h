/// @file
/// Short checks for calls of the published Windows names, on Windows and on the stand-in alike.
#pragma once

#include "OSPlatform.h"

#include <gtest/gtest.h>

#include <string>

/// The call fails and leaves that error.
#define EXPECT_FAILS_WITH(expected, call)                                                                              \
    EXPECT_EQ(static_cast<DWORD>(expected), (SetLastError(0xABCD), (call) ? ~DWORD{0} : GetLastError()))

/// A handle for a scope, still open at its end.
template <class Type>
class Opened
{
public:
    Opened(Type handle) : Handle(handle) {}
    ~Opened() { EXPECT_TRUE(Close(Handle)); }
    Opened(const Opened&) = delete;
    Opened& operator=(const Opened&) = delete;
    operator Type() const { return Handle; }

private:
    static bool Close(HANDLE handle) { return CloseHandle(handle) != FALSE; }
    static bool Close(HKEY key) { return RegCloseKey(key) == ERROR_SUCCESS; }

    const Type Handle;
};

using WideText = std::basic_string<WCHAR>;

inline HANDLE MakeEvent(BOOL manual, BOOL set = FALSE, const WCHAR* called = nullptr)
{
    return CreateEventW(nullptr, manual, set, called);
}
