// The driver model by itself: what it checks, and what it answers when.
#include "FakeRequest.h"

#include <array>
#include <dlfcn.h>
#include <gmock/gmock.h>
#include <gtest/gtest.h>

namespace
{

using testing::HasSubstr;

constexpr std::uint32_t Item = 0x122414;
constexpr std::uint32_t Read = 0x122418;
constexpr std::uint32_t Info = 0x122428;
constexpr std::uint32_t Host = 0x123456;

std::shared_ptr<FakeRequest> Send(DriverModel& model, std::uint32_t code, const Bytes& input, std::size_t room,
                                  std::string* log = nullptr, const std::string& name = "")
{
    auto request = std::make_shared<FakeRequest>(code, input, room, log, name);
    model.Start(request);
    return request;
}

auto SendRead(DriverModel& model, std::string* log = nullptr)
{
    Bytes processId(4);
    Put(processId, 0, static_cast<std::uint32_t>(getpid()), 4);
    return Send(model, Read, processId, 200, log, "read");
}

Bytes Chosen(std::uint32_t code)
{
    return code == Read   ? Bytes(4)
           : code == Item ? ItemRequest(true, 5, {1, 2})
                          : Framed(code == Info ? 0 : 3, {}, 100);
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
        Bytes input = Chosen(breach.Code);
        Put(input, breach.Offset, breach.Number, breach.Size);
        const std::size_t room = breach.Code == Read ? 200 : breach.Code == Item ? 42 : 100;
        EXPECT_EQ(Send(model, breach.Code, input, room)->Result().first, 87) << breach.Text;
        EXPECT_THAT(model.Violations().back(), HasSubstr(breach.Text));
    }
    const std::size_t before = model.Violations().size();
    const std::vector<std::tuple<std::uint32_t, std::size_t, std::size_t>> sizes{
        {Info, 111, 100}, {Info, 112, 99},  {Item, 54, 43}, {Item, 51, 39},
        {Host, 11, 0},    {Host, 113, 100}, {Read, 5, 200}, {Read, 4, 199}};
    for (const auto& [code, size, room] : sizes)
    {
        Bytes input = Chosen(code);
        input.resize(size);
        EXPECT_EQ(Send(model, code, input, room)->Result().first, 87) << code << ' ' << size;
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
            SendRead(model, &log);
        Send(model, Host, Framed(3, {7}, 1), 1, &log, "main");
        EXPECT_EQ(log, ends) << settings;
    }
}

TEST(DriverModel, SwitchesTakeEffectAtRunTime)
{
    DriverModel model(ReadDriverSettings(R"({"slowMs": 5, "pend": true, "order": "before"})"));
    for (const auto& [settings, mistake] : {
             std::pair("", "settings: not a JSON text"),
             {R"({"hang": true, "order": "after"})", "settings.order: not a switch of a running driver"},
             {R"({"refuse": 5, "odd": 1})", "settings.odd: not a switch of a running driver"},
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
    const auto refused = Send(model, Host, Framed(3, {}, 0), 0);
    EXPECT_TRUE(refused->Ended()) << "neither slow nor on another thread any more";
    EXPECT_EQ(refused->Result().first, 31);
}

TEST(DriverModel, CompletesHeldRequestsWhenRemovedOrDestroyed)
{
    auto model = std::make_unique<DriverModel>(ReadDriverSettings(R"({"slowMs": 1000000, "refuseOpen": 5})"));
    EXPECT_EQ(model->Open(1), 5U);
    const auto slow = Send(*model, Host, Framed(3, {}, 0), 0);
    model->Vanish();
    EXPECT_EQ(slow->Result().first, 1617);
    EXPECT_EQ(SendRead(*model)->Result().first, 1617);
    EXPECT_EQ(model->Open(1), 2U);

    model = std::make_unique<DriverModel>();
    const auto read = SendRead(*model);
    model.reset();
    EXPECT_EQ(read->Result().first, 995);
}

TEST(DriverModelModule, ReportsInvalidSettings)
{
    void* const module = dlopen(DRIVER_MODEL_FILE, RTLD_NOW | RTLD_LOCAL);
    ASSERT_NE(module, nullptr) << dlerror();
    const auto create = reinterpret_cast<Platform::CreateControlDeviceFunction>(dlsym(module, "CreateControlDevice"));
    for (const auto& [settings, mistake] : {
             std::pair("{", "settings: not a JSON text"),
             {"[]", "settings: expected an object"},
             {R"({"odd": 1})", "settings.odd: unknown key"},
             {R"({"order": "late"})", R"(settings.order: expected "before", "during" or "after")"},
             {R"({"lastChunk": 1})", R"(settings.lastChunk: expected "short", "missing" or "empty")"},
             {R"({"info": [1, 2, 3]})", "settings.info: expected four numbers"},
             {R"({"info": [1, 2, 3, -1]})", "settings.info[3]: expected a whole number from 0 to 4294967295"},
             {R"({"items": {"0x1g": ""}})", "settings.items.0x1g: expected a number such as 16 or 0x10 as the name"},
             {R"({"items": {"1": "123"}})", "settings.items.1: expected pairs of hexadecimal digits"},
             {R"({"response": {"size": 1048577}})",
              "settings.response.size: expected a whole number from 0 to 1048576"},
             {R"({"response": {}})", R"(settings.response: expected "size" or "text")"},
             {R"({"hang": 1})", "settings.hang: expected true or false"},
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
