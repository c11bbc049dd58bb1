// The driver model by itself: what it checks, and what it answers when.
#include <ControlDevice.h>
#include <DriverModel.h>

#include <array>
#include <dlfcn.h>
#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <unistd.h>

namespace
{

using Bytes = std::vector<std::uint8_t>;

constexpr std::uint32_t Item = 0x122414;
constexpr std::uint32_t Read = 0x122418;
constexpr std::uint32_t Info = 0x122428;
constexpr std::uint32_t Host = 0x123456;

/// A request that records its completion at `Log`, as " name:error:bytes".
struct FakeRequest final : Platform::IoRequest
{
    std::uint32_t Code() const override { return Number; }
    std::span<const std::uint8_t> Input() const override { return Sent; }
    std::size_t OutputRoom() const override { return Room; }
    std::uint64_t OpenId() const override { return 1; }
    bool IsCancelRequested() const override { return false; }
    bool Complete(std::uint32_t error, std::span<const std::uint8_t> output) override
    {
        *Log += (Number == Read ? " read:" : " main:") + std::to_string(error) + ':' + std::to_string(output.size());
        return true;
    }

    std::uint32_t Number = 0;
    Bytes Sent;
    std::size_t Room = 0;
    std::string* Log = nullptr;
};

void Send(DriverModel& model, std::uint32_t code, const Bytes& input, std::size_t room, std::string& log)
{
    auto request = std::make_shared<FakeRequest>();
    request->Number = code;
    request->Sent = input;
    request->Room = room;
    request->Log = &log;
    model.Start(request);
}

void Put(Bytes& bytes, std::size_t offset, std::uint32_t number, std::size_t size)
{
    for (std::size_t i = 0; i < size; ++i)
        bytes.at(offset + i) = static_cast<std::uint8_t>(number >> (8 * i));
}

void SendRead(DriverModel& model, std::string& log)
{
    Bytes processId(4);
    Put(processId, 0, static_cast<std::uint32_t>(getpid()), 4);
    Send(model, Read, processId, 200, log);
}

/// A request with its header, padded to the output's size.
Bytes Framed(std::uint32_t requestId, const Bytes& payload, std::size_t room)
{
    Bytes bytes(12 + std::max(payload.size(), room));
    Put(bytes, 0, static_cast<std::uint32_t>(getpid()), 4);
    Put(bytes, 4, requestId, 2);
    Put(bytes, 6, 1, 1);
    Put(bytes, 8, static_cast<std::uint32_t>(payload.size()), 2);
    std::ranges::copy(payload, bytes.begin() + 10);
    return bytes;
}

Bytes Correct(std::uint32_t code)
{
    if (code == Read)
        return Bytes(4);
    if (code != Item)
        return Framed(code == Info ? 0 : 3, {}, 100);
    Bytes record; // sets item 5 to two bytes
    for (const std::uint32_t word : {38U, 0x81A7C000U, 4U, 1U, 8U, 42U, 5U, 26U, 26U, 2U})
    {
        record.resize(record.size() + 4);
        Put(record, record.size() - 4, word, 4);
    }
    record.resize(42);
    return Framed(9, record, 42);
}

TEST(DriverModel, RefusesAndRecordsEveryViolationOfTheWireFormat)
{
    struct Breach
    {
        std::uint32_t Code;
        std::size_t Offset;
        std::uint32_t Number;
        std::size_t Size;
        const char* Text;
    };
    DriverModel model;
    for (const Breach& breach : std::to_array<Breach>({
             {Info, 0, 0, 4, "process id at offset 0: expected 0x"},
             {Item, 4, 8, 2, "request 0x122414: request id at offset 4: expected 0x9, got 0x8"},
             {Info, 4, 1, 2, "request id at offset 4: expected 0x0, got 0x1"},
             {Host, 6, 2, 1, "request 0x123456: marker at offset 6: expected 0x1, got 0x2"},
             {Info, 8, 3, 2, "input length at offset 8: expected 0x0"},
             {Item, 8, 41, 2, "input length at offset 8: expected 0x2a, got 0x29"},
             {Host, 8, 101, 2, "input: expected 113 bytes, got 112"},
             {Item, 10, 39, 4, "body size at offset 10: expected 0x26"},
             {Item, 14, 0x81A7C001, 4, "signature at offset 14: expected 0x81a7c000, got 0x81a7c001"},
             {Item, 18, 5, 4, "fixed word at offset 18: expected 0x4"},
             {Item, 22, 0, 4, "fixed word at offset 22: expected 0x1"},
             {Item, 26, 9, 4, "kind at offset 26: expected 0x7 or 0x8"},
             {Item, 26, 7, 4, "second set size at offset 42: expected 0x0, got 0x1a"},
             {Item, 30, 41, 4, "record size at offset 30: expected 0x2a"},
             {Item, 38, 0, 4, "first set size at offset 38: expected 0x1a"},
             {Item, 42, 0, 4, "second set size at offset 42: expected 0x1a"},
             {Item, 46, 3, 4, "data length at offset 46: expected 0x2"},
             {Read, 0, 0, 4, "request 0x122418: process id at offset 0"},
         }))
    {
        Bytes input = Correct(breach.Code);
        Put(input, breach.Offset, breach.Number, breach.Size);
        const std::size_t room = breach.Code == Read ? 200 : breach.Code == Item ? 42 : 100;
        std::string log;
        Send(model, breach.Code, input, room, log);
        EXPECT_THAT(log, testing::EndsWith(":87:0")) << breach.Text;
        EXPECT_THAT(model.Violations().back(), testing::HasSubstr(breach.Text));
    }
    const std::size_t before = model.Violations().size();
    const std::vector<std::tuple<std::uint32_t, std::size_t, std::size_t>> sizes{
        {Info, 111, 100}, {Info, 112, 99},  {Item, 54, 43}, {Item, 51, 39},
        {Host, 11, 0},    {Host, 113, 100}, {Read, 5, 200}, {Read, 4, 199}};
    for (const auto& [code, size, room] : sizes)
    {
        Bytes input = Correct(code);
        input.resize(size);
        std::string log;
        Send(model, code, input, room, log);
        EXPECT_THAT(log, testing::EndsWith(":87:0")) << code << ' ' << size;
    }
    EXPECT_GE(model.Violations().size(), before + 8);
    EXPECT_EQ(model.Captures().back().OutputRoom, 199U);
}

TEST(DriverModel, ReturnsChunksInTheConfiguredOrder)
{
    for (const auto& [settings, ends] : {
             std::pair(R"({"response": {"size": 450}})", " main:0:1 read:0:200 read:0:200 read:0:50"),
             {R"({"response": {"size": 450}, "order": "before"})", " read:0:200 read:0:200 read:0:50 main:0:1"},
             {R"({"responses": {"0x123456": {"size": 201}}, "order": "during"})", " read:0:200 main:0:1 read:0:1"},
             {R"({"response": {"size": 400}})", " main:0:1 read:0:200 read:0:200 read:0:0"},
             {R"({"response": {"size": 400}, "lastChunk": "missing"})", " main:0:1 read:0:200 read:0:200"},
             {R"({"response": {"size": 1}, "lastChunk": "empty"})", " main:0:1 read:0:1 read:0:0"},
             {R"({"silent": true})", " main:0:1"},
             {R"({"hang": true, "order": "during", "response": {"size": 450}})", " read:0:200"},
             {R"({"order": "before", "response": {"size": 450}, "vanishAfterChunks": 1})",
              " read:0:200 read:1617:0 read:1617:0 read:1617:0 read:1617:0 main:1617:0"},
             {R"({"refuse": 31})", " read:31:0 read:31:0 read:31:0 read:31:0 read:31:0 main:31:0"},
         })
    {
        std::string log;
        DriverModel model(ReadDriverSettings(settings));
        for (int i = 0; i < 5; ++i)
            SendRead(model, log);
        Send(model, Host, Framed(3, {7}, 1), 1, log);
        EXPECT_EQ(log, ends) << settings;
    }
}

TEST(DriverModel, SwitchesTakeEffectAtRunTime)
{
    DriverModel model(ReadDriverSettings(R"({"slowMs": 5, "pend": true, "order": "before"})"));
    for (const auto& [settings, mistake] : {
             std::pair(R"({"hang": true, "order": "after"})",
                       R"(settings.order: neither a switch of a running driver nor "items")"),
             {R"({"refuse": 5, "odd": 1})", R"(settings.odd: neither a switch of a running driver nor "items")"},
             {R"({"hang": true, "slowMs": -1})", "settings.slowMs: expected a whole number from 0 to 4294967295"},
             {R"({"refuse": 31, "slowMs": 0, "pend": false})", ""},
             {"{}", ""},
         })
    {
        std::array<char, 100> error{};
        EXPECT_EQ(model.Configure(settings, error.data(), error.size()), *mistake == '\0') << settings;
        EXPECT_STREQ(error.data(), mistake);
    }
    EXPECT_FALSE(model.Switches().Hang) << "a text with a mistake changes nothing";
    std::string log;
    Send(model, Host, Framed(3, {}, 0), 0, log);
    EXPECT_EQ(log, " main:31:0") << "neither slow nor on another thread any more";
}

TEST(DriverModel, CompletesHeldRequestsWhenRemovedOrDestroyed)
{
    auto model = std::make_unique<DriverModel>(ReadDriverSettings(R"({"slowMs": 1000000, "refuseOpen": 5})"));
    EXPECT_EQ(model->Open(1), 5U);
    std::string log;
    Send(*model, Host, Framed(3, {}, 0), 0, log);
    model->Vanish();
    SendRead(*model, log);
    EXPECT_EQ(log, " main:1617:0 read:1617:0");
    EXPECT_EQ(model->Open(1), 2U);

    model = std::make_unique<DriverModel>();
    SendRead(*model, log);
    model.reset();
    EXPECT_THAT(log, testing::EndsWith(" read:995:0"));
}

TEST(DriverModelModule, ReportsInvalidSettings)
{
    void* const module = dlopen(DRIVER_MODEL_FILE, RTLD_NOW | RTLD_LOCAL);
    ASSERT_NE(module, nullptr) << dlerror();
    const auto create = reinterpret_cast<Platform::CreateControlDeviceFunction>(dlsym(module, "CreateControlDevice"));
    for (const auto& [settings, mistake] : {
             std::pair(R"({"odd": 1})", "settings.odd: unknown key"),
             {R"({"order": "late"})", R"(settings.order: expected "before", "during" or "after")"},
             {R"({"info": [1, 2, 3]})", "settings.info: expected four numbers"},
             {R"({"info": [1, 2, 3, -1]})", "settings.info[3]: expected a whole number from 0 to 4294967295"},
             {R"({"items": {"0x1g": ""}})", "settings.items.0x1g: expected a number such as 16 or 0x10 as the name"},
             {R"({"response": {"size": 1048577}})",
              "settings.response.size: expected a whole number from 0 to 1048576"},
             {R"({"response": {}})", R"(settings.response: expected "size" or "text")"},
         })
    {
        std::array<char, 100> error{};
        EXPECT_EQ(create("device", settings, error.data(), error.size()), nullptr);
        EXPECT_STREQ(error.data(), mistake);
    }
    std::array<char, 9> cut;
    create("device", "{", cut.data(), cut.size());
    EXPECT_STREQ(cut.data(), "settings");
    const std::unique_ptr<Platform::ControlDevice> device(create("device", "{}", cut.data(), cut.size()));
    ASSERT_NE(device, nullptr);
    EXPECT_EQ(device->Open(1), 0U);
}

} // namespace
