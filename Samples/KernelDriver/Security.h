/* Separate from Driver.h, because ntifs.h declares some of the names that Driver.h declares. */
#pragma once

#include <ntddk.h>

/** Lets only SYSTEM and administrators open the device. Call at PASSIVE_LEVEL before programs can open it. */
NTSTATUS AllowAdministratorsOnly(PDEVICE_OBJECT object);
