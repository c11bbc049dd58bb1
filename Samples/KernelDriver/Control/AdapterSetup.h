/// @file
/// The test adapter, which the device installer of Windows adds and removes. Functions throw Failure and
/// require administrator rights.
#pragma once

/// Installs the adapter "{arrival}" from ZVArrival.inf in the program's folder. Leaves no device on failure.
void AddAdapter();

void RemoveAdapter();
