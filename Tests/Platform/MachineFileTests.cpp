#include "Expect.h"

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

TEST_F(MachineFileTest, UnreadableFilesAreMistakesToo)
{
    EXPECT_THROW(Box->LoadFile("/nowhere/machine.json"), Platform::MachineFileError);
    EXPECT_THROW(Box->LoadFile("/"), Platform::MachineFileError);
    EXPECT_THROW(Box->LoadFile("/dev/null"), Platform::MachineFileError);
}

} // namespace
