/// @file
/// Draws a journal on a time axis.
#pragma once

#include "JournalAdapters.h"
#include "PlotCommands.h"

#include <string>
#include <vector>

/// Collects what a picture of a journal shows: for each adapter a lane with bars for its states and its requests, and
/// marks for changes.
class JournalPlot
{
public:
    JournalPlot(const JournalHeader& header, const JournalAdapters& adapters);

    /// Adds a change that was applied to the adapters.
    /// @param concerned the indices of those that it concerns.
    void Add(const JournalLine& line, const std::vector<std::size_t>& concerned, const JournalAdapters& adapters);

    /// Writes the picture. The same journal always gives the same picture.
    /// @throws Failure if gnuplot is missing or fails, or the file cannot be written.
    void Draw(const std::string& file);

private:
    void FollowStates(const JournalAdapters& adapters, double now);

    const JournalTime Started;
    Picture Drawn;     // with the lanes of the adapters, in their order
    PlotLane Computer; // what concerns no adapter
};
