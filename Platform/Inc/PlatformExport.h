/// @file
/// Marks what the stand-in's shared library exports.
#pragma once

#define PLATFORM_API __attribute__((visibility("default")))
