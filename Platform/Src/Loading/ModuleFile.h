// Finding modules and what they export, by way of the dynamic loader.
#pragma once

#include <link.h>

#include <string>
#include <string_view>

namespace Platform
{

/// What to load for a module's name: the loader gets a bare name that is neither beside the program nor
/// in the current folder, and looks on the system's path.
std::string ModuleFile(std::string_view name);

/// The module that an address lies in; null for none.
const link_map* MapOfAddress(const void* address);

/// An export of that module alone, where the loader would also search what the module depends on.
void* OwnExport(void* module, const char* name);

} // namespace Platform
