#include "ScriptedDevice.h"

#include <algorithm>
#include <utility>

namespace Platform
{

void ScriptedDevice::On(std::uint32_t code, Answer answer)
{
    const std::lock_guard lock(Mutex);
    Scripts[code] = std::move(answer);
}

ScriptedDevice::Answer ScriptedDevice::EndWith(std::uint32_t error, std::vector<std::uint8_t> output)
{
    return [error, output = std::move(output)](const RequestPtr& request) { request->Complete(error, output); };
}

ScriptedDevice::Answer ScriptedDevice::Hold()
{
    return [this](const RequestPtr& request) {
        const std::lock_guard lock(Mutex);
        Kept.push_back(request);
        Changed.notify_all();
    };
}

ScriptedDevice::RequestPtr ScriptedDevice::Take(RequestList& list, const std::function<bool(const IoRequest&)>& fits)
{
    std::unique_lock lock(Mutex);
    auto found = list.end();
    Changed.wait(lock, [&] {
        found = std::ranges::find_if(list, [&](const RequestPtr& request) { return fits(*request); });
        return found != list.end();
    });
    RequestPtr request = *found;
    list.erase(found);
    return request;
}

ScriptedDevice::RequestPtr ScriptedDevice::Held(std::uint32_t code)
{
    return Take(Kept, [code](const IoRequest& request) { return request.Code() == code; });
}

bool ScriptedDevice::EndHeld(std::uint32_t code, std::uint32_t error, const std::vector<std::uint8_t>& output)
{
    RequestPtr request;
    {
        const std::lock_guard lock(Mutex);
        const auto found =
            std::ranges::find_if(Kept, [code](const RequestPtr& kept) { return code == 0 || kept->Code() == code; });
        if (found == Kept.end())
            return false;
        request = *found;
        Kept.erase(found);
    }
    return request->Complete(error, output);
}

void ScriptedDevice::AwaitHeld(std::size_t count)
{
    std::unique_lock lock(Mutex);
    Changed.wait(lock, [&] { return Kept.size() >= count; });
}

void ScriptedDevice::IgnoreRequests(std::uint32_t code, std::uint64_t openId)
{
    const std::lock_guard lock(Mutex);
    for (auto next = Kept.begin(); next != Kept.end();)
    {
        const auto request = next++;
        if ((*request)->Code() == code && (*request)->OpenId() == openId)
            Aside.splice(Aside.end(), Kept, request);
    }
}

void ScriptedDevice::HoldCancelled(bool holds)
{
    RequestList ending;
    {
        const std::lock_guard lock(Mutex);
        HoldsCancelled = holds;
        if (!holds)
            ending.swap(CancelledRequests);
    }
    for (const RequestPtr& request : ending)
        request->Complete(995);
}

void ScriptedDevice::HoldCancelledUntilClose()
{
    const std::lock_guard lock(Mutex);
    HoldsCancelled = true;
    ReleasesOnClose = true;
}

ScriptedDevice::RequestPtr ScriptedDevice::Cancelled()
{
    return Take(CancelledRequests, [](const IoRequest&) { return true; });
}

std::vector<ScriptedDevice::Seen> ScriptedDevice::Requests()
{
    const std::lock_guard lock(Mutex);
    return std::exchange(All, {});
}

void ScriptedDevice::Start(const RequestPtr& request)
{
    Answer answer;
    {
        const std::lock_guard lock(Mutex);
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
        const std::lock_guard lock(Mutex);
        Kept.remove(request);
        Aside.remove(request);
        if (HoldsCancelled)
        {
            CancelledRequests.push_back(request);
            Changed.notify_all();
            return;
        }
    }
    request->Complete(995);
}

void ScriptedDevice::Cleanup(std::uint64_t openId)
{
    RequestList ending;
    {
        const std::lock_guard lock(Mutex);
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
