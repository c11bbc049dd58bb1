#include "TestMachine.h"

#include <array>
#include <chrono>
#include <stdexcept>
#include <thread>
#include <utility>

namespace
{

void Check(unsigned long error, const char* what)
{
    if (error != ERROR_SUCCESS)
        throw std::runtime_error(std::string("the test driver: ") + what + ": error " + std::to_string(error));
}

template <class Head>
std::vector<std::uint8_t> Joined(const Head& head, const Bytes& bytes = {})
{
    const auto* first = reinterpret_cast<const std::uint8_t*>(&head);
    std::vector<std::uint8_t> joined(first, first + sizeof head);
    joined.insert(joined.end(), bytes.begin(), bytes.end());
    return joined;
}

/// Polls the driver's state; the driver does not report changes.
template <class Condition>
void Await(Condition condition)
{
    while (!condition())
        std::this_thread::sleep_for(std::chrono::milliseconds(1));
}

std::uint32_t StatusOf(std::uint32_t error)
{
    constexpr std::array<std::pair<std::uint32_t, std::uint32_t>, 6> statuses = {
        {{0, 0}, {5, 0xC0000022}, {31, 0xC0000001}, {234, 0x80000005}, {995, 0xC0000120}, {1617, 0xC00002B6}}};
    for (const auto& [known, status] : statuses)
        if (known == error)
            return status;
    throw std::invalid_argument("no status for error " + std::to_string(error));
}

/// The same number in each process, so that a process finds its adapter again.
int NumberOf(const std::string& identity)
{
    unsigned number = 0;
    for (const char letter : identity)
        number = (number * 31 + static_cast<unsigned char>(letter)) % 6000;
    return static_cast<int>(number);
}

} // namespace

void TestDriver::KeptRequest::Complete(std::uint32_t error, const Bytes& output) const
{
    Await([&] { return Driver.EndHeld(Code, error, output); });
}

TestDriver::TestDriver(const std::string& identity)
    : DevicePath(R"(\\.\Zorvane_Wifi_Device)" + identity),
      Steering(CreateFileA(ZVK_STEERING_PATH, GENERIC_READ | GENERIC_WRITE, FILE_SHARE_READ | FILE_SHARE_WRITE, nullptr,
                           OPEN_EXISTING, 0, nullptr))
{
    Check(Steering ? ERROR_SUCCESS : GetLastError(), "open");
    const std::string name = DevicePath.substr(DevicePath.rfind('\\') + 1);
    Check(Steer(ZVK_PLUG, {reinterpret_cast<const std::uint8_t*>(name.c_str()), name.size() + 1}), "plug");
    On(WaitRsp, Hold());
}

void TestDriver::On(std::uint32_t code, const Answer& answer) const
{
    const ZvkRule rule{code, static_cast<std::uint32_t>(answer.Action), StatusOf(answer.Error), 0};
    Check(Steer(ZVK_SET_RULE, Joined(rule, answer.Output)), "rule");
}

bool TestDriver::EndHeld(std::uint32_t code, std::uint32_t error, const Bytes& output) const
{
    const unsigned long result = Steer(ZVK_END_KEPT, Joined(ZvkEnd{code, StatusOf(error)}, output));
    if (result != ERROR_NOT_FOUND)
        Check(result, "end");
    return result == ERROR_SUCCESS;
}

void TestDriver::AwaitHeld(std::uint32_t count) const
{
    Await([&] { return Counts().Waiting >= count; });
}

void TestDriver::HoldCancelled(bool holds) const
{
    Check(Steer(ZVK_HOLD_CANCELLED, Joined(std::uint32_t{holds})), "hold");
}

void TestDriver::Respond(std::uint32_t code, const Bytes& response) const
{
    On(WaitRsp, {});
    On(code, {ZVK_RESPOND, 0, response});
}

void TestDriver::Unplug()
{
    Plugged = false;
    Check(Steer(ZVK_UNPLUG, {}), "unplug");
}

ZvkCounts TestDriver::Counts() const
{
    ZvkCounts counts{};
    Check(Steer(ZVK_COUNT, {}, {reinterpret_cast<std::uint8_t*>(&counts), sizeof counts}), "counts");
    return counts;
}

std::vector<TestDriver::Seen> TestDriver::Requests()
{
    const ZvkCounts counts = Counts();
    const std::uint32_t before = std::exchange(Taken, counts.Requests);
    return std::vector<Seen>(counts.Malformed == 0 ? counts.Requests - before : 0);
}

unsigned long TestDriver::Steer(std::uint32_t code, std::span<const std::uint8_t> input,
                                std::span<std::uint8_t> output) const
{
    DWORD returned = 0;
    Bytes in(input.begin(), input.end());
    return DeviceIoControl(Steering.Get(), code, in.data(), static_cast<DWORD>(in.size()), output.data(),
                           static_cast<DWORD>(output.size()), &returned, nullptr)
               ? ERROR_SUCCESS
               : GetLastError();
}

std::shared_ptr<TestDriver> AttachDriver(const std::string& identity)
{
    return std::make_shared<TestDriver>(identity);
}

std::shared_ptr<TestDriver> PlugAdapter(const std::string& identity)
{
    AddRegistryAdapter(NumberOf(identity), identity, "zvwlanu");
    return AttachDriver(identity);
}

void RemoveAdapter(const std::string& identity, bool isUninstalled)
{
    const int number = NumberOf(identity);
    isUninstalled ? RemoveRegistryAdapter(number) : RemoveRegistryDevice(number);
    SendToLibraryWindow(WM_DEVICECHANGE, DBT_DEVICEREMOVECOMPLETE);
}

void SendToLibraryWindow(unsigned message, std::uint64_t wParam)
{
    // Windows does not post device messages, because their parameter is a pointer.
    const HWND window = FindWindowA("ZVUWPSrvcLib", nullptr);
    DWORD_PTR answer = 0;
    SendMessageTimeoutA(window, message, wParam, 0, SMTO_NORMAL, 5000, &answer);
}

TestMachine::Id TestMachine::Add(const AdapterTexts& texts)
{
    AddRegistryDevice(Next, texts);
    return Next++;
}

std::size_t CountOpen(const TestDriver* driver)
{
    if (driver == nullptr || !driver->IsPlugged())
        return 0;
    // Wine notifies a driver of a closed handle only after CloseHandle has returned.
    const auto deadline = std::chrono::steady_clock::now() + std::chrono::seconds(5);
    ZvkCounts counts = driver->Counts();
    while (counts.Opens + counts.Waiting != 0 && std::chrono::steady_clock::now() < deadline)
    {
        std::this_thread::sleep_for(std::chrono::milliseconds(1));
        counts = driver->Counts();
    }
    return std::size_t{counts.Opens} + counts.Waiting + counts.Malformed;
}
