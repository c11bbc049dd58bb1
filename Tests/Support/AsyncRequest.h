/// @file
/// An asynchronous request of a host.
#pragma once

#include "HostCalls.h"
#include "ProcessWait.h"

#include <gtest/gtest.h>

#include <atomic>
#include <functional>
#include <utility>

/// An asynchronous request with its memory and its reported completion.
struct AsyncRequest
{
    AsyncRequest(std::uint16_t id, std::uint32_t code, std::size_t room, Bytes input = {})
        : In(std::move(input)), Out(room, 0xEE)
    {
        Record.IoctlCode = code;
        Record.RequestId = id;
        Record.InBuffer = In.data();
        Record.InLength = static_cast<std::uint32_t>(In.size());
        Record.OutBuffer = Out.data();
        Record.OutLength = static_cast<std::uint32_t>(Out.size());
        Record.Timeout = 5000;
        Record.IsAsync = 1;
        Record.NotifyFn = &AsyncRequest::OnEnd;
        Record.NotifyContext = this;
    }
    AsyncRequest(const AsyncRequest&) = delete;
    AsyncRequest& operator=(const AsyncRequest&) = delete;

    std::uint32_t Await()
    {
        AwaitChange(Told, Taken);
        ++Taken;
        return Status;
    }

    _ZV_SRVC_IOCTL_REQ Record{};
    Bytes In;
    Bytes Out;
    std::uint32_t Status = 77; ///< Written before Told changes.
    std::atomic<int> Ends{0};
    std::atomic<int> Told{0};
    int Taken = 0; ///< The waiting thread's.
    std::function<void()> InCallback;

private:
    static void OnEnd(void* context, std::uint32_t status, const _ZV_ASYNC_RESULT* result)
    {
        AsyncRequest& self = *static_cast<AsyncRequest*>(context);
        EXPECT_EQ(result->Type, 0x30001U);
        EXPECT_EQ(result->Length, 8U);
        EXPECT_EQ(result->Request, &self.Record);
        self.Status = status;
        ++self.Ends;
        if (self.InCallback)
            self.InCallback();
        ++self.Told;
        NotifyChange();
    }
};
