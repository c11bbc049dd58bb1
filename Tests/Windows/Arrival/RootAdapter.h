/// @file
/// An adapter that the system's own device installer adds and removes, with its messages.
#pragma once

#include <functional>

/// Installs the adapter "{arrival}" with its driver from the folder of the program.
/// @return 0, or the error of the step that failed.
unsigned long InstallRootAdapter();
/// Installs it, a few times at most, until a process has received the event. Wine starts to listen for devices
/// slightly after the first registration of a process has returned; earlier messages are lost.
/// @param heard waits some seconds. @return 0, or the error of the step that failed.
unsigned long InstallRootAdapterUntil(const std::function<bool()>& heard);
/// Makes this process listen with a separate window, so that no later message is lost.
/// @return 0, or the error of the step that failed.
unsigned long AwaitDeviceListener();
/// @return 0, or the error of the step that failed.
unsigned long RemoveRootAdapter();
