// A simulated driver as a template for your own: three adapters that store what is written to them.
#include "VirtualDriver.h"

#include "VirtualAdapter.h"
#include "VirtualScript.h"

#include <ZVRequests.h>

#include <algorithm>
#include <array>
#include <atomic>
#include <cstddef>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <exception>
#include <new>
#include <string_view>

namespace
{

/// The request that Open sends to every driver.
constexpr std::uint32_t InformationBlockCode = 0x122428;

/// The information block: the four words of docs/SIMULATED-DRIVER.md, and 84 zero bytes.
struct InformationBlock
{
    std::uint32_t Words[4] = {0x5A560001, 0x00010000, 0x00000003, 0x00000064};
    std::uint8_t Rest[84] = {};
};
static_assert(sizeof(InformationBlock) == 100);

/// Written by the thread that brings the library up, before any message is delivered.
std::atomic<PnPHandler> RegisteredHandler{nullptr};

using AdapterArray = std::array<VirtualAdapter, 3>;

/// The array never changes. It is not destroyed, because the library calls the entry points until its own
/// exit routine, which runs later than this module's destructors.
AdapterArray& Adapters()
{
    alignas(AdapterArray) static std::byte room[sizeof(AdapterArray)];
    static AdapterArray& adapters = *new (room) AdapterArray{{
        {"Zorvane Virtual USB Adapter", "0001", R"(USB\VID_5A56&PID_0001\VIRTUAL1)",
         "{5A560001-0000-4000-8000-000000000001}", "zvwlanu"},
        {"Zorvane Virtual SDIO Adapter", "0002", R"(SD\VID_5A56&PID_0002\VIRTUAL2)",
         "{5A560001-0000-4000-8000-000000000002}", "zvwlans"},
        {"Zorvane Virtual PCIe Adapter", "0003", R"(PCI\VEN_5A56&DEV_0003\VIRTUAL3)",
         "{5A560001-0000-4000-8000-000000000003}", "zvwlane"},
    }};
    return adapters;
}

void Deliver(unsigned int message, std::uintptr_t wParam)
{
    if (const PnPHandler handler = RegisteredHandler; handler != nullptr)
        handler(nullptr, message, wParam, 0);
}

constexpr unsigned int PowerMessage = 0x218;
constexpr unsigned int DeviceMessage = 0x219;

/// Sets the flags before it sends the message, because the library then enumerates the records.
void CarryOut(const VirtualScript::Step& step)
{
    switch (step.What)
    {
    case VirtualScript::Verb::Remove:
        Adapters()[step.Adapter].SetStateFlags(ZV_DEV_ABSENT);
        Deliver(DeviceMessage, 0x8004);
        break;
    case VirtualScript::Verb::Arrive:
        Adapters()[step.Adapter].SetStateFlags(0);
        Deliver(DeviceMessage, 0x8000);
        break;
    case VirtualScript::Verb::Suspend:
        Deliver(PowerMessage, 4);
        break;
    case VirtualScript::Verb::Resume: // announced twice, as Windows does
        Deliver(PowerMessage, 18);
        Deliver(PowerMessage, 7);
        break;
    }
}

/// Created with the first step. Its destructor joins the thread, so no message is delivered after this module
/// is unloaded. Windows terminates the threads of a process before it runs destructors, and the join would
/// never return; there the script is not destroyed.
VirtualScript& Script()
{
    if constexpr (ZV_THREADS_END_FIRST != 0)
    {
        static VirtualScript& kept = *new VirtualScript(Adapters().size(), &CarryOut);
        return kept;
    }
    else
    {
        static VirtualScript script(Adapters().size(), &CarryOut);
        return script;
    }
}

/// Returns null if no adapter has this name.
VirtualAdapter* Find(const char* name)
{
    if (name == nullptr)
        return nullptr;
    const auto found = std::ranges::find_if(Adapters(), [name](const VirtualAdapter& adapter) {
        return std::string_view(adapter.Record().NetCfgInstanceId) == name;
    });
    return found == Adapters().end() ? nullptr : &*found;
}

const char* OrEmpty(const char* text)
{
    return text != nullptr ? text : "";
}

/// Copies what fits and fills the rest with zeros. A null buffer counts as empty.
void Answer(void* outBuffer, std::uint32_t outLength, const void* answer, std::size_t answerLength)
{
    const std::size_t copied = answer != nullptr ? std::min<std::size_t>(outLength, answerLength) : 0;
    if (outBuffer == nullptr || outLength == 0)
        return;
    std::memset(outBuffer, 0, outLength);
    if (copied > 0)
        std::memcpy(outBuffer, answer, copied);
}

} // namespace

void Virtual_RegisterPnPHandler(PnPHandler handler)
{
    RegisteredHandler = handler;
    if (const char* const steps = std::getenv("ZV_VIRTUAL_SCRIPT"); steps != nullptr)
        VirtualDriver_Script(steps);
}

int VirtualDriver_Script(const char* steps)
{
    if (steps == nullptr)
        return 0;
    try
    {
        Script().Append(steps);
        return 1;
    }
    catch (const std::exception& error)
    {
        std::fprintf(stderr, "VirtualDriver_UWP: %s\n", error.what());
        return 0;
    }
}

void Virtual_EnumZVDevice(void* buffer, EnumDescriptor* descriptor)
{
    if (buffer == nullptr || descriptor == nullptr)
        return;
    auto* const out = static_cast<char*>(buffer);
    const std::uint32_t room = descriptor->Length;
    descriptor->Length = 0;
    for (const VirtualAdapter& adapter : Adapters())
    {
        if (room - descriptor->Length < sizeof(_ZV_SRVC_DEVICE_INFO))
            return;
        _ZV_SRVC_DEVICE_INFO record = adapter.Record();
        record.StateFlags = adapter.StateFlags();
        std::memcpy(out + descriptor->Length, &record, sizeof record);
        descriptor->Length += static_cast<std::uint32_t>(sizeof(_ZV_SRVC_DEVICE_INFO));
    }
}

void Virtual_Dev_SetQueryInfo(const char* name, std::uint8_t isSet, std::uint32_t infoId, void* buffer,
                              std::uint32_t length)
{
    VirtualAdapter* const adapter = Find(name);
    if (adapter == nullptr || buffer == nullptr)
        return;
    const std::span<std::uint8_t> data(static_cast<std::uint8_t*>(buffer), length);
    if (isSet == 1)
        adapter->Items().Set(infoId, data);
    else
        adapter->Items().Query(infoId, data);
}

void Virtual_AccessRegistry(const char* name, std::uint32_t operation, const char* subKey, const char* valueName,
                            std::uint32_t* type, std::uint8_t* data, std::uint32_t* size)
{
    VirtualAdapter* const adapter = Find(name);
    if (adapter == nullptr)
        return;
    const std::string subKeyText = OrEmpty(subKey);
    const std::string valueText = OrEmpty(valueName);
    if (operation == ZV_REG_OP_DELETE_VALUE)
        adapter->DeleteValue(subKeyText, valueText);
    if (type == nullptr || size == nullptr)
        return;
    if (operation == ZV_REG_OP_READ)
        adapter->ReadValue(subKeyText, valueText, *type, data, *size);
    else if (operation == ZV_REG_OP_WRITE && (data != nullptr || *size == 0))
        adapter->WriteValue(subKeyText, valueText, *type, {data, *size});
}

void Virtual_SendIOCTLReq(const char* name, std::uint32_t code, std::uint32_t /*requestId*/, const void* inBuffer,
                          std::uint32_t inLength, void* outBuffer, std::uint32_t outLength, std::uint32_t /*timeoutMs*/)
{
    constexpr InformationBlock block;
    if (Find(name) == nullptr)
        return;
    if (code == InformationBlockCode)
        Answer(outBuffer, outLength, &block, sizeof block);
    else // echoes, so that a test can check that its bytes arrived
        Answer(outBuffer, outLength, inBuffer, inLength);
}
