#include "DriverModel.h"

#include <algorithm>
#include <cstdio>
#include <utility>

DriverModel::DriverModel(DriverSettings settings) : Settings(std::move(settings)), Current(Settings.Switches)
{
    for (const auto& [id, data] : Settings.Items)
        StoredItems.Set(id, data);
}

/// Stops the timer first: its tasks use the members and could add completions.
DriverModel::~DriverModel()
{
    Timer.Stop();
    Platform::ScopedLock guard(Lock);
    const Ends ends = TakeAll(Cancelled);
    guard.Unlock();
    CarryOut(ends);
}

std::uint32_t DriverModel::Open(std::uint64_t /*openId*/)
{
    const Platform::ScopedLock guard(Lock);
    // An unplugged device has no name, so the open fails as for a device that never existed.
    return Gone ? NoSuchDevice : Current.RefuseOpen;
}

void DriverModel::Close(std::uint64_t openId)
{
    Platform::ScopedLock guard(Lock);
    const auto closed = Streams.extract(openId);
    guard.Unlock(); // the rest of the stream is destroyed without a lock
}

void DriverModel::Start(const RequestPtr& request)
{
    const WireRequest wire = ReadWireRequest(request->Code(), request->Input(), request->OutputRoom());
    Platform::ScopedLock guard(Lock);
    // Includes requests that are refused below, so that a test can examine a violation.
    Capture(*request);
    const std::uint32_t refusal = Accept(request, wire);
    const std::chrono::milliseconds delay(Current.SlowMs);
    const bool later = Current.Pend || Current.SlowMs > 0;
    guard.Unlock();
    // Without the lock: a completion inside Start may call back into the model, for example into Close.
    if (refusal != 0)
        request->Complete(refusal);
    else if (later)
        Timer.Post(delay, [this, request, wire] { Deal(request, wire); });
    else
        Deal(request, wire);
}

void DriverModel::Cancel(const RequestPtr& request)
{
    Platform::ScopedLock guard(Lock);
    if (!Remove(request))
        return; // completed, or about to be
    const bool hold = Current.HoldCancelled;
    const std::chrono::milliseconds delay(Current.LateCancelMs);
    // Added even if it is completed at once below, so that the destructor and Vanish find it in the meantime.
    HeldCancelled.push_back(request);
    CancelledChange.NotifyAll();
    guard.Unlock();
    if (hold)
        return;
    if (delay.count() > 0)
        Timer.Post(delay, [this, request] { LetGo(request); });
    else
        LetGo(request);
}

bool DriverModel::Configure(const char* settings, char* error, std::size_t errorRoom)
try
{
    Platform::ScopedLock guard(Lock);
    // Throws before the assignment, so a faulty text changes nothing.
    const DriverChange change = ReadDriverChange(settings, Current);
    // An item that a request has written must not start the count of chunks again.
    if (change.Switches != Current || change.Items.empty())
        ChunksServed = 0;
    Current = change.Switches;
    guard.Unlock();
    for (const auto& [id, data] : change.Items)
        StoredItems.Set(id, data);
    return true;
}
catch (const DriverSettingsError& mistake)
{
    std::snprintf(error, errorRoom, "%s", mistake.what());
    return false;
}

std::string DriverModel::State() const
{
    return WriteDriverChange({.Switches = Switches(), .Items = StoredItems.All()});
}

/// Completes a cancelled request unless it has been completed already.
void DriverModel::LetGo(const RequestPtr& request)
{
    Platform::ScopedLock guard(Lock);
    const bool held = std::erase(HeldCancelled, request) != 0;
    guard.Unlock();
    if (held)
        request->Complete(Cancelled);
}

std::vector<std::string> DriverModel::Violations() const
{
    const Platform::ScopedLock guard(Lock);
    return Wrong;
}

std::vector<DriverCapture> DriverModel::Captures() const
{
    const Platform::ScopedLock guard(Lock);
    return {Captured.begin(), Captured.end()};
}

void DriverModel::ClearCaptures()
{
    const Platform::ScopedLock guard(Lock);
    Captured.clear();
}

DriverSwitches DriverModel::Switches() const
{
    const Platform::ScopedLock guard(Lock);
    return Current;
}

void DriverModel::SetSwitches(const DriverSwitches& switches)
{
    const Platform::ScopedLock guard(Lock);
    Current = switches;
    ChunksServed = 0;
}

void DriverModel::HoldCancelled(bool hold)
{
    const Platform::ScopedLock guard(Lock);
    Current.HoldCancelled = hold;
}

void DriverModel::ReleaseCancelled()
{
    Platform::ScopedLock guard(Lock);
    // Taken out under the lock: a timer task may complete the same requests.
    const std::vector<RequestPtr> released = std::exchange(HeldCancelled, {});
    guard.Unlock();
    for (const RequestPtr& request : released)
        request->Complete(Cancelled);
}

bool DriverModel::AwaitCancelled(std::size_t count, std::chrono::milliseconds bound) const
{
    const Platform::ScopedLock guard(Lock);
    const auto end = std::chrono::steady_clock::now() + bound;
    while (HeldCancelled.size() < count)
        // Checked once more after the time-out, because the count may have been reached in the meantime.
        if (!CancelledChange.WaitUntil(Lock, end))
            return HeldCancelled.size() >= count;
    return true;
}

void DriverModel::Vanish()
{
    Platform::ScopedLock guard(Lock);
    // Before the requests are taken, under the same lock, so that no request is accepted afterwards.
    Gone = true;
    const Ends ends = TakeAll(Removed);
    guard.Unlock();
    CarryOut(ends);
}

/// Called without the lock: a completion may call the model again.
void DriverModel::CarryOut(const Ends& ends)
{
    for (const RequestEnd& end : ends)
        if (end.State.empty())
            end.Request->Complete(end.Error, end.Output);
        else
            end.Request->ShareState(end.State, [request = end.Request, output = end.Output](std::uint32_t error) {
                request->Complete(error, output);
            });
}

void DriverModel::Capture(const Platform::IoRequest& request)
{
    // Bounds the memory of a long-running host.
    if (Captured.size() == MostCaptures)
        Captured.pop_front();
    const auto input = request.Input();
    Captured.push_back({request.Code(), {input.begin(), input.end()}, request.OutputRoom()});
}

/// Returns the error of a refused request, otherwise 0.
std::uint32_t DriverModel::Accept(const RequestPtr& request, const WireRequest& wire)
{
    // Recorded even after the device has vanished: a violation is a fault of the host at any time.
    Wrong.insert(Wrong.end(), wire.Violations.begin(), wire.Violations.end());
    if (Gone)
        return Removed;
    if (!wire.Violations.empty())
        return BadRequest;
    if (wire.Code == Wire::ResponseCode)
        Stream(request->OpenId()).AddRead(request);
    else
        Waiting.push_back(request);
    return 0;
}

/// Removes a waiting request. Returns false if it is no longer waiting.
bool DriverModel::Remove(const RequestPtr& request)
{
    // The request may be a response read, which is stored with the stream of its handle.
    return std::erase(Waiting, request) != 0 ||
           std::ranges::any_of(Streams, [&](auto& stream) { return stream.second.RemoveRead(request); });
}

ResponseStream& DriverModel::Stream(std::uint64_t openId)
{
    return Streams.try_emplace(openId, Settings.Eager).first->second;
}

/// Removes every waiting or held request. Returns them as completions with `error`.
DriverModel::Ends DriverModel::TakeAll(std::uint32_t error)
{
    Ends ends;
    const auto take = [&](const std::vector<RequestPtr>& requests) {
        for (const RequestPtr& request : requests)
            ends.push_back({request, error});
    };
    for (auto& [openId, stream] : Streams)
        take(stream.Clear());
    take(std::exchange(Waiting, {}));
    take(std::exchange(HeldCancelled, {}));
    return ends;
}
