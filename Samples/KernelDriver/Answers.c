/* The answers of an adapter's driver. Transfer is buffered: input and output share one buffer, which has
 * the size of the larger of the two. */
#include "Driver.h"

static const ULONG Information[InformationSize / sizeof(ULONG)] = {0x5A560001, 0x00010000, 3, 100};

void FillEnd(PIRP irp, NTSTATUS status, const UCHAR* bytes, ULONG length, PLIST_ENTRY ends)
{
    const ULONG room = WireOf(irp).Room;
    /* A warning, such as "buffer overflow", returns bytes; an error does not. */
    const ULONG sent = NT_ERROR(status) ? 0 : min(length, room);
    if (sent != 0)
        /* The bytes may be part of the same buffer, which the input shares. */
        RtlMoveMemory(irp->AssociatedIrp.SystemBuffer, bytes, sent);
    AddEnd(ends, irp, status, sent);
}

/* Returns the record; a query fills in the item's bytes. */
static void AnswerItem(struct Device* device, PIRP irp, const struct WireRequest* request, PLIST_ENTRY ends)
{
    UCHAR* const record = request->Input + HeaderSize;
    UCHAR* const data = record + RecordHead;
    const ULONG size = request->InputSize - Overhead;
    NTSTATUS status = STATUS_SUCCESS;
    if (IsSet(record))
        status = SetItem(device, ItemId(record), data, size - RecordHead);
    else
        QueryItem(device, ItemId(record), data, size - RecordHead);
    FillEnd(irp, status, record, size, ends);
}

/* Starts a response and drops what is left of an earlier one. */
static NTSTATUS Respond(struct Open* open, const UCHAR* bytes, ULONG length)
{
    /* One byte more, because a response may be empty and null means that memory is exhausted. */
    UCHAR* const response = Allocate((SIZE_T)length + 1);
    if (response == NULL)
        return STATUS_INSUFFICIENT_RESOURCES;
    RtlCopyMemory(response, bytes, length);
    Free(open->Response);
    open->Response = response;
    open->Length = length;
    open->Position = 0;
    open->Responding = TRUE;
    return STATUS_SUCCESS;
}

/* Response reads of another handle do not count: each handle receives its own response. */
static BOOLEAN HasRead(const struct Device* device, PFILE_OBJECT file)
{
    for (PLIST_ENTRY link = device->Waiting.Flink; link != &device->Waiting; link = link->Flink)
    {
        const PIRP irp = CONTAINING_RECORD(link, IRP, Tail.Overlay.ListEntry);
        const PIO_STACK_LOCATION stack = IoGetCurrentIrpStackLocation(irp);
        if (stack->FileObject == file && stack->Parameters.DeviceIoControl.IoControlCode == ZVK_READ_CODE)
            return TRUE;
    }
    return FALSE;
}

/* Returns the payload as the output. If response reads wait, also starts a response: the rule's bytes or
 * the payload. */
static void AnswerHost(struct Device* device, PIRP irp, const struct WireRequest* request, PLIST_ENTRY ends)
{
    const struct Rule* const rule = FindRule(device, request->Code);
    const ULONG action = rule != NULL ? rule->Head.Action : ZVK_ANSWER;
    PFILE_OBJECT const file = IoGetCurrentIrpStackLocation(irp)->FileObject;
    const UCHAR* const payload = request->Input + HeaderSize;
    const ULONG length = PayloadLength(request);
    NTSTATUS status = STATUS_SUCCESS;
    if (action != ZVK_NO_RESPONSE && HasRead(device, file))
        status = action == ZVK_RESPOND ? Respond(file->FsContext, rule->Bytes, rule->Length)
                                       : Respond(file->FsContext, payload, length);
    /* The request completes before its response, so it precedes the reads in `ends`. */
    FillEnd(irp, status, payload, length, ends);
    ServeReads(device, file, ends);
}

/* Completes each waiting read with 200 bytes. A shorter chunk, which may be empty, ends the response. */
void ServeReads(struct Device* device, PFILE_OBJECT file, PLIST_ENTRY ends)
{
    struct Open* const open = file->FsContext;
    while (open->Responding)
    {
        const PIRP read = TakeFirst(device, PlaceRead, ZVK_READ_CODE, file);
        if (read == NULL)
            return;
        const ULONG chunk = min(open->Length - open->Position, (ULONG)ChunkSize);
        FillEnd(read, STATUS_SUCCESS, open->Response + open->Position, chunk, ends);
        open->Position += chunk;
        open->Responding = chunk == ChunkSize;
    }
}

void Answer(struct Device* device, PIRP irp, PLIST_ENTRY ends)
{
    const struct WireRequest request = WireOf(irp);
    if (request.Code == ZVK_INFORMATION_CODE)
        FillEnd(irp, STATUS_SUCCESS, (const UCHAR*)Information, sizeof Information, ends);
    else if (request.Code == ZVK_ITEM_CODE)
        AnswerItem(device, irp, &request, ends);
    else
        AnswerHost(device, irp, &request, ends);
}
