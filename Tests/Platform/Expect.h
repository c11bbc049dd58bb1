// Short checks for the platform's tests.
#pragma once

#include "Machine.h"
#include "Platform.h"

#include <gtest/gtest.h>

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

/// A machine of its own for each test; nothing may be left open at its end.
class OnMachine : public testing::Test
{
protected:
    void TearDown() override { EXPECT_EQ(0U, Platform::CountOpenObjects().Total()); }

    Platform::ScopedMachine Box;
};
