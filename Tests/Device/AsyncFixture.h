/// @file
/// A device with a scripted driver, for asynchronous requests.
#pragma once

#include "DeviceFixture.h"

inline constexpr std::uint32_t Code = 0x99000000;

class Async : public DeviceTest
{
protected:
    Async() { OpenIt(); }
    ~Async() override
    {
        if (Device != nullptr)
            Device->Close(); // Before the requests of a test go out of scope.
    }

    void Send(AsyncRequest& request) { ASSERT_EQ(Device->SendIOCTLReq(&request.Record), ZV_SRVC_SUCCESS); }
};

inline Bytes Filled(std::size_t size, std::uint8_t value)
{
    Bytes bytes(size, value);
    return bytes;
}

inline Bytes operator+(Bytes left, const Bytes& right)
{
    left.insert(left.end(), right.begin(), right.end());
    return left;
}
