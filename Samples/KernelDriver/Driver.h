/* Shared declarations of the driver. One spin lock guards everything that is not constant; requests are
 * completed only after it is released. */
#pragma once

#include <ntddk.h>

#include "KernelDriverCodes.h"

/** Control codes of the wire format; any other code is a host's own request. */
#define ZVK_ITEM_CODE 0x122414UL
#define ZVK_READ_CODE 0x122418UL
#define ZVK_INFORMATION_CODE 0x122428UL

#define ZVK_TAG 0x4B565A00UL

/** What a request waits for; stored in DriverContext[0]. */
enum Place
{
    PlaceKept,
    PlaceDelayed, /* due at the time that SetDue stores */
    PlaceRead
};

/** How the driver treats requests with one code. */
struct Rule
{
    LIST_ENTRY Link;
    struct ZvkRule Head;
    ULONG Length;
    UCHAR Bytes[1];
};

/** A control device, in its object's extension. Exists while it is plugged in or in use. */
struct Device
{
    LIST_ENTRY Link; /* in Devices */
    PDEVICE_OBJECT Object;
    PFILE_OBJECT Owner; /* the steering handle; null after unplugging */
    LIST_ENTRY Rules;
    LIST_ENTRY Items;
    SIZE_T ItemBytes;   /* memory of Items */
    LIST_ENTRY Waiting; /* requests that can be cancelled, oldest first */
    LIST_ENTRY Held;    /* cancelled requests that are held */
    BOOLEAN HoldsCancelled;
    ULONG Uses;              /* open handles, and Unplug while it works without the lock */
    struct ZvkCounts Counts; /* Waiting and Cancelled are computed by Count */
    WCHAR PathLink[ZVK_NAME_SIZE + 24];
};

/** An open handle of a control device, with the response that its reads receive. */
struct Open
{
    PUCHAR Response;
    ULONG Length;
    ULONG Position;
    BOOLEAN Responding; /* until the last chunk is sent */
};

/* Driver.c */
extern PDRIVER_OBJECT DriverObject; /* constant */
void Lock(KIRQL* level);
void Unlock(KIRQL level);
void* Allocate(SIZE_T size); /* null if memory is exhausted */
void Free(void* memory);     /* accepts null */

/* Devices.c */
extern LIST_ENTRY Devices;
NTSTATUS Plug(PFILE_OBJECT owner, const char* name);
NTSTATUS Unplug(PFILE_OBJECT owner);
struct Device* FindPlugged(PFILE_OBJECT owner); /* call under the lock */
NTSTATUS OpenDevice(struct Device* device, PFILE_OBJECT file);
void CloseDevice(struct Device* device, PFILE_OBJECT file);
void EndUse(struct Device* device); /* call without the lock; may delete the device */

/* Queue.c; all under the lock except EndAll */
BOOLEAN Enqueue(struct Device* device, PIRP irp, enum Place place); /* false: cancelled; the caller completes it */
PIRP TakeFirst(struct Device* device, enum Place place, ULONG code, PFILE_OBJECT file);
PIRP TakeDue(struct Device* device, LONGLONG now, LONGLONG* next);
void TakeAll(struct Device* device, PFILE_OBJECT file, NTSTATUS status, PLIST_ENTRY ends); /* null: all files */
void TakeHeld(struct Device* device, PFILE_OBJECT file, PLIST_ENTRY ends);
void TakeHeldDue(struct Device* device, LONGLONG now, LONGLONG* next, PLIST_ENTRY ends); /* as TakeDue */
void SetDue(PIRP irp, LONGLONG due); /* stores the time in DriverContext[1] and wakes the clock thread */
ULONG CountOf(const LIST_ENTRY* list);
void AddEnd(PLIST_ENTRY ends, PIRP irp, NTSTATUS status, ULONG bytes);
void EndAll(PLIST_ENTRY ends);

/* Rules.c; all under the lock except SetRule */
NTSTATUS SetRule(PFILE_OBJECT owner, const struct ZvkRule* head, const UCHAR* bytes, ULONG length);
const struct Rule* FindRule(const struct Device* device, ULONG code); /* null without a rule */
void FreeRules(struct Device* device);

/* Items.c; under the lock */
NTSTATUS SetItem(struct Device* device, ULONG id, const UCHAR* bytes, ULONG length);
void QueryItem(const struct Device* device, ULONG id, UCHAR* bytes, ULONG length);
void FreeItems(struct Device* device);

/** A request in the wire format; points into the IRP's buffer. */
struct WireRequest
{
    ULONG Code;
    UCHAR* Input;
    ULONG InputSize;
    ULONG Room;
};

/* Wire.c */
struct WireRequest WireOf(PIRP irp);
BOOLEAN IsWellFormed(const struct WireRequest* request, ULONG processId);
ULONG PayloadLength(const struct WireRequest* request); /* of a host's well-formed request */
BOOLEAN IsSet(const UCHAR* record);
ULONG ItemId(const UCHAR* record);

enum
{
    HeaderSize = 10,
    Overhead = 12, /* the header, and two trailing bytes */
    RecordHead = 40,
    InformationSize = 100,
    ChunkSize = 200
};

enum
{
    LongestHold = 60 * 10000000, /* in units of 100 ns */
    MostItemBytes = 1024 * 1024  /* of one device; items come from any host */
};

/* Answers.c; under the lock */
void Answer(struct Device* device, PIRP irp, PLIST_ENTRY ends);
void ServeReads(struct Device* device, PFILE_OBJECT file, PLIST_ENTRY ends);
void FillEnd(PIRP irp, NTSTATUS status, const UCHAR* bytes, ULONG length, PLIST_ENTRY ends);

/* Requests.c */
NTSTATUS TakeRequest(struct Device* device, PIRP irp);

/* Steering.c */
NTSTATUS Steer(PIRP irp);

/* Clock.c */
NTSTATUS StartClock(void);
void StopClock(void);
void WakeClock(void);
void AwaitClock(void); /* waits until the clock thread has completed what it took */
LONGLONG Now(void);    /* in units of 100 ns */
