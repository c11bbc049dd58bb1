/// @file
/// The window procedure: the seam between the source of window messages and the service.
#pragma once

#include "OSPlatform.h"

/// Copies a message into a blob and queues it for the device managers without waiting for them. With a
/// simulated driver it runs on any of that driver's threads.
/// @return 1 with a simulated driver, because no window handles the message; otherwise the default result.
LRESULT CALLBACK PwrEvtWndProc(HWND window, UINT message, WPARAM wParam, LPARAM lParam);
