#include "AdapterChoice.h"

#include "AdapterView.h"
#include "Diagnosis.h"
#include "KeptDevices.h"
#include "Library.h"

#include <algorithm>
#include <charconv>
#include <chrono>
#include <fmt/core.h>

namespace
{

using Names = std::vector<AdapterName>;

/// Converts only ASCII letters; other letters take several bytes.
std::string Lower(std::string_view text)
{
    std::string lower(text);
    std::ranges::transform(lower, lower.begin(),
                           [](char c) { return c >= 'A' && c <= 'Z' ? static_cast<char>(c - 'A' + 'a') : c; });
    return lower;
}

/// Returns the indices of the adapters whose identity or name fits. The text that `fits` receives is in lower case.
template <class Fits>
std::vector<std::size_t> Matches(const Names& adapters, Fits fits)
{
    std::vector<std::size_t> matches;
    for (std::size_t index = 0; index < adapters.size(); ++index)
        if (fits(Lower(adapters[index].Identity)) || fits(Lower(adapters[index].Name)))
            matches.push_back(index);
    return matches;
}

/// Digits are an index and never a part of a name, so that a wrong index does not select another adapter.
std::vector<std::size_t> Candidates(const Names& adapters, std::string_view text)
{
    std::size_t index = 0;
    const auto [end, error] = std::from_chars(text.data(), text.data() + text.size(), index);
    if (!text.empty() && end == text.data() + text.size())
        return error == std::errc{} && index < adapters.size() ? std::vector{index} : std::vector<std::size_t>{};
    const std::string wanted = Lower(text);
    // A complete identity or name wins, even if it is a part of another adapter's text.
    auto whole = Matches(adapters, [&](const std::string& name) { return name == wanted; });
    if (!whole.empty())
        return whole;
    return Matches(adapters, [&](const std::string& name) { return name.find(wanted) != std::string::npos; });
}

std::string ChoiceLine(const Names& adapters, std::size_t index)
{
    return fmt::format("\n  {}  {}  {}", index, Printable(adapters[index].Identity), Printable(adapters[index].Name));
}

} // namespace

/// An ambiguous text lists only the matches in the error; one without a match lists every adapter.
std::size_t ChooseName(const Names& adapters, std::string_view text)
{
    const std::vector<std::size_t> candidates = Candidates(adapters, text);
    if (candidates.size() == 1)
        return candidates.front();
    std::string message = candidates.empty() ? fmt::format("no adapter matches \"{}\"; choose one of:", text)
                                             : fmt::format("several adapters match \"{}\"; choose one of:", text);
    for (std::size_t index = 0; index < adapters.size(); ++index)
        if (candidates.empty() || std::ranges::find(candidates, index) != candidates.end())
            message += ChoiceLine(adapters, index);
    throw Failure(message, ExitCode::NotFound);
}

const _ZV_SRVC_DEVICE_INFO& ChooseAdapter(const std::vector<_ZV_SRVC_DEVICE_INFO>& adapters, std::string_view text)
{
    Names names;
    for (const _ZV_SRVC_DEVICE_INFO& adapter : adapters)
        names.push_back({std::string(FieldText(adapter.NetCfgInstanceId)), std::string(FieldText(adapter.DeviceName))});
    return adapters[ChooseName(names, text)];
}

std::vector<_ZV_SRVC_DEVICE_INFO> ListSomeAdapters()
{
    std::vector<_ZV_SRVC_DEVICE_INFO> adapters = ListAllOrNone();
    if (adapters.empty())
        throw OperationFailed("GetZVDeviceList", ZV_SRVC_ERR_NO_DEVICE, ExitCode::NotFound,
                              "no adapter is listed; run 'zvctl doctor'");
    return adapters;
}

std::shared_ptr<CDeviceIntf> OpenAgain(const _ZV_SRVC_DEVICE_INFO& record, DriverNeed need, const std::string& remedy)
{
    // The library returns a device with this status: the adapter works, but its control device does not answer.
    // Registry access and enabling or disabling do not use the driver.
    std::shared_ptr<CDeviceIntf> device;
    const auto start = std::chrono::steady_clock::now();
    const unsigned int status = SessionManager()->OpenDevice(&record, ZV_SRVC_DEVICE_UWP, device);
    const bool answered = status == ZV_SRVC_SUCCESS;
    if (!answered && (status != ZV_SRVC_ERR_CONTROL_DEVICE || need == DriverNeed::Answers))
        throw OpenFailure(record, status, std::chrono::steady_clock::now() - start, remedy);
    KeptDevices::Keep(FieldText(record.NetCfgInstanceId), device, answered);
    return device;
}

OpenAdapter::OpenAdapter(std::string_view text, DriverNeed need, const std::string& remedy)
    : Record(ChooseAdapter(ListSomeAdapters(), text)),
      Device(KeptDevices::FindUsable(Record, need == DriverNeed::Answers))
{
    if (Device == nullptr)
        Device = OpenAgain(Record, need, remedy);
}
