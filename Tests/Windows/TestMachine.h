/// @file
/// The adapters and the driver of tests that run on the stand-in and on Windows: here adapters of the registry,
/// and control devices of the kernel-mode driver. Tests/Support/StandIn has the same names.
#pragma once

#include "HostCalls.h"
#include "KernelDriverCodes.h"
#include "RegistryAdapter.h"
#include "ScopedHandle.h"

#include <span>

/// A control device of the kernel-mode driver, plugged in while the object or the process exists. It keeps
/// response reads until the test ends them. Throws what the driver refuses.
class TestDriver
{
public:
    static constexpr std::uint32_t WaitRsp = 0x122418;
    static constexpr std::size_t MostResponse = 60'000;

    struct Answer
    {
        ZvkAction Action = ZVK_ANSWER;
        std::uint32_t Error = 0;
        Bytes Output = {};
    };

    /// A request as it arrived. The driver itself compares it with the wire format, so all are equal here.
    struct Seen
    {
        std::uint32_t Code;
        Bytes Input;
        std::size_t Room;

        bool operator==(const Seen& /*other*/) const { return true; }
    };

    /// The oldest kept request of a code.
    struct KeptRequest
    {
        const TestDriver& Driver;
        std::uint32_t Code;

        /// Waits until there is one.
        void Complete(std::uint32_t error, const Bytes& output = {}) const;
        const KeptRequest* operator->() const { return this; }
    };

    explicit TestDriver(const std::string& identity);

    const std::string& Path() const { return DevicePath; }
    bool IsPlugged() const { return Plugged; }
    ZvkCounts Counts() const;

    static Answer EndWith(std::uint32_t error, const Bytes& output = {}) { return {ZVK_END, error, output}; }
    static Answer Hold() { return {ZVK_KEEP}; }
    void On(std::uint32_t code, const Answer& answer) const;

    KeptRequest Held(std::uint32_t code) const { return {*this, code}; }
    KeptRequest Read() const { return Held(WaitRsp); }
    void Chunk(const Bytes& bytes) const { Read()->Complete(0, bytes); }
    bool EndHeld(std::uint32_t code, std::uint32_t error, const Bytes& output = {}) const;
    void AwaitHeld(std::uint32_t count) const;
    void HoldCancelled(bool holds) const;
    void Respond(std::uint32_t code, const Bytes& response) const;
    void Unplug();

    /// Those since the last call; none if the driver has refused one.
    std::vector<Seen> Requests();

private:
    /// @return 0, or the Windows error.
    unsigned long Steer(std::uint32_t code, std::span<const std::uint8_t> input,
                        std::span<std::uint8_t> output = {}) const;

    const std::string DevicePath;
    CFileHandle Steering;
    bool Plugged = true;
    std::uint32_t Taken = 0;
};

std::shared_ptr<TestDriver> AttachDriver(const std::string& identity);
/// Adds an adapter, which stays when the process ends, with its driver.
std::shared_ptr<TestDriver> PlugAdapter(const std::string& identity);
/// Removes the device, or its driver too, and sends the message that Windows sends then.
void RemoveAdapter(const std::string& identity, bool isUninstalled);
void SendToLibraryWindow(unsigned message, std::uint64_t wParam);

/// The adapters that a test adds, for a scope.
class TestMachine
{
public:
    using Id = int;

    TestMachine() { NameNetworkClass(); }
    ~TestMachine() { RemoveRegistryAdapters(); }
    TestMachine(const TestMachine&) = delete;
    TestMachine& operator=(const TestMachine&) = delete;

    Id Add(const AdapterTexts& texts);
    void Remove(Id adapter) { RemoveRegistryAdapter(adapter); }

private:
    int Next = 6000;
};

/// What the library has open at a driver, and the requests that violated the wire format.
std::size_t CountOpen(const TestDriver* driver = nullptr);
