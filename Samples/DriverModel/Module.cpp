// The module that a machine file names; every device has a separate driver model.
#include "DriverModel.h"

#include "PlatformExport.h"

#include <algorithm>
#include <cstring>
#include <memory>

namespace
{

/// Copies the text, truncated to the buffer, NUL included.
void WriteText(const char* text, char* buffer, std::size_t room)
{
    if (room == 0)
        return;
    const std::size_t length = std::min(std::strlen(text), room - 1);
    std::memcpy(buffer, text, length);
    buffer[length] = '\0';
}

} // namespace

extern "C" PLATFORM_API Platform::ControlDevice* CreateControlDevice(const char* /*deviceName*/, const char* settings,
                                                                     char* error, std::size_t errorRoom)
try
{
    return std::make_unique<DriverModel>(ReadDriverSettings(settings)).release();
}
catch (const DriverSettingsError& mistake)
{
    WriteText(mistake.what(), error, errorRoom);
    return nullptr;
}
