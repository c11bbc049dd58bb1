/// @file
/// Registration of the trace provider.
#pragma once

/// Registers the provider. One that cannot be registered stays disabled.
void RegisterTraceProvider();
/// Ends tracing; every later trace point is silent.
void UnregisterTraceProvider();
