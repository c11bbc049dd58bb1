/* Entry point, unloading, and dispatch of requests on the handles of both kinds of devices. */
#include "Driver.h"
#include "Security.h"

PDRIVER_OBJECT DriverObject;

static KSPIN_LOCK SpinLock;
static PDEVICE_OBJECT SteeringDevice;

void Lock(KIRQL* level)
{
    KeAcquireSpinLock(&SpinLock, level);
}

void Unlock(KIRQL level)
{
    KeReleaseSpinLock(&SpinLock, level);
}

/* From non-paged memory, because most uses are under the spin lock, where a page fault is fatal. */
void* Allocate(SIZE_T size)
{
    return ExAllocatePoolWithTag(NonPagedPoolNx, size, ZVK_TAG);
}

void Free(void* memory)
{
    if (memory != NULL)
        ExFreePoolWithTag(memory, ZVK_TAG);
}

/* Returns null for the steering device. */
static struct Device* DeviceOf(PDEVICE_OBJECT object)
{
    return object == SteeringDevice ? NULL : object->DeviceExtension;
}

/* Completes a request that transfers no bytes. The IRP must not be used afterwards. */
static NTSTATUS End(PIRP irp, NTSTATUS status)
{
    irp->IoStatus.Status = status;
    irp->IoStatus.Information = 0;
    IoCompleteRequest(irp, IO_NO_INCREMENT);
    return status;
}

static NTSTATUS NTAPI OnCreate(PDEVICE_OBJECT object, PIRP irp)
{
    struct Device* const device = DeviceOf(object);
    PFILE_OBJECT const file = IoGetCurrentIrpStackLocation(irp)->FileObject;
    return End(irp, device == NULL ? STATUS_SUCCESS : OpenDevice(device, file));
}

/* Called when the last handle is closed. If Windows sends no clean-up, OnClose completes the requests. */
static NTSTATUS NTAPI OnCleanup(PDEVICE_OBJECT object, PIRP irp)
{
    struct Device* const device = DeviceOf(object);
    PFILE_OBJECT const file = IoGetCurrentIrpStackLocation(irp)->FileObject;
    if (device == NULL)
        Unplug(file);
    else
    {
        LIST_ENTRY ends;
        KIRQL level;
        InitializeListHead(&ends);
        Lock(&level);
        TakeAll(device, file, STATUS_CANCELLED, &ends);
        Unlock(level);
        EndAll(&ends);
    }
    return End(irp, STATUS_SUCCESS);
}

static NTSTATUS NTAPI OnClose(PDEVICE_OBJECT object, PIRP irp)
{
    struct Device* const device = DeviceOf(object);
    PFILE_OBJECT const file = IoGetCurrentIrpStackLocation(irp)->FileObject;
    if (device == NULL)
        Unplug(file);
    else if (file->FsContext != NULL) /* null if opening failed but Windows sends a close anyway */
        CloseDevice(device, file);
    return End(irp, STATUS_SUCCESS);
}

static NTSTATUS NTAPI OnDeviceControl(PDEVICE_OBJECT object, PIRP irp)
{
    struct Device* const device = DeviceOf(object);
    if (device == NULL)
    {
        const NTSTATUS status = Steer(irp);
        IoCompleteRequest(irp, IO_NO_INCREMENT);
        return status;
    }
    return TakeRequest(device, irp);
}

static NTSTATUS MakeSteeringDevice(void)
{
    UNICODE_STRING name = RTL_CONSTANT_STRING(L"\\Device\\ZVKernelDriver");
    UNICODE_STRING link = RTL_CONSTANT_STRING(L"\\DosDevices\\ZVKernelDriver");
    NTSTATUS status =
        IoCreateDevice(DriverObject, 0, &name, FILE_DEVICE_UNKNOWN, FILE_DEVICE_SECURE_OPEN, FALSE, &SteeringDevice);
    if (!NT_SUCCESS(status))
        return status;
    status = AllowAdministratorsOnly(SteeringDevice);
    if (NT_SUCCESS(status))
        status = IoCreateSymbolicLink(&link, &name);
    if (!NT_SUCCESS(status))
        IoDeleteDevice(SteeringDevice);
    return status;
}

static void RemoveSteeringDevice(void)
{
    UNICODE_STRING link = RTL_CONSTANT_STRING(L"\\DosDevices\\ZVKernelDriver");
    IoDeleteSymbolicLink(&link);
    IoDeleteDevice(SteeringDevice);
}

/* Called when no handle is open any more, so every device has been unplugged. */
static void NTAPI OnUnload(PDRIVER_OBJECT driver)
{
    (void)driver;
    StopClock();
    RemoveSteeringDevice();
}

__declspec(dllexport) NTSTATUS NTAPI DriverEntry(PDRIVER_OBJECT driver, PUNICODE_STRING registryPath);

NTSTATUS NTAPI DriverEntry(PDRIVER_OBJECT driver, PUNICODE_STRING registryPath)
{
    (void)registryPath;
    DriverObject = driver;
    KeInitializeSpinLock(&SpinLock);
    InitializeListHead(&Devices);
    /* Other functions, such as reading and writing, keep the default, which refuses them. */
    driver->MajorFunction[IRP_MJ_CREATE] = OnCreate;
    driver->MajorFunction[IRP_MJ_CLEANUP] = OnCleanup;
    driver->MajorFunction[IRP_MJ_CLOSE] = OnClose;
    driver->MajorFunction[IRP_MJ_DEVICE_CONTROL] = OnDeviceControl;
    driver->DriverUnload = OnUnload;
    NTSTATUS status = StartClock();
    if (!NT_SUCCESS(status))
        return status;
    status = MakeSteeringDevice();
    if (!NT_SUCCESS(status))
        StopClock();
    return status;
}
