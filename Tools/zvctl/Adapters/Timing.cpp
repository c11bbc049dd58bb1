#include "Timing.h"

#include <algorithm>
#include <numeric>
#include <utility>

using std::chrono::microseconds;

Timing::Timing(std::vector<Duration> times) : Times(std::move(times))
{
    std::ranges::sort(Times);
}

Timing::Duration Timing::AtMost(unsigned percent) const
{
    return Times.at((Times.size() - 1) * percent / 100);
}

Timing::Duration Timing::Total() const
{
    return std::accumulate(Times.begin(), Times.end(), Duration(0));
}

std::vector<Timing::Bucket> Timing::Histogram() const
{
    std::vector<Bucket> buckets{{.From = microseconds(1)}};
    for (const Duration time : Times)
    {
        while (time >= buckets.back().From * 2)
            buckets.push_back({.From = buckets.back().From * 2});
        ++buckets.back().Count;
    }
    // Nothing was faster than the first of them that is not empty.
    buckets.erase(buckets.begin(),
                  std::ranges::find_if(buckets, [](const Bucket& bucket) { return bucket.Count != 0; }));
    return buckets;
}
