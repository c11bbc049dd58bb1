/// @file
/// The simulated computer: adapters, registry, faults and a trace controller, controlled by a test or a host tool. No
/// Windows name appears here, so that its users do not depend on the stand-in's Windows types.
#pragma once

#include "ControlDevice.h"
#include "PlatformExport.h"

#include <cstdint>
#include <functional>
#include <map>
#include <memory>
#include <optional>
#include <stdexcept>
#include <string>
#include <string_view>
#include <vector>

namespace Platform
{

/// A registry value: its type number and its bytes as stored.
struct PLATFORM_API RegistryValue
{
    std::uint32_t Type = 0;         ///< Such as 1 for REG_SZ and 4 for REG_DWORD.
    std::vector<std::uint8_t> Data; ///< Texts end with a NUL; numbers are little-endian.

    static RegistryValue Text(std::string_view text);             ///< REG_SZ with its NUL.
    static RegistryValue Number(std::uint32_t number);            ///< REG_DWORD.
    static RegistryValue Binary(std::vector<std::uint8_t> bytes); ///< REG_BINARY.

    /// Compares type and bytes.
    bool operator==(const RegistryValue&) const = default;
};

/// A network adapter as Windows sees it. A field that is not set does not exist.
/// Every field has an initialiser, so that a designated one may name just those that matter.
struct AdapterDescription
{
    std::optional<std::string> NetCfgInstanceId = {}; ///< Value of the driver key: the adapter's identity.
    std::optional<std::string> DeviceInstanceId = {}; ///< Value "DeviceInstanceID" of the driver key.
    std::optional<std::string> DriverVersion = {};    ///< Value of the driver key.
    std::optional<std::string> InfSection = {};       ///< Value of the driver key.
    std::optional<std::string> Service = {};          ///< Value "Service" of the driver key's "NDI".

    std::optional<std::u16string> HardwareId = {};   ///< Property; 16-bit as Windows stores it, like the next ones.
    std::optional<std::u16string> FriendlyName = {}; ///< Property; the display name.
    std::optional<std::u16string> Description = {};  ///< Property; the display name without a friendly name.
    std::optional<std::u16string> ClassName = {};    ///< Property.
    /// Property. Only the registry text; the node always belongs to the network class.
    std::optional<std::u16string> ClassGuid = {};
    /// Property SPDRP_DRIVER. When it is not set but `AssignDriverKey` is, the machine chooses the next
    /// free "{4D36E972-E325-11CE-BFC1-08002BE10318}\NNNN" as the adapter is added.
    std::optional<std::u16string> DriverKey = {};
    bool AssignDriverKey = true; ///< See `DriverKey`.

    bool HasDriverKey = true;  ///< The driver key exists in the registry.
    bool HasLinkage = true;    ///< Its subkey "Linkage" exists.
    bool HasNdi = true;        ///< Its subkey "NDI" exists.
    bool Present = true;       ///< Plugged in.
    bool Hidden = false;       ///< Node status DN_NO_SHOW_IN_DM.
    bool Readable = true;      ///< CM_Get_DevNode_Status succeeds.
    std::uint32_t Problem = 0; ///< Problem number of the node; 22 for a disabled adapter.

    /// Error with which the class installer refuses an enable or disable; 0 performs it.
    std::uint32_t StateChangeError = 0;

    /// Name of the attached device that appears and disappears with this adapter's `Present`; empty for none.
    std::string ControlDeviceName = {};

    /// Further values of the driver key, by name; they take precedence over the fields above.
    std::map<std::string, RegistryValue> Values = {};
};

/// Identifies an adapter of a machine as long as the machine exists. Never reused.
using AdapterId = std::uint32_t;

/// Counts of what the process has open; all zero when nothing leaks.
struct OpenObjects
{
    std::size_t RegistryKeys = 0;   ///< Open keys.
    std::size_t DeviceSets = 0;     ///< Sets of SetupDiGetClassDevsW.
    std::size_t Modules = 0;        ///< References to loaded modules.
    std::size_t TraceProviders = 0; ///< Registered providers.

    std::size_t Files = 0;            ///< Handles of control devices.
    std::size_t Events = 0;           ///< Handles, not events.
    std::size_t RequestsInFlight = 0; ///< Not completed yet, whether or not their handle is open.
    std::size_t Windows = 0;          ///< Not in the total: a window may live as long as the process.

    /// Returns the sum of all counts but `Windows`.
    std::size_t Total() const
    {
        return RegistryKeys + DeviceSets + Modules + TraceProviders + Files + Events + RequestsInFlight;
    }
};

/// A message that a provider wrote.
struct TraceRecord
{
    std::uint8_t MessageClass[16] = {};               ///< GUID in memory layout.
    std::uint16_t Number = 0;                         ///< Number of the message within its class.
    std::uint32_t MessageFlags = 0;                   ///< What the provider requested; anything else is 0 here.
    std::uint64_t Sequence = 0;                       ///< Counts the messages of the session from 1.
    std::uint64_t TimestampNs = 0;                    ///< Monotonic clock.
    std::uint32_t ThreadId = 0;                       ///< The writing thread.
    std::vector<std::vector<std::uint8_t>> Arguments; ///< The bytes of each argument, in order.
};

/// An error in a machine file; `what()` names the file, the position and the error.
class PLATFORM_API MachineFileError : public std::runtime_error
{
public:
    /// Takes the text.
    using std::runtime_error::runtime_error;
};

/// The server of a shared machine cannot be reached, or has refused a change; `what()` says which. Nothing was changed.
class PLATFORM_API MachineServerError : public std::runtime_error
{
public:
    /// Takes the text.
    using std::runtime_error::runtime_error;
};

/// One described computer. Thread-safe; every operation may be called from any thread. Starts with
/// the network class registered, no adapter, and no other registry content.
class PLATFORM_API Machine
{
public:
    /// Creates the empty machine. CurrentMachine returns it only once a ScopedMachine has installed it.
    Machine();
    /// Releases the adapters and their control devices.
    ~Machine();
    Machine(const Machine&) = delete;
    Machine& operator=(const Machine&) = delete;

    /// Fills the machine from a JSON text; docs/MACHINE-FILE.md describes the format.
    /// @param json the text. Its contents are added to what the machine has.
    /// @param origin names the text in error messages.
    /// @throws MachineFileError for an error in the text; the machine is unchanged then.
    void Load(std::string_view json, std::string_view origin);
    /// Reads a file and loads it, with warnings on stderr for adapters that no host can list or open.
    /// @throws MachineFileError like Load, and if the file cannot be read.
    void LoadFile(const std::string& path);

    /// Adds an adapter with its registry keys. Its control device is reachable if the adapter is present. Sends no
    /// message, like the two functions that change and remove an adapter below.
    AdapterId AddAdapter(const AdapterDescription& adapter);
    /// Changes an adapter in place: the callback edits the description, and the registry is updated with
    /// the values that changed. The callback runs without a lock of the stand-in. It runs again on fresh
    /// data if another thread changed the same adapter meanwhile.
    /// @throws std::out_of_range for a removed adapter, like all operations that take an id.
    void ChangeAdapter(AdapterId id, const std::function<void(AdapterDescription&)>& edit);
    /// Returns a copy of the description.
    AdapterDescription Adapter(AdapterId id) const;
    /// Removes the node and its registry keys. Its control device is unreachable until another adapter names it.
    void RemoveAdapter(AdapterId id);
    /// Returns all adapters in the order in which they were added.
    std::vector<AdapterId> Adapters() const;

    /// @name Events of a computer
    /// Each changes the tree and the registry and sends the messages that Windows sends for the event. An event
    /// that would leave the adapter's state unchanged does nothing, and changes of an absent adapter send no message.
    /// The functions return when each window has handled its messages; a window that does not respond delays each
    /// message by 5 seconds. Messages of two callers do not mix.
    ///
    /// An adapter belongs to one interface class, GUID_NDIS_LAN_CLASS; its interface is up while it is
    /// present and has no problem. Windows registered for the class receive 0x8000 (DBT_DEVICEARRIVAL)
    /// when the interface appears and 0x8004 (DBT_DEVICEREMOVECOMPLETE) when it disappears. After each
    /// change of the tree every top-level window receives 7 (DBT_DEVNODES_CHANGED). Before an orderly
    /// removal (all but Unplug) registered windows receive the query 0x8001 (DBT_DEVICEQUERYREMOVE). A
    /// window that answers BROADCAST_QUERY_DENY stops it: windows queried before receive 0x8002, and the
    /// result is false.
    /// @{

    /// Inserts an adapter. If its driver was uninstalled, installs it under a new driver key.
    void Plug(AdapterId id);
    /// Removes an adapter without a query.
    void Unplug(AdapterId id);
    /// Sets problem 22, like a disable in the Device Manager. False for an absent adapter.
    bool Disable(AdapterId id);
    /// Clears problem 22 and no other. False for an absent adapter.
    bool Enable(AdapterId id);
    /// Gives the node a problem number, 0 for none. No window is queried, as for a driver that fails.
    void SetProblem(AdapterId id, std::uint32_t problem);
    /// Stops the adapter (problem 18 meanwhile, CM_PROB_REINSTALL), replaces its "DriverVersion" and
    /// starts it again. An adapter with a problem keeps it and is not queried. False for an absent adapter.
    bool UpdateDriver(AdapterId id, std::string_view version);
    /// Removes the adapter, and after the messages its driver key, like Windows. Sets of absent devices no
    /// longer contain it.
    bool Uninstall(AdapterId id);
    /// Sends 0x218 with 4 (PBT_APMSUSPEND) to every top-level window.
    void Suspend();
    /// Sends 0x218 with 18 (PBT_APMRESUMEAUTOMATIC) and then 7 (PBT_APMRESUMESUSPEND).
    void Resume();
    /// Sends any message to every top-level window, with no other effect.
    void Broadcast(std::uint32_t message, std::uint64_t wParam);
    /// Sets whether callers have administrator rights; true at the start.
    void SetCallerRights(bool administrator);
    /// Returns whether callers have them.
    bool HasCallerRights() const;
    /// Sets or resets the named event, as SetEvent and ResetEvent do. Does nothing while no handle on it is open.
    void SetNamedEvent(std::string_view name, bool signalled);
    /// @}

    /// @name Control devices
    /// Names come without the "\\.\" that callers open them with, and compare without regard to case.
    /// @{

    /// Makes a device reachable under a name.
    /// @throws std::invalid_argument for a name that is empty or attached already, and for no device.
    void AttachDevice(const std::string& name, std::shared_ptr<ControlDevice> device);
    /// Makes the device vanish: opens find none, new requests on open handles fail with 1617
    /// (ERROR_DEVICE_REMOVED), and requests in flight are cancelled; the device may complete them with 1617. Does
    /// nothing for a name that is not attached.
    void DetachDevice(std::string_view name);
    /// Returns the device that an open would reach, or null.
    std::shared_ptr<ControlDevice> Device(std::string_view name) const;
    /// Changes the behaviour or the stored data of a device; see ControlDevice::Configure. The device may be
    /// unreachable.
    /// @throws std::invalid_argument for a name that is not attached. std::runtime_error with the driver's text for
    /// settings that it rejects.
    void ConfigureDevice(std::string_view name, const std::string& settings);
    /// @}

    /// @name Registry below HKEY_LOCAL_MACHINE, by path; names compare without regard to case.
    /// @{

    /// Sets a value. Creates the key and its missing parents.
    void SetValue(std::string_view path, std::string_view name, const RegistryValue& value);
    /// Returns nothing if the key or the value does not exist.
    std::optional<RegistryValue> Value(std::string_view path, std::string_view name) const;
    /// Removes a value. Does nothing if there is no such value.
    void DeleteValue(std::string_view path, std::string_view name);
    /// Creates a key and its missing parents.
    void CreateKey(std::string_view path);
    bool KeyExists(std::string_view path) const; ///< Returns whether there is such a key.
    /// Deletes a key with all keys below it. Open handles on them then fail with ERROR_KEY_DELETED (1018). Does nothing
    /// if there is no such key. @throws std::invalid_argument for the root.
    void DeleteTree(std::string_view path);
    /// @}

    /// @name Faults
    /// Make platform calls fail although nothing is wrong, count them, and run code in them.
    /// @{

    /// The `nth` call (1: the next one) of the function with this published name fails with `error`;
    /// with `count` above 1 the following ones too. An error number of 0 keeps the function's plain
    /// failure result and leaves the last error unchanged; where the result is itself the error number,
    /// it is then ERROR_GEN_FAILURE (31), or CR_FAILURE (0x13) of the configuration manager.
    /// @throws std::invalid_argument for a name that the stand-in does not publish, as OnCall does.
    void FailCall(std::string_view function, unsigned nth, std::uint32_t error, unsigned count = 1);
    /// Removes all faults. Hooks and counts stay.
    void ClearFaults();
    /// Returns how often the function was called on this machine, failed calls included.
    std::uint64_t Calls(std::string_view function) const;
    /// Runs on the calling thread at the start of each call of that function, with no lock of the
    /// stand-in held, so that a test can hold a call at a gate. Null removes it.
    void OnCall(std::string_view function, std::function<void()> hook);
    /// @}

    class Impl;                              ///< The state.
    Impl& Internal() const { return *Self; } ///< For the stand-in itself.

private:
    std::unique_ptr<Impl> Self;
};

/// Opens the machine that a value of ZV_MACHINE names: a machine file, or "unix:PATH" for the machine of the server
/// that listens on this Unix domain socket. The process then shares that machine with others: it sees every change in
/// the same order, and changes that it makes go through the server. If the server disappears, the machine keeps its
/// last state, says so on stderr, and joins again when a server listens; changes fail meanwhile.
/// @throws MachineFileError for an error in the file, and if no server answers within 5 seconds.
PLATFORM_API std::shared_ptr<Machine> OpenMachine(const std::string& source);

/// Returns the machine that the published functions use: the innermost ScopedMachine, otherwise the
/// default one. The default machine is empty, or the one that the environment variable ZV_MACHINE names; see
/// OpenMachine. An error in it ends the process with a message and code 2, because a host could not
/// distinguish a broken description from a machine without adapters.
PLATFORM_API std::shared_ptr<Machine> CurrentMachine();

/// Installs a machine for a scope. Scopes must nest; handles keep the machine they came from.
class PLATFORM_API ScopedMachine
{
public:
    /// Installs a new, empty machine.
    ScopedMachine();
    /// Installs this machine.
    explicit ScopedMachine(std::shared_ptr<Machine> machine);
    /// Installs the previous machine again.
    ~ScopedMachine();
    ScopedMachine(const ScopedMachine&) = delete;
    ScopedMachine& operator=(const ScopedMachine&) = delete;

    Machine& operator*() const { return *Installed; }       ///< Returns the installed machine.
    Machine* operator->() const { return Installed.get(); } ///< Returns the installed machine.

private:
    std::shared_ptr<Machine> Installed;
    std::shared_ptr<Machine> Previous;
};

/// Counts the open objects of the process, of all machines.
PLATFORM_API OpenObjects CountOpenObjects();

/// A running trace session. It enables the provider with that control GUID, now or as soon as it
/// registers, and disables it at the end of the scope.
class PLATFORM_API TraceSession
{
public:
    /// Starts the session.
    /// @param provider control GUID, 16 bytes in memory layout.
    /// @param level the provider writes messages up to this level.
    /// @param flags the components whose messages it writes.
    /// @param sink receives every message, on the writing thread, one at a time, with no lock held.
    TraceSession(const void* provider, std::uint8_t level, std::uint32_t flags,
                 std::function<void(const TraceRecord&)> sink);
    /// Blocks until a sink that runs on another thread has returned; the sink is not called afterwards.
    ~TraceSession();
    TraceSession(const TraceSession&) = delete;
    TraceSession& operator=(const TraceSession&) = delete;

    /// Changes level and flags of the running session.
    void Enable(std::uint8_t level, std::uint32_t flags);
    /// Disables the provider and keeps the session.
    void Disable();

    struct State; ///< For the stand-in itself.

private:
    std::shared_ptr<State> Self;
};

} // namespace Platform
