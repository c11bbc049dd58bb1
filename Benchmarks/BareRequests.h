/// @file
/// Requests to a driver by bare platform calls, as a host without the library would write them.
#pragma once

#include "OSPlatform.h"

#include <algorithm>
#include <array>
#include <atomic>
#include <cstddef>
#include <cstdint>
#include <cstring>
#include <memory>
#include <span>
#include <vector>

inline constexpr std::uint32_t BenchHostCode = 0x99000000;
inline constexpr std::uint32_t BenchWaitRsp = 0x122418;
inline constexpr std::size_t BenchChunkSize = 200;
inline constexpr std::size_t BenchReadCount = 5;

inline HANDLE BareOpen(const char* path)
{
    return CreateFileA(path, GENERIC_READ | GENERIC_WRITE, FILE_SHARE_READ, nullptr, OPEN_EXISTING,
                       FILE_FLAG_OVERLAPPED, nullptr);
}

/// Sends one request and waits for it. Its memory is allocated, because a request that times out keeps it.
inline bool BareSend(HANDLE file, std::span<const std::uint8_t> in, std::span<std::uint8_t> out)
{
    const std::size_t size = std::max(in.size(), out.size()) + 12;
    const auto buffer = std::make_unique<std::uint8_t[]>(size); // Zero: the driver gets no old memory.
    const DWORD processId = GetCurrentProcessId();
    std::memcpy(buffer.get(), &processId, sizeof processId);
    std::memcpy(buffer.get() + 10, in.data(), in.size());
    OVERLAPPED overlapped{};
    overlapped.hEvent = CreateEventW(nullptr, TRUE, TRUE, nullptr);
    DWORD returned = 0;
    DeviceIoControl(file, BenchHostCode, buffer.get(), static_cast<DWORD>(size), out.data(),
                    static_cast<DWORD>(out.size()), &returned, &overlapped);
    const bool isDone = WaitForSingleObject(overlapped.hEvent, 10'000) == WAIT_OBJECT_0;
    CloseHandle(overlapped.hEvent);
    return isDone;
}

/// The response reads of one request.
class BareReads
{
public:
    explicit BareReads(HANDLE file) : File(file)
    {
        for (std::size_t i = 0; i < BenchReadCount; ++i)
        {
            Events[i] = CreateEventW(nullptr, FALSE, FALSE, nullptr);
            Overlapped[i].hEvent = Events[i];
            Send(i);
        }
        // Another process may end the collection by this name.
        constexpr WCHAR name[] = {'T', 'e', 'r', 'm', 'i', 'n', 'a', 't', 'e', 'W',
                                  'a', 'i', 't', 'E', 'v', 'e', 'n', 't', 0};
        Events[BenchReadCount] = CreateEventW(nullptr, FALSE, FALSE, name);
    }
    ~BareReads()
    {
        for (OVERLAPPED& overlapped : Overlapped)
            CancelIoEx(File, &overlapped);
        // The driver may still be completing a read on its own thread.
        for (std::size_t i = 0; i < BenchReadCount; ++i)
            while (std::atomic_ref(Overlapped[i].Internal).load(std::memory_order_acquire) == STATUS_PENDING)
                WaitForSingleObject(Events[i], 1);
        for (const HANDLE event : Events)
            CloseHandle(event);
    }
    BareReads(const BareReads&) = delete;
    BareReads& operator=(const BareReads&) = delete;

    /// Takes the reads in turn until a short chunk. A read that has completed costs no wait.
    void Collect(std::vector<std::uint8_t>& data)
    {
        for (std::size_t i = 0;; i = (i + 1) % BenchReadCount)
        {
            DWORD bytes = 0;
            while (!GetOverlappedResult(File, &Overlapped[i], &bytes, FALSE))
                if (WaitForMultipleObjects(BenchReadCount + 1, Events.data(), FALSE, 3000) >= BenchReadCount)
                    return;
            data.insert(data.end(), Chunks[i].begin(), Chunks[i].begin() + bytes);
            if (bytes < BenchChunkSize)
                return;
            Send(i);
        }
    }

private:
    void Send(std::size_t i)
    {
        DWORD returned = 0;
        DeviceIoControl(File, BenchWaitRsp, &ProcessId, sizeof ProcessId, Chunks[i].data(),
                        static_cast<DWORD>(BenchChunkSize), &returned, &Overlapped[i]);
    }

    HANDLE File;
    DWORD ProcessId = GetCurrentProcessId();
    std::array<HANDLE, BenchReadCount + 1> Events{}; ///< Those of the reads, then the named one.
    std::array<OVERLAPPED, BenchReadCount> Overlapped{};
    std::array<std::array<std::uint8_t, BenchChunkSize>, BenchReadCount> Chunks{};
};

/// One request with a response, from opening the device to closing it.
inline void BareResponse(const char* path, std::span<std::uint8_t> out)
{
    const HANDLE file = BareOpen(path);
    {
        BareReads reads(file);
        std::vector<std::uint8_t> data;
        BareSend(file, {}, out);
        reads.Collect(data);
        std::memcpy(out.data(), data.data(), std::min(out.size(), data.size()));
    }
    CloseHandle(file);
}
