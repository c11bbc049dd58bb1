/// @file
/// A thread that records where it was started, for the trace.
#pragma once

#include <array>
#include <atomic>
#include <cstdint>
#include <source_location>
#include <string_view>
#include <thread>

/// Started and joined by one owner, whose calls do not overlap.
class CTrackedThread
{
public:
    using CBody = void (*)(void* argument);

    CTrackedThread() = default;
    /// Joins if the owner forgot to, and traces the omission.
    ~CTrackedThread();
    CTrackedThread(const CTrackedThread&) = delete;
    CTrackedThread& operator=(const CTrackedThread&) = delete;

    /// @return false when the thread is already started.
    /// @throws std::system_error "resource unavailable try again" when no thread can be created.
    bool Start(CBody body, void* argument, std::source_location where = std::source_location::current());

    /// Waits until the thread has ended; does nothing if none is started.
    void Join();

private:
    /// The end of a path or function name, which identifies it best.
    using CNameTail = std::array<char, 30>;

    static void KeepTail(std::string_view text, CNameTail& tail);

    std::thread Thread;                 ///< Used by the owner only, like all fields without a note.
    std::atomic<std::int32_t> Count{0}; ///< 1 while the thread is started.
    CNameTail File{};
    CNameTail Function{};
    std::uint32_t Line = 0;
};
