/* Handling of a request on arrival. */
#include "Driver.h"

/* Each function below returns the status for the dispatch routine and queues completions, if any, in `ends`. */
static NTSTATUS EndNow(PIRP irp, NTSTATUS status, PLIST_ENTRY ends)
{
    AddEnd(ends, irp, status, 0);
    return status;
}

/* Returns "pending" even if the request is cancelled at once, because it has been marked as pending. */
static NTSTATUS Wait(struct Device* device, PIRP irp, enum Place place, PLIST_ENTRY ends)
{
    if (!Enqueue(device, irp, place))
        AddEnd(ends, irp, STATUS_CANCELLED, 0);
    return STATUS_PENDING;
}

static NTSTATUS WaitForRead(struct Device* device, PIRP irp, PLIST_ENTRY ends)
{
    PFILE_OBJECT const file = IoGetCurrentIrpStackLocation(irp)->FileObject;
    const NTSTATUS status = Wait(device, irp, PlaceRead, ends);
    ServeReads(device, file, ends);
    return status;
}

static NTSTATUS WaitForTime(struct Device* device, PIRP irp, ULONG delayMs, PLIST_ENTRY ends)
{
    /* In units of 100 ns, like every time of the clock. */
    SetDue(irp, Now() + (LONGLONG)delayMs * 10000);
    return Wait(device, irp, PlaceDelayed, ends);
}

static NTSTATUS EndByRule(PIRP irp, const struct Rule* rule, PLIST_ENTRY ends)
{
    const struct WireRequest request = WireOf(irp);
    const NTSTATUS status = (NTSTATUS)rule->Head.Status;
    if (rule->Head.Action == ZVK_ECHO)
        FillEnd(irp, status, request.Input, request.InputSize, ends);
    else
        FillEnd(irp, status, rule->Bytes, rule->Length, ends);
    return status;
}

/* Under the lock. */
static NTSTATUS Deal(struct Device* device, PIRP irp, BOOLEAN isWellFormed, PLIST_ENTRY ends)
{
    const ULONG code = IoGetCurrentIrpStackLocation(irp)->Parameters.DeviceIoControl.IoControlCode;
    const struct Rule* const rule = FindRule(device, code);
    const ULONG action = rule != NULL ? rule->Head.Action : ZVK_ANSWER;
    ++device->Counts.Requests;
    /* Before the rules: an unplugged device treats all requests alike. */
    if (device->Owner == NULL)
        return EndNow(irp, STATUS_DEVICE_REMOVED, ends);
    /* Rules apply to malformed requests too, so that a test can examine any request. */
    if (action == ZVK_END || action == ZVK_ECHO)
        return EndByRule(irp, rule, ends);
    if (action == ZVK_KEEP)
        return Wait(device, irp, PlaceKept, ends);
    if (!isWellFormed)
    {
        ++device->Counts.Malformed;
        return EndNow(irp, STATUS_INVALID_PARAMETER, ends);
    }
    if (code == ZVK_READ_CODE)
        return WaitForRead(device, irp, ends);
    if (action == ZVK_DELAY)
        return WaitForTime(device, irp, rule->Head.DelayMs, ends);
    Answer(device, irp, ends);
    /* The request has been queued in `ends` but not completed, so its memory is still valid. */
    return irp->IoStatus.Status;
}

NTSTATUS TakeRequest(struct Device* device, PIRP irp)
{
    LIST_ENTRY ends;
    KIRQL level;
    const struct WireRequest request = WireOf(irp);
    InitializeListHead(&ends);
    const BOOLEAN isBuffered = METHOD_FROM_CTL_CODE(request.Code) == METHOD_BUFFERED;
    /* A control device is at the top of its stack, so this runs in the caller's process. */
    const BOOLEAN isWellFormed = isBuffered && IsWellFormed(&request, (ULONG)(ULONG_PTR)PsGetCurrentProcessId());
    Lock(&level);
    /* The code below expects the shared buffer of METHOD_BUFFERED. */
    const NTSTATUS status =
        isBuffered ? Deal(device, irp, isWellFormed, &ends) : EndNow(irp, STATUS_INVALID_DEVICE_REQUEST, &ends);
    Unlock(level);
    EndAll(&ends);
    return status;
}
