/// @file
/// Fixtures of the platform's tests.
#pragma once

#include "../Conformance/Checks.h"
#include "../Conformance/TestWindows.h"
#include "Machine.h"

/// A separate machine for each test; no handle may be open at its end.
class OnMachine : public testing::Test
{
protected:
    void TearDown() override { EXPECT_EQ(Platform::CountOpenObjects().Total(), 0U); }

    Platform::ScopedMachine Box;
};

/// Adds the window class of the conformance tests.
class WindowingTest : public OnMachine
{
protected:
    WindowingTest()
    {
        const WNDCLASSEXW record = TestClass();
        EXPECT_NE(RegisterClassExW(&record), 0);
    }
};
