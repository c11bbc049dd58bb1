/// @file
/// The status sweep: compares the listed adapters with the operating system after a removal.
#pragma once

#include "CAdapterList.h"
#include "PresentAdapters.h"
#include "ProbedDevices.h"
#include "RecordChange.h"

#include <cstddef>
#include <string_view>
#include <vector>

/// One sweep, on the service's thread. The first pass updates the flags of the adapters that the
/// operating system has. The second probes every adapter and marks those that nothing confirms.
class CStatusSweep
{
public:
    /// Starts from the current state of the list, which must outlive the sweep.
    explicit CStatusSweep(CAdapterList& list);

    /// Runs both passes and traces the result.
    void Run(const std::vector<CPresentAdapter>& present);

    /// Returns true when clients are notified of the sweep.
    bool HasChanges() const { return Changed; }
    /// Returns the records for a watcher: those that newly failed or disappeared. One that did both is
    /// in it twice.
    const ZVAdapterRecords& Suspects() const { return NewSuspects; }
    /// Returns false when a host has replaced the list meanwhile with records that were not checked.
    bool IsCurrent() const { return List.IsCurrent(State); }
    void Trace() const;

private:
    void Plan(const std::vector<CPresentAdapter>& present);
    void PlanPresent(std::size_t number, const CPresentAdapter& adapter);
    void MarkUnconfirmed();
    bool IsConfirmed(std::size_t number);
    bool Probe(const ZVAdapterRecord& listed);

    CAdapterList& List;
    const CListState State;
    const ZVAdapterRecords& Records;                 ///< Those of `State`.
    std::vector<CRecordChange> Changes;              ///< By record.
    std::vector<bool> IsPresent;                     ///< By record.
    std::vector<std::string_view> PresentIdentities; ///< Of the present records.
    ZVAdapterRecords NewSuspects;
    bool Changed = false;
    CProbedDevices Probed;
};
