#include "ScriptedDevice.h"

#include <algorithm>
#include <utility>

namespace Platform
{

void ScriptedDevice::On(std::uint32_t code, Answer answer)
{
    const ScopedLock lock(Lock);
    Scripts[code] = std::move(answer);
}

ScriptedDevice::Answer ScriptedDevice::EndWith(std::uint32_t error, std::vector<std::uint8_t> output)
{
    return [error, output = std::move(output)](const RequestPtr& request) { request->Complete(error, output); };
}

ScriptedDevice::Answer ScriptedDevice::Hold()
{
    return [this](const RequestPtr& request) {
        const ScopedLock lock(Lock);
        Kept.push_back(request);
        Changed.NotifyAll();
    };
}

// Blocks until a request fits. Wait releases the lock meanwhile, so the search starts again each time.
ScriptedDevice::RequestPtr ScriptedDevice::Take(RequestList& list, const Filter& fits)
{
    const auto find = [&] {
        return std::ranges::find_if(list, [&](const RequestPtr& request) { return fits(*request); });
    };
    auto found = find();
    for (; found == list.end(); found = find())
        Changed.Wait(Lock);
    RequestPtr request = *found;
    list.erase(found);
    return request;
}

ScriptedDevice::RequestPtr ScriptedDevice::Held(std::uint32_t code)
{
    const ScopedLock lock(Lock);
    return Take(Kept, [code](const IoRequest& request) { return request.Code() == code; });
}

bool ScriptedDevice::EndHeld(std::uint32_t code, std::uint32_t error, const std::vector<std::uint8_t>& output)
{
    RequestPtr request;
    {
        const ScopedLock lock(Lock);
        const auto found =
            std::ranges::find_if(Kept, [code](const RequestPtr& kept) { return code == 0 || kept->Code() == code; });
        if (found == Kept.end())
            return false;
        // Completed after the lock is released, because a completion may call the device again.
        request = *found;
        Kept.erase(found);
    }
    return request->Complete(error, output);
}

void ScriptedDevice::AwaitHeld(std::size_t count)
{
    const ScopedLock lock(Lock);
    while (Kept.size() < count)
        Changed.Wait(Lock);
}

void ScriptedDevice::IgnoreRequests(std::uint32_t code, std::uint64_t openId)
{
    const ScopedLock lock(Lock);
    for (auto next = Kept.begin(); next != Kept.end();)
    {
        const auto request = next++;
        if ((*request)->Code() == code && (*request)->OpenId() == openId)
            // The request stays referenced: dropping its last reference would complete it.
            Aside.splice(Aside.end(), Kept, request);
    }
}

void ScriptedDevice::HoldCancelled(bool holds)
{
    RequestList ending;
    {
        const ScopedLock lock(Lock);
        HoldsCancelled = holds;
        if (!holds)
            ending.swap(CancelledRequests);
    }
    for (const RequestPtr& request : ending)
        request->Complete(995);
}

void ScriptedDevice::HoldCancelledUntilClose()
{
    const ScopedLock lock(Lock);
    HoldsCancelled = true;
    ReleasesOnClose = true;
}

ScriptedDevice::RequestPtr ScriptedDevice::Cancelled()
{
    const ScopedLock lock(Lock);
    return Take(CancelledRequests, [](const IoRequest&) { return true; });
}

std::vector<ScriptedDevice::Seen> ScriptedDevice::Requests()
{
    const ScopedLock lock(Lock);
    return std::exchange(All, {});
}

void ScriptedDevice::Start(const RequestPtr& request)
{
    Answer answer; // a copy, because it runs without the lock and may call On
    {
        const ScopedLock lock(Lock);
        All.push_back({request->Code(), {request->Input().begin(), request->Input().end()}, request->OutputRoom()});
        auto script = Scripts.find(request->Code());
        if (script == Scripts.end())
            script = Scripts.find(0);
        if (script != Scripts.end())
            answer = script->second;
    }
    if (answer)
        answer(request);
    else
        request->Complete(0);
}

void ScriptedDevice::Cancel(const RequestPtr& request)
{
    {
        const ScopedLock lock(Lock);
        // Held must not return a cancelled request.
        Kept.remove(request);
        Aside.remove(request);
        if (HoldsCancelled)
        {
            CancelledRequests.push_back(request);
            Changed.NotifyAll();
            return;
        }
    }
    request->Complete(995);
}

void ScriptedDevice::Cleanup(std::uint64_t openId)
{
    RequestList ending; // completed without the lock, since a completion may call this device again
    {
        const ScopedLock lock(Lock);
        for (auto next = CancelledRequests.begin(); ReleasesOnClose && next != CancelledRequests.end();)
        {
            const auto request = next++;
            if ((*request)->OpenId() == openId)
                ending.splice(ending.end(), CancelledRequests, request);
        }
    }
    for (const RequestPtr& request : ending)
        request->Complete(995);
}

} // namespace Platform
