/// AccessRegistry and GetAbility on the adapter's driver key, on the stand-in and on Windows.

#include "DeviceFixture.h"
#include "OSPlatform.h"

#include <optional>

namespace
{

constexpr char Root[] = R"(SYSTEM\CurrentControlSet\Control\Class\{4D36E972-E325-11CE-BFC1-08002BE10318}\)";

class DeviceRegistry : public DeviceTest
{
protected:
    DeviceRegistry() { OpenIt(); }

    std::string Key() const
    {
        _ZV_SRVC_DEVICE_INFO record{};
        Device->GetDeviceInfo(&record);
        return Root + std::string(record.DriverKeyIndex);
    }

    /// The bytes of a value, none for a missing value, and nothing for a missing key.
    static std::optional<Bytes> Stored(const std::string& path, const char* name)
    {
        HKEY key = nullptr;
        if (RegOpenKeyA(HKEY_LOCAL_MACHINE, path.c_str(), &key) != ERROR_SUCCESS)
            return std::nullopt;
        Bytes data(100);
        DWORD size = 100;
        if (RegQueryValueExA(key, name, nullptr, nullptr, data.data(), &size) != ERROR_SUCCESS)
            size = 0;
        data.resize(size);
        RegCloseKey(key);
        return data;
    }

    unsigned int Write(const std::string& subKey, const std::string& name, std::uint32_t type, Bytes data)
    {
        auto size = static_cast<std::uint32_t>(data.size());
        data.reserve(1); // Never null.
        return Device->AccessRegistry(ZV_REG_OP_WRITE, subKey, name, &type, data.data(), &size);
    }
};

TEST_F(DeviceRegistry, WritesReadsAndDeletesValuesInTheDriverKeyAndBelowIt)
{
    for (const std::string subKey : {"", "New", "New\\Deeper"})
    {
        const std::string path = subKey.empty() ? Key() : Key() + "\\" + subKey;
        EXPECT_EQ(Write(subKey, "Value", 3, {1, 2, 3}), ZV_SRVC_SUCCESS) << subKey;
        EXPECT_EQ(Stored(path, "Value"), (Bytes{1, 2, 3})) << subKey;

        std::uint32_t type = 0;
        std::uint32_t size = 0;
        const auto read = [&](std::uint8_t* data) {
            return Device->AccessRegistry(ZV_REG_OP_READ, subKey, "Value", &type, data, &size);
        };
        EXPECT_EQ(read(nullptr), ZV_SRVC_SUCCESS) << "type and size alone";
        EXPECT_EQ(size, 3U);
        EXPECT_EQ(type, 3U);
        Bytes data(4, 0xEE);
        size = 2;
        EXPECT_EQ(read(data.data()), ZV_SRVC_ERR_FAILURE);
        EXPECT_EQ(size, 3U);
        EXPECT_EQ(data, Bytes(4, 0xEE));
        size = 4;
        EXPECT_EQ(read(data.data()), ZV_SRVC_SUCCESS);
        EXPECT_EQ(data, (Bytes{1, 2, 3, 0xEE}));

        const auto remove = [&] {
            return Device->AccessRegistry(ZV_REG_OP_DELETE_VALUE, subKey, "Value", nullptr, nullptr, nullptr);
        };
        EXPECT_EQ(remove(), ZV_SRVC_SUCCESS);
        EXPECT_EQ(remove(), ZV_SRVC_ERR_FAILURE);
        EXPECT_EQ(Stored(path, "Value"), Bytes{}) << "the value is deleted, the key stays";
        EXPECT_EQ(read(data.data()), ZV_SRVC_ERR_FAILURE);
    }
}

TEST_F(DeviceRegistry, FailuresAndUnknownOperations)
{
    std::uint32_t type = 4;
    std::uint32_t size = 4;
    std::uint8_t data[4] = {};
    const auto access = [&](std::uint32_t operation, const char* subKey) {
        return Device->AccessRegistry(operation, subKey, "Missing", &type, data, &size);
    };
    EXPECT_EQ(access(ZV_REG_OP_READ, "No such key"), ZV_SRVC_ERR_FAILURE);
    EXPECT_EQ(access(ZV_REG_OP_DELETE_VALUE, "No such key"), ZV_SRVC_ERR_FAILURE);
    for (const std::uint32_t unknown : {0U, 2U, 3U, 0x80000001U, 0x80000004U})
        EXPECT_EQ(access(unknown, ""), ZV_SRVC_SUCCESS);
    EXPECT_EQ(Stored(Key(), "Missing"), Bytes{});
    auto unnumbered = std::make_shared<_ZV_SRVC_DEVICE_INFO>();
    Device->GetDeviceInfo(unnumbered.get());
    unnumbered->DriverKeyIndex[0] = 0;
    Device->Close();
    ASSERT_EQ(Device->Open(unnumbered), ZV_SRVC_SUCCESS);
    EXPECT_EQ(access(ZV_REG_OP_WRITE, ""), ZV_SRVC_ERR_FAILURE);
    EXPECT_EQ(Stored(Root, "Missing"), Bytes{}) << "the key of the class is not the adapter's";
}

TEST_F(DeviceRegistry, TheAbilityIsANumberOrATextThatBeginsWithOne)
{
    const auto text = [](std::string_view t) { return Bytes(t.begin(), t.end()); };
    const struct
    {
        std::uint32_t Type;
        Bytes Data;
        unsigned int Status;
        std::uint32_t Number;
    } cases[] = {
        {4, {0x78, 0x56, 0x34, 0x12}, 0, 0x12345678},
        {1, text("12"), 0, 12},
        {1, text("  -3x"), 0, static_cast<std::uint32_t>(-3)},
        {1, text("+7 8"), 0, 7},
        {1, text("none"), 0, 0},
        {1, {}, 0, 0},
        {1, text("99999999999"), 0, 0x7FFFFFFF},
        {1, Bytes(55, ' '), 0, 0},
        {1, Bytes(56, '0'), 0, 0},
        {1, Bytes(60, '1'), 5, 99}, // Larger than the buffer: unreadable.
        {3, {1, 0, 0, 0}, 5, 0},
        {7, text("12"), 5, 0},
    };
    for (const auto& [type, data, status, number] : cases)
    {
        EXPECT_EQ(Write("", "ZVSrvcLibSupport", type, data), ZV_SRVC_SUCCESS);
        std::uint32_t result = 99;
        EXPECT_EQ(Device->GetAbility(&result), status) << type << " of " << data.size();
        EXPECT_EQ(result, number) << type << " of " << data.size();
    }
    Device->AccessRegistry(ZV_REG_OP_DELETE_VALUE, "", "ZVSrvcLibSupport", nullptr, nullptr, nullptr);
    std::uint32_t result = 99;
    EXPECT_EQ(Device->GetAbility(&result), ZV_SRVC_ERR_ABILITY_QUERY);
    EXPECT_EQ(result, 99U) << "untouched";
}

} // namespace
