/// @file
/// Finding modules and what they export, by way of the dynamic loader.
#pragma once

#include <link.h>

#include <string>
#include <string_view>

namespace Platform
{

/// Returns the file to load for a module's name. A bare name that is neither in the program's folder nor in
/// the current folder is left to the loader, which searches its path.
std::string ModuleFile(std::string_view name);

/// The module that an address lies in; null for none.
const link_map* MapOfAddress(const void* address);

/// Returns an export of that module, not of its dependencies, which the loader would search too.
void* OwnExport(void* module, const char* name);

} // namespace Platform
