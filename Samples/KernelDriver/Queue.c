/* Waiting requests, each of which may be cancelled at any time. The thread that removes the cancel routine
 * from a request owns the request; if the routine is already running, it owns the request. */
#include "Driver.h"

static PIRP IrpOf(PLIST_ENTRY link)
{
    return CONTAINING_RECORD(link, IRP, Tail.Overlay.ListEntry);
}

static PFILE_OBJECT FileOf(PIRP irp)
{
    return IoGetCurrentIrpStackLocation(irp)->FileObject;
}

/* Queues a completion, which EndAll performs after the lock is released. Reuses the list entry of the waiting lists,
 * so the request must be in none of them. */
void AddEnd(PLIST_ENTRY ends, PIRP irp, NTSTATUS status, ULONG bytes)
{
    irp->IoStatus.Status = status;
    irp->IoStatus.Information = bytes;
    InsertTailList(ends, &irp->Tail.Overlay.ListEntry);
}

void EndAll(PLIST_ENTRY ends)
{
    while (!IsListEmpty(ends))
        IoCompleteRequest(IrpOf(RemoveHeadList(ends)), IO_NO_INCREMENT);
}

static LONGLONG DueOf(PIRP irp)
{
    return (LONGLONG)(ULONG_PTR)irp->Tail.Overlay.DriverContext[1];
}

void SetDue(PIRP irp, LONGLONG due)
{
    static_assert(sizeof(void*) == sizeof(LONGLONG), "the time is stored in a pointer");
    irp->Tail.Overlay.DriverContext[1] = (void*)(ULONG_PTR)due;
    WakeClock();
}

/* Called by the I/O manager with the cancel spin lock held, which is not needed: the spin lock of this driver guards
 * the lists. */
static void NTAPI OnCancel(PDEVICE_OBJECT object, PIRP irp)
{
    struct Device* const device = object->DeviceExtension;
    LIST_ENTRY ends;
    KIRQL level;
    IoReleaseCancelSpinLock(irp->CancelIrql);
    InitializeListHead(&ends);
    Lock(&level);
    RemoveEntryList(&irp->Tail.Overlay.ListEntry);
    /* Simulates a driver that completes a cancelled request late. */
    if (device->HoldsCancelled)
    {
        SetDue(irp, Now() + LongestHold);
        InsertTailList(&device->Held, &irp->Tail.Overlay.ListEntry);
    }
    else
        AddEnd(&ends, irp, STATUS_CANCELLED, 0);
    Unlock(level);
    EndAll(&ends);
}

BOOLEAN Enqueue(struct Device* device, PIRP irp, enum Place place)
{
    irp->Tail.Overlay.DriverContext[0] = (void*)(ULONG_PTR)place;
    /* Before the lock is released: another thread may then complete the request. */
    IoMarkIrpPending(irp);
    InsertTailList(&device->Waiting, &irp->Tail.Overlay.ListEntry);
    IoSetCancelRoutine(irp, OnCancel);
    /* Cancelled before the routine was set: Windows will not call the routine. */
    if (irp->Cancel && IoSetCancelRoutine(irp, NULL) != NULL)
    {
        RemoveEntryList(&irp->Tail.Overlay.ListEntry);
        return FALSE;
    }
    return TRUE;
}

/* Returns false if the request is being cancelled: OnCancel then removes and completes it. */
static BOOLEAN Take(PIRP irp)
{
    if (IoSetCancelRoutine(irp, NULL) == NULL)
        return FALSE;
    RemoveEntryList(&irp->Tail.Overlay.ListEntry);
    return TRUE;
}

static BOOLEAN IsAt(PIRP irp, enum Place place)
{
    return irp->Tail.Overlay.DriverContext[0] == (void*)(ULONG_PTR)place;
}

/* Takes the oldest match. Code 0 matches every code, and a null file every file. */
PIRP TakeFirst(struct Device* device, enum Place place, ULONG code, PFILE_OBJECT file)
{
    for (PLIST_ENTRY link = device->Waiting.Flink; link != &device->Waiting; link = link->Flink)
    {
        PIRP const irp = IrpOf(link);
        const ULONG itsCode = IoGetCurrentIrpStackLocation(irp)->Parameters.DeviceIoControl.IoControlCode;
        if (IsAt(irp, place) && (code == 0 || itsCode == code) && (file == NULL || FileOf(irp) == file) && Take(irp))
            return irp;
    }
    return NULL;
}

/* Takes a request that is due. Lowers `next` to the earliest due time of the requests passed over. */
PIRP TakeDue(struct Device* device, LONGLONG now, LONGLONG* next)
{
    for (PLIST_ENTRY link = device->Waiting.Flink; link != &device->Waiting; link = link->Flink)
    {
        PIRP const irp = IrpOf(link);
        const LONGLONG due = DueOf(irp);
        if (!IsAt(irp, PlaceDelayed))
            continue;
        if (due > now)
            *next = min(*next, due);
        else if (Take(irp))
            return irp;
    }
    return NULL;
}

/* Moves the requests of a file to `ends`. Requests that are being cancelled are left to OnCancel. */
void TakeAll(struct Device* device, PFILE_OBJECT file, NTSTATUS status, PLIST_ENTRY ends)
{
    for (PLIST_ENTRY link = device->Waiting.Flink; link != &device->Waiting;)
    {
        PIRP const irp = IrpOf(link);
        link = link->Flink;
        if ((file == NULL || FileOf(irp) == file) && Take(irp))
            AddEnd(ends, irp, status, 0);
    }
}

/* Held requests have no cancel routine any more, so each can be taken without a race. */
void TakeHeld(struct Device* device, PFILE_OBJECT file, PLIST_ENTRY ends)
{
    for (PLIST_ENTRY link = device->Held.Flink; link != &device->Held;)
    {
        PIRP const irp = IrpOf(link);
        link = link->Flink;
        if (file != NULL && FileOf(irp) != file)
            continue;
        RemoveEntryList(&irp->Tail.Overlay.ListEntry);
        AddEnd(ends, irp, STATUS_CANCELLED, 0);
    }
}

void TakeHeldDue(struct Device* device, LONGLONG now, LONGLONG* next, PLIST_ENTRY ends)
{
    while (!IsListEmpty(&device->Held))
    {
        PIRP const irp = IrpOf(device->Held.Flink); /* the oldest, so the first that is due */
        if (DueOf(irp) > now)
        {
            *next = min(*next, DueOf(irp));
            return;
        }
        RemoveEntryList(&irp->Tail.Overlay.ListEntry);
        AddEnd(ends, irp, STATUS_CANCELLED, 0);
    }
}

ULONG CountOf(const LIST_ENTRY* list)
{
    ULONG count = 0;
    for (const LIST_ENTRY* link = list->Flink; link != list; link = link->Flink)
        ++count;
    return count;
}
