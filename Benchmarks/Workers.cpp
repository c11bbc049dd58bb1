#include "Workers.h"

#include "CZVNotification.h"

// Asio is not written for this project's warnings.
#pragma GCC diagnostic push
#pragma GCC diagnostic ignored "-Wsign-conversion"
#pragma GCC diagnostic ignored "-Wconversion"
#pragma GCC diagnostic ignored "-Wold-style-cast"
#pragma GCC diagnostic ignored "-Wshadow"
#pragma GCC diagnostic ignored "-Wcast-qual"
#pragma GCC diagnostic ignored "-Wundef"
#pragma GCC diagnostic ignored "-Wnon-virtual-dtor"
#include <boost/asio/executor_work_guard.hpp>
#include <boost/asio/io_context.hpp>
#include <boost/asio/post.hpp>
#pragma GCC diagnostic pop

#include <condition_variable>
#include <deque>
#include <list>
#include <mutex>
#include <thread>
#include <utility>

namespace
{

class NotificationWorker final : public Worker, private CZVNotifyHandler
{
public:
    explicit NotificationWorker(BenchHandler handler) : Handler(std::move(handler))
    {
        Notifier.RunNotifyThread(this, "Dev_Manager_User_Notification");
    }
    ~NotificationWorker() override { Notifier.StopNotifyThread(); }
    void Post(const BenchBlob& blob) override { Notifier.SendNorification(blob); }

private:
    void NotifyCallback(std::string /*name*/, const ZVBlob& blob) override { Handler(blob); }

    BenchHandler Handler;
    CZVNotification Notifier;
};

class PlainWorker final : public Worker
{
public:
    explicit PlainWorker(BenchHandler handler) : Handler(std::move(handler)), Thread([this] { Run(); }) {}
    ~PlainWorker() override
    {
        Post(nullptr);
        Thread.join();
    }
    void Post(const BenchBlob& blob) override
    {
        {
            const std::lock_guard lock(Mutex);
            Queue.push_back(blob);
        }
        Condition.notify_one();
    }

private:
    void Run()
    {
        for (;;)
        {
            std::unique_lock lock(Mutex);
            Condition.wait(lock, [this] { return !Queue.empty(); });
            const BenchBlob blob = std::move(Queue.front());
            Queue.pop_front();
            lock.unlock();
            if (blob == nullptr)
                return;
            Handler(blob);
        }
    }

    BenchHandler Handler;
    std::mutex Mutex;
    std::condition_variable Condition;
    std::list<BenchBlob> Queue; ///< Guarded by Mutex.
    std::thread Thread;
};

class SwappingWorker final : public Worker
{
public:
    explicit SwappingWorker(BenchHandler handler) : Handler(std::move(handler)), Thread([this] { Run(); }) {}
    ~SwappingWorker() override
    {
        Post(nullptr);
        Thread.join();
    }
    void Post(const BenchBlob& blob) override
    {
        bool wasEmpty = false;
        {
            const std::lock_guard lock(Mutex);
            wasEmpty = Queue.empty();
            Queue.push_back(blob);
        }
        if (wasEmpty)
            Condition.notify_one();
    }

private:
    void Run()
    {
        std::deque<BenchBlob> batch;
        for (;;)
        {
            {
                std::unique_lock lock(Mutex);
                Condition.wait(lock, [this] { return !Queue.empty(); });
                batch.swap(Queue);
            }
            for (const BenchBlob& blob : batch)
            {
                if (blob == nullptr)
                    return;
                Handler(blob);
            }
            batch.clear();
        }
    }

    BenchHandler Handler;
    std::mutex Mutex;
    std::condition_variable Condition;
    std::deque<BenchBlob> Queue; ///< Guarded by Mutex.
    std::thread Thread;
};

class AsioWorker final : public Worker
{
public:
    explicit AsioWorker(BenchHandler handler) : Handler(std::move(handler)), Thread([this] { Context.run(); }) {}
    ~AsioWorker() override
    {
        Guard.reset();
        Thread.join();
    }
    void Post(const BenchBlob& blob) override
    {
        boost::asio::post(Context, [this, blob] { Handler(blob); });
    }

private:
    BenchHandler Handler;
    boost::asio::io_context Context{1};
    boost::asio::executor_work_guard<boost::asio::io_context::executor_type> Guard{Context.get_executor()};
    std::thread Thread;
};

} // namespace

std::unique_ptr<Worker> MakeNotification(BenchHandler handler)
{
    return std::make_unique<NotificationWorker>(std::move(handler));
}

std::unique_ptr<Worker> MakePlain(BenchHandler handler)
{
    return std::make_unique<PlainWorker>(std::move(handler));
}

std::unique_ptr<Worker> MakeSwapping(BenchHandler handler)
{
    return std::make_unique<SwappingWorker>(std::move(handler));
}

std::unique_ptr<Worker> MakeAsio(BenchHandler handler)
{
    return std::make_unique<AsioWorker>(std::move(handler));
}
