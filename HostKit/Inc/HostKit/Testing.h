/// @file
/// A simulated computer for the tests of a host: adapters with drivers, events, misbehaviour and faults.
///
/// Works with any test framework: nothing here reports to one, and errors of the test itself are exceptions. Linux
/// only. Link the CMake target `ZVUWPSrvcLib::HostKitTesting`. The adapters' driver, ZVDriverModel.dll, must be in the
/// folder of the program, in the current folder or in that of libZVPlatform.so.
///
/// The library's service and its managers exist until the process ends. Therefore run each test in a separate process,
/// as gtest_discover_tests and catch_discover_tests of CMake do.
#pragma once

#include <ControlDevice.h>
#include <Machine.h>
#include <Quiet.h>

#include <array>
#include <chrono>
#include <cstdint>
#include <memory>
#include <stdexcept>
#include <string>
#include <string_view>
#include <utility>

namespace HostKit
{

/// An adapter as a test describes it. Every field has a default except the identity.
struct AdapterSetup
{
    std::string Identity;              ///< NetCfgInstanceId, such as "{test-1}"; not empty, and unique on the machine.
    std::string Name = "Test adapter"; ///< DeviceName; ASCII characters.
    /// Name of the service: "zvwlanu" (listed by ZV_USB), "zvwlans" (ZV_SDIO) or "zvwlane" (ZV_PCIE).
    std::string Service = "zvwlanu";
    /// JSON text with the settings of the driver model; docs/TEST-YOUR-HOST.md describes them.
    std::string DriverSettings = "{}";
    bool Present = true; ///< False for an adapter that will arrive later, with TestAdapter::Plug.
};

/// An adapter of a TestMachine. Copies refer to the same adapter. Any thread may call any operation.
///
/// The first group of verbs changes the machine and sends the messages of Windows. They return when the library's
/// window has received the messages; its threads then still handle them. Use TestMachine::WaitUntilIdle or an
/// EventQueue to wait for the effects. The second group changes how the driver treats requests that arrive from now on.
class TestAdapter
{
public:
    using Milliseconds = std::chrono::milliseconds; ///< The unit of times.

    /// @name Events of the adapter; see Platform::Machine
    /// @{

    /// Inserts the adapter. If its driver was uninstalled, installs it again.
    void Plug() const { Computer->Plug(Id); }
    /// Removes the adapter without a query, like a pulled plug. Its driver cancels the requests in flight.
    void Unplug() const { Computer->Unplug(Id); }
    /// Gives the node a problem.
    /// @param problem number of the problem, 0 for none. An adapter with a problem is unusable. After the end of a
    ///        problem, which includes Enable, the library clears the flag ZV_DEV_ABSENT. It clears ZV_DEV_HAS_PROBLEM
    ///        at the next arrival of any adapter, such as the message `machine->Broadcast(0x219, 0x8000)`.
    void SetProblem(std::uint32_t problem) const { Computer->SetProblem(Id, problem); }
    /// Clears problem 22.
    void Enable() const { Computer->Enable(Id); }
    /// Sets problem 22, like a disable in the Device Manager.
    void Disable() const { Computer->Disable(Id); }
    /// Stops the adapter, replaces its driver version and starts it again.
    void UpdateDriver(std::string_view version) const { Computer->UpdateDriver(Id, version); }
    /// Removes the adapter and its driver key.
    void Uninstall() const { Computer->Uninstall(Id); }
    /// @}

    /// @name Behaviour of the driver
    /// @throws std::logic_error for an adapter without a driver that can be reached, and for a driver that rejects the
    ///         setting.
    /// @{

    /// Handles each request only after this time. The library waits 300 ms when it opens an adapter, 50 ms for an item
    /// and the request's own time-out otherwise.
    void Slow(Milliseconds delay) const { Configure(R"({"slowMs": )" + std::to_string(delay.count()) + "}"); }
    /// Completes requests only when they are cancelled, so that each runs into its time-out.
    void Hang(bool hangs = true) const { Configure(hangs ? R"({"hang": true})" : R"({"hang": false})"); }
    /// Completes every request with an error number of Windows; 0 for normal operation. The request fails if it is
    /// refused at once, which it is unless the driver is slow too.
    void Refuse(std::uint32_t error = 5) const { Configure(R"({"refuse": )" + std::to_string(error) + "}"); }
    /// Fails every open with an error number of Windows; 0 for normal operation.
    void RefuseOpen(std::uint32_t error = 5) const { Configure(R"({"refuseOpen": )" + std::to_string(error) + "}"); }
    /// Sends no response to asynchronous requests, which then complete after 3 seconds.
    void Silent(bool isSilent = true) const { Configure(isSilent ? R"({"silent": true})" : R"({"silent": false})"); }
    /// Switches all misbehaviour off.
    void BehaveNormally() const
    {
        Configure(R"({"refuse": 0, "refuseOpen": 0, "slowMs": 0, "lateCancelMs": 0, "vanishAfterChunks": 0,
                      "pend": false, "hang": false, "silent": false, "garbage": false, "holdCancelled": false})");
    }
    /// Changes any switches of the driver. @param settings JSON text; switches that it does not name stay unchanged.
    void Configure(const std::string& settings) const
    {
        const auto driver = Driver != nullptr ? Driver : Computer->Device(Computer->Adapter(Id).ControlDeviceName);
        if (driver == nullptr)
            throw std::logic_error("the adapter has no driver, or is not plugged in");
        std::array<char, 512> error{};
        if (!driver->Configure(settings.c_str(), error.data(), error.size()))
            throw std::logic_error(settings + ": " + error.data());
    }
    /// @}

    /// Returns the adapter's number on the machine, for operations of Platform::Machine.
    Platform::AdapterId Number() const { return Id; }

private:
    friend class TestMachine;

    TestAdapter(std::shared_ptr<Platform::Machine> computer, Platform::AdapterId id,
                std::shared_ptr<Platform::ControlDevice> driver)
        : Computer(std::move(computer)), Id(id), Driver(std::move(driver))
    {
    }

    std::shared_ptr<Platform::Machine> Computer;
    Platform::AdapterId Id;
    std::shared_ptr<Platform::ControlDevice> Driver; ///< Null for an adapter of a machine file.
};

/// The computer that the library sees while this object exists. Create it before the first call of the library, and
/// one at a time. Starts without adapters. Any thread may call any operation.
class TestMachine
{
public:
    using Milliseconds = std::chrono::milliseconds; ///< The unit of times.

    /// Adds the adapters and registry values of a machine file's text. @throws std::runtime_error with the position
    /// of a mistake; the machine stays unchanged then.
    void Load(std::string_view json) { Computer->Load(json, "machine of the test"); }
    /// The same for a file. @throws std::runtime_error
    void LoadFile(const std::string& path) { Computer->LoadFile(path); }

    /// Adds an adapter with a driver model. Sends no message: add it before the library lists adapters, or with
    /// `Present = false` and plug it in later.
    /// @throws std::invalid_argument for an identity that is empty or taken; std::runtime_error if the driver cannot be
    ///         loaded or rejects its settings.
    TestAdapter Add(const AdapterSetup& setup)
    {
        if (setup.Identity.empty())
            throw std::invalid_argument("an adapter needs an identity");
        const std::string device = "Zorvane_Wifi_Device" + setup.Identity;
        auto driver = Platform::LoadControlDevice("ZVDriverModel.dll", device, setup.DriverSettings);
        Computer->AttachDevice(device, driver);
        Platform::AdapterDescription adapter;
        adapter.NetCfgInstanceId = setup.Identity;
        adapter.DeviceInstanceId = R"(USB\VID_5A56&PID_0001\)" + setup.Identity;
        adapter.DriverVersion = "1.0.0.0";
        adapter.InfSection = "Test.ndi";
        adapter.Service = setup.Service;
        adapter.HardwareId = u"USB\\VID_5A56&PID_0001";
        adapter.Values.emplace("ZVSrvcLibSupport", Platform::RegistryValue::Number(1));
        adapter.Present = setup.Present;
        adapter.ControlDeviceName = device;
        adapter.FriendlyName.emplace(setup.Name.begin(), setup.Name.end());
        return {Shared(), Computer->AddAdapter(adapter), std::move(driver)};
    }

    /// Returns an adapter of the machine. @throws std::out_of_range if there is none with this NetCfgInstanceId.
    TestAdapter Adapter(std::string_view identity) const
    {
        for (const Platform::AdapterId id : Computer->Adapters())
            if (Computer->Adapter(id).NetCfgInstanceId == identity)
                return {Shared(), id, nullptr};
        throw std::out_of_range("the machine has no adapter " + std::string(identity));
    }

    /// Sends the message of a suspend.
    void Suspend() { Computer->Suspend(); }
    /// Sends the messages of a resume. Windows announces it twice, so hosts receive two events.
    void Resume() { Computer->Resume(); }

    /// Makes calls of a platform function fail although nothing is wrong.
    /// @param function published name, such as "SetupDiGetClassDevsW". @param error error number of Windows.
    /// @param nth the first call that fails, counted from now; 1 is the next one. @param count calls that fail.
    /// @throws std::invalid_argument for a function that the stand-in does not have.
    void FailCall(std::string_view function, std::uint32_t error, unsigned nth = 1, unsigned count = 1)
    {
        Computer->FailCall(function, nth, error, count);
    }

    /// Blocks until the library and the host have nothing to do, for at most `timeout`. Platform::WaitUntilQuiet in
    /// Quiet.h documents what that means and what it cannot detect.
    /// @param timeout bound of the wait.
    /// @param pause time without a platform call. Pass 100 ms after a removal to wait for the library's check whether
    ///        the driver was uninstalled, which takes up to 2.5 seconds.
    /// @return false if they were still busy, for example because a driver hangs.
    bool WaitUntilIdle(Milliseconds timeout = std::chrono::seconds(10), Milliseconds pause = Milliseconds::zero()) const
    {
        return Platform::WaitUntilQuiet(timeout, pause);
    }

    /// Gives access to everything else that a machine offers: registry values, hooks of platform calls, open objects.
    Platform::Machine* operator->() const { return &*Computer; }

private:
    /// The machine outlives the adapters that refer to it.
    std::shared_ptr<Platform::Machine> Shared() const { return Platform::CurrentMachine(); }

    Platform::ScopedMachine Computer;
};

} // namespace HostKit
