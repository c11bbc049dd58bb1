/// @file
/// The network adapters that the operating system has at present, as a sweep compares them with the list.
#pragma once

#include <optional>
#include <string>
#include <vector>

struct CPresentAdapter
{
    std::string DriverVersion;
    std::string NetCfgInstanceId;
    bool HasProblem;
};

/// Reads all present network adapters, except those whose driver key cannot be read or is being deleted.
/// @return nothing when the operating system's lists cannot be read.
std::optional<std::vector<CPresentAdapter>> ReadPresentAdapters();
