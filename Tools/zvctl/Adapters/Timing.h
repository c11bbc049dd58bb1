/// @file
/// The times of repeated requests.
#pragma once

#include <chrono>
#include <cstddef>
#include <vector>

/// Times in the order of their length.
class Timing
{
public:
    using Duration = std::chrono::nanoseconds;

    /// @param times at least one.
    explicit Timing(std::vector<Duration> times);

    std::size_t Count() const { return Times.size(); }
    /// @param percent 0 for the shortest time, 100 for the longest.
    Duration AtMost(unsigned percent) const;
    Duration Total() const;

    /// The times from `From` on, to twice that.
    struct Bucket
    {
        std::chrono::microseconds From{};
        std::size_t Count = 0;
    };

    /// Counts the times; the first bucket has those under 2 microseconds. Ends with the longest time.
    std::vector<Bucket> Histogram() const;

private:
    std::vector<Duration> Times;
};
