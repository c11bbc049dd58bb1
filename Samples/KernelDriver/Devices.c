/* The control devices: plugged in and unplugged through steering handles, opened and closed by programs. */
#include "Driver.h"

LIST_ENTRY Devices;

/* Accepts 1 to 63 printable ASCII characters without blanks. A backslash would create the link in another directory. */
static BOOLEAN IsName(const char* name)
{
    for (ULONG i = 0; i < ZVK_NAME_SIZE; ++i)
    {
        if (name[i] == '\0')
            return i != 0;
        if (name[i] <= ' ' || name[i] > '~' || name[i] == '\\')
            return FALSE;
    }
    return FALSE;
}

/* Writes prefix, name and NUL. */
static void Compose(WCHAR* target, const WCHAR* prefix, const char* name)
{
    while (*prefix != 0)
        *target++ = *prefix++;
    while (*name != 0)
        *target++ = (WCHAR)*name++;
    *target = 0;
}

/* Generates a unique object name, because a device's name can be reused while old handles are still open. */
static void ComposeObjectName(WCHAR* target)
{
    static volatile LONG last;
    char number[] = "00000000";
    LONG left = InterlockedIncrement(&last);
    for (char* digit = number + 8; digit-- != number; left >>= 4)
        *digit = "0123456789ABCDEF"[left & 15];
    Compose(target, L"\\Device\\ZVKernelDriver", number);
}

/* Creates a device that is not plugged in yet and stays marked as initialising, so that no open succeeds. On failure
 * `*made` is not usable. */
static NTSTATUS MakeDevice(const char* name, struct Device** made)
{
    WCHAR path[ZVK_NAME_SIZE];
    UNICODE_STRING objectName, link;
    PDEVICE_OBJECT object;
    ComposeObjectName(path);
    RtlInitUnicodeString(&objectName, path);
    NTSTATUS status = IoCreateDevice(DriverObject, sizeof(struct Device), &objectName, FILE_DEVICE_NETWORK,
                                     FILE_DEVICE_SECURE_OPEN, FALSE, &object);
    if (!NT_SUCCESS(status))
        return status;
    struct Device* const device = object->DeviceExtension;
    RtlZeroMemory(device, sizeof *device);
    /* The extension belongs to the object: IoDeleteDevice frees both. */
    device->Object = object;
    InitializeListHead(&device->Rules);
    InitializeListHead(&device->Items);
    InitializeListHead(&device->Waiting);
    InitializeListHead(&device->Held);
    /* This runs in the program's context, where a link without "Global" is visible in its logon session only. */
    Compose(device->PathLink, L"\\DosDevices\\Global\\", name);
    RtlInitUnicodeString(&link, device->PathLink);
    status = IoCreateSymbolicLink(&link, &objectName);
    if (status == STATUS_OBJECT_TYPE_MISMATCH) /* how Wine reports a name in use */
        status = STATUS_OBJECT_NAME_COLLISION;
    if (!NT_SUCCESS(status))
        IoDeleteDevice(object);
    *made = device;
    return status;
}

/* A steering handle has one plugged device at most. */
struct Device* FindPlugged(PFILE_OBJECT owner)
{
    for (PLIST_ENTRY link = Devices.Flink; link != &Devices; link = link->Flink)
    {
        struct Device* const device = CONTAINING_RECORD(link, struct Device, Link);
        if (device->Owner == owner)
            return device;
    }
    return NULL;
}

/* The device has no handle and is in no list, so no other thread can reach it. */
static void Delete(struct Device* device)
{
    FreeRules(device);
    FreeItems(device);
    IoDeleteDevice(device->Object);
}

static void DeleteLink(struct Device* device)
{
    UNICODE_STRING link;
    RtlInitUnicodeString(&link, device->PathLink);
    IoDeleteSymbolicLink(&link);
}

NTSTATUS Plug(PFILE_OBJECT owner, const char* name)
{
    struct Device* device;
    KIRQL level;
    if (!IsName(name))
        return STATUS_INVALID_PARAMETER;
    const NTSTATUS status = MakeDevice(name, &device);
    if (!NT_SUCCESS(status))
        return status;
    Lock(&level);
    /* Checked only now: two threads may plug in through the same handle at the same time. */
    const BOOLEAN isFirst = FindPlugged(owner) == NULL;
    device->Owner = isFirst ? owner : NULL;
    InsertTailList(&Devices, &device->Link);
    Unlock(level);
    if (isFirst)
    {
        device->Object->Flags &= ~(ULONG)DO_DEVICE_INITIALIZING;
        return STATUS_SUCCESS;
    }
    /* The device was still marked as initialising, so no program could have opened it. */
    DeleteLink(device);
    Lock(&level);
    RemoveEntryList(&device->Link);
    Unlock(level);
    Delete(device);
    return STATUS_INVALID_DEVICE_STATE;
}

NTSTATUS Unplug(PFILE_OBJECT owner)
{
    LIST_ENTRY ends;
    KIRQL level;
    InitializeListHead(&ends);
    Lock(&level);
    struct Device* const device = FindPlugged(owner);
    if (device == NULL)
    {
        Unlock(level);
        return STATUS_INVALID_DEVICE_STATE;
    }
    /* Unplugged from here on; the added use keeps the device until EndUse below. */
    device->Owner = NULL;
    device->HoldsCancelled = FALSE;
    ++device->Uses;
    /* Held requests keep the status "cancelled": they were cancelled before the device was removed. */
    TakeAll(device, NULL, STATUS_DEVICE_REMOVED, &ends);
    TakeHeld(device, NULL, &ends);
    Unlock(level);
    DeleteLink(device);
    EndAll(&ends);
    EndUse(device);
    return STATUS_SUCCESS;
}

/* The use that a successful open adds ends in CloseDevice. */
NTSTATUS OpenDevice(struct Device* device, PFILE_OBJECT file)
{
    KIRQL level;
    file->FsContext = NULL;
    /* Before the lock is taken, to keep the time at raised IRQL short. */
    struct Open* const open = Allocate(sizeof *open);
    if (open == NULL)
        return STATUS_INSUFFICIENT_RESOURCES;
    RtlZeroMemory(open, sizeof *open);
    Lock(&level);
    const BOOLEAN isPlugged = device->Owner != NULL;
    if (isPlugged)
    {
        ++device->Uses;
        ++device->Counts.Opens;
    }
    Unlock(level);
    if (!isPlugged)
    {
        Free(open);
        return STATUS_NO_SUCH_DEVICE;
    }
    file->FsContext = open;
    return STATUS_SUCCESS;
}

/* A Windows version that closes a handle without waiting for its requests may get here while the clock
 * thread still completes some; they use the handle and the device until then. */
void CloseDevice(struct Device* device, PFILE_OBJECT file)
{
    LIST_ENTRY ends;
    KIRQL level;
    struct Open* const open = file->FsContext;
    InitializeListHead(&ends);
    Lock(&level);
    TakeAll(device, file, STATUS_CANCELLED, &ends);
    TakeHeld(device, file, &ends);
    --device->Counts.Opens;
    Unlock(level);
    EndAll(&ends);
    /* Without the lock: the clock thread needs it to finish. Afterwards no thread uses `open`. */
    AwaitClock();
    Free(open->Response);
    Free(open);
    EndUse(device);
}

void EndUse(struct Device* device)
{
    KIRQL level;
    Lock(&level);
    /* A device that is still plugged in stays for the next open, even without handles. */
    const BOOLEAN isLast = --device->Uses == 0 && device->Owner == NULL;
    if (isLast)
        RemoveEntryList(&device->Link);
    Unlock(level);
    if (isLast)
        Delete(device);
}
