/// @file
/// The windows of the conformance tests, with a separate machine for each test.
#pragma once

#include "../Conformance/TestWindows.h"
#include "Expect.h"

class WindowingTest : public OnMachine
{
protected:
    WindowingTest()
    {
        const WNDCLASSEXW record = TestClass();
        EXPECT_NE(RegisterClassExW(&record), 0);
    }
};
