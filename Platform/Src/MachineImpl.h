// What a machine consists of.
#pragma once

#include "AdapterTree.h"
#include "FaultBoard.h"
#include "Machine.h"
#include "RegistryTree.h"

#include <mutex>

namespace Platform
{

class Machine::Impl
{
public:
    FaultBoard Faults; // brings its own lock

    /// Held only for short work on the two trees, never while anything foreign runs.
    std::mutex Lock;
    RegistryKeyPtr Registry = RegistryKey::MakeRoot(); // the pointer is constant; the keys are guarded by Lock
    AdapterTree AdapterNodes{Registry};                // guarded by Lock
};

} // namespace Platform
