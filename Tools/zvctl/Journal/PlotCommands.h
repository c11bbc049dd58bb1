/// @file
/// Converts a picture of lanes on a time axis to commands of gnuplot.
#pragma once

#include <map>
#include <string>
#include <vector>

/// A span of seconds.
struct PlotBar
{
    double Begin = 0;
    double End = 0;
    std::string Kind = {}; ///< Selects the colour. Kinds without a colour are not drawn.
};

struct PlotLane
{
    std::string Name = {};
    std::vector<PlotBar> States = {};                      ///< "present", "problem 22", "absent".
    std::vector<PlotBar> Requests = {};                    ///< "request" or "failed request".
    std::map<std::string, std::vector<double>> Marks = {}; ///< Their seconds, by the kind of change.
};

struct Picture
{
    std::string Title = {};
    std::string AxisTitle = {};
    double End = 0; ///< The last second.
    std::vector<PlotLane> Lanes = {};
};

/// Returns the commands that draw a picture into an SVG file. They depend on nothing else.
std::string PlotCommands(const Picture& picture, const std::string& file);
