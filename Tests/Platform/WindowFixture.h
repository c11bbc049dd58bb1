/// @file
/// The windows of the conformance tests, each test on a machine of its own.
#pragma once

#include "../Conformance/TestWindows.h"
#include "Expect.h"

class WindowingTest : public OnMachine
{
protected:
    WindowingTest()
    {
        const WNDCLASSEXW record = TestClass();
        EXPECT_NE(0, RegisterClassExW(&record));
    }
};
