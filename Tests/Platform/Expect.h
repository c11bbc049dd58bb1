/// @file
/// Short checks for the platform's tests.
#pragma once

#include "../Conformance/Checks.h"
#include "Machine.h"

/// A machine of its own for each test; nothing may be left open at its end.
class OnMachine : public testing::Test
{
protected:
    void TearDown() override { EXPECT_EQ(0U, Platform::CountOpenObjects().Total()); }

    Platform::ScopedMachine Box;
};
