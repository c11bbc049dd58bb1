/// @file
/// The adapters and the driver of tests that run on the stand-in and on Windows. Tests/Windows has the same
/// names for a kernel-mode driver and the Windows registry; the include path selects one of them.
#pragma once

#include "Hosting.h"
#include "ScriptedDevice.h"

inline constexpr char ControlDeviceName[] = "Zorvane_Wifi_Device";

/// A scripted driver that keeps response reads until the test ends them.
class TestDriver final : public Platform::ScriptedDevice
{
public:
    static constexpr std::uint32_t WaitRsp = 0x122418;
    static constexpr std::size_t MostResponse = std::size_t{16} << 20;

    explicit TestDriver(const std::string& identity = "") : Name(ControlDeviceName + identity) { On(WaitRsp, Hold()); }

    /// For CreateFileA.
    std::string Path() const { return R"(\\.\)" + Name; }

    /// The oldest response read in flight; waits for one.
    RequestPtr Read() { return Held(WaitRsp); }
    /// Ends the oldest read with a chunk.
    void Chunk(const Bytes& bytes) { End(Read(), bytes); }
    /// Completes a read with a chunk. After a short chunk the library ignores the other reads of that
    /// handle, although they are not cancelled yet.
    void End(const RequestPtr& read, const Bytes& bytes)
    {
        if (bytes.size() < 200)
            IgnoreRequests(WaitRsp, read->OpenId());
        read->Complete(0, bytes);
    }

    /// From now on answers reads at once, until the response is complete.
    void Respond(std::uint32_t /*code*/, const Bytes& response)
    {
        On(WaitRsp, [&response, at = std::make_shared<std::size_t>(0)](const RequestPtr& read) {
            const std::size_t size = std::min<std::size_t>(200, response.size() - *at);
            read->Complete(0, std::span(response).subspan(*at, size));
            *at += size;
        });
    }

    /// Removes the device; its requests end with 1617.
    void Unplug()
    {
        while (EndHeld(0, 1617))
            ;
        Platform::CurrentMachine()->DetachDevice(Name);
    }

    const std::string Name;
};

/// Attaches a driver to the current machine as the control device of an adapter.
inline std::shared_ptr<TestDriver> AttachDriver(const std::string& identity)
{
    auto driver = std::make_shared<TestDriver>(identity);
    Platform::CurrentMachine()->AttachDevice(driver->Name, driver);
    return driver;
}

/// Adds an adapter with its driver.
inline std::shared_ptr<TestDriver> PlugAdapter(const std::string& identity)
{
    auto driver = AttachDriver(identity);
    Platform::CurrentMachine()->AddAdapter(GivenAdapter(identity, "zvwlanu"));
    return driver;
}

/// Removes the first adapter without a query, or with its driver.
inline void RemoveAdapter(const std::string& /*identity*/, bool isUninstalled)
{
    const auto machine = Platform::CurrentMachine();
    const Platform::AdapterId first = machine->Adapters().front();
    isUninstalled ? static_cast<void>(machine->Uninstall(first)) : machine->Unplug(first);
}

inline void SendToLibraryWindow(unsigned message, std::uint64_t wParam)
{
    Platform::CurrentMachine()->Broadcast(message, wParam);
}

/// A machine for a scope, without adapters at first.
class TestMachine : public Platform::ScopedMachine
{
public:
    using Id = Platform::AdapterId;

    Id Add(const Platform::AdapterDescription& adapter) const { return (*this)->AddAdapter(adapter); }
    void Remove(Id adapter) const { (*this)->RemoveAdapter(adapter); }
};

/// What the caller and the library have open; trace providers stay.
inline std::size_t CountOpen(const TestDriver* /*driver*/ = nullptr)
{
    const Platform::OpenObjects open = Platform::CountOpenObjects();
    return open.Total() - open.TraceProviders;
}
