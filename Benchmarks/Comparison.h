/// @file
/// Measures the library and what it is compared with in turn, in one process.
#pragma once

#include <benchmark/benchmark.h>

#include <algorithm>
#include <chrono>
#include <cstddef>
#include <string>
#include <utility>
#include <vector>

/// How the time of the library may relate to that of its reference: at most `Ratio` times as long, and a constant
/// time on top for work that does not grow. A ratio of 0 sets no goal.
struct Goal
{
    double Ratio = 0;
    double ConstantSeconds = 0;
};

template <class Call>
double SecondsOf(Call&& call)
{
    const auto start = std::chrono::steady_clock::now();
    std::forward<Call>(call)();
    return std::chrono::duration<double>(std::chrono::steady_clock::now() - start).count();
}

/// @param share 0 for the smallest value, 0.5 for the median, 1 for the largest.
inline double QuantileOf(std::vector<double>& values, double share)
{
    const auto at = values.begin() + static_cast<std::ptrdiff_t>(static_cast<double>(values.size() - 1) * share);
    std::ranges::nth_element(values, at);
    return *at;
}

/// One round of each per iteration, in changing order, so that both meet the same machine. Both callables return the
/// seconds of their round, without its preparation. The counters give, in seconds, the medians of the library and of
/// its reference, and the quartiles of the ratio library : reference of the rounds.
template <class Library, class Reference>
void Compare(benchmark::State& state, Goal goal, Library library, Reference reference)
{
    std::vector<double> ours;
    std::vector<double> theirs;
    std::vector<double> ratios;
    bool isLibraryFirst = false;
    for ([[maybe_unused]] auto round : state)
    {
        isLibraryFirst = !isLibraryFirst;
        if (isLibraryFirst)
            ours.push_back(library());
        theirs.push_back(reference());
        if (!isLibraryFirst)
            ours.push_back(library());
        ratios.push_back(ours.back() / theirs.back());
        state.SetIterationTime(ours.back());
    }
    if (ratios.empty())
        return;
    state.counters["library_s"] = QuantileOf(ours, 0.5);
    state.counters["reference_s"] = QuantileOf(theirs, 0.5);
    for (const int percent : {10, 90, 99})
    {
        state.counters["library_p" + std::to_string(percent)] = QuantileOf(ours, percent / 100.0);
        state.counters["reference_p" + std::to_string(percent)] = QuantileOf(theirs, percent / 100.0);
    }
    state.counters["ratio_q1"] = QuantileOf(ratios, 0.25);
    state.counters["ratio"] = QuantileOf(ratios, 0.5);
    state.counters["ratio_q3"] = QuantileOf(ratios, 0.75);
    if (goal.Ratio > 0)
        state.counters["goal"] = goal.Ratio + goal.ConstantSeconds / QuantileOf(theirs, 0.5);
}
