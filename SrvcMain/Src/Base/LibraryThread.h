/// @file
/// Starting the library's threads, and detecting them.
#pragma once

#include <system_error>
#include <thread>
#include <utility>

/// A failure of a thread, with the same text on every platform.
class CThreadError : public std::system_error
{
public:
    CThreadError(std::errc code, const char* text) : std::system_error(std::make_error_code(code)), Text(text) {}
    const char* what() const noexcept override { return Text; }

private:
    const char* Text;
};

inline thread_local bool ZVOnLibraryThread = false;

/// True on every thread that the library has started. When the process ends on one, nothing can be
/// joined there.
inline bool OnLibraryThread() noexcept
{
    return ZVOnLibraryThread;
}

/// Starts a thread for which OnLibraryThread returns true.
/// @throws CThreadError "resource unavailable try again" when no thread can be had.
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
