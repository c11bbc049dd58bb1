/// @file
/// One shape for the library's notification thread and for what a user would take instead.
#pragma once

#include <functional>
#include <memory>

using BenchBlob = std::shared_ptr<unsigned char>;
using BenchHandler = std::function<void(const BenchBlob&)>;

/// A thread that passes each blob to its handler, in order.
class Worker
{
public:
    virtual ~Worker() = default;
    virtual void Post(const BenchBlob& blob) = 0;
};

/// CZVNotification.
std::unique_ptr<Worker> MakeNotification(BenchHandler handler);
/// A mutex, a list and a condition variable, written the usual way.
std::unique_ptr<Worker> MakePlain(BenchHandler handler);
/// A mutex and a deque that the thread takes as a whole: the fastest queue with one order for all producers.
std::unique_ptr<Worker> MakeSwapping(BenchHandler handler);
/// boost::asio::post to an io_context that one thread runs.
std::unique_ptr<Worker> MakeAsio(BenchHandler handler);
