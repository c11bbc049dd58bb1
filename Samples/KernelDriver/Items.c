/* The information items of a device. */
#include "Driver.h"

struct Item
{
    LIST_ENTRY Link;
    ULONG Id;
    ULONG Length;
    UCHAR Bytes[1];
};

static struct Item* ItemOf(PLIST_ENTRY link)
{
    return CONTAINING_RECORD(link, struct Item, Link);
}

static struct Item* Find(const struct Device* device, ULONG id)
{
    for (PLIST_ENTRY link = device->Items.Flink; link != &device->Items; link = link->Flink)
        if (ItemOf(link)->Id == id)
            return ItemOf(link);
    return NULL;
}

NTSTATUS SetItem(struct Device* device, ULONG id, const UCHAR* bytes, ULONG length)
{
    struct Item* const old = Find(device, id);
    const SIZE_T freed = old != NULL ? sizeof *old + old->Length : 0;
    const SIZE_T size = sizeof *old + length;
    /* Bounds the memory that programs can take from the non-paged pool. */
    if (device->ItemBytes - freed + size > MostItemBytes)
        return STATUS_INSUFFICIENT_RESOURCES;
    struct Item* const item = Allocate(size);
    if (item == NULL)
        return STATUS_INSUFFICIENT_RESOURCES;
    device->ItemBytes += size - freed;
    item->Id = id;
    item->Length = length;
    RtlCopyMemory(item->Bytes, bytes, length);
    /* Only after everything that can fail, so that an error leaves the old item in place. */
    InsertTailList(&device->Items, &item->Link);
    if (old != NULL)
    {
        RemoveEntryList(&old->Link);
        Free(old);
    }
    return STATUS_SUCCESS;
}

/* Fills bytes beyond the item's length with zeros. */
void QueryItem(const struct Device* device, ULONG id, UCHAR* bytes, ULONG length)
{
    const struct Item* const item = Find(device, id);
    RtlZeroMemory(bytes, length);
    if (item != NULL)
        RtlCopyMemory(bytes, item->Bytes, min(length, item->Length));
}

void FreeItems(struct Device* device)
{
    while (!IsListEmpty(&device->Items))
        Free(ItemOf(RemoveHeadList(&device->Items)));
}
