#include "Faults.h"

#include <atomic>
#include <cerrno>
#include <cstdlib>
#include <dlfcn.h>
#include <new>
#include <pthread.h>
#include <unistd.h>
#include <utility>

namespace
{
std::atomic<int> threadCountdown{0};
std::atomic<int> delayCountdown{0};
std::atomic<int> delayMs{0};
std::atomic<int> lingerMs{0};
thread_local int allocationCountdown = 0;

template <class Counter>
bool CountsDownToZero(Counter& counter)
{
    if (counter <= 0)
        return false;
    counter -= 1;
    return counter == 0;
}
} // namespace

int FailThreadStart(int nth)
{
    return threadCountdown.exchange(nth);
}

void DelayThreadStart(int nth, int milliseconds)
{
    delayMs = milliseconds;
    delayCountdown = nth;
}

void LingerAtExit(int milliseconds)
{
    lingerMs = milliseconds;
}

__attribute__((destructor)) static void Linger()
{
    usleep(static_cast<useconds_t>(lingerMs) * 1000);
}

int FailAllocation(int nth)
{
    return std::exchange(allocationCountdown, nth);
}

using CreateThread = int(pthread_t*, const pthread_attr_t*, void* (*)(void*), void*);
// The function of a sanitizer's runtime that is linked into the program, as clang does it.
extern "C" __attribute__((weak)) CreateThread __interceptor_pthread_create;

extern "C" __attribute__((visibility("default"))) int pthread_create(pthread_t* thread,
                                                                     const pthread_attr_t* attributes,
                                                                     void* (*body)(void*), void* argument) noexcept
{
    if (CountsDownToZero(threadCountdown))
        return EAGAIN;
    if (CountsDownToZero(delayCountdown))
        usleep(static_cast<useconds_t>(delayMs) * 1000);
    static CreateThread* const next = __interceptor_pthread_create != nullptr
                                          ? &__interceptor_pthread_create
                                          : reinterpret_cast<CreateThread*>(dlsym(RTLD_NEXT, "pthread_create"));
    return next(thread, attributes, body, argument);
}

void* operator new(std::size_t size)
{
    if (CountsDownToZero(allocationCountdown))
        throw std::bad_alloc();
    if (void* memory = std::malloc(size != 0 ? size : 1); memory != nullptr)
        return memory;
    throw std::bad_alloc();
}

void operator delete(void* memory) noexcept
{
    std::free(memory);
}

void operator delete(void* memory, std::size_t /*size*/) noexcept
{
    std::free(memory);
}
