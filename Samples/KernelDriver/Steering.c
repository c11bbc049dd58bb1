/* The private codes of KernelDriverCodes.h. */
#include "Driver.h"

/** A steering request: the steering handle and the input. */
struct Order
{
    PFILE_OBJECT Owner;
    const void* Input;
    ULONG Length;
};

/* Checks for a complete head and bounds the bytes that follow it. */
static BOOLEAN Carries(const struct Order* order, SIZE_T head)
{
    return order->Length >= head && order->Length - head <= ZVK_MOST_OUTPUT;
}

static NTSTATUS PlugNamed(const struct Order* order)
{
    char name[ZVK_NAME_SIZE] = {0};
    /* A name without NUL that fills the array is refused by Plug, which finds no end. */
    if (order->Length == 0 || order->Length > sizeof name)
        return STATUS_INVALID_PARAMETER;
    RtlCopyMemory(name, order->Input, order->Length);
    return Plug(order->Owner, name);
}

static NTSTATUS SetSentRule(const struct Order* order)
{
    struct ZvkRule head;
    if (!Carries(order, sizeof head))
        return STATUS_INVALID_PARAMETER;
    RtlCopyMemory(&head, order->Input, sizeof head);
    return SetRule(order->Owner, &head, (const UCHAR*)order->Input + sizeof head, order->Length - (ULONG)sizeof head);
}

static NTSTATUS EndKept(const struct Order* order)
{
    struct ZvkEnd head;
    LIST_ENTRY ends;
    KIRQL level;
    PIRP irp = NULL;
    if (!Carries(order, sizeof head))
        return STATUS_INVALID_PARAMETER;
    RtlCopyMemory(&head, order->Input, sizeof head);
    if (head.Status == (ULONG)STATUS_PENDING)
        return STATUS_INVALID_PARAMETER;
    InitializeListHead(&ends);
    Lock(&level);
    struct Device* const device = FindPlugged(order->Owner);
    if (device != NULL)
        /* Skips a request that is being cancelled: OnCancel completes it. */
        irp = TakeFirst(device, PlaceKept, head.Code, NULL);
    if (irp != NULL)
        FillEnd(irp, (NTSTATUS)head.Status, (const UCHAR*)order->Input + sizeof head,
                order->Length - (ULONG)sizeof head, &ends);
    Unlock(level);
    EndAll(&ends);
    return irp != NULL ? STATUS_SUCCESS : STATUS_NOT_FOUND;
}

static NTSTATUS HoldCancelled(const struct Order* order)
{
    ULONG hold;
    LIST_ENTRY ends;
    KIRQL level;
    if (order->Length != sizeof hold)
        return STATUS_INVALID_PARAMETER;
    RtlCopyMemory(&hold, order->Input, sizeof hold);
    InitializeListHead(&ends);
    Lock(&level);
    struct Device* const device = FindPlugged(order->Owner);
    if (device != NULL)
    {
        device->HoldsCancelled = hold != 0;
        /* Under the same lock as the change, so that no request is held afterwards. */
        if (hold == 0)
            TakeHeld(device, NULL, &ends);
    }
    Unlock(level);
    EndAll(&ends);
    return device != NULL ? STATUS_SUCCESS : STATUS_INVALID_DEVICE_STATE;
}

/* The numbers belong to one point of time, because all are read under the lock. */
static NTSTATUS Count(PFILE_OBJECT owner, struct ZvkCounts* counts)
{
    KIRQL level;
    Lock(&level);
    const struct Device* const device = FindPlugged(owner);
    if (device != NULL)
    {
        *counts = device->Counts;
        counts->Waiting = CountOf(&device->Waiting);
        counts->Cancelled = CountOf(&device->Held);
    }
    Unlock(level);
    return device != NULL ? STATUS_SUCCESS : STATUS_INVALID_DEVICE_STATE;
}

static NTSTATUS GiveCounts(const struct Order* order, PIRP irp)
{
    struct ZvkCounts counts;
    /* The shared buffer has the size of the larger of input and output; only the output size counts here. */
    if (WireOf(irp).Room < sizeof counts)
        return STATUS_BUFFER_TOO_SMALL;
    const NTSTATUS status = Count(order->Owner, &counts);
    if (NT_SUCCESS(status))
    {
        RtlCopyMemory(irp->AssociatedIrp.SystemBuffer, &counts, sizeof counts);
        irp->IoStatus.Information = sizeof counts;
    }
    return status;
}

static NTSTATUS CarryOut(const struct Order* order, ULONG code, PIRP irp)
{
    switch (code)
    {
    case ZVK_PLUG:
        return PlugNamed(order);
    case ZVK_UNPLUG:
        return Unplug(order->Owner);
    case ZVK_SET_RULE:
        return SetSentRule(order);
    case ZVK_END_KEPT:
        return EndKept(order);
    case ZVK_HOLD_CANCELLED:
        return HoldCancelled(order);
    case ZVK_COUNT:
        return GiveCounts(order, irp);
    default:
        return STATUS_INVALID_DEVICE_REQUEST;
    }
}

NTSTATUS Steer(PIRP irp)
{
    const struct WireRequest request = WireOf(irp);
    const struct Order order = {IoGetCurrentIrpStackLocation(irp)->FileObject, request.Input, request.InputSize};
    irp->IoStatus.Information = 0;
    irp->IoStatus.Status = CarryOut(&order, request.Code, irp);
    return irp->IoStatus.Status;
}
