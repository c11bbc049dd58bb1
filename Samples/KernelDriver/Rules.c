/* Rules that replace the usual answers, set by a program. */
#include "Driver.h"

static struct Rule* RuleOf(PLIST_ENTRY link)
{
    return CONTAINING_RECORD(link, struct Rule, Link);
}

static struct Rule* RuleFor(const struct Device* device, ULONG code)
{
    for (PLIST_ENTRY link = device->Rules.Flink; link != &device->Rules; link = link->Flink)
        if (RuleOf(link)->Head.Code == code)
            return RuleOf(link);
    return NULL;
}

/* The rule for all codes does not apply to response reads, so that its requests still receive responses. */
const struct Rule* FindRule(const struct Device* device, ULONG code)
{
    const struct Rule* const own = RuleFor(device, code);
    return own != NULL || code == ZVK_READ_CODE ? own : RuleFor(device, 0);
}

/* Response reads accept the first three actions only. A request must not complete with the status "pending". */
static BOOLEAN IsRule(const struct ZvkRule* head)
{
    const ULONG most = head->Code == ZVK_READ_CODE ? ZVK_KEEP : ZVK_ACTIONS - 1;
    return head->Action <= most && head->Status != (ULONG)STATUS_PENDING;
}

NTSTATUS SetRule(PFILE_OBJECT owner, const struct ZvkRule* head, const UCHAR* bytes, ULONG length)
{
    KIRQL level;
    struct Rule* old = NULL;
    if (!IsRule(head))
        return STATUS_INVALID_PARAMETER;
    struct Rule* const rule = Allocate(sizeof *rule + length);
    if (rule == NULL)
        return STATUS_INSUFFICIENT_RESOURCES;
    rule->Head = *head;
    rule->Length = length;
    /* Copied before the lock is taken, to keep the time at raised IRQL short. */
    RtlCopyMemory(rule->Bytes, bytes, length);
    Lock(&level);
    struct Device* const device = FindPlugged(owner);
    if (device != NULL)
    {
        old = RuleFor(device, head->Code);
        if (old != NULL)
            RemoveEntryList(&old->Link);
        /* The old rule is freed after the lock is released; other threads use rules only while holding it. */
        InsertTailList(&device->Rules, &rule->Link);
    }
    Unlock(level);
    Free(old);
    if (device == NULL)
        Free(rule);
    return device != NULL ? STATUS_SUCCESS : STATUS_INVALID_DEVICE_STATE;
}

void FreeRules(struct Device* device)
{
    while (!IsListEmpty(&device->Rules))
        Free(RuleOf(RemoveHeadList(&device->Rules)));
}
