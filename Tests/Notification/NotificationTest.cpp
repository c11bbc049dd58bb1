/// The worker thread and its queue.

#include "CZVNotification.h"

#include "Faults.h"
#include "MessageBlob.h"

#include <gtest/gtest.h>

#include <array>
#include <atomic>
#include <functional>
#include <latch>
#include <memory>
#include <optional>
#include <thread>
#include <vector>

namespace
{

/// The text of the error that a call throws.
std::string ErrorOf(const std::function<void()>& call)
{
    try
    {
        call();
    }
    catch (const std::system_error& error)
    {
        return error.what();
    }
    return "none";
}

/// A notifier whose worker passes each blob to a function.
class Notification : public testing::Test, protected CZVNotifyHandler
{
protected:
    void Start(std::function<void(const ZVBlob&)> action)
    {
        Action = std::move(action);
        ASSERT_TRUE(Notifier->RunNotifyThread(this, "worker"));
    }

    bool Post() { return Notifier->SendNorification(MakeBlob(4)); }

    /// Blocks the worker in its handler until the gate is opened.
    void Hold()
    {
        Entered.count_down();
        Opened.wait();
    }

    std::latch Entered{1};
    std::latch Opened{1};
    std::optional<CZVNotification> Notifier{std::in_place};

private:
    void NotifyCallback(std::string name, const ZVBlob& blob) override
    {
        EXPECT_EQ(name, "worker");
        Action(blob);
    }

    std::function<void(const ZVBlob&)> Action;
};

TEST_F(Notification, DeliversEveryBlobOfFourProducersInTheirOrder)
{
    constexpr std::ptrdiff_t each = 25'000;
    using Numbers = std::array<std::uint32_t, 2>;
    std::array<std::uint32_t, 4> next{};
    std::latch all(4 * each);
    Start([&](const ZVBlob& blob) {
        const auto [producer, number] = ReadBlob<Numbers>(blob);
        EXPECT_EQ(number, next.at(producer)++);
        all.count_down();
    });
    {
        std::vector<std::jthread> producers;
        producers.reserve(4);
        for (std::uint32_t id = 0; id < 4; ++id)
            producers.emplace_back([&, id] {
                for (std::uint32_t n = 0; n < each; ++n)
                    ASSERT_TRUE(Notifier->SendNorification(MakeBlobOf(Numbers{id, n})));
            });
    }
    all.wait();
    EXPECT_TRUE(Notifier->StopNotifyThread());
}

TEST_F(Notification, ABlobSentDuringADrainIsDeliveredInItEvenAfterAStop)
{
    std::atomic<int> delivered{0};
    Start([&](const ZVBlob&) {
        if (++delivered == 1)
        {
            Hold();
            EXPECT_TRUE(Post());
        }
    });
    Post();
    Entered.wait();
    Post();
    std::jthread stopper([&] { EXPECT_TRUE(Notifier->StopNotifyThread()); });
    Opened.count_down();
    stopper.join();
    EXPECT_EQ(delivered, 3);
    EXPECT_FALSE(Post());
    EXPECT_FALSE(Notifier->StopNotifyThread());
}

TEST_F(Notification, TheDestructorReleasesQueuedBlobsAtOnce)
{
    std::atomic<int> delivered{0};
    std::atomic<int> released{0};
    const auto watched = [&] {
        return ZVBlob(new unsigned char[4](), [&](unsigned char* bytes) {
            delete[] bytes;
            ++released;
            released.notify_all();
        });
    };
    Start([&](const ZVBlob&) {
        ++delivered;
        Hold();
        // The entries are released while this handler still runs; it would wait for ever otherwise.
        for (int seen = released; seen < 3; seen = released)
            released.wait(seen);
    });
    // All four are queued before the worker first checks, so it can take them together.
    for (int i = 0; i < 4; ++i)
        Notifier->SendNorification(watched());
    Entered.wait();
    Opened.count_down();
    Notifier.reset();
    EXPECT_EQ(delivered, 1);
    EXPECT_EQ(released, 4);
}

TEST_F(Notification, StoppingOnItsOwnThreadIsRefused)
{
    Start([&](const ZVBlob&) {
        EXPECT_EQ(ErrorOf([&] { Notifier->StopNotifyThread(); }), "resource deadlock would occur");
        Entered.count_down();
    });
    Post();
    Entered.wait();
    EXPECT_TRUE(Notifier->StopNotifyThread());
}

/// The worker of a destroyed object is detached. Another object at the same address has its own worker.
TEST_F(Notification, ItsHandlerMayDestroyTheObject)
{
    std::latch ended(1);
    Start([&](const ZVBlob&) {
        struct AtThreadEnd
        {
            std::latch& Ended;
            ~AtThreadEnd() { Ended.count_down(); }
        };
        thread_local const AtThreadEnd atEnd{ended};
        (void)&atEnd;
        Opened.wait(); // Until no other thread is inside the object.
        Notifier.reset();
        Notifier.emplace().RunNotifyThread(this, "another");
        Notifier.reset();
    });
    Post();
    Opened.count_down();
    ended.wait();
    EXPECT_FALSE(Notifier.has_value());
}

TEST_F(Notification, AThreadThatCannotStartIsReported)
{
    FailThreadStart(1);
    EXPECT_EQ(ErrorOf([&] { Notifier->RunNotifyThread(this, "worker"); }), "resource unavailable try again");
    EXPECT_FALSE(Notifier->RunNotifyThread(this, "worker")) << "it counts as running all the same";
}

} // namespace
