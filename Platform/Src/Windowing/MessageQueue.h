/// @file
/// The messages of one thread, and how threads send to each other.
#pragma once

#include "Windowing.h"

#include <chrono>
#include <condition_variable>
#include <deque>
#include <memory>
#include <mutex>
#include <optional>

namespace Platform
{

class MessageQueue;
using MessageQueuePtr = std::shared_ptr<MessageQueue>;

/// One lock for all queues, windows and registrations keeps the end of a window exact. It is held for
/// a few instructions at a time, never while a window procedure runs.
std::mutex& WindowLock();

/// A window of the process. Its number is never used again.
struct Window
{
    const HWND Handle;
    const WNDPROC Procedure;
    const MessageQueuePtr Queue; ///< That of the thread that made it.
    bool Gone = false;           ///< Guarded by WindowLock().
    bool Leaving = false;        ///< Touched by the window's own thread alone.
};
using WindowPtr = std::shared_ptr<Window>;

/// What is sent to a window. `Payload` keeps what LParam points at alive until the message has been
/// handled, however long that takes.
struct WindowMessage
{
    UINT Message = 0;
    WPARAM WParam = 0;
    LPARAM LParam = 0;
    std::shared_ptr<const void> Payload = {};
};

/// Made for a thread with its first call of a windowing function. Members are guarded by WindowLock(),
/// which the caller holds unless said otherwise.
class MessageQueue
{
public:
    /// The calling thread's, made if need be. A thread that is past its end, as one that runs the static
    /// destructors, gets one for the call alone. The lock is not held.
    static MessageQueuePtr Mine();
    /// Null for a thread without a queue.
    static MessageQueuePtr OfThread(DWORD thread);

    /// Sends a message to the window's thread and meanwhile dispatches messages sent to the calling thread.
    /// Empty when the window was destroyed or the time is over; the message is then still delivered when
    /// its thread retrieves it. The caller does not hold the lock.
    static std::optional<LRESULT> Send(const WindowPtr& window, const WindowMessage& message,
                                       std::optional<std::chrono::milliseconds> patience = std::nullopt);

    /// False when the queue is full.
    bool Post(const MSG& message);
    void PostQuit(int exitCode);
    /// Carries out what has been sent, then gives the next posted message; false when there is none.
    bool Take(std::unique_lock<std::mutex>& lock, MSG& message, bool wait, bool remove);

    /// Dispatches messages sent to the calling thread, which must own this queue, until `finished` is true
    /// or the time is over. The lock is free while procedures run. @return what `finished` gave last.
    template <class Predicate>
    bool CarryOutUntil(std::unique_lock<std::mutex>& lock, std::optional<std::chrono::steady_clock::time_point> end,
                       Predicate finished);
    /// Makes the owner check its wait condition again.
    void Wake() { Changed.notify_one(); }

    /// Drops the messages queued for a window and releases their senders.
    void Forget(const Window& window);
    /// No window can be made any more: the thread is past its end.
    bool IsEnded() const { return Ended; }

private:
    struct Sent
    {
        WindowPtr Target;
        WindowMessage Content;
        MessageQueuePtr Sender;
        bool Over = false;
        std::optional<LRESULT> Answer;
    };
    struct ThreadEnd;

    static ThreadEnd& OfThisThread();
    static void Finish(Sent& sent, std::optional<LRESULT> answer);
    void CarryOutNext(std::unique_lock<std::mutex>& lock);

    std::condition_variable Changed;
    std::deque<std::shared_ptr<Sent>> Incoming;
    std::deque<MSG> Posted;
    std::optional<int> ExitCode; ///< Set while a quit is asked for.
    bool Ended = false;
};

template <class Predicate>
bool MessageQueue::CarryOutUntil(std::unique_lock<std::mutex>& lock,
                                 std::optional<std::chrono::steady_clock::time_point> end, Predicate finished)
{
    while (!finished())
        if (!Incoming.empty())
            CarryOutNext(lock);
        else if (!end)
            Changed.wait(lock);
        else if (Changed.wait_until(lock, *end) == std::cv_status::timeout && Incoming.empty())
            return finished();
    return true;
}

} // namespace Platform
