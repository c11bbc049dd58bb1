#include "CStatusSweep.h"

#include "CreateZVModule.h"
#include "IdentityIndex.h"
#include "ProcessEnd.h"
#include "TracePoint.h"

#include <algorithm>
#include <new>
#include <system_error>
#include <utility>

namespace
{

bool Contains(std::string_view text, std::string_view part)
{
    return text.find(part) != std::string_view::npos;
}

std::string_view IdentityOf(const ZVAdapterRecord& record)
{
    return FieldText(record->NetCfgInstanceId);
}

/// Returns for each adapter the numbers of the records whose identity contains its own, in list order.
std::vector<std::vector<std::size_t>> Match(const ZVAdapterRecords& records,
                                            const std::vector<CPresentAdapter>& adapters)
{
    CIdentityIndex index;
    for (const CPresentAdapter& adapter : adapters)
        index.Add(adapter.NetCfgInstanceId);
    std::vector<std::vector<std::size_t>> matches(adapters.size());
    for (std::size_t number = 0; number < records.size(); ++number)
        for (const std::size_t adapter : index.FindIn(IdentityOf(records[number])))
            matches[adapter].push_back(number);
    return matches;
}

} // namespace

CStatusSweep::CStatusSweep(CAdapterList& list)
    : List(list), State(list.Current()), Records(*State.Records), Changes(Records.begin(), Records.end()),
      IsPresent(Records.size())
{
}

void CStatusSweep::Run(const std::vector<CPresentAdapter>& present)
{
    Plan(present);
    List.ApplySweep(Changes);
    MarkUnconfirmed();
}

void CStatusSweep::Plan(const std::vector<CPresentAdapter>& present)
{
    const auto matches = Match(Records, present);
    for (std::size_t adapter = 0; adapter < present.size(); ++adapter)
        for (const std::size_t number : matches[adapter])
            PlanPresent(number, present[adapter]);
    // The second pass must not mark a record and then fail to add it for want of memory.
    NewSuspects.reserve(NewSuspects.size() + Records.size());
}

/// Plans the problem and version bits of a record whose adapter is present.
void CStatusSweep::PlanPresent(std::size_t number, const CPresentAdapter& adapter)
{
    const ZVAdapterRecord& record = Records[number];
    const bool problemChanged = Changes[number].Put(ZV_DEV_HAS_PROBLEM, adapter.HasProblem);
    if (problemChanged && adapter.HasProblem)
        NewSuspects.push_back(record);
    // The record keeps its version: only a merge copies a new one. So the bit may be cleared here
    // without a change that clients need to be notified of.
    const bool isNewVersion = !Contains(adapter.DriverVersion, DriverVersionOf(*record));
    const bool versionChanged = Changes[number].Put(ZV_DEV_DRIVER_CHANGED, isNewVersion) && isNewVersion;
    Changed = Changed || problemChanged || versionChanged;
    PresentIdentities.push_back(IdentityOf(record));
    IsPresent[number] = true;
}

/// Marks the records that the operating system does not have or whose driver does not answer. A sweep
/// never clears that mark.
void CStatusSweep::MarkUnconfirmed()
{
    for (std::size_t number = 0; number < Records.size(); ++number)
        if (!IsConfirmed(number) && List.MarkAbsent(*Records[number], IsPresent[number], State))
        {
            NewSuspects.push_back(Records[number]);
            Changed = true;
        }
}

/// Probes the adapter once for each present identity until one is the record's. An adapter whose flags
/// make Open refuse it needs no probe: only this thread clears those flags.
bool CStatusSweep::IsConfirmed(std::size_t number)
{
    const std::string_view identity = IdentityOf(Records[number]);
    const ZVAdapterRecord listed = List.Find(identity);
    if (listed == nullptr || (LoadStateFlags(*listed) & ZV_DEV_UNAVAILABLE_MASK) != 0)
        return false;
    try
    {
        return std::ranges::any_of(PresentIdentities, [&](std::string_view entry) {
            return ExitHasBegun() || (Probe(listed) && Contains(identity, entry));
        });
    }
    catch (const std::system_error&)
    {
        ZV_TRACE(ProbeFailed, Records[number]->NetCfgInstanceId);
    }
    catch (const std::bad_alloc&)
    {
        ZV_TRACE(ProbeFailed, Records[number]->NetCfgInstanceId);
    }
    // A probe without a thread or memory proves nothing about a present adapter, which therefore keeps its
    // state.
    return IsPresent[number];
}

/// Opens the adapter, which asks its driver.
bool CStatusSweep::Probe(const ZVAdapterRecord& listed)
{
    ZVAdapterRecord record = listed; // Open takes a reference to a pointer that may change.
    std::shared_ptr<CDeviceIntf> device;
    const bool isOpen =
        CreateZVModule(device, ZV_SRVC_DEVICE_UWP) == ZV_SRVC_SUCCESS && device->Open(record) == ZV_SRVC_SUCCESS;
    Probed.Keep(std::move(device));
    return isOpen;
}

void CStatusSweep::Trace() const
{
    const std::uint32_t changed = Changed ? 1 : 0;
    const auto present = static_cast<std::uint32_t>(PresentIdentities.size());
    const auto suspects = static_cast<std::uint32_t>(NewSuspects.size());
    ZV_TRACE(SweepDone, present, suspects, changed);
}
