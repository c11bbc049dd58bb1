// A device of the stand-in's machine.
#include "IoDevice.h"

#include "Machine.h"

#include <list>
#include <map>
#include <mutex>
#include <optional>
#include <span>
#include <utility>

namespace
{

using RequestPtr = std::shared_ptr<Platform::IoRequest>;
using Requests = std::list<RequestPtr>;

constexpr char DeviceName[] = "ZVIo";

void EndAll(const Requests& requests, DWORD error)
{
    for (const RequestPtr& request : requests)
        request->Complete(error);
}

DWORD EndOne(Platform::IoRequest& request, DWORD error, const std::string& bytes)
{
    request.Complete(error, {reinterpret_cast<const std::uint8_t*>(bytes.data()), bytes.size()});
    return error;
}

struct Rule
{
    DWORD Error;
    std::optional<std::string> Bytes; ///< Nothing: what was sent.
};

class KeepingDevice final : public Platform::ControlDevice
{
public:
    void Start(const RequestPtr& request) override
    {
        if (const std::optional<Rule> rule = RuleOrKeep(request))
        {
            const auto input = request->Input();
            EndOne(*request, rule->Error, rule->Bytes.value_or(std::string(input.begin(), input.end())));
        }
    }
    void Cancel(const RequestPtr& request) override
    {
        Requests ends;
        {
            const std::scoped_lock lock(Mutex);
            Kept.remove(request);
            (Holds ? Held : ends).push_back(request);
        }
        EndAll(ends, ERROR_OPERATION_ABORTED);
    }
    void SetRule(DWORD code, Rule rule)
    {
        const std::scoped_lock lock(Mutex);
        Rules[code] = std::move(rule);
    }
    RequestPtr Take(DWORD code)
    {
        const std::scoped_lock lock(Mutex);
        for (auto next = Kept.begin(); next != Kept.end(); ++next)
        {
            if ((*next)->Code() == code)
            {
                RequestPtr taken = *next;
                Kept.erase(next);
                return taken;
            }
        }
        return nullptr;
    }
    void HoldCancelled(bool hold)
    {
        Requests ends;
        {
            const std::scoped_lock lock(Mutex);
            Holds = hold;
            ends = hold ? Requests() : std::exchange(Held, {});
        }
        EndAll(ends, ERROR_OPERATION_ABORTED);
    }
    void Remove()
    {
        HoldCancelled(false);
        std::unique_lock lock(Mutex);
        const Requests ends = std::exchange(Kept, {});
        lock.unlock();
        EndAll(ends, ERROR_DEVICE_REMOVED);
    }

private:
    std::optional<Rule> RuleOrKeep(const RequestPtr& request)
    {
        const std::scoped_lock lock(Mutex);
        if (const auto rule = Rules.find(request->Code()); rule != Rules.end())
            return rule->second;
        Kept.push_back(request);
        return std::nullopt;
    }

    std::mutex Mutex; ///< Guards everything below.
    std::map<DWORD, Rule> Rules;
    bool Holds = false;
    Requests Kept, Held;
};

} // namespace

struct IoDevice::Impl
{
    Platform::ScopedMachine Box;
    const std::shared_ptr<KeepingDevice> Driver = std::make_shared<KeepingDevice>();
    const std::string Path = std::string(R"(\\.\)") + DeviceName;
};

IoDevice::IoDevice() : Self(std::make_unique<Impl>())
{
    Self->Box->AttachDevice(DeviceName, Self->Driver);
}

IoDevice::~IoDevice()
{
    EXPECT_EQ(Platform::CountOpenObjects().Total(), 0U);
}

const char* IoDevice::Path() const
{
    return Self->Path.c_str();
}

void IoDevice::EndAtOnce(DWORD code, DWORD error, const std::string& bytes)
{
    Self->Driver->SetRule(code, {error, bytes});
}

void IoDevice::Echo(DWORD code)
{
    Self->Driver->SetRule(code, {0, std::nullopt});
}

bool IoDevice::End(DWORD code, DWORD error, const std::string& bytes)
{
    const RequestPtr request = Self->Driver->Take(code);
    return request != nullptr && EndOne(*request, error, bytes) == error;
}

void IoDevice::HoldCancelled(bool hold)
{
    Self->Driver->HoldCancelled(hold);
}

void IoDevice::Unplug()
{
    Self->Driver->Remove();
    Self->Box->DetachDevice(DeviceName);
}
