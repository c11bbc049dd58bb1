/// @file
/// The five entry points of a simulated driver. The library looks them up by name in the file
/// "VirtualDriver_UWP.dll" of the current directory. For an entry point that is not exported, it uses the
/// operating system.
///
/// `name` is always the NetCfgInstanceId of the adapter concerned, a string of at most 50 bytes.
/// The library ignores return values. It calls the entry points on the host's threads and on library
/// threads, several at a time. No exception may leave an entry point. Any pointer may be null, because the
/// library passes on the host's arguments.
#pragma once

#include <cstdint>

#if defined(_MSC_VER) || defined(__MINGW32__)
#define VIRTUAL_DRIVER_API extern "C" __declspec(dllexport)
#else
#define VIRTUAL_DRIVER_API extern "C" __attribute__((visibility("default")))
#endif

/// The library's handler of power and device messages. It ignores `window`.
using PnPHandler = std::intptr_t (*)(void* window, unsigned int message, std::uintptr_t wParam, std::intptr_t lParam);

/// Second argument of Virtual_EnumZVDevice, 16 bytes.
struct EnumDescriptor
{
    std::uint32_t Length;   ///< In: capacity in bytes, 10 records. Out: bytes written.
    std::uint32_t Reserved; ///< Not read.
    void* Buffer;           ///< The same memory as the first argument.
};

/// Called once, at start. The driver may call the handler later, on any thread, to deliver a message.
VIRTUAL_DRIVER_API void Virtual_RegisterPnPHandler(PnPHandler handler);

/// Writes up to 10 `_ZV_SRVC_DEVICE_INFO` records into the zeroed buffer and sets the length.
VIRTUAL_DRIVER_API void Virtual_EnumZVDevice(void* buffer, EnumDescriptor* descriptor);

/// Sets (`isSet` 1) or queries an information item; a query answers in `buffer`.
VIRTUAL_DRIVER_API void Virtual_Dev_SetQueryInfo(const char* name, std::uint8_t isSet, std::uint32_t infoId,
                                                 void* buffer, std::uint32_t length);

/// Reads, writes or deletes (`ZV_REG_OP_` codes) a value of the adapter's driver key.
VIRTUAL_DRIVER_API void Virtual_AccessRegistry(const char* name, std::uint32_t operation, const char* subKey,
                                               const char* valueName, std::uint32_t* type, std::uint8_t* data,
                                               std::uint32_t* size);

/// Carries out one control request: reads the input, fills the output. The time-out is the host's; nothing enforces it.
VIRTUAL_DRIVER_API void Virtual_SendIOCTLReq(const char* name, std::uint32_t code, std::uint32_t requestId,
                                             const void* inBuffer, std::uint32_t inLength, void* outBuffer,
                                             std::uint32_t outLength, std::uint32_t timeoutMs);

/// An addition of this sample; the library does not use it. Appends steps that the driver carries out
/// on its thread, each after a delay: "MILLISECONDS:STEP", separated by semicolons. STEP is "remove N" or
/// "arrive N" (index of an adapter in the list, from 0), "suspend" or "resume". When the library starts,
/// the steps of the environment variable ZV_VIRTUAL_SCRIPT are appended first.
/// @param steps the text; with null the result is 0.
/// @return 1, or 0 on a syntax error; no step is then appended, and the error is printed to stderr.
VIRTUAL_DRIVER_API int VirtualDriver_Script(const char* steps);
