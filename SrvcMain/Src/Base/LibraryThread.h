/// @file
/// Starts the library's threads and recognizes them.
#pragma once

#include <system_error>
#include <thread>
#include <utility>

/// A thread operation that failed. Its text is the same on every platform.
class CThreadError : public std::system_error
{
public:
    CThreadError(std::errc code, const char* text) : std::system_error(std::make_error_code(code)), Text(text) {}
    const char* what() const noexcept override { return Text; }

private:
    const char* Text;
};

inline thread_local bool ZVOnLibraryThread = false;

/// Returns true on every thread that the library has started. If the process exits on such a thread,
/// that thread cannot be joined.
inline bool OnLibraryThread() noexcept
{
    return ZVOnLibraryThread;
}

/// Starts a thread for which OnLibraryThread returns true.
/// @throws CThreadError "resource unavailable try again" when no thread can be created.
template <class Body>
std::thread StartLibraryThread(Body body)
{
    try
    {
        return std::thread([body = std::move(body)]() mutable {
            ZVOnLibraryThread = true;
            body();
        });
    }
    catch (const std::system_error&)
    {
        throw CThreadError(std::errc::resource_unavailable_try_again, "resource unavailable try again");
    }
}
