// A loadable driver: each request gets the device's name and settings.
#include "ControlDevice.h"

#include <cstdio>
#include <string>

struct EchoDevice : Platform::ControlDevice
{
    void Start(const std::shared_ptr<Platform::IoRequest>& request) override
    {
        request->Complete(0, {reinterpret_cast<const std::uint8_t*>(Text.data()), Text.size()});
    }
    std::string Text;
};

extern "C" __attribute__((visibility("default"))) Platform::ControlDevice* CreateControlDevice(const char* name,
                                                                                               const char* settings,
                                                                                               char* error,
                                                                                               std::size_t room)
{
    auto device = std::make_unique<EchoDevice>();
    device->Text = std::string(name) + settings;
    std::snprintf(error, room, "%s has no settings", name);
    return std::string(settings) == "null" ? nullptr : device.release();
}
