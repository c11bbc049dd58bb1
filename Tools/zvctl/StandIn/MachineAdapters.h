/// @file
/// The adapters of the machine, including those that are unplugged or that the library does not list.
#pragma once

#include "AdapterChoice.h"

#include <Machine.h>

#include <optional>

/// In the order in which they came to the machine.
std::vector<AdapterName> MachineAdapterNames(const Platform::Machine& machine);

/// Finds the adapter that a text means, as ChooseName. @throws std::runtime_error
Platform::AdapterId ChooseMachineAdapter(const Platform::Machine& machine, std::string_view text);

/// Finds an adapter of the library's list; the machine has none for a simulated driver's adapter.
std::optional<Platform::AdapterId> FindMachineAdapter(const Platform::Machine& machine, std::string_view identity);
