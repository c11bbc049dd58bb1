// Short checks for the platform's tests.
#pragma once

#include "Machine.h"
#include "Platform.h"

#include <gtest/gtest.h>

/// The call fails and leaves that error.
#define EXPECT_FAILS_WITH(expected, call)                                                                              \
    do                                                                                                                 \
    {                                                                                                                  \
        SetLastError(0xABCD);                                                                                          \
        EXPECT_FALSE(call);                                                                                            \
        EXPECT_EQ(static_cast<DWORD>(expected), GetLastError());                                                       \
    } while (false)

/// A machine of its own for each test; nothing may be left open at its end.
class OnMachine : public testing::Test
{
protected:
    void TearDown() override { EXPECT_EQ(0U, Platform::CountOpenObjects().Total()); }

    Platform::ScopedMachine Box;
};
