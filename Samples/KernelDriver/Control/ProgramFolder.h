#pragma once

#include "OSPlatform.h"

#include <string>

/// Returns the folder of the running program, with a trailing backslash.
inline std::string ProgramFolder()
{
    char name[MAX_PATH];
    const std::string path(name, GetModuleFileNameA(nullptr, name, sizeof name));
    return path.substr(0, path.rfind('\\') + 1);
}
