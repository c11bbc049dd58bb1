/// @file
/// The seam: the one place where the library meets the platform. Everything else in SrvcMain/Src
/// calls the published Windows names through this header.
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

// Published for drivers and runtimes alone, so that these headers leave it out.
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
