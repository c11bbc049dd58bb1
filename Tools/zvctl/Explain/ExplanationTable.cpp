// What each number means. The text of a row begins in lower case and has no full stop.
#include "Explanations.h"

#include <ZVDeviceInfo.h>
#include <ZVEvents.h>
#include <ZVStatus.h>

#include <iterator>

namespace
{

constexpr std::string_view Nothing = "nothing is wrong";
constexpr std::string_view Reinstall = "reinstall the adapter's driver";
constexpr std::string_view Replug = "remove the adapter and plug it in again; then reinstall its driver";
constexpr std::string_view Restart = "restart the computer";

constexpr Explanation Status(unsigned int number, std::string_view meaning, std::string_view cause,
                             std::string_view remedy)
{
    return {ExplainedKind::Status, number, ZVStatusName(number), meaning, cause, remedy};
}

constexpr Explanation Flag(std::uint32_t bit, std::string_view name, std::string_view meaning, std::string_view cause,
                           std::string_view remedy)
{
    return {ExplainedKind::Flag, bit, name, meaning, cause, remedy};
}

constexpr Explanation Event(std::uint32_t code, std::string_view name, std::string_view meaning, std::string_view cause,
                            std::string_view remedy)
{
    return {ExplainedKind::Event, code, name, meaning, cause, remedy};
}

constexpr Explanation Problem(std::uint32_t number, std::string_view name, std::string_view meaning,
                              std::string_view cause, std::string_view remedy)
{
    return {ExplainedKind::Problem, number, name, meaning, cause, remedy};
}

constexpr Explanation Table[] = {
    Status(ZV_SRVC_SUCCESS, "the operation succeeded", Nothing, Nothing),
    Status(ZV_SRVC_ERR_FAILURE, "a step that depends on Windows or the driver failed",
           "a registry value that is missing or protected, an error of the device installer, or a control request that "
           "the driver refused or did not answer in time",
           "check the name of the value; run as administrator; give the request a longer --timeout"),
    Status(ZV_SRVC_ERR_DRIVER_REQUEST, "the driver refused to read or write an information item, or did not answer",
           "an item number or a length that the driver does not accept, or no answer within 50 ms",
           "check ID and LENGTH against the driver's documentation; send the request again"),
    Status(ZV_SRVC_ERR_INTERFACE_TYPE, "CreateZVModule does not create this type of object",
           "a host that passes a type of the other interface, or a reserved one",
           "pass ZV_SRVC_DEVICE_MANAGER_UWP for a manager and ZV_SRVC_DEVICE_UWP for a device"),
    Status(ZV_SRVC_ERR_MODULE_CREATE, "a new object could not start its threads",
           "the process has reached its limit of threads or memory", "end other threads or processes and try again"),
    Status(ZV_SRVC_ERR_ABILITY_QUERY, "the adapter's ability number cannot be read",
           "the driver key has no value ZVSrvcLibSupport, or one that is neither a text nor a 32-bit number",
           "install a driver that sets the value, or set it with 'zvctl reg write'"),
    Status(ZV_SRVC_ERR_BUFFER_TOO_SMALL, "the buffer for the list of adapters is too small",
           "more adapters than the host expected", "call GetZVDeviceList again with the size that it returned"),
    Status(ZV_SRVC_ERR_ALREADY_OPEN, "the device object is bound to an adapter already",
           "a second Open of the same object", "close the object first, or create another one"),
    Status(ZV_SRVC_ERR_INVALID_PARAMETER, "an argument is not acceptable, or names something that does not exist",
           "a null pointer, an empty filter, or an adapter that is absent or that the caller may not change",
           "correct the argument; to enable or disable an adapter, run as administrator"),
    Status(ZV_SRVC_ERR_NO_DEVICE, "no adapter was found",
           "no adapter passes the filter, or the named adapter is not in the list",
           "run 'zvctl doctor', which prints for each adapter why it is not listed"),
    Status(ZV_SRVC_ERR_DEVICE_NOT_OPEN, "the device is not bound to an adapter that can be used",
           "the adapter is absent, disabled or faulty, or the device was closed",
           "run 'zvctl doctor'; enable the adapter or plug it in, then open it again"),
    Status(ZV_SRVC_ERR_CONTROL_DEVICE, "the adapter's control device does not answer",
           "the driver is not started, refuses the first request or does not answer within 300 ms",
           "run 'zvctl doctor'; plug the adapter in again or reinstall its driver"),
    Status(ZV_SRVC_ERR_ASYNC_PENDING, "an asynchronous request with this number is waiting already",
           "two requests with the same RequestId at the same time", "use another number, such as --id 2"),

    Flag(0, "ready", "the adapter can be used", "neither problem nor absent is set", Nothing),
    Flag(ZV_DEV_HAS_PROBLEM, "problem", "the adapter's device node reports a problem number",
         "the adapter is disabled, or its driver failed",
         "run 'zvctl doctor' for the number, then 'zvctl explain problem NUMBER'"),
    Flag(ZV_DEV_ABSENT, "absent", "the last check did not confirm the adapter",
         "the adapter was unplugged, disabled, or could not be opened", "plug the adapter in or enable it"),
    Flag(ZV_DEV_DRIVER_CHANGED, "driver-changed", "the installed driver version differs from the listed one",
         "the driver was updated", "list the adapters again to see the new version"),
    Flag(ZV_DEV_DRIVER_UNINSTALLED, "driver-uninstalled", "the adapter's driver was uninstalled",
         "the driver's registry key was deleted after the adapter left", Reinstall),

    Event(ZV_EVT_DEVICE_STATUS_CHANGED, "status-changed", "adapters left, failed, recovered or changed their driver",
          "an adapter was unplugged, disabled or updated, or its driver failed",
          "the same line or JSON object lists what changed"),
    Event(ZV_EVT_DEVICE_ARRIVED, "arrived", "an adapter arrived or returned", "an adapter was plugged in or enabled",
          "open the adapter again"),
    Event(ZV_EVT_SYSTEM_SUSPEND, "suspend", "the computer is about to suspend", "the user or a timer",
          "stop requests to the adapters"),
    Event(ZV_EVT_SYSTEM_RESUME, "resume", "the computer has resumed; Windows can report this twice",
          "the user or a timer", "continue; adapters that left meanwhile have events of their own"),
    Event(ZV_EVT_DRIVER_UNINSTALLED, "driver-uninstalled", "the driver of a listed adapter was uninstalled",
          "the driver's registry key was deleted after the adapter left", Reinstall),

    Problem(1, "CM_PROB_NOT_CONFIGURED", "the device is not configured", "no driver is installed for it",
            "install the adapter's driver"),
    Problem(3, "CM_PROB_OUT_OF_MEMORY", "the driver could not be loaded for lack of memory",
            "too little memory, or a damaged driver", "close programs; then reinstall the adapter's driver"),
    Problem(9, "CM_PROB_INVALID_DATA", "the device reports invalid identification data", "faulty hardware or firmware",
            "try another port; replace the adapter"),
    Problem(10, "CM_PROB_FAILED_START", "the device cannot start", "its driver failed while it started", Replug),
    Problem(12, "CM_PROB_NORMAL_CONFLICT", "the device finds no free resources",
            "another device uses the same memory or interrupt", "disable the other device or move the adapter"),
    Problem(14, "CM_PROB_NEED_RESTART", "the device works only after a restart", "its driver was replaced while in use",
            Restart),
    Problem(16, "CM_PROB_PARTIAL_LOG_CONF", "the resources of the device are only partly known",
            "an incomplete resource assignment", "assign the resources in the Device Manager"),
    Problem(18, "CM_PROB_REINSTALL", "the driver must be reinstalled", "the driver is being updated, or is damaged",
            "wait for the end of the update; otherwise reinstall the adapter's driver"),
    Problem(19, "CM_PROB_REGISTRY", "the driver's registry entry is damaged",
            "conflicting or incomplete values below the driver's keys", Reinstall),
    Problem(21, "CM_PROB_WILL_BE_REMOVED", "Windows is removing the device", "the adapter is being uninstalled",
            "wait a few seconds; then plug the adapter in again"),
    Problem(22, "CM_PROB_DISABLED", "the device is disabled",
            "the user, the Device Manager or 'zvctl disable' disabled it",
            "enable it in the Device Manager, or with 'enable' in the session that disabled it"),
    Problem(24, "CM_PROB_DEVICE_NOT_THERE", "the device is missing, faulty or not fully installed",
            "it was removed without a notice, or does not respond", Replug),
    Problem(28, "CM_PROB_FAILED_INSTALL", "the drivers of the device are not installed",
            "the installation failed or was cancelled", "install the adapter's driver"),
    Problem(29, "CM_PROB_HARDWARE_DISABLED", "the firmware has disabled the device", "a setting of the BIOS",
            "enable the device in the BIOS"),
    Problem(31, "CM_PROB_FAILED_ADD", "Windows could not load the drivers of the device",
            "a driver that does not accept this device", Reinstall),
    Problem(32, "CM_PROB_DISABLED_SERVICE", "the service of the driver is disabled",
            "its start type in the registry is 4", "set the start type of the service to 3, or reinstall the driver"),
    Problem(33, "CM_PROB_TRANSLATION_FAILED", "Windows cannot determine the resources of the device",
            "a fault of the BIOS or the bus driver", "update the BIOS"),
    Problem(35, "CM_PROB_BIOS_TABLE", "the tables of the BIOS do not describe the device", "an outdated BIOS",
            "update the BIOS"),
    Problem(37, "CM_PROB_FAILED_DRIVER_ENTRY", "the driver failed while it was initialised", "an unsuitable driver",
            Reinstall),
    Problem(38, "CM_PROB_DRIVER_FAILED_PRIOR_UNLOAD", "an earlier instance of the driver is still loaded",
            "the driver was replaced while in use", Restart),
    Problem(39, "CM_PROB_DRIVER_FAILED_LOAD", "the driver cannot be loaded", "its file is damaged or missing",
            Reinstall),
    Problem(40, "CM_PROB_DRIVER_SERVICE_KEY_INVALID", "the service key of the driver is invalid",
            "missing or wrong values of the service in the registry", Reinstall),
    Problem(41, "CM_PROB_LEGACY_SERVICE_NO_DEVICES", "the driver was loaded but finds no device",
            "the driver belongs to other hardware", "install the driver of this adapter"),
    Problem(42, "CM_PROB_DUPLICATE_DEVICE", "another device with the same identity is running",
            "two devices report the same serial number", "remove one of them; then restart the computer"),
    Problem(43, "CM_PROB_FAILED_POST_START", "the driver reported that the device failed",
            "faulty hardware or firmware, or a driver that gave up", Replug),
    Problem(44, "CM_PROB_HALTED", "a program or service stopped the device", "it was shut down on purpose", Restart),
    Problem(45, "CM_PROB_PHANTOM", "the device is not connected", "it was unplugged", "plug the adapter in"),
    Problem(47, "CM_PROB_HELD_FOR_EJECT", "the device is ready to be removed", "it was ejected in the task bar",
            "plug the adapter in again"),
    Problem(48, "CM_PROB_DRIVER_BLOCKED", "Windows blocks the driver", "the driver is known to cause faults",
            "install a newer driver"),
    Problem(49, "CM_PROB_REGISTRY_TOO_LARGE", "the system part of the registry is full",
            "entries of devices that no longer exist", "uninstall devices that are no longer used"),
    Problem(51, "CM_PROB_WAITING_ON_DEPENDENCY", "the device waits for another device",
            "a device that it depends on has not started", "fix the other device first"),
    Problem(52, "CM_PROB_UNSIGNED_DRIVER", "Windows cannot verify the signature of the driver",
            "an unsigned or altered driver file", "install a signed driver"),
    Problem(54, "CM_PROB_DEVICE_RESET", "the device is being reset", "it failed and is restarted",
            "wait a few seconds; otherwise restart the computer"),
};

/// FindExplanations and the list rely on this order.
consteval bool IsOrdered()
{
    for (const Explanation* row = Table + 1; row != std::end(Table); ++row)
        if (row->Kind < row[-1].Kind || (row->Kind == row[-1].Kind && row->Number <= row[-1].Number))
            return false;
    return true;
}

static_assert(IsOrdered());

} // namespace

std::span<const Explanation> Explanations()
{
    return Table;
}
