#include "Expect.h"

#include <filesystem>
#include <fstream>

namespace
{

using MachineFileTest = OnMachine;
using Platform::RegistryValue;

TEST_F(MachineFileTest, DescribesAdaptersAndRegistry)
{
    Box->Load(
        R"({"adapters": [{"netCfgInstanceId": "{1}", "friendlyName": "W\u00f6 \ud83d\ude00", "driverKey": "{C}\\7",
        "hidden": true, "problem": 22, "stateChangeError": 5,
        "values": {"Dword": {"type": "dword", "value": 4294967295}}}],
        "registry": {"SOFTWARE\\X": {"Blob": {"type": "binary", "value": "0aFF"},
            "List": {"type": "multi_sz", "value": ["a", "b"]}, "Path": {"type": "expand_sz", "value": "%A%"}}}})",
        "machine.json");
    const auto adapter = Box->Adapter(Box->Adapters().at(0));
    const std::string key = R"(SYSTEM\CurrentControlSet\Control\Class\{C}\7)";
    EXPECT_EQ(adapter.FriendlyName, u"W\u00F6 \U0001F600");
    EXPECT_EQ(adapter.Problem, 22U);
    EXPECT_EQ(adapter.StateChangeError, 5U);
    EXPECT_TRUE(adapter.Hidden && adapter.Present);
    EXPECT_EQ(Box->Value(key, "NetCfgInstanceId"), RegistryValue::Text("{1}"));
    EXPECT_EQ(Box->Value(key, "Dword"), RegistryValue::Number(0xFFFFFFFF));
    EXPECT_EQ(Box->Value("SOFTWARE\\X", "Blob"), RegistryValue::Binary({0x0A, 0xFF}));
    EXPECT_EQ(Box->Value("SOFTWARE\\X", "List"), (RegistryValue{REG_MULTI_SZ, {'a', 0, 'b', 0, 0}}));
    EXPECT_EQ(Box->Value("SOFTWARE\\X", "Path"), (RegistryValue{REG_EXPAND_SZ, {'%', 'A', '%', 0}}));
}

struct Mistake
{
    const char* Text;
    const char* Message; ///< Its start, after the file's name and the position of `Text`.
};

const Mistake InFiles[] = {
    {"[]", "expected an object"},
    {R"({"adapter": []})", "adapter: unknown key"},
    {R"({"adapters": {}})", "adapters: expected an array"},
    {R"({"adapters": [{}, {"colour": 1}]})", "adapters[1].colour: unknown key"},
    {R"({"registry": {"S": {"A": {"type": "sz", "value": "", "x": 1}}}})", "registry.S.A.x: unknown key"},
    {R"({"adapters": [{"controlDevice": {"name": "A", "module": "x"}}, {"controlDevice": {"name": "a"}}]})",
     "adapters[1].controlDevice.name: expected a name"},
    {"{\n  \"adapters\": [}\n", "parse error at line 2, column 16"},
    {"{\"adapters\": [{\"service\": \"\xFF\"}]}", "parse error at line 1, column"},
    {R"({"adapters": [{"problem": 1e999}]})", "number overflow"},
    {R"({"adapters": [], "adapters": []})", "the key \"adapters\" occurs twice"},
    {R"({"adapters": [{"netCfgInstanceId": "{A}", "present": false}, {"netCfgInstanceId": "{A}"}]})",
     "adapters[1].netCfgInstanceId: another adapter has this identity"},
};

const Mistake InAdapters[] = {
    {R"("problem": "22")", "problem: expected a whole number from 0"},
    {R"("problem": 4294967296)", "problem: expected a whole number from 0"},
    {R"("present": 1)", "present: expected true or false"},
    {R"("service": null)", "service: expected a text"},
    {R"("values": {"A": {"value": 1}})", "values.A: has no \"type\""},
    {R"("values": {"A": {"type": "x", "value": 1}})", "values.A.type: expected \""},
    {R"("values": {"A": {"type": "binary", "value": "0g"}})", "values.A.value: expected pairs"},
    {R"("values": {"A": {"type": "multi_sz", "value": [1]}})", "values.A.value[0]: expected a text"},
    {R"("controlDevice": {"name": "A"})", "controlDevice: has no \"module\""},
    {R"("controlDevice": {"name": "A", "module": "none.dll"})", "controlDevice: cannot be loaded: none.dll: "},
    {R"("controlDevice": {"name": "A", "module": "PlatformTestOther.dll"})",
     R"(controlDevice: "PlatformTestOther.dll" exports no CreateControlDevice)"},
    {R"("controlDevice": {"name": "A", "settings": null, "module": "PlatformTestDriver.dll"})",
     "controlDevice: makes no device: A has no settings"},
};

TEST_F(MachineFileTest, ErrorsNameTheirPosition)
{
    std::filesystem::current_path(OTHER_FOLDER);
    const auto expectMistake = [&](const std::string& text, const std::string& message) {
        try
        {
            Box->Load(text, "machine.json");
            ADD_FAILURE() << text << " was taken";
        }
        catch (const Platform::MachineFileError& error)
        {
            EXPECT_TRUE(std::string_view(error.what()).starts_with("machine.json: " + message)) << error.what();
        }
    };
    for (const auto& [text, message] : InFiles)
        expectMistake(text, message);
    const std::string deep = std::string(200'000, '[') + std::string(200'000, ']');
    expectMistake(R"({"adapters": [{"controlDevice": {"name": "A", "module": "x", "settings": )" + deep + "}}]}",
                  "nested deeper than 64 levels");
    for (const auto& [text, message] : InAdapters)
        expectMistake(std::string(R"({"adapters": [{)") + text + "}]}", std::string("adapters[0].") + message);
    EXPECT_TRUE(Box->Adapters().empty()) << "a mistake changes nothing";
    for (const char* unreadable : {"/nowhere/machine.json", "/", "/dev/null"})
        EXPECT_THROW(Box->LoadFile(unreadable), Platform::MachineFileError);
}

TEST_F(MachineFileTest, DriverIsFoundNextToTheFile)
{
    const std::string path = OTHER_FOLDER "/machine.json";
    std::ofstream(path) << R"({"adapters": [
        {"controlDevice": {"name": "Zv{1}", "module": "PlatformTestDriver.dll", "settings": {"speed": 2}}},
        {"controlDevice": {"name": "Zv{2}", "module": "PlatformTestDriver.dll"}, "present": false}]})";
    testing::internal::CaptureStderr();
    Box->LoadFile(path);
    const std::string warnings = testing::internal::GetCapturedStderr();
    EXPECT_NE(warnings.find(path + ": adapters[0] cannot be listed: it has no \"hardwareId\"\n"), std::string::npos);
    EXPECT_NE(warnings.find("adapters[1] cannot be opened: it has no \"netCfgInstanceId\"\n"), std::string::npos);
    EXPECT_THROW(Box->LoadFile(path), Platform::MachineFileError) << "the names are taken";
    EXPECT_EQ(Box->Adapters().size(), 2U);
    const Opened file = CreateFileA(R"(\\.\zv{1})", 0, 0, nullptr, OPEN_EXISTING, 0, nullptr);
    char output[32] = {};
    DWORD returned = 0;
    EXPECT_TRUE(DeviceIoControl(file, 0, nullptr, 0, output, sizeof(output), &returned, nullptr));
    EXPECT_STREQ(output, R"(Zv{1}{"speed":2})");
    EXPECT_EQ(Box->Device("Zv{2}"), nullptr);
    Box->ChangeAdapter(Box->Adapters().at(1), [](auto& adapter) { adapter.Present = true; });
    EXPECT_NE(Box->Device("Zv{2}"), nullptr);
}

} // namespace
