#include "MessageQueue.h"

#include <utility>

namespace Platform
{

namespace
{

constexpr std::size_t MostPosted = 10000; // the published default of Windows

LRESULT Call(const Window& window, const WindowMessage& message)
{
    return window.Procedure(window.Handle, message.Message, message.WParam, message.LParam);
}

} // namespace

std::optional<LRESULT> MessageQueue::Send(const WindowPtr& window, const WindowMessage& message,
                                          std::optional<std::chrono::milliseconds> patience)
{
    ScopedLock lock(WindowLock);
    if (window->Gone)
        return std::nullopt;
    if (window->Queue.get() == this)
    {
        // On the window's own thread Windows calls the procedure directly, ahead of queued messages.
        lock.Unlock();
        return Call(*window, message);
    }
    // Shared with the receiver, because the sender may give up first.
    const auto sent = std::make_shared<Sent>(Sent{window, message, shared_from_this()});
    // From here on the receiver handles the message, even if the sender gives up.
    window->Queue->Incoming.push_back(sent);
    window->Queue->Wake();
    std::optional<std::chrono::steady_clock::time_point> end;
    if (patience)
        end.emplace(std::chrono::steady_clock::now() + *patience);
    DispatchUntil(end, [&]() PLATFORM_REQUIRES(WindowLock) { return sent->Over; });
    // Empty on a time-out, and if the window was destroyed.
    return sent->Answer;
}

// Wakes the sender even if it has given up; it then only checks its next condition.
void MessageQueue::Finish(Sent& sent, std::optional<LRESULT> answer)
{
    sent.Over = true;
    sent.Answer = answer;
    sent.Sender->Wake();
}

void MessageQueue::DispatchNext()
{
    const std::shared_ptr<Sent> sent = std::move(Incoming.front());
    Incoming.pop_front();
    WindowLock.Unlock();
    std::optional<LRESULT> answer;
    ++Dispatching;
    try
    {
        answer = Call(*sent->Target, sent->Content);
    }
    catch (...) // or the end of the thread, which unwinds its stack: the sender must not wait forever
    {
        --Dispatching;
        WindowLock.Lock();
        Finish(*sent, std::nullopt);
        throw;
    }
    --Dispatching;
    WindowLock.Lock();
    Finish(*sent, answer);
}

bool MessageQueue::Post(const MSG& message)
{
    if (Posted.size() >= MostPosted)
        return false;
    Posted.push_back(message);
    Wake();
    return true;
}

void MessageQueue::PostQuit(int exitCode)
{
    ExitCode = exitCode;
}

bool MessageQueue::Take(MSG& message, bool wait, bool remove)
{
    // Sent messages come first, as on Windows, even when messages are posted.
    const auto posted = [this]() PLATFORM_REQUIRES(WindowLock) { return !Posted.empty() || ExitCode; };
    DispatchUntil(std::nullopt,
                  [&]() PLATFORM_REQUIRES(WindowLock) { return Incoming.empty() && (!wait || posted()); });
    if (!posted())
        return false;
    // WM_QUIT is a flag on Windows, not a queued message: it comes after everything that was posted.
    const bool quit = Posted.empty();
    message = quit ? MSG{nullptr, WM_QUIT, static_cast<WPARAM>(*ExitCode), 0, 0, {0, 0}} : Posted.front();
    if (remove && quit)
        ExitCode.reset();
    else if (remove)
        Posted.pop_front();
    return true;
}

void MessageQueue::Forget(const Window& window)
{
    std::erase_if(Posted, [&](const MSG& message) { return message.hwnd == window.Handle; });
    std::erase_if(Incoming, [&](const std::shared_ptr<Sent>& sent) PLATFORM_REQUIRES(WindowLock) {
        const bool lost = sent->Target.get() == &window;
        if (lost)
            Finish(*sent, std::nullopt);
        return lost;
    });
}

} // namespace Platform
