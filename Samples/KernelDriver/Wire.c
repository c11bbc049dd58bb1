/* Reads requests in the wire format at fixed offsets. Trusts no length that a program sends: each is checked
 * against the buffer size that Windows reports. */
#include "Driver.h"

/* Offsets in a request, all numbers little-endian. */
enum
{
    ProcessIdAt = 0,
    RequestIdAt = 4,
    MarkerAt = 6,
    InLengthAt = 8 /* the low 16 bits of the payload's length */
};

/* Offsets in the record of an item request, which follows the header. */
enum
{
    BodySizeAt = 0,
    SignatureAt = 4,
    FourAt = 8,
    OneAt = 12,
    KindAt = 16,
    RecordSizeAt = 20,
    ItemIdAt = 24,
    FirstSetSizeAt = 28,
    SecondSetSizeAt = 32,
    DataLengthAt = 36
};

#define SIGNATURE 0x81A7C000UL

enum
{
    QueryKind = 7,
    SetKind = 8,
    ItemRequestId = 9
};

/* Assembled from bytes: fields in the buffer are not aligned. */
static ULONG Number16(const UCHAR* at)
{
    return at[0] | (ULONG)at[1] << 8;
}

static ULONG Number32(const UCHAR* at)
{
    return Number16(at) | Number16(at + 2) << 16;
}

struct WireRequest WireOf(PIRP irp)
{
    const PIO_STACK_LOCATION stack = IoGetCurrentIrpStackLocation(irp);
    const struct WireRequest request = {
        stack->Parameters.DeviceIoControl.IoControlCode,
        irp->AssociatedIrp.SystemBuffer,
        stack->Parameters.DeviceIoControl.InputBufferLength,
        stack->Parameters.DeviceIoControl.OutputBufferLength,
    };
    return request;
}

BOOLEAN IsSet(const UCHAR* record)
{
    return Number32(record + KindAt) == SetKind;
}

ULONG ItemId(const UCHAR* record)
{
    return Number32(record + ItemIdAt);
}

static BOOLEAN IsRead(const struct WireRequest* request, ULONG processId)
{
    return request->InputSize == 4 && request->Room == ChunkSize && Number32(request->Input) == processId;
}

/* `size` is at least RecordHead; the caller has checked it. */
static BOOLEAN IsRecord(const UCHAR* record, ULONG size)
{
    const ULONG length = size - RecordHead;
    const ULONG kind = Number32(record + KindAt);
    const ULONG setSize = kind == SetKind ? length + 24 : 0;
    return (kind == QueryKind || kind == SetKind) && Number32(record + BodySizeAt) == size - 4 &&
           Number32(record + SignatureAt) == SIGNATURE && Number32(record + FourAt) == 4 &&
           Number32(record + OneAt) == 1 && Number32(record + RecordSizeAt) == size &&
           Number32(record + FirstSetSizeAt) == setSize && Number32(record + SecondSetSizeAt) == setSize &&
           Number32(record + DataLengthAt) == length;
}

/* Input and output are one record, so one length determines the other. */
static BOOLEAN IsItem(const struct WireRequest* request, ULONG carried)
{
    return carried >= RecordHead && request->Room == carried &&
           Number16(request->Input + RequestIdAt) == ItemRequestId &&
           Number16(request->Input + InLengthAt) == (carried & 0xFFFF) &&
           IsRecord(request->Input + HeaderSize, carried);
}

static BOOLEAN IsInformation(const struct WireRequest* request, ULONG carried)
{
    return carried == InformationSize && request->Room == InformationSize &&
           Number16(request->Input + RequestIdAt) == 0 && Number16(request->Input + InLengthAt) == 0;
}

/* The field holds the low 16 bits only; the input size determines a longer payload. If the output is at
 * least as large, the input is padded to it, and only the field is available. */
ULONG PayloadLength(const struct WireRequest* request)
{
    const ULONG carried = request->InputSize - Overhead;
    const ULONG length = Number16(request->Input + InLengthAt);
    return carried > request->Room && (carried & 0xFFFF) == length ? carried : length;
}

BOOLEAN IsWellFormed(const struct WireRequest* request, ULONG processId)
{
    if (request->Code == ZVK_READ_CODE)
        return IsRead(request, processId);
    /* Before any field is read. */
    if (request->InputSize < Overhead || Number32(request->Input + ProcessIdAt) != processId ||
        request->Input[MarkerAt] != 1)
        return FALSE;
    const ULONG carried = request->InputSize - Overhead;
    if (request->Code == ZVK_INFORMATION_CODE)
        return IsInformation(request, carried);
    if (request->Code == ZVK_ITEM_CODE)
        return IsItem(request, carried);
    return carried == max(PayloadLength(request), request->Room);
}
