#include "MessageQueue.h"

#include "WindowTable.h"

#include <unordered_map>
#include <utility>

namespace Platform
{

namespace
{

constexpr std::size_t MostPosted = 10000;

// By thread; guarded by WindowLock(). Never destroyed: threads may call while the process ends.
std::unordered_map<DWORD, MessageQueuePtr>& Queues()
{
    static auto& queues = *new std::unordered_map<DWORD, MessageQueuePtr>;
    return queues;
}

// Has no destructor, so that it can be read after those of the thread's other objects.
thread_local bool threadEnded = false;

} // namespace

std::mutex& WindowLock()
{
    static std::mutex& lock = *new std::mutex;
    return lock;
}

/// Takes the thread's windows and queue away as the thread ends.
struct MessageQueue::ThreadEnd
{
    ThreadEnd() : Queue(std::make_shared<MessageQueue>()), Thread(GetCurrentThreadId())
    {
        const std::lock_guard lock(WindowLock());
        Queues().insert_or_assign(Thread, Queue);
    }
    ~ThreadEnd()
    {
        threadEnded = true;
        const std::lock_guard lock(WindowLock());
        Queue->Ended = true;
        WindowTable::Instance().RemoveOf(*Queue);
        Queues().erase(Thread);
    }
    ThreadEnd(const ThreadEnd&) = delete;
    ThreadEnd& operator=(const ThreadEnd&) = delete;

    const MessageQueuePtr Queue;
    const DWORD Thread;
};

MessageQueue::ThreadEnd& MessageQueue::OfThisThread()
{
    static thread_local ThreadEnd end;
    return end;
}

MessageQueuePtr MessageQueue::Mine()
{
    if (!threadEnded)
        return OfThisThread().Queue;
    auto queue = std::make_shared<MessageQueue>();
    queue->Ended = true;
    return queue;
}

MessageQueuePtr MessageQueue::OfThread(DWORD thread)
{
    const auto found = Queues().find(thread);
    return found == Queues().end() ? nullptr : found->second;
}

std::optional<LRESULT> MessageQueue::Send(const WindowPtr& window, const WindowMessage& message,
                                          std::optional<std::chrono::milliseconds> patience)
{
    const MessageQueuePtr mine = Mine();
    std::unique_lock lock(WindowLock());
    if (window->Gone)
        return std::nullopt;
    if (window->Queue == mine)
    {
        lock.unlock();
        return window->Procedure(window->Handle, message.Message, message.WParam, message.LParam);
    }
    const auto sent = std::make_shared<Sent>(Sent{window, message, mine, false, std::nullopt});
    window->Queue->Incoming.push_back(sent);
    window->Queue->Wake();
    const auto end = patience ? std::optional(std::chrono::steady_clock::now() + *patience) : std::nullopt;
    mine->CarryOutUntil(lock, end, [&] { return sent->Over; });
    return sent->Answer;
}

void MessageQueue::Finish(Sent& sent, std::optional<LRESULT> answer)
{
    sent.Over = true;
    sent.Answer = answer;
    sent.Sender->Wake();
}

void MessageQueue::CarryOutNext(std::unique_lock<std::mutex>& lock)
{
    const std::shared_ptr<Sent> sent = std::move(Incoming.front());
    Incoming.pop_front();
    const WindowPtr& window = sent->Target;
    const WindowMessage& message = sent->Content;
    lock.unlock();
    std::optional<LRESULT> answer;
    try
    {
        answer = window->Procedure(window->Handle, message.Message, message.WParam, message.LParam);
    }
    catch (...) // or the end of the thread: the sender must not wait for ever
    {
        lock.lock();
        Finish(*sent, std::nullopt);
        throw;
    }
    lock.lock();
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

bool MessageQueue::Take(std::unique_lock<std::mutex>& lock, MSG& message, bool wait, bool remove)
{
    const auto posted = [this] { return !Posted.empty() || ExitCode; };
    CarryOutUntil(lock, std::nullopt, [&] { return Incoming.empty() && (!wait || posted()); });
    if (!posted())
        return false;
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
    std::erase_if(Incoming, [&](const std::shared_ptr<Sent>& sent) {
        const bool lost = sent->Target.get() == &window;
        if (lost)
            Finish(*sent, std::nullopt);
        return lost;
    });
}

} // namespace Platform
