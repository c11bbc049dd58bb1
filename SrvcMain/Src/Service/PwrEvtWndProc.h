/// @file
/// The window procedure: the seam between the source of window messages and the service.
#pragma once

#include "OSPlatform.h"

/// Copies a message into a blob and queues it for the device managers; never waits for them. Runs
/// on any thread of the simulated driver.
/// @return 1: with a simulated driver no window stands behind the message, so nothing else handles
///         it.
LRESULT CALLBACK PwrEvtWndProc(HWND window, UINT message, WPARAM wParam, LPARAM lParam);
