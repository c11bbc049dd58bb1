#include "Expect.h"

#include <fstream>

namespace
{

using MachineFileTest = OnMachine;
using Platform::RegistryValue;

TEST_F(MachineFileTest, DescribesAdaptersAndRegistry)
{
    Box->Load(R"({
        "adapters": [{
            "netCfgInstanceId": "{1}", "service": "zvwlanu", "friendlyName": "W\u00f6 \ud83d\ude00",
            "driverKey": "{C}\\0007", "hidden": true, "problem": 22, "hasNdi": false,
            "values": {"Dword": {"type": "dword", "value": 4294967295}, "Blob": {"type": "binary", "value": "0aFF"}}
        }],
        "registry": {"SOFTWARE\\X": {"List": {"type": "multi_sz", "value": ["a", "b"]},
                                     "Path": {"type": "expand_sz", "value": "%A%"}}}
    })",
              "machine.json");
    const auto adapter = Box->Adapter(Box->Adapters().at(0));
    const std::string key = "SYSTEM\\CurrentControlSet\\Control\\Class\\{C}\\0007";
    EXPECT_EQ(u"W\u00F6 \U0001F600", adapter.FriendlyName);
    EXPECT_EQ(22U, adapter.Problem);
    EXPECT_TRUE(adapter.Hidden);
    EXPECT_TRUE(adapter.Present);
    EXPECT_FALSE(Box->KeyExists(key + "\\NDI"));
    EXPECT_EQ(RegistryValue::Text("{1}"), Box->Value(key, "NetCfgInstanceId"));
    EXPECT_EQ(RegistryValue::Number(0xFFFFFFFF), Box->Value(key, "Dword"));
    EXPECT_EQ(RegistryValue::Binary({0x0A, 0xFF}), Box->Value(key, "Blob"));
    EXPECT_EQ((RegistryValue{REG_MULTI_SZ, {'a', 0, 'b', 0, 0}}), Box->Value("SOFTWARE\\X", "List"));
    EXPECT_EQ((RegistryValue{REG_EXPAND_SZ, {'%', 'A', '%', 0}}), Box->Value("SOFTWARE\\X", "Path"));
}

TEST_F(MachineFileTest, MistakesNameTheirPlace)
{
    const struct
    {
        const char* Text;
        const char* Mistake; ///< Start of the message behind the file's name.
    } cases[] = {
        {"[]", "expected an object"},
        {R"({"adapter": []})", "adapter: unknown key"},
        {R"({"adapters": {}})", "adapters: expected an array"},
        {R"({"adapters": [{}, {"colour": 1}]})", "adapters[1].colour: unknown key"},
        {R"({"adapters": [{"problem": "22"}]})", "adapters[0].problem: expected a number"},
        {R"({"adapters": [{"problem": -1}]})", "adapters[0].problem: expected a whole number from 0"},
        {R"({"adapters": [{"problem": 4294967296}]})", "adapters[0].problem: expected a whole number from 0"},
        {R"({"adapters": [{"present": 1}]})", "adapters[0].present: expected true or false"},
        {R"({"adapters": [{"service": null}]})", "adapters[0].service: expected a text"},
        {R"({"adapters": [{"values": {"A": {"value": 1}}}]})", "adapters[0].values.A: has no \"type\""},
        {R"({"adapters": [{"values": {"A": {"type": "x", "value": 1}}}]})", "adapters[0].values.A.type: expected \""},
        {R"({"registry": {"S": {"A": {"type": "sz", "value": "", "x": 1}}}})", "registry.S.A.x: unknown key"},
        {R"({"registry": {"S": {"A": {"type": "binary", "value": "0g"}}}})", "registry.S.A.value: expected pairs"},
        {R"({"registry": {"S": {"A": {"type": "multi_sz", "value": [1]}}}})", "registry.S.A.value[0]: expected a text"},
        {R"({"adapters": [{"controlDevice": {"name": ""}}]})", "adapters[0].controlDevice.name: expected a name"},
        {R"({"adapters": [{"controlDevice": {"name": "A", "modul": ""}}]})",
         "adapters[0].controlDevice.modul: unknown"},
        {R"({"adapters": [{"controlDevice": {"name": "A"}}]})", "adapters[0].controlDevice: has no \"module\""},
        {R"({"adapters": [{"controlDevice": {"name": "A", "module": "x"}}, {"controlDevice": {"name": "a"}}]})",
         "adapters[1].controlDevice.name: expected a name"},
        {R"({"adapters": [{"controlDevice": {"name": "A", "module": "none.dll"}}]})",
         "adapters[0].controlDevice: cannot be loaded: none.dll: "},
        {R"({"adapters": [{"controlDevice": {"name": "A", "module": ")" OTHER_FOLDER R"(/PlatformTestOther.dll"}}]})",
         "adapters[0].controlDevice: \"" OTHER_FOLDER "/PlatformTestOther.dll\" exports no CreateControlDevice"},
        {R"({"adapters": [{"controlDevice": {"name": "A", "settings": null, "module": ")" OTHER_FOLDER
         R"(/PlatformTestDriver.dll"}}]})",
         "adapters[0].controlDevice: makes no device: A has no settings"},
        {"{\n  \"adapters\": [}\n", "parse error at line 2, column 16"},
        {"{\"adapters\": [{\"service\": \"\xFF\"}]}", "parse error at line 1, column"},
        {"", "parse error at line 1, column 1"},
    };
    for (const auto& c : cases)
    {
        SCOPED_TRACE(c.Text);
        try
        {
            Box->Load(c.Text, "machine.json");
            ADD_FAILURE() << "was taken";
        }
        catch (const Platform::MachineFileError& error)
        {
            EXPECT_EQ(0U, std::string(error.what()).find(std::string("machine.json: ") + c.Mistake)) << error.what();
        }
    }
    EXPECT_TRUE(Box->Adapters().empty()) << "a mistake changes nothing";
}

TEST_F(MachineFileTest, DriverIsFoundBesideTheFile)
{
    const std::string path = OTHER_FOLDER "/machine.json";
    std::ofstream(path) << R"({"adapters": [
        {"controlDevice": {"name": "Zv{1}", "module": "PlatformTestDriver.dll", "settings": {"speed": 2}}},
        {"controlDevice": {"name": "Zv{2}", "module": "PlatformTestDriver.dll"}, "present": false}]})";
    Box->LoadFile(path);
    EXPECT_THROW(Box->LoadFile(path), Platform::MachineFileError) << "the names are taken";
    EXPECT_EQ(2U, Box->Adapters().size());
    const HANDLE file = CreateFileA(R"(\\.\zv{1})", 0, 0, nullptr, OPEN_EXISTING, 0, nullptr);
    char output[32] = {};
    DWORD returned = 0;
    EXPECT_TRUE(DeviceIoControl(file, 0, nullptr, 0, output, sizeof(output), &returned, nullptr));
    EXPECT_STREQ(R"(Zv{1}{"speed":2})", output);
    EXPECT_TRUE(CloseHandle(file));
    EXPECT_EQ(nullptr, Box->Device("Zv{2}"));
    Box->ChangeAdapter(Box->Adapters().at(1), [](auto& adapter) { adapter.Present = true; });
    EXPECT_NE(nullptr, Box->Device("Zv{2}"));
}

TEST_F(MachineFileTest, UnreadableFilesAreMistakesToo)
{
    EXPECT_THROW(Box->LoadFile("/nowhere/machine.json"), Platform::MachineFileError);
    EXPECT_THROW(Box->LoadFile("/"), Platform::MachineFileError);
    EXPECT_THROW(Box->LoadFile("/dev/null"), Platform::MachineFileError);
}

} // namespace
