/// @file
/// Marks what the stand-in's shared library exports.
#pragma once

#define PLATFORM_API __attribute__((visibility("default")))

/// Gives a published function a link name of its own. Otherwise another library in the process that defines the plain
/// name, which a symbol version does not prevent, would receive the calls.
#define PLATFORM_NAME(name) __asm__("ZVPlatform_" #name)
