/* The driver of a root-enumerated adapter without hardware. It enables the device interface of the network
 * class while its device is started, so that Windows sends its own messages of arrival and removal. Create
 * requests fail: hosts open the control device of ZVKernelDriver instead. */

#include <ntddk.h>

/* GUID_NDIS_LAN_CLASS of ndisguid.h */
static const GUID LanClass = {0xAD498944, 0x762F, 0x11D0, {0x8D, 0xCB, 0x00, 0xC0, 0x4F, 0xC3, 0x35, 0x8C}};

typedef struct
{
    PDEVICE_OBJECT Lower;
    UNICODE_STRING Link;
} Extension;

/* Stops the completion on its way up: Start continues and completes the request itself. */
static NTSTATUS NTAPI Arrived(PDEVICE_OBJECT device, PIRP irp, PVOID event)
{
    (void)device;
    (void)irp;
    KeSetEvent(event, IO_NO_INCREMENT, FALSE);
    return STATUS_MORE_PROCESSING_REQUIRED;
}

/* A start begins at the bottom of the stack. */
static NTSTATUS Start(Extension* extension, PIRP irp)
{
    KEVENT event;
    NTSTATUS status;

    KeInitializeEvent(&event, NotificationEvent, FALSE);
    IoCopyCurrentIrpStackLocationToNext(irp);
    IoSetCompletionRoutine(irp, Arrived, &event, TRUE, TRUE, TRUE);
    status = IoCallDriver(extension->Lower, irp);
    /* The event is on the stack, so this must not return before the lower driver has finished. */
    if (status == STATUS_PENDING)
    {
        KeWaitForSingleObject(&event, Executive, KernelMode, FALSE, NULL);
        status = irp->IoStatus.Status;
    }
    if (NT_SUCCESS(status))
        status = IoSetDeviceInterfaceState(&extension->Link, TRUE);
    irp->IoStatus.Status = status;
    IoCompleteRequest(irp, IO_NO_INCREMENT);
    return status;
}

static NTSTATUS Remove(PDEVICE_OBJECT device, Extension* extension, PIRP irp)
{
    NTSTATUS status;

    IoSetDeviceInterfaceState(&extension->Link, FALSE); /* already disabled after a surprise removal */
    RtlFreeUnicodeString(&extension->Link);
    irp->IoStatus.Status = STATUS_SUCCESS;
    IoSkipCurrentIrpStackLocation(irp);
    status = IoCallDriver(extension->Lower, irp);
    IoDetachDevice(extension->Lower);
    IoDeleteDevice(device);
    return status;
}

static NTSTATUS NTAPI PassOn(PDEVICE_OBJECT device, PIRP irp)
{
    Extension* const extension = device->DeviceExtension;

    IoSkipCurrentIrpStackLocation(irp);
    return IoCallDriver(extension->Lower, irp);
}

static NTSTATUS NTAPI PlugAndPlay(PDEVICE_OBJECT device, PIRP irp)
{
    Extension* const extension = device->DeviceExtension;
    switch (IoGetCurrentIrpStackLocation(irp)->MinorFunction)
    {
    case IRP_MN_START_DEVICE:
        return Start(extension, irp);
    case IRP_MN_REMOVE_DEVICE:
        return Remove(device, extension, irp);
    case IRP_MN_SURPRISE_REMOVAL:
        IoSetDeviceInterfaceState(&extension->Link, FALSE);
        irp->IoStatus.Status = STATUS_SUCCESS;
        break;
    /* Succeeds at once, because there is no hardware whose state must be saved or restored. */
    case IRP_MN_QUERY_REMOVE_DEVICE:
    case IRP_MN_CANCEL_REMOVE_DEVICE:
    case IRP_MN_QUERY_STOP_DEVICE:
    case IRP_MN_CANCEL_STOP_DEVICE:
    case IRP_MN_STOP_DEVICE:
        irp->IoStatus.Status = STATUS_SUCCESS;
        break;
    /* The status of other requests must stay unchanged on the way down. */
    default:
        break;
    }
    return PassOn(device, irp);
}

/* Suspending Windows fails unless every driver passes power requests on. */
static NTSTATUS NTAPI Power(PDEVICE_OBJECT device, PIRP irp)
{
    Extension* const extension = device->DeviceExtension;

    /* Before the request is passed on, as Windows requires up to version 5.2; later versions ignore it. */
    PoStartNextPowerIrp(irp);
    IoSkipCurrentIrpStackLocation(irp);
    return PoCallDriver(extension->Lower, irp);
}

static NTSTATUS NTAPI AddDevice(PDRIVER_OBJECT driver, PDEVICE_OBJECT physical)
{
    PDEVICE_OBJECT device;
    Extension* extension;
    NTSTATUS status =
        IoCreateDevice(driver, sizeof(Extension), NULL, FILE_DEVICE_UNKNOWN, FILE_DEVICE_SECURE_OPEN, FALSE, &device);

    if (!NT_SUCCESS(status))
        return status;
    extension = device->DeviceExtension;
    RtlZeroMemory(extension, sizeof *extension);
    extension->Lower = IoAttachDeviceToDeviceStack(device, physical);
    status = extension->Lower == NULL ? STATUS_NO_SUCH_DEVICE
                                      : IoRegisterDeviceInterface(physical, &LanClass, NULL, &extension->Link);
    if (!NT_SUCCESS(status))
    {
        if (extension->Lower != NULL)
            IoDetachDevice(extension->Lower);
        IoDeleteDevice(device);
        return status;
    }
    /* Copies how the device below transfers data and handles power, as Windows requires of an attached device. */
    device->Flags |= extension->Lower->Flags & (DO_BUFFERED_IO | DO_DIRECT_IO | DO_POWER_PAGABLE);
    device->Flags &= ~(ULONG)DO_DEVICE_INITIALIZING;
    return STATUS_SUCCESS;
}

static VOID NTAPI Unload(PDRIVER_OBJECT driver)
{
    (void)driver;
}

NTSTATUS NTAPI DriverEntry(PDRIVER_OBJECT driver, PUNICODE_STRING path)
{
    (void)path;
    driver->DriverExtension->AddDevice = AddDevice;
    driver->MajorFunction[IRP_MJ_PNP] = PlugAndPlay;
    driver->MajorFunction[IRP_MJ_POWER] = Power;
    driver->MajorFunction[IRP_MJ_SYSTEM_CONTROL] = PassOn;
    driver->DriverUnload = Unload;
    return STATUS_SUCCESS;
}
