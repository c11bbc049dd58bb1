/* Restricts who may open the steering device. IoCreateDeviceSecure would set the descriptor during creation,
 * but its library (wdmsec.lib) is not part of mingw-w64. The I/O manager admits no program before DriverEntry
 * has returned, so setting it after creation leaves no gap. */
#include <ntifs.h>

#include "Security.h"

/** A SID with two sub-authorities; S-1-5-18 uses one only. */
struct ShortSid
{
    UCHAR Revision;
    UCHAR Count;
    UCHAR Authority[6];
    ULONG SubAuthorities[2];
};

static const struct ShortSid LocalSystem = {1, 1, {0, 0, 0, 0, 0, 5}, {18, 0}};
static const struct ShortSid Administrators = {1, 2, {0, 0, 0, 0, 0, 5}, {32, 544}};

static NTSTATUS Allow(PACL list, const struct ShortSid* sid)
{
    return RtlAddAccessAllowedAce(list, ACL_REVISION, GENERIC_ALL, (PSID)sid);
}

static NTSTATUS SetSecurity(HANDLE device)
{
    union {
        ACL List;
        UCHAR Bytes[128]; /* the list and two entries with their SIDs use 52 */
    } room;
    /* ZwSetSecurityObject copies both, so they may be on the stack. */
    SECURITY_DESCRIPTOR descriptor;
    NTSTATUS status = RtlCreateAcl(&room.List, sizeof room, ACL_REVISION);
    if (NT_SUCCESS(status))
        status = Allow(&room.List, &LocalSystem);
    if (NT_SUCCESS(status))
        status = Allow(&room.List, &Administrators);
    if (NT_SUCCESS(status))
        status = RtlCreateSecurityDescriptor(&descriptor, SECURITY_DESCRIPTOR_REVISION);
    if (NT_SUCCESS(status))
        status = RtlSetDaclSecurityDescriptor(&descriptor, TRUE, &room.List, FALSE);
    return NT_SUCCESS(status) ? ZwSetSecurityObject(device, DACL_SECURITY_INFORMATION, &descriptor) : status;
}

NTSTATUS AllowAdministratorsOnly(PDEVICE_OBJECT object)
{
    HANDLE handle;
    NTSTATUS status = ObOpenObjectByPointer(object, OBJ_KERNEL_HANDLE, NULL, WRITE_DAC, NULL, KernelMode, &handle);
    if (!NT_SUCCESS(status))
        return status;
    status = SetSecurity(handle);
    ZwClose(handle);
    return status;
}
