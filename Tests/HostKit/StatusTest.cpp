// Errors and bytes as text.
#include <HostKit/HexDump.h>
#include <HostKit/Status.h>

#include <gtest/gtest.h>

#include <numeric>
#include <string_view>
#include <vector>

namespace
{

TEST(Status, ErrorsNameStatusAndMeaning)
{
    const struct
    {
        std::error_code Error;
        const char* Category;
        const char* Text;
    } cases[] = {
        {HostKit::MakeError(13), "zvsrvc", "ZV_SRVC_ERR_NO_DEVICE: no such adapter was found"},
        {HostKit::MakeError(7), "zvsrvc", "number 7 is no status of the library"},
        {HostKit::MakeError(0xE000020B), "zvsrvc", "number 3758096907 is no status of the library"},
        {HostKit::MakeStateChangeError(1), "zvsrvc",
         "ZV_SRVC_ERR_FAILURE: a step of the operating system or of the driver failed"},
        {HostKit::MakeStateChangeError(5), "windows", "Windows error 5: access denied; run as administrator"},
        {HostKit::MakeStateChangeError(13), "windows", "Windows error 13"},
        {HostKit::MakeStateChangeError(0xE000020B), "windows", "Windows error 3758096907: the device no longer exists"},
    };
    for (const auto& [error, category, text] : cases)
    {
        EXPECT_STREQ(error.category().name(), category);
        EXPECT_EQ(error.message(), text);
    }
    EXPECT_FALSE(HostKit::MakeStateChangeError(0));
}

TEST(Status, EveryStatusOfTheLibraryHasAText)
{
    for (unsigned int status = 0; status < 100; ++status)
    {
        const std::string_view name = ZVStatusName(status);
        const std::string text = HostKit::MakeError(status).message();
        EXPECT_EQ(text.starts_with(name), name != "unknown status") << text;
    }
}

TEST(Status, CheckThrowsWithTheOperation)
{
    EXPECT_NO_THROW(HostKit::Check(ZV_SRVC_SUCCESS, "open"));
    try
    {
        HostKit::Check(ZV_SRVC_ERR_CONTROL_DEVICE, "open adapter {1}");
        FAIL();
    }
    catch (const std::system_error& error)
    {
        EXPECT_EQ(error.code(), HostKit::MakeError(ZV_SRVC_ERR_CONTROL_DEVICE));
        EXPECT_STREQ(error.what(), "open adapter {1}: ZV_SRVC_ERR_CONTROL_DEVICE: the driver does not answer");
    }
}

TEST(HexDump, ShowsOffsetBytesAndCharacters)
{
    std::vector<std::uint8_t> bytes(18);
    std::iota(bytes.begin(), bytes.end(), std::uint8_t{0x70});
    EXPECT_EQ(HostKit::HexDump(bytes), "00000000  70 71 72 73 74 75 76 77 78 79 7a 7b 7c 7d 7e 7f  |pqrstuvwxyz{|}~.|\n"
                                       "00000010  80 81                                            |..|\n");
    EXPECT_EQ(HostKit::HexDump({}), "");
    EXPECT_EQ(HostKit::HexText(std::span(bytes).last(3), ":"), "7f:80:81");
    const std::string large = HostKit::HexDump(std::vector<std::uint8_t>(0x12350));
    EXPECT_EQ(large.substr(large.size() - 78, 8), "00012340");
}

} // namespace
