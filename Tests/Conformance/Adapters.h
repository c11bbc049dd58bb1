/// @file
/// Network adapters for a test to find.
#pragma once

#include "Checks.h"

#include <memory>
#include <optional>

/// An adapter as the system knows it; a text that is not set does not exist there.
struct AdapterTexts
{
    WideText HardwareId;
    std::optional<WideText> FriendlyName = {};
    std::optional<WideText> Description = {};
    std::optional<std::string> Service = {}; ///< Value "Service" of the driver key's subkey "Ndi".
};

/// Has the class "Net" known, and adapters of it as long as it lives.
class Adapters
{
public:
    Adapters();
    ~Adapters();

    void Add(const AdapterTexts& texts);
    void Remove(const WideText& hardwareId);

private:
    struct Impl;
    const std::unique_ptr<Impl> Self;
};
