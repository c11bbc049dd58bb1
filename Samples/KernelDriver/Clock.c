/* The thread that answers delayed requests and completes those held too long. */
#include "Driver.h"

static KEVENT Wake;           /* automatic reset */
static KEVENT Idle;           /* manual reset; cleared while AnswerDue takes and completes requests */
static volatile LONG Stopped; /* set before the last wake */
static HANDLE ThreadId;       /* written by the thread before it takes anything */
static PVOID Thread;          /* constant after the start */

LONGLONG Now(void)
{
    return (LONGLONG)KeQueryInterruptTime();
}

void WakeClock(void)
{
    KeSetEvent(&Wake, IO_NO_INCREMENT, FALSE);
}

/* The clock thread can arrive here while it completes a request; it must not wait for itself. */
void AwaitClock(void)
{
    if (PsGetCurrentThreadId() != ThreadId)
        KeWaitForSingleObject(&Idle, Executive, KernelMode, FALSE, NULL);
}

/* Answers the requests that are due. Returns the time at which the next one is due. */
static LONGLONG AnswerDue(LONGLONG now)
{
    LONGLONG next = MAXLONGLONG;
    LIST_ENTRY ends;
    KIRQL level;
    PIRP irp;
    InitializeListHead(&ends);
    Lock(&level);
    /* Under the lock: a thread that sees a request taken from its list must find the event cleared. */
    KeClearEvent(&Idle);
    for (PLIST_ENTRY link = Devices.Flink; link != &Devices; link = link->Flink)
    {
        struct Device* const device = CONTAINING_RECORD(link, struct Device, Link);
        /* Answer may complete other waiting requests, so the search starts again after each. */
        while ((irp = TakeDue(device, now, &next)) != NULL)
            Answer(device, irp, &ends);
        TakeHeldDue(device, now, &next, &ends);
    }
    Unlock(level);
    /* Without the lock, because a completion may start another request on this thread. */
    EndAll(&ends);
    KeSetEvent(&Idle, IO_NO_INCREMENT, FALSE);
    return next;
}

static void NTAPI Run(PVOID context)
{
    (void)context;
    ThreadId = PsGetCurrentThreadId();
    while (!Stopped)
    {
        const LONGLONG now = Now();
        const LONGLONG next = AnswerDue(now);
        LARGE_INTEGER timeOut;
        timeOut.QuadPart = now - next; /* negative: relative to now */
        KeWaitForSingleObject(&Wake, Executive, KernelMode, FALSE, next == MAXLONGLONG ? NULL : &timeOut);
    }
    PsTerminateSystemThread(STATUS_SUCCESS);
}

NTSTATUS StartClock(void)
{
    HANDLE handle;
    /* The attributes request a kernel handle, which no program can use or close. */
    OBJECT_ATTRIBUTES attributes;
    KeInitializeEvent(&Wake, SynchronizationEvent, FALSE);
    KeInitializeEvent(&Idle, NotificationEvent, TRUE);
    InitializeObjectAttributes(&attributes, NULL, OBJ_KERNEL_HANDLE, NULL, NULL);
    NTSTATUS status = PsCreateSystemThread(&handle, THREAD_ALL_ACCESS, &attributes, NULL, NULL, Run, NULL);
    if (!NT_SUCCESS(status))
        return status;
    /* Cannot fail for an open kernel handle. StopClock waits for the thread through the object. */
    ObReferenceObjectByHandle(handle, SYNCHRONIZE, NULL, KernelMode, &Thread, NULL);
    ZwClose(handle);
    return STATUS_SUCCESS;
}

void StopClock(void)
{
    InterlockedExchange(&Stopped, 1);
    WakeClock();
    KeWaitForSingleObject(Thread, Executive, KernelMode, FALSE, NULL);
    ObDereferenceObject(Thread);
}
