/// @file
/// The table of the library's trace points, which a decoder needs to print messages. The provider emits
/// nothing until a trace controller enables it with a level and a set of flags.
#pragma once

#include <cstddef>
#include <cstdint>

/// Control GUID of the provider, in the memory layout of the platform's GUID:
/// {DF8CCA02-A0FE-49D1-95A6-EE3D58F48496}.
struct ZVTraceGuid
{
    std::uint32_t Data1;   ///< The first eight hexadecimal digits.
    std::uint16_t Data2;   ///< The next four.
    std::uint16_t Data3;   ///< The next four.
    std::uint8_t Data4[8]; ///< The last sixteen, two for each byte.

    /// Compares all fields.
    friend constexpr bool operator==(const ZVTraceGuid&, const ZVTraceGuid&) = default;
};

static_assert(sizeof(ZVTraceGuid) == 16);

/// The GUID that a controller enables.
inline constexpr ZVTraceGuid ZV_TRACE_PROVIDER = {
    0xDF8CCA02, 0xA0FE, 0x49D1, {0x95, 0xA6, 0xEE, 0x3D, 0x58, 0xF4, 0x84, 0x96}};

/// @name Component flags
/// A controller enables the components whose bits it sets.
/// @{
inline constexpr std::uint32_t TRACE_FLAG_SERVICE = 0x01;        ///< Service object, factory, registry access.
inline constexpr std::uint32_t TRACE_FLAG_DEVICE = 0x02;         ///< Devices and their requests.
inline constexpr std::uint32_t TRACE_FLAG_DEVICE_MANAGER = 0x04; ///< Listings, checks and merges of adapters.
inline constexpr std::uint32_t TRACE_FLAG_NOTIFICATION = 0x08;   ///< Threads that deliver notifications.
inline constexpr std::uint32_t TRACE_FLAG_OS_EVENT = 0x10;       ///< Window messages, registry, uninstall checks.
/// @}

/// @name Levels
/// @{
inline constexpr std::uint8_t ZV_TRACE_LEVEL_FATAL = 1;   ///< A programming error.
inline constexpr std::uint8_t ZV_TRACE_LEVEL_INFO = 3;    ///< The ordinary trace point.
inline constexpr std::uint8_t ZV_TRACE_LEVEL_VERBOSE = 4; ///< Frequent points, and the start and end of the service.
/// @}

/// The source units. Each has its own message-class GUID and numbers its messages from 10.
enum class ZVTraceUnit : std::uint8_t
{
    Notification,  ///< Threads that deliver notifications.
    Service,       ///< The service object.
    Factory,       ///< CreateZVModule.
    Device,        ///< Devices.
    DeviceManager, ///< Device managers.
    OSAPIWrapper,  ///< Calls of the operating system.
    TrackedThread, ///< The window's thread.
};

/// Message-class GUIDs in the order of ZVTraceUnit.
inline constexpr ZVTraceGuid ZV_TRACE_CLASSES[] = {
    {0x36955D62, 0x9DED, 0xACB5, {0xAB, 0xC1, 0x83, 0x9F, 0x7F, 0xD7, 0xB8, 0x71}},
    {0xAC031C2A, 0xC4F8, 0xF2DF, {0x09, 0x20, 0x24, 0x51, 0xA4, 0xBB, 0x34, 0xD9}},
    {0x5594BE3C, 0x079F, 0x3E92, {0x30, 0x5E, 0x20, 0x70, 0x0F, 0xB0, 0x77, 0x93}},
    {0x29382FA8, 0x9E8A, 0x3220, {0x4D, 0x50, 0x94, 0x1B, 0xD3, 0x74, 0xC4, 0x4B}},
    {0x39C7D748, 0x72A7, 0x562B, {0x45, 0x23, 0x35, 0xD6, 0xA9, 0xA0, 0xB3, 0x18}},
    {0x8CD8EFA2, 0xF6A5, 0xE94E, {0x40, 0x10, 0xD8, 0x41, 0x8B, 0x93, 0xA6, 0x8D}},
    {0x6CAF22CB, 0x9326, 0x2A0F, {0xEC, 0xC4, 0x1A, 0x38, 0x8B, 0xB9, 0xCA, 0x51}},
};

/// One trace point.
struct ZVTraceMessage
{
    ZVTraceUnit Unit;     ///< Selects the message class.
    std::uint16_t Number; ///< Counts from 10 within the unit.
    std::uint8_t Level;   ///< A session receives the message if its own level is at least this.
    std::uint32_t Flag;   ///< The component.
    /// Message text. `%s` is a text argument, `%u` and `%x` are 32-bit numbers in decimal and
    /// hexadecimal, in the order of the arguments.
    const char* Text;
};

/// Every trace point of the library: its name in the code, unit, number, level, flag and text.
/// Append new points to the end of their unit, so that existing numbers keep their meaning.
#define ZV_TRACE_POINTS(X)                                                                                             \
    X(NotifyThreadStarted, Notification, 10, 3, TRACE_FLAG_NOTIFICATION, "thread \"%s\" started")                      \
    X(NotifyThreadEntered, Notification, 11, 3, TRACE_FLAG_NOTIFICATION, "thread \"%s\" entered its loop")             \
    X(NotifyThreadLeft, Notification, 12, 3, TRACE_FLAG_NOTIFICATION, "thread \"%s\" left its loop")                   \
    X(NotifyThreadStopping, Notification, 13, 3, TRACE_FLAG_NOTIFICATION, "thread \"%s\" is being stopped")            \
    X(NotifyThreadStopped, Notification, 14, 3, TRACE_FLAG_NOTIFICATION, "thread \"%s\" has stopped")                  \
    X(NotifyThreadRefused, Notification, 15, 3, TRACE_FLAG_NOTIFICATION, "thread \"%s\" already runs")                 \
    X(ServiceUp, Service, 10, 4, TRACE_FLAG_SERVICE, "service object is up, simulated driver loaded: %u")              \
    X(ServiceInit, Service, 11, 4, TRACE_FLAG_SERVICE, "service object initialised, simulated events: %u")             \
    X(ServiceStopping, Service, 12, 4, TRACE_FLAG_SERVICE, "service object is being destroyed")                        \
    X(HandlerRegistered, Service, 13, 4, TRACE_FLAG_SERVICE, "power-event handler registered, now %u")                 \
    X(WindowMessage, Service, 14, 4, TRACE_FLAG_OS_EVENT, "window message 0x%x, wParam 0x%x")                          \
    X(FactoryManager, Factory, 10, 3, TRACE_FLAG_SERVICE, "making a device manager")                                   \
    X(FactoryDevice, Factory, 11, 3, TRACE_FLAG_SERVICE, "making a device")                                            \
    X(FactoryUnknownType, Factory, 12, 3, TRACE_FLAG_SERVICE, "unknown interface type 0x%x")                           \
    X(FactoryNotReady, Factory, 13, 3, TRACE_FLAG_SERVICE, "the new object of type 0x%x is not ready")                 \
    X(ManagerThreadFailed, DeviceManager, 10, 3, TRACE_FLAG_DEVICE_MANAGER, "thread \"%s\" could not be started")      \
    X(ListRequest, DeviceManager, 11, 3, TRACE_FLAG_DEVICE_MANAGER, "listing \"%s\" as services \"%s\"")               \
    X(ListFromCache, DeviceManager, 12, 3, TRACE_FLAG_DEVICE_MANAGER, "filter unchanged, answering from the list")     \
    X(ListPattern, DeviceManager, 13, 3, TRACE_FLAG_DEVICE_MANAGER, "instance-ID pattern \"%s\"")                      \
    X(ListResult, DeviceManager, 14, 3, TRACE_FLAG_DEVICE_MANAGER, "listing ends with status %u, %u bytes")            \
    X(WalkNoFilter, DeviceManager, 15, 3, TRACE_FLAG_DEVICE_MANAGER, "no service names to enumerate")                  \
    X(WalkNoClass, DeviceManager, 16, 3, TRACE_FLAG_DEVICE_MANAGER, "GUID of the network class not found, error %u")   \
    X(WalkNoSet, DeviceManager, 17, 3, TRACE_FLAG_DEVICE_MANAGER, "network devices cannot be listed, error %u")        \
    X(WalkNoClassRoot, DeviceManager, 18, 3, TRACE_FLAG_DEVICE_MANAGER, "class root key cannot be opened, error %u")   \
    X(WalkHardwareId, DeviceManager, 19, 4, TRACE_FLAG_DEVICE_MANAGER, "testing device with hardware ID \"%s\"")       \
    X(WalkAccepted, DeviceManager, 20, 3, TRACE_FLAG_DEVICE_MANAGER,                                                   \
      "accepted \"%s\", driver key %s, identity %s, instance \"%s\", driver version %s, section \"%s\", service %s, "  \
      "flags 0x%x")                                                                                                    \
    X(WalkDone, DeviceManager, 21, 3, TRACE_FLAG_DEVICE_MANAGER, "enumeration ends with status %u, %u adapters")       \
    X(SimulatedRecords, DeviceManager, 22, 3, TRACE_FLAG_DEVICE_MANAGER, "simulated driver delivered %u records")      \
    X(MessageRouted, DeviceManager, 23, 3, TRACE_FLAG_DEVICE_MANAGER,                                                  \
      "message 0x%x, wParam 0x%x concerns the adapters or the power")                                                  \
    X(SweepDone, DeviceManager, 24, 3, TRACE_FLAG_DEVICE_MANAGER,                                                      \
      "sweep found %u records present, %u suspects, changed: %u")                                                      \
    X(ProbeFailed, DeviceManager, 25, 3, TRACE_FLAG_DEVICE_MANAGER, "%s could not be probed: no thread or no memory")  \
    X(MergedRecord, DeviceManager, 26, 4, TRACE_FLAG_DEVICE_MANAGER, "merged %s, flags now 0x%x")                      \
    X(DriverUninstalled, DeviceManager, 27, 3, TRACE_FLAG_DEVICE_MANAGER, "the driver of %s is uninstalled")           \
    X(StateChangeDone, DeviceManager, 28, 3, TRACE_FLAG_DEVICE_MANAGER, "enable %u of %s ends with status %u")         \
    X(Opened, Device, 10, 3, TRACE_FLAG_DEVICE, "opened %s, driver words 0x%x 0x%x 0x%x")                              \
    X(OpenFailed, Device, 11, 3, TRACE_FLAG_DEVICE, "%s does not answer the information query")                        \
    X(Closed, Device, 12, 3, TRACE_FLAG_DEVICE, "closed %s")                                                           \
    X(ControlDeviceFailed, Device, 13, 3, TRACE_FLAG_DEVICE, "%s cannot be opened, error %u")                          \
    X(SendRefused, Device, 14, 3, TRACE_FLAG_DEVICE, "request 0x%x was refused, error %u")                             \
    X(SendTimedOut, Device, 15, 3, TRACE_FLAG_DEVICE, "request 0x%x was not completed within %u ms")                   \
    X(SendTooLarge, Device, 16, 3, TRACE_FLAG_DEVICE, "request 0x%x of %u bytes does not fit its header")              \
    X(ItemDone, Device, 17, 3, TRACE_FLAG_DEVICE, "set %u of item 0x%x ends with status %u")                           \
    X(RequestDone, Device, 18, 3, TRACE_FLAG_DEVICE, "request 0x%x, id %u ends with status %u")                        \
    X(AsyncNothingPending, Device, 19, 3, TRACE_FLAG_DEVICE, "woken without a waiting request")                        \
    X(AsyncUnknownThread, Device, 20, 3, TRACE_FLAG_DEVICE, "message from an unknown thread: \"%s\"")                  \
    X(AsyncCollected, Device, 21, 3, TRACE_FLAG_DEVICE, "response of request id %u has %u bytes")                      \
    X(AsyncDone, Device, 22, 3, TRACE_FLAG_DEVICE, "asynchronous request id %u ends with status %u")                   \
    X(RegistryAccess, Device, 23, 3, TRACE_FLAG_SERVICE, "registry operation 0x%x on \"%s\", value \"%s\"")            \
    X(RegistryResult, Device, 24, 3, TRACE_FLAG_SERVICE, "registry operation 0x%x ends with error %u")                 \
    X(CallParked, Device, 25, 3, TRACE_FLAG_DEVICE, "the driver keeps a cancelled request of %u bytes")                \
    X(RegistryCallFailed, OSAPIWrapper, 10, 3, TRACE_FLAG_OS_EVENT, "registry \"%s\", value \"%s\": error %u")         \
    X(WindowThreadLeft, OSAPIWrapper, 11, 3, TRACE_FLAG_OS_EVENT,                                                      \
      "event window thread left its loop, state 0x%x, result 0x%x")                                                    \
    X(WindowThreadMessage, OSAPIWrapper, 12, 4, TRACE_FLAG_OS_EVENT, "event window thread received message 0x%x")      \
    X(InterfaceNotRegistered, OSAPIWrapper, 13, 3, TRACE_FLAG_OS_EVENT,                                                \
      "no registration for device notifications, error %u")                                                            \
    X(CheckNotStarted, OSAPIWrapper, 14, 3, TRACE_FLAG_OS_EVENT, "no thread to check %u records for uninstallation")   \
    X(CheckStarted, OSAPIWrapper, 15, 4, TRACE_FLAG_OS_EVENT, "checking %u records for uninstallation")                \
    X(CheckFoundDeleted, OSAPIWrapper, 16, 3, TRACE_FLAG_OS_EVENT, "driver key \"%s\" was deleted")                    \
    X(CheckFoundNothing, OSAPIWrapper, 17, 4, TRACE_FLAG_OS_EVENT, "driver key \"%s\" still exists")                   \
    X(TrackedThreadStarted, TrackedThread, 10, 3, TRACE_FLAG_SERVICE, "thread started at %s, %s, line %u")             \
    X(TrackedThreadJoined, TrackedThread, 11, 3, TRACE_FLAG_SERVICE, "joined the thread started at %s, %s, line %u")   \
    X(TrackedThreadNotJoined, TrackedThread, 12, 1, TRACE_FLAG_SERVICE,                                                \
      "thread was not joined by its owner, started at %s, %s, line %u")

/// Names of the trace points, in the order of ZV_TRACE_MESSAGES.
enum class ZVTracePoint : std::uint16_t
{
#define ZV_TRACE_NAME(name, unit, number, level, flag, text) name,
    ZV_TRACE_POINTS(ZV_TRACE_NAME)
#undef ZV_TRACE_NAME
};

/// The table itself.
inline constexpr ZVTraceMessage ZV_TRACE_MESSAGES[] = {
#define ZV_TRACE_ROW(name, unit, number, level, flag, text) {ZVTraceUnit::unit, number, level, flag, text},
    ZV_TRACE_POINTS(ZV_TRACE_ROW)
#undef ZV_TRACE_ROW
};

/// A decoder identifies points by unit and number, so no two may share both.
consteval bool ZVTraceNumbersAreUnique()
{
    for (const ZVTraceMessage& row : ZV_TRACE_MESSAGES)
    {
        int same = 0;
        for (const ZVTraceMessage& other : ZV_TRACE_MESSAGES)
            same += row.Unit == other.Unit && row.Number == other.Number ? 1 : 0;
        if (same != 1 || row.Number < 10)
            return false;
    }
    return true;
}

static_assert(ZVTraceNumbersAreUnique());

/// Finds the row of a received trace message. Never fails and does not block.
/// @param messageClass one of ZV_TRACE_CLASSES.
/// @param number the message's number within the class.
/// @return a row with static lifetime; null when the library has no such point.
constexpr const ZVTraceMessage* ZVFindTraceMessage(const ZVTraceGuid& messageClass, std::uint16_t number) noexcept
{
    for (const ZVTraceMessage& row : ZV_TRACE_MESSAGES)
        if (row.Number == number && ZV_TRACE_CLASSES[static_cast<std::size_t>(row.Unit)] == messageClass)
            return &row;
    return nullptr;
}
