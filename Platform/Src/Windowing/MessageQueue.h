/// @file
/// Windows, the messages of one thread, and how threads send to each other.
#pragma once

#include "AnnotatedLock.h"
#include "Messages.h"

#include <chrono>
#include <deque>
#include <memory>
#include <optional>

namespace Platform
{

/// One lock for all queues, windows and registrations: a message can then never reach a window after its
/// destruction. It is held for a few instructions at a time, never while a window procedure runs. No other lock is
/// taken inside it.
inline constinit Mutex WindowLock;

class MessageQueue;
using MessageQueuePtr = std::shared_ptr<MessageQueue>;

/// A window of the process. Its number is never used again.
struct Window
{
    const HWND Handle;
    const WNDPROC Procedure;
    const MessageQueuePtr Queue; ///< Of the thread that created it.
    bool Gone PLATFORM_GUARDED_BY(WindowLock) = false;
    bool Leaving = false; ///< Used only by the window's thread.
};
using WindowPtr = std::shared_ptr<Window>;

/// A message to a window. `Payload` keeps what LParam points at alive until the message has been handled, which
/// may be after the sender has given up.
struct WindowMessage
{
    UINT Message = 0;
    WPARAM WParam = 0;
    LPARAM LParam = 0;
    std::shared_ptr<const void> Payload = {};
};

/// The queue of one thread; created by the thread's first call of a windowing function.
class MessageQueue : public std::enable_shared_from_this<MessageQueue>
{
public:
    using TimePoint = std::chrono::steady_clock::time_point;

    /// Sends a message to a window from the thread that owns this queue, and meanwhile dispatches the messages sent
    /// to that thread. @return the answer. Empty if the window is destroyed or `patience` has passed; the message is
    /// then still delivered when the window's thread retrieves it.
    std::optional<LRESULT> Send(const WindowPtr& window, const WindowMessage& message,
                                std::optional<std::chrono::milliseconds> patience = std::nullopt)
        PLATFORM_EXCLUDES(WindowLock);

    /// Returns false if the queue is full.
    bool Post(const MSG& message) PLATFORM_REQUIRES(WindowLock);
    void PostQuit(int exitCode) PLATFORM_REQUIRES(WindowLock);
    /// Returns whether the owner has retrieved all messages.
    bool IsEmpty() const PLATFORM_REQUIRES(WindowLock) { return Incoming.empty() && Posted.empty(); }
    /// Dispatches the sent messages, then returns the next posted one. Returns false if there is none.
    bool Take(MSG& message, bool wait, bool remove) PLATFORM_REQUIRES(WindowLock);

    /// Dispatches messages sent to the calling thread, which must own this queue, until `finished` returns true
    /// or the time is over. Releases the lock while procedures run. @return the last result of `finished`.
    template <class Predicate>
    bool DispatchUntil(std::optional<TimePoint> end, Predicate finished) PLATFORM_REQUIRES(WindowLock);
    /// Makes the owner check its wait condition again.
    void Wake() { Changed.NotifyOne(); }

    /// Drops the messages queued for a window and releases their senders.
    void Forget(const Window& window) PLATFORM_REQUIRES(WindowLock);
    /// Marks the queue of a thread that has ended: no window can be created for it.
    void End() PLATFORM_REQUIRES(WindowLock) { Ended = true; }
    bool IsEnded() const PLATFORM_REQUIRES(WindowLock) { return Ended; }
    /// Returns whether the calling thread, which must own this queue, is handling a message that was sent to it.
    bool IsDispatching() const { return Dispatching != 0; }

private:
    struct Sent
    {
        const WindowPtr Target;
        const WindowMessage Content;
        const MessageQueuePtr Sender;
        bool Over PLATFORM_GUARDED_BY(WindowLock) = false;
        std::optional<LRESULT> Answer PLATFORM_GUARDED_BY(WindowLock) = {};
    };

    static void Finish(Sent& sent, std::optional<LRESULT> answer) PLATFORM_REQUIRES(WindowLock);
    void DispatchNext() PLATFORM_REQUIRES(WindowLock);

    Condition Changed;
    int Dispatching = 0; ///< Used only by the owner.
    std::deque<std::shared_ptr<Sent>> Incoming PLATFORM_GUARDED_BY(WindowLock);
    std::deque<MSG> Posted PLATFORM_GUARDED_BY(WindowLock);
    std::optional<int> ExitCode PLATFORM_GUARDED_BY(WindowLock); ///< Set after PostQuitMessage.
    bool Ended PLATFORM_GUARDED_BY(WindowLock) = false;
};

template <class Predicate>
bool MessageQueue::DispatchUntil(std::optional<TimePoint> end, Predicate finished)
{
    while (!finished())
        if (!Incoming.empty())
            DispatchNext();
        else if (!end)
            Changed.Wait(WindowLock);
        else if (!Changed.WaitUntil(WindowLock, *end) && Incoming.empty())
            return finished();
    return true;
}

} // namespace Platform
