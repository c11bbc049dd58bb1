/// @file
/// An adapter that the system's own device installer adds and removes, with its messages.
#pragma once

/// Installs the adapter "{arrival}" with its driver from the folder of the program.
/// @return 0, or the error of the step that failed.
unsigned long InstallRootAdapter();
/// @return 0, or the error of the step that failed.
unsigned long RemoveRootAdapter();
