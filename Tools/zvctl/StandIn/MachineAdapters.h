/// @file
/// The adapters of the machine, including those that are unplugged or that the library does not list.
#pragma once

#include "AdapterChoice.h"
#include "AdapterFacts.h"

#include <Machine.h>

#include <optional>

/// Returns the adapters in the order in which they were added.
std::vector<AdapterName> MachineAdapterNames(const Platform::Machine& machine);

/// Returns the same adapters with what decides whether the library lists and opens them.
std::vector<AdapterFacts> MachineAdapterFacts(const Platform::Machine& machine);

/// Finds the adapter that `text` selects, as ChooseName. @throws Failure
Platform::AdapterId ChooseMachineAdapter(const Platform::Machine& machine, std::string_view text);

/// Finds the adapter with an identity. The machine does not have the adapters of a simulated driver.
std::optional<Platform::AdapterId> FindMachineAdapter(const Platform::Machine& machine, std::string_view identity);
