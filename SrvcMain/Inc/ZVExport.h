/// @file
/// Marks the entry points for the linker. The build defines ZV_API where a platform's compiler requires
/// another word than the default.
#pragma once

#ifndef ZV_API
#define ZV_API __attribute__((visibility("default")))
#endif
