/// Producers, stops and destruction at random moments, and listings while adapters change. Each runs for
/// ZV_STRESS_SECONDS, one second by default; longer runs are for ThreadSanitizer.

#include "CZVNotification.h"

#include "EventFixture.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <array>
#include <atomic>
#include <chrono>
#include <cstdlib>
#include <optional>
#include <random>
#include <string>
#include <thread>
#include <utility>
#include <vector>

namespace
{

using Clock = std::chrono::steady_clock;

/// Random numbers for as long as the test runs.
class Chance
{
public:
    bool IsOver() const { return Clock::now() >= End; }
    int Choose(int first, int last) { return std::uniform_int_distribution<>(first, last)(Random); }
    bool Toss() { return Choose(0, 1) == 0; }

private:
    const char* Seconds = std::getenv("ZV_STRESS_SECONDS");
    Clock::time_point End = Clock::now() + std::chrono::seconds(Seconds != nullptr ? std::atoi(Seconds) : 1);
    std::mt19937 Random{std::random_device{}()};
};

/// One notification object. Every blob must be released, delivered or not, and those of a producer stay in order.
class Round final : CZVNotifyHandler
{
public:
    using Numbers = std::array<int, 2>;

    /// @param destroyAt the handler destroys the object in this delivery; never when negative.
    explicit Round(int destroyAt) : DestroyAt(destroyAt) { Notifier.emplace().RunNotifyThread(this, "worker"); }

    void Produce(int producer, int posts)
    {
        for (int n = 0; n < posts; ++n)
        {
            ++Made;
            const ZVBlob blob(reinterpret_cast<unsigned char*>(new Numbers{producer, n}), [this](unsigned char* bytes) {
                delete reinterpret_cast<Numbers*>(bytes);
                ++Released;
            });
            CZVNotification::CPrepared prepared = CZVNotification::Prepare(blob);
            if (n % 3 == 0 ? !Notifier->SendPrepared(prepared) : !Notifier->SendNorification(blob))
                return; // Stopped.
        }
    }

    void StopAfter(int deliveries)
    {
        while (Delivered < deliveries)
            std::this_thread::yield();
        Notifier->StopNotifyThread();
    }

    void Finish()
    {
        AllPosted = true;
        if (DestroyAt < 0)
            Notifier.reset();
        // A worker whose object is gone releases its last blob after the handler has returned.
        while (Released != Made)
            std::this_thread::yield();
        EXPECT_TRUE(DestroyAt < 0 || Delivered == DestroyAt + 1);
    }

private:
    void NotifyCallback(std::string /*name*/, const ZVBlob& blob) override
    {
        const auto [producer, number] = ReadBlob<Numbers>(blob);
        EXPECT_GE(number, std::exchange(Next.at(static_cast<std::size_t>(producer)), number + 1));
        if (Delivered++ != DestroyAt)
            return;
        while (!AllPosted) // Nobody may use an object while it is destroyed.
            std::this_thread::yield();
        Notifier.reset();
    }

    const int DestroyAt;
    std::array<int, 4> Next{}; ///< Used by the worker only.
    std::atomic<int> Delivered{0};
    std::atomic<int> Made{0};
    std::atomic<int> Released{0};
    std::atomic<bool> AllPosted{false};
    std::optional<CZVNotification> Notifier; ///< Last, because its worker uses the others.
};

TEST(Stress, NotificationThreadsThatAreStoppedAndDestroyedReleaseEveryBlob)
{
    Chance chance;
    while (!chance.IsOver())
    {
        const int producers = chance.Choose(1, 4);
        const int posts = chance.Choose(1, 300);
        const int total = producers * posts;
        const bool isStopped = chance.Choose(0, 2) == 0;
        Round round(!isStopped && chance.Toss() ? chance.Choose(0, total - 1) : -1);
        {
            std::vector<std::jthread> threads;
            if (isStopped)
                threads.emplace_back([&round, after = chance.Choose(0, total)] { round.StopAfter(after); });
            for (int id = 0; id < producers; ++id)
                threads.emplace_back([&round, id, posts] { round.Produce(id, posts); });
        }
        round.Finish();
    }
}

using ListingStress = EventTest;

/// Whatever changes meanwhile, a listing has every adapter once, in order, with a version that it has had.
TEST_F(ListingStress, ListingsDuringChangesAreComplete)
{
    Chance chance;
    const std::vector<std::string> identities = {"{first}", "{second}", "{third}"};
    const std::vector<std::string> versions = {"1.2.3.4", "1.1.1.1", "2.2.2.2"};
    std::vector<Platform::AdapterId> adapters;
    adapters.reserve(identities.size());
    for (const std::string& identity : identities)
        adapters.push_back(Add(identity));
    List(*Manager, "ZV_ALL");
    std::atomic<bool> isOver{false};
    std::vector<std::jthread> hosts;
    for (const char* filter : {"ZV_ALL", "ZV_ALL", "ZV_USB"})
        hosts.emplace_back([&, filter] {
            while (!isOver)
            {
                const Listing listing = List(*Manager, filter);
                EXPECT_EQ(listing.Identities(), identities);
                for (const _ZV_SRVC_DEVICE_INFO& record : listing.Records)
                    EXPECT_NE(std::ranges::find(versions, record.DriverVersion), versions.end());
            }
        });
    while (!chance.IsOver())
    {
        const auto adapter = adapters.at(static_cast<std::size_t>(chance.Choose(0, 2)));
        if (chance.Toss())
            Machine->UpdateDriver(adapter, versions.at(static_cast<std::size_t>(chance.Choose(1, 2))));
        else
            Machine->SetProblem(adapter, chance.Toss() ? 0 : 22);
        Send(chance.Toss() ? Arrival : RemoveComplete);
    }
    isOver = true;
}

} // namespace
