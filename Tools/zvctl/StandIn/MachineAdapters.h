/// @file
/// The adapters of the machine, including those that are unplugged or that the library does not list.
#pragma once

#include "AdapterChoice.h"

#include <Machine.h>

#include <optional>

/// Returns the adapters in the order in which they were added.
std::vector<AdapterName> MachineAdapterNames(const Platform::Machine& machine);

/// Finds the adapter that `text` selects, as ChooseName. @throws std::runtime_error
Platform::AdapterId ChooseMachineAdapter(const Platform::Machine& machine, std::string_view text);

/// Finds the adapter with an identity. The machine does not have the adapters of a simulated driver.
std::optional<Platform::AdapterId> FindMachineAdapter(const Platform::Machine& machine, std::string_view identity);
