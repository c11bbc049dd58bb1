/// @file
/// A control device in the hands of a test.
#pragma once

#include "Checks.h"

#include <memory>
#include <string>

/// Holds every request until the test completes it, or until the request is cancelled. Requests are
/// identified by their codes. Errors are 0, 31, 234, 995 or 1617; only 0 and 234 return bytes.
class IoDevice
{
public:
    IoDevice();
    ~IoDevice();

    const char* Path() const;
    /// Requests of a code end as they come.
    void EndAtOnce(DWORD code, DWORD error, const std::string& bytes = "");
    /// The same, and their bytes are what was sent.
    void Echo(DWORD code);
    /// Ends the oldest request of a code that is kept. @return false when there is none.
    bool End(DWORD code, DWORD error, const std::string& bytes = "");
    /// Whether cancelled requests stay in the device; with false those end that did.
    void HoldCancelled(bool hold);
    /// Requests end with 1617, now and from now on.
    void Unplug();

private:
    struct Impl;
    const std::unique_ptr<Impl> Self;
};
