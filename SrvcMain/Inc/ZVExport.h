/// @file
/// Marks the entry points for the linker: exported by the library's own build, imported by its hosts. A host that
/// looks them up at run time and defines them itself defines ZV_API as nothing.
#pragma once

#ifndef ZV_API
#if defined(_MSC_VER) || defined(__MINGW32__)
#ifdef ZV_BUILDS_LIBRARY
#define ZV_API __declspec(dllexport)
#else
#define ZV_API __declspec(dllimport)
#endif
#else
#define ZV_API __attribute__((visibility("default")))
#endif
#endif
