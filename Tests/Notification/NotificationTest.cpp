#include "CZVNotification.h"

#include "Faults.h"
#include "MessageBlob.h"

#include <gtest/gtest.h>

#include <array>
#include <atomic>
#include <cstring>
#include <functional>
#include <latch>
#include <memory>
#include <optional>
#include <thread>
#include <vector>

namespace
{

ZVBlob Numbered(std::uint32_t producer, std::uint32_t number)
{
    return MakeBlobOf(std::array<std::uint32_t, 2>{producer, number});
}

struct Handler final : CZVNotifyHandler
{
    explicit Handler(std::function<void(const ZVBlob&)> action) : Action(std::move(action)) {}
    void NotifyCallback(std::string name, const ZVBlob& blob) override
    {
        EXPECT_EQ(name, "worker");
        name.clear(); // The copy is the handler's own.
        Action(blob);
    }
    std::function<void(const ZVBlob&)> Action;
};

/// Blocks the worker inside the handler of the first blob until it is released.
struct Gate
{
    std::latch Entered{1};
    std::latch Opened{1};
    void Hold()
    {
        Entered.count_down();
        Opened.wait();
    }
};

TEST(Notification, DeliversEveryBlobOfFourProducersInTheirOrder)
{
    constexpr std::ptrdiff_t each = 25'000;
    std::array<std::uint32_t, 4> next{};
    std::latch all(4 * each);
    Handler handler([&](const ZVBlob& blob) {
        const auto [producer, number] = ReadBlob<std::array<std::uint32_t, 2>>(blob);
        EXPECT_EQ(number, next.at(producer)++);
        all.count_down();
    });
    CZVNotification notifier;
    ASSERT_TRUE(notifier.RunNotifyThread(&handler, "worker"));
    {
        std::vector<std::jthread> producers;
        producers.reserve(4);
        for (std::uint32_t id = 0; id < 4; ++id)
            producers.emplace_back([&, id] {
                for (std::uint32_t n = 0; n < each; ++n)
                    ASSERT_TRUE(notifier.SendNorification(Numbered(id, n)));
            });
    }
    all.wait();
    EXPECT_TRUE(notifier.StopNotifyThread());
}

TEST(Notification, ABlobSentDuringADrainIsDeliveredInItEvenAfterAStop)
{
    CZVNotification notifier;
    Gate gate;
    std::atomic<int> delivered{0};
    Handler handler([&](const ZVBlob&) {
        if (++delivered == 1)
        {
            gate.Hold();
            EXPECT_TRUE(notifier.SendNorification(MakeBlob(4)));
        }
    });
    notifier.RunNotifyThread(&handler, "worker");
    notifier.SendNorification(MakeBlob(4));
    gate.Entered.wait();
    notifier.SendNorification(MakeBlob(4));
    std::jthread stopper([&] { EXPECT_TRUE(notifier.StopNotifyThread()); });
    gate.Opened.count_down();
    stopper.join();
    EXPECT_EQ(delivered, 3);
    EXPECT_FALSE(notifier.SendNorification(MakeBlob(4)));
    EXPECT_FALSE(notifier.StopNotifyThread());
}

TEST(Notification, TheDestructorReleasesQueuedBlobsAtOnce)
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
    Gate gate;
    Handler handler([&](const ZVBlob&) {
        ++delivered;
        gate.Hold();
        // The entries go while this handler still runs; it would wait for ever otherwise.
        for (int seen = released; seen < 3; seen = released)
            released.wait(seen);
    });
    std::optional<CZVNotification> notifier(std::in_place);
    // All four are queued before the worker first checks, so it can take them together.
    notifier->RunNotifyThread(&handler, "worker");
    for (int i = 0; i < 4; ++i)
        notifier->SendNorification(watched());
    gate.Entered.wait();
    gate.Opened.count_down();
    notifier.reset();
    EXPECT_EQ(delivered, 1);
    EXPECT_EQ(released, 4);
}

TEST(Notification, StopsAtAnyTime)
{
    for (int round = 0; round < 200; ++round)
    {
        std::atomic<int> delivered{0};
        Handler handler([&](const ZVBlob&) { ++delivered; });
        CZVNotification notifier;
        ASSERT_TRUE(notifier.RunNotifyThread(&handler, "worker"));
        // Before entry, with work that has just arrived, and at rest.
        if (round % 4 == 1)
            notifier.SendNorification(MakeBlob(4));
        if (round % 4 >= 2)
        {
            notifier.SendNorification(MakeBlob(4));
            while (delivered == 0)
                std::this_thread::yield();
        }
        if (round % 4 == 3)
            std::this_thread::yield();
        ASSERT_TRUE(notifier.StopNotifyThread());
        ASSERT_FALSE(notifier.StopNotifyThread());
    }
}

TEST(Notification, StoppingOnItsOwnThreadIsRefused)
{
    CZVNotification notifier;
    std::latch tried(1);
    Handler handler([&](const ZVBlob&) {
        try
        {
            notifier.StopNotifyThread();
            ADD_FAILURE() << "a thread has joined itself";
        }
        catch (const std::system_error& error)
        {
            EXPECT_STREQ(error.what(), "resource deadlock would occur");
            EXPECT_EQ(error.code(), std::errc::resource_deadlock_would_occur);
        }
        tried.count_down();
    });
    notifier.RunNotifyThread(&handler, "worker");
    notifier.SendNorification(MakeBlob(4));
    tried.wait();
    EXPECT_TRUE(notifier.StopNotifyThread());
}

TEST(Notification, DestroyingTheObjectInItsHandlerDetachesTheThread)
{
    std::latch sent(1);
    std::latch ended(1);
    auto notifier = std::make_unique<CZVNotification>();
    Handler handler([&](const ZVBlob&) {
        sent.wait(); // Until no other thread is inside the object.
        struct AtThreadEnd
        {
            std::latch& Ended;
            ~AtThreadEnd() { Ended.count_down(); }
        };
        thread_local const AtThreadEnd atEnd{ended};
        (void)&atEnd;
        notifier.reset();
    });
    notifier->RunNotifyThread(&handler, "worker");
    notifier->SendNorification(MakeBlob(4));
    sent.count_down();
    ended.wait();
    EXPECT_EQ(notifier, nullptr);
}

TEST(Notification, AnObjectAtTheAddressOfADestroyedOneUsesANewThread)
{
    std::optional<CZVNotification> notifier(std::in_place);
    std::latch sent(1);
    std::latch done(1);
    Handler idle([](const ZVBlob&) {});
    Handler handler([&](const ZVBlob&) {
        sent.wait();      // A producer keeps the object alive until its call has returned.
        notifier.reset(); // On its own worker, which is detached.
        notifier.emplace().RunNotifyThread(&idle, "another");
        notifier.reset();
        done.count_down();
    });
    notifier->RunNotifyThread(&handler, "worker");
    notifier->SendNorification(MakeBlob(4));
    sent.count_down();
    done.wait();
    EXPECT_FALSE(notifier.has_value());
}

TEST(Notification, AThreadThatCannotStartIsReportedAndLeavesNoTrace)
{
    Handler handler([](const ZVBlob&) {});
    CZVNotification notifier;
    FailThreadStart(1);
    try
    {
        notifier.RunNotifyThread(&handler, "worker");
        ADD_FAILURE() << "the thread was started";
    }
    catch (const std::system_error& error)
    {
        EXPECT_STREQ(error.what(), "resource unavailable try again");
    }
    EXPECT_FALSE(notifier.RunNotifyThread(&handler, "worker")) << "it counts as running all the same";
}

TEST(MessageBlob, HasTheBytesOfItsLayout)
{
    const unsigned char window[36] = {0x01, 0,    0,    0xA0, 28,   0,    0,    0,    0x19, 0x02, 0,    0,
                                      0,    0,    0,    0,    0x88, 0x77, 0x66, 0x55, 0x44, 0x33, 0x22, 0x11,
                                      0xFE, 0xFF, 0xFF, 0xFF, 0xFF, 0xFF, 0xFF, 0xFF, 0,    0,    0,    0};
    const unsigned char event[12] = {0x02, 0, 0x01, 0, 4, 0, 0, 0, 0, 0, 0, 0};
    EXPECT_EQ(std::memcmp(MakeWindowMessageBlob(0x219, 0x1122334455667788, -2).get(), window, sizeof window), 0);
    EXPECT_EQ(std::memcmp(MakeEventBlob(0x10002).get(), event, sizeof event), 0);
}

} // namespace
