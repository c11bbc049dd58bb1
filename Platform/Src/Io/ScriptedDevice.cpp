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
    const std::lock_guard lock(Mutex);
    HoldsCancelled = holds;
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
        if (const auto script = Scripts.find(request->Code()); script != Scripts.end())
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
