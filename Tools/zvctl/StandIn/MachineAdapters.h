/// @file
/// The machine's own adapters: also those that the library does not list or that are unplugged.
#pragma once

#include "AdapterChoice.h"

#include <Machine.h>

#include <optional>

/// In the order in which they came to the machine.
std::vector<AdapterName> MachineAdapterNames(const Platform::Machine& machine);

/// Finds the adapter that a text means, as ChooseName. @throws std::runtime_error
Platform::AdapterId ChooseMachineAdapter(const Platform::Machine& machine, std::string_view text);

/// Finds an adapter of the library's list; a simulated driver's is not the machine's.
std::optional<Platform::AdapterId> FindMachineAdapter(const Platform::Machine& machine, std::string_view identity);
