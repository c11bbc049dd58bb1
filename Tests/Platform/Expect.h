/// @file
/// Short checks for the platform's tests.
#pragma once

#include "../Conformance/Checks.h"
#include "Machine.h"

/// A separate machine for each test; no handle may be open at its end.
class OnMachine : public testing::Test
{
protected:
    void TearDown() override { EXPECT_EQ(Platform::CountOpenObjects().Total(), 0U); }

    Platform::ScopedMachine Box;
};
