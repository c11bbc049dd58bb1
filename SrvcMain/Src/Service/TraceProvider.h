/// @file
/// Registration of the trace provider.
#pragma once

/// Sets tracing up. A provider that cannot be registered stays disabled.
void RegisterTraceProvider();
/// Ends tracing; every later trace point is silent.
void UnregisterTraceProvider();
