/// @file
/// Includes the Windows headers or their stand-in. All other code in SrvcMain/Src uses the published
/// Windows names through this header, so that only it depends on the platform.
#pragma once

#ifdef _WIN32

#ifndef UNICODE
#define UNICODE
#endif
#ifndef NOMINMAX
#define NOMINMAX
#endif
#include <windows.h>

#include <cfgmgr32.h>
#include <dbt.h>
#include <evntrace.h>
#include <setupapi.h>
#include <wmistr.h>

// Documented for drivers and runtimes only, so these headers do not declare it.
extern "C" __declspec(dllimport) BOOLEAN NTAPI RtlDllShutdownInProgress();

#else

#include "Platform.h"

#endif

#include <cstddef>

/// A 16-bit text from a literal, the same on a platform whose wide character is 16 bits and on one
/// where it is 32. For ASCII names only.
template <std::size_t Size>
struct CWideText
{
    WCHAR Text[Size]{};

    consteval explicit(false) CWideText(const char (&literal)[Size])
    {
        for (std::size_t i = 0; i < Size; ++i)
            Text[i] = static_cast<WCHAR>(literal[i]);
    }
};
