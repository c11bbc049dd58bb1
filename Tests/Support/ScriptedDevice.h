/// @file
/// A control device in the hands of a test: it records every request, answers by script, and keeps
/// response reads until the test ends them.
#pragma once

#include "ControlDevice.h"

#include <condition_variable>
#include <cstdint>
#include <functional>
#include <list>
#include <map>
#include <memory>
#include <mutex>
#include <string>
#include <utility>
#include <vector>

using Bytes = std::vector<std::uint8_t>;

inline Bytes BytesOf(std::string_view text)
{
    return {text.begin(), text.end()};
}

class ScriptedDevice final : public Platform::ControlDevice
{
public:
    using RequestPtr = std::shared_ptr<Platform::IoRequest>;
    using Answer = std::function<void(const RequestPtr&)>;

    static constexpr std::uint32_t WaitRsp = 0x122418;

    struct Seen
    {
        std::uint32_t Code;
        Bytes Input;
        std::size_t Room;
    };

    /// Answers requests of a code; without a script they end at once with success and no output.
    void On(std::uint32_t code, Answer answer)
    {
        const std::lock_guard lock(Mutex);
        Scripts[code] = std::move(answer);
    }

    static Answer EndWith(std::uint32_t error, Bytes output = {})
    {
        return [error, output = std::move(output)](const RequestPtr& request) { request->Complete(error, output); };
    }

    /// Keeps requests for Held().
    Answer Hold()
    {
        return [this](const RequestPtr& request) { Keep(Kept, request); };
    }
    RequestPtr Held() { return Take(Kept); }

    /// The oldest response read in flight; waits for one.
    RequestPtr Read() { return Take(Reads); }
    /// Ends the oldest read with a chunk.
    void Chunk(const Bytes& bytes) { End(Read(), bytes); }
    /// Ends a read with a chunk. After a short one nobody takes what the other reads of that handle
    /// would bring, so they count as gone although they are not cancelled yet.
    void End(const RequestPtr& read, const Bytes& bytes)
    {
        if (bytes.size() < 200)
        {
            const std::lock_guard lock(Mutex);
            std::erase_if(Reads, [&](const RequestPtr& other) {
                if (other->OpenId() != read->OpenId())
                    return false;
                Stale.push_back(other); // Not dropped: that would end it.
                return true;
            });
        }
        read->Complete(0, bytes);
    }

    /// From now on a cancelled request is let go of by ReleaseCancelled alone.
    void HoldCancelled()
    {
        const std::lock_guard lock(Mutex);
        HoldsCancelled = true;
    }
    RequestPtr Cancelled() { return Take(CancelledRequests); }

    std::vector<Seen> Requests()
    {
        const std::lock_guard lock(Mutex);
        return std::exchange(All, {});
    }

    void Start(const RequestPtr& request) override
    {
        Answer answer;
        {
            const std::lock_guard lock(Mutex);
            All.push_back(
                {request->Code(), Bytes(request->Input().begin(), request->Input().end()), request->OutputRoom()});
            const auto script = Scripts.find(request->Code());
            if (script != Scripts.end())
                answer = script->second;
        }
        if (answer)
            answer(request);
        else if (request->Code() == WaitRsp)
            Keep(Reads, request);
        else
            request->Complete(0);
    }

    void Cancel(const RequestPtr& request) override
    {
        {
            const std::lock_guard lock(Mutex);
            for (std::list<RequestPtr>* list : {&Reads, &Kept, &Stale})
                list->remove(request);
            if (HoldsCancelled)
            {
                CancelledRequests.push_back(request);
                Changed.notify_all();
                return;
            }
        }
        request->Complete(995);
    }

private:
    void Keep(std::list<RequestPtr>& list, const RequestPtr& request)
    {
        const std::lock_guard lock(Mutex);
        list.push_back(request);
        Changed.notify_all();
    }

    RequestPtr Take(std::list<RequestPtr>& list)
    {
        std::unique_lock lock(Mutex);
        Changed.wait(lock, [&] { return !list.empty(); });
        RequestPtr request = list.front();
        list.pop_front();
        return request;
    }

    std::mutex Mutex; ///< Guards everything below.
    std::condition_variable Changed;
    std::map<std::uint32_t, Answer> Scripts;
    std::vector<Seen> All;
    std::list<RequestPtr> Reads, Kept, Stale, CancelledRequests;
    bool HoldsCancelled = false;
};
