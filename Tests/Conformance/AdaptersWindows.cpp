// Adapters made of registry values only, without a device.
#include "Adapters.h"

#include <map>

namespace
{

const std::string netClass = "{4D36E972-E325-11CE-BFC1-08002BE10318}";
const std::string classes = "Control\\Class\\";

WideText Wide(const std::string& text)
{
    return {text.begin(), text.end()};
}

WideText Path(const std::string& below)
{
    return Wide("SYSTEM\\CurrentControlSet\\" + below);
}

void Set(const std::string& path, const WCHAR* name, const std::optional<WideText>& text, DWORD type = REG_SZ)
{
    const auto size = text ? static_cast<DWORD>((text->size() + 1) * sizeof(WCHAR)) : 0;
    EXPECT_EQ(text ? RegSetKeyValueW(HKEY_LOCAL_MACHINE, Path(path).c_str(), name, type, text->c_str(), size) : 0,
              ERROR_SUCCESS);
}

void Delete(const std::string& path)
{
    EXPECT_EQ(RegDeleteTreeW(HKEY_LOCAL_MACHINE, Path(path).c_str()), ERROR_SUCCESS) << path;
}

} // namespace

struct Adapters::Impl
{
    /// Different for each process, because several may run at once. Short: real driver keys have 4 digits.
    const std::string Prefix = std::to_string(GetCurrentProcessId());
    const std::string Enumerator = "Enum\\ZVConformance." + Prefix;
    std::map<WideText, std::string> Numbers;
};

Adapters::Adapters() : Self(std::make_unique<Impl>())
{
    Set(classes + netClass, L"Class", L"Net");
    Set(Self->Enumerator, L"", L"");
}

Adapters::~Adapters()
{
    while (!Self->Numbers.empty())
        Remove(WideText(Self->Numbers.begin()->first));
    Delete(Self->Enumerator);
}

void Adapters::Add(const AdapterTexts& texts)
{
    const std::string number = std::to_string(Self->Numbers.size());
    const std::string node = Self->Enumerator + "\\Card\\" + number;
    const std::string driver = netClass + "\\" + Self->Prefix + "." + number;
    Set(node, L"ClassGUID", Wide(netClass));
    Set(node, L"Class", L"Net");
    Set(node, L"Driver", Wide(driver));
    Set(node, L"HardwareID", texts.HardwareId + WCHAR{}, REG_MULTI_SZ);
    Set(node, L"FriendlyName", texts.FriendlyName);
    Set(node, L"DeviceDesc", texts.Description);
    Set(classes + driver + "\\Ndi", L"Service", Wide(texts.Service.value_or("")));
    Self->Numbers[texts.HardwareId] = number;
}

void Adapters::Remove(const WideText& hardwareId)
{
    const auto found = Self->Numbers.find(hardwareId);
    Delete(Self->Enumerator + "\\Card\\" + found->second);
    Delete(classes + netClass + "\\" + Self->Prefix + "." + found->second);
    Self->Numbers.erase(found);
}
