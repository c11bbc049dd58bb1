/// A simulated driver for the tests. It exports all entries, only the requests, or none; what it delivers is read
/// from the environment at each call.

#include "ZVDeviceInfo.h"

#include <cstdint>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <string>

#define TEST_EXPORT extern "C" __attribute__((visibility("default")))

#ifdef EXPORT_ALL
using MessageHandler = std::intptr_t (*)(void*, unsigned, std::uint64_t, std::int64_t);

namespace
{

MessageHandler handler = nullptr;

struct Descriptor
{
    std::uint32_t Length;
    std::uint32_t Padding;
    void* Buffer;
};

unsigned Setting(const char* name, unsigned otherwise)
{
    const char* text = std::getenv(name);
    return text != nullptr ? static_cast<unsigned>(std::strtoul(text, nullptr, 0)) : otherwise;
}

} // namespace

TEST_EXPORT void Virtual_RegisterPnPHandler(MessageHandler given)
{
    handler = given;
}

TEST_EXPORT std::intptr_t TestDeliver(unsigned message, std::uint64_t wParam)
{
    return handler(nullptr, message, wParam, 0);
}

/// Writes ten records, with the flags of TEST_FLAGS, and answers the length of TEST_LENGTH.
TEST_EXPORT void Virtual_EnumZVDevice(void* buffer, Descriptor* descriptor)
{
    if (descriptor->Length != 7240 || descriptor->Buffer != buffer)
        std::abort();
    for (unsigned i = 0; i < 10; ++i)
    {
        _ZV_SRVC_DEVICE_INFO record{};
        std::snprintf(record.NetCfgInstanceId, sizeof record.NetCfgInstanceId, "{sim-%u}", i);
        std::memset(record.InfSection, 'x', sizeof record.InfSection);
        record.StateFlags = Setting("TEST_FLAGS", 0);
        std::memcpy(static_cast<char*>(buffer) + i * sizeof record, &record, sizeof record);
    }
    descriptor->Length = Setting("TEST_LENGTH", descriptor->Length);
}

TEST_EXPORT void Virtual_Dev_SetQueryInfo(const char* name, std::uint8_t isSet, std::uint32_t infoId, void* buffer,
                                          std::uint32_t length)
{
    if (buffer != nullptr)
        std::snprintf(static_cast<char*>(buffer), length, "%s %u %x", name, unsigned{isSet}, infoId);
}

TEST_EXPORT void Virtual_AccessRegistry(const char* name, std::uint32_t operation, const char* subKey,
                                        const char* valueName, std::uint32_t* type, std::uint8_t* data,
                                        std::uint32_t* size)
{
    if (data != nullptr)
        *size = static_cast<std::uint32_t>(
            std::snprintf(reinterpret_cast<char*>(data), *size, "%s %x %s %s", name, operation, subKey, valueName));
    if (type != nullptr)
        *type = 1;
}
#endif

#ifdef EXPORT_REQUESTS

/// Fills the output with the request's numbers, so that the host sees what has arrived.
TEST_EXPORT void Virtual_SendIOCTLReq(const char* name, std::uint32_t code, std::uint32_t requestId, const void* in,
                                      std::uint32_t inLength, void* out, std::uint32_t outLength,
                                      std::uint32_t timeoutMs)
{
    if (out != nullptr)
        std::snprintf(static_cast<char*>(out), outLength, "%s %x %x %.*s %u", name, code, requestId,
                      static_cast<int>(inLength), static_cast<const char*>(in), timeoutMs);
}
#endif
