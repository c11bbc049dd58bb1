/// @file
/// An adapter that the system's own device installer adds and removes, with its messages.
#pragma once

#include <functional>

/// Installs the adapter "{arrival}" with its driver from the folder of the program.
/// @return 0, or the error of the step that failed.
unsigned long InstallRootAdapter();
/// Installs it until a process has heard of it, a few times at most: Wine begins to listen for devices a
/// little after the first registration of a process has returned, and what comes before is lost.
/// @param heard waits some seconds. @return 0, or the error of the step that failed.
unsigned long InstallRootAdapterUntil(const std::function<bool()>& heard);
/// Has this process listen, with a window of its own, so that nothing of what a test does later is lost.
/// @return 0, or the error of the step that failed.
unsigned long AwaitDeviceListener();
/// @return 0, or the error of the step that failed.
unsigned long RemoveRootAdapter();
