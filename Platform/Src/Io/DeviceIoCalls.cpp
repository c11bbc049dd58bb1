// The functions of DeviceIo.h. They follow the published rules for which of event, byte count and last error a caller
// receives, because the library and its hosts rely on each of them.
#include "DeviceIo.h"

#include "FileHandle.h"
#include "IoStatus.h"
#include "PublishedCall.h"
#include "RequestTable.h"

#include <atomic>
#include <string_view>
#include <utility>

using namespace Platform;

namespace
{

std::uint64_t NextNumber()
{
    static std::atomic<std::uint64_t> last = 0;
    return ++last;
}

/// Cancels the requests of a thread that ends. Windows keeps the thread until they have completed. Here
/// nothing waits for them, because a driver that never completes a request would hang the test that examines
/// it. Their memory stays in use, as on Windows.
struct ThreadRequests
{
    ~ThreadRequests()
    {
        RequestTable::Instance().Cancel([this](const Request& request) { return request.Thread == Thread; });
    }

    const std::uint64_t Thread = NextNumber();
};

// The object is created by the thread's first call and destroyed when the thread ends.
std::uint64_t ThisThread()
{
    thread_local const ThreadRequests requests;
    return requests.Thread;
}

HANDLE OpenFails(DWORD error)
{
    SetLastError(error);
    return INVALID_HANDLE_VALUE;
}

/// One call of DeviceIoControl, its handle looked up.
struct Call
{
    const std::shared_ptr<FileHandle> File;
    const DWORD Code;
    const std::span<const std::uint8_t> Input;
    const std::span<std::uint8_t> Output;
    DWORD* const Returned;

    /// Sends the request. Returns the result if the driver completed it at once.
    std::optional<RequestEnd> Send(OVERLAPPED* record, std::shared_ptr<Waitable> done) const
    {
        const auto request = std::make_shared<Request>(
            File->File, ThisThread(), Code, Input, CallerMemory{Output.data(), Output.size(), record, std::move(done)});
        RequestTable::Instance().Add(*request);
        // Checked after the request is in the table: an earlier close or detach is seen here, and a later one
        // finds the request and cancels it.
        if (const DWORD refusal = File->Refusal())
            request->Complete(refusal, {});
        else
            Start(request);
        return request->LeaveStart();
    }

    /// Completes the request if the driver runs out of memory, even if the driver has kept a reference to it.
    void Start(const std::shared_ptr<Request>& request) const
    try
    {
        File->Target->Device->Start(request);
    }
    catch (const std::bad_alloc&)
    {
        request->Complete(ERROR_NOT_ENOUGH_MEMORY, {});
    }

    BOOL Finish(const RequestEnd& end) const
    {
        if (!IsFailure(end.Error) && Returned != nullptr)
            *Returned = static_cast<DWORD>(end.Bytes);
        return end.Error == ERROR_SUCCESS ? TRUE : FailWith(end.Error);
    }

    /// For a handle without FILE_FLAG_OVERLAPPED: the stand-in supplies the record, as Windows does.
    BOOL SendAndWait() const
    {
        OVERLAPPED record{};
        // A separate event for each request: several threads may use the same handle.
        const auto done = std::make_shared<Waitable>(true, false);
        if (const auto end = Send(&record, done))
            return Finish(*end);
        Waitable::WaitAny({&done, 1}, INFINITE);
        return Finish({ErrorOf(record.Internal), record.InternalHigh});
    }

    BOOL SendOverlapped(OVERLAPPED* record) const
    {
        const auto event = HandleTable::Instance().Find<EventHandle>(record->hEvent);
        if (record->hEvent != nullptr && !event)
            return FailWith(ERROR_INVALID_HANDLE);
        // Read before the request starts, because the driver may complete it and overwrite the field at any time.
        const auto stale = static_cast<DWORD>(record->InternalHigh);
        File->File->Done->Reset();
        if (const auto end = Send(record, event ? event->Event : File->File->Done))
            return Finish(*end);
        if (Returned != nullptr)
            *Returned = stale; // as on Windows, which copies the record's current value
        return FailWith(ERROR_IO_PENDING);
    }
};

std::span<std::uint8_t> Bytes(void* data, DWORD size)
{
    return {static_cast<std::uint8_t*>(data), size};
}

} // namespace

HANDLE CreateFileA(const char* path, DWORD access, DWORD /*share*/, SECURITY_ATTRIBUTES* /*security*/,
                   DWORD disposition, DWORD flags, HANDLE /*templateFile*/)
try
{
    if (CallFails("CreateFileA"))
        return INVALID_HANDLE_VALUE;
    if (path == nullptr || *path == '\0')
        return OpenFails(ERROR_PATH_NOT_FOUND);
    // A device cannot be created or truncated by its caller.
    if (disposition != OPEN_EXISTING)
        return OpenFails(ERROR_INVALID_PARAMETER);
    constexpr std::string_view devices = R"(\\.\)";
    const std::string_view name(path);
    const auto device = name.starts_with(devices) ? FindDevice(name.substr(devices.size())) : nullptr;
    if (!device)
        return OpenFails(ERROR_FILE_NOT_FOUND);
    // Before the driver is asked: an open that the driver has accepted must not fail for lack of memory.
    const auto handle = std::make_shared<FileHandle>(device, NextNumber(), access, flags);
    if (const DWORD error = device->Device->Open(handle->File->OpenId))
        return OpenFails(error);
    handle->File->Opened = true;
    return HandleTable::Instance().Add(handle);
}
catch (const std::bad_alloc&)
{
    return OutOfMemory(INVALID_HANDLE_VALUE);
}

BOOL DeviceIoControl(HANDLE device, DWORD code, void* input, DWORD inputSize, void* output, DWORD outputSize,
                     DWORD* returned, OVERLAPPED* overlapped)
try
{
    if (CallFails("DeviceIoControl"))
        return FALSE;
    const auto file = HandleTable::Instance().Find<FileHandle>(device);
    if (!file)
        return FailWith(ERROR_INVALID_HANDLE);
    if (file->IsOverlapped != (overlapped != nullptr) || (overlapped == nullptr && returned == nullptr))
        return FailWith(ERROR_INVALID_PARAMETER);
    // Windows checks the rights before the driver sees the request.
    if (!file->Allows(code))
        return FailWith(ERROR_ACCESS_DENIED);
    if ((input == nullptr && inputSize != 0) || (output == nullptr && outputSize != 0))
        return FailWith(ERROR_NOACCESS);
    const Call call{file, code, Bytes(input, inputSize), Bytes(output, outputSize), returned};
    return overlapped != nullptr ? call.SendOverlapped(overlapped) : call.SendAndWait();
}
catch (const std::bad_alloc&)
{
    return OutOfMemory(FALSE);
}

BOOL CancelIo(HANDLE file)
{
    if (CallFails("CancelIo"))
        return FALSE;
    const auto found = HandleTable::Instance().Find<FileHandle>(file);
    if (!found)
        return FailWith(ERROR_INVALID_HANDLE);
    RequestTable::Instance().Cancel([id = found->File->OpenId, thread = ThisThread()](const Request& request) {
        return request.FileId == id && request.Thread == thread;
    });
    return TRUE;
}

BOOL CancelIoEx(HANDLE file, OVERLAPPED* overlapped)
{
    if (CallFails("CancelIoEx"))
        return FALSE;
    const auto found = HandleTable::Instance().Find<FileHandle>(file);
    if (!found)
        return FailWith(ERROR_INVALID_HANDLE);
    const std::size_t count = RequestTable::Instance().Cancel([&](const Request& request) {
        return request.FileId == found->File->OpenId && (overlapped == nullptr || request.Caller.Record == overlapped);
    });
    // As published, unlike CancelIo, which succeeds without a request.
    return count != 0 ? TRUE : FailWith(ERROR_NOT_FOUND);
}

BOOL GetOverlappedResult(HANDLE file, OVERLAPPED* overlapped, DWORD* transferred, BOOL wait)
{
    if (CallFails("GetOverlappedResult"))
        return FALSE;
    const std::atomic_ref<ULONG_PTR> status(overlapped->Internal);
    if (status.load(std::memory_order_acquire) == STATUS_PENDING)
    {
        if (wait == FALSE)
            return FailWith(ERROR_IO_INCOMPLETE);
        const auto done = FindWaitable(overlapped->hEvent != nullptr ? overlapped->hEvent : file);
        if (!done)
            return FailWith(ERROR_INVALID_HANDLE);
        Waitable::WaitAny({&done, 1}, INFINITE);
    }
    // If another thread signalled the event, the status is still pending. Windows reports that as success too.
    const DWORD error = ErrorOf(status.load(std::memory_order_acquire));
    *transferred = static_cast<DWORD>(std::atomic_ref(overlapped->InternalHigh).load(std::memory_order_relaxed));
    return error == ERROR_SUCCESS ? TRUE : FailWith(error);
}

BOOL CloseHandle(HANDLE handle)
{
    if (CallFails("CloseHandle"))
        return FALSE;
    HandleTable& handles = HandleTable::Instance();
    // Requests keep the event itself, so they can still signal it.
    if (handles.Close<EventHandle>(handle))
        return TRUE;
    const auto file = handles.Find<FileHandle>(handle);
    if (!file || !handles.Close<FileHandle>(handle))
        return FailWith(ERROR_INVALID_HANDLE);
    file->File->Closed = true; // before the cancellation; see Call::Send
    RequestTable::Instance().Cancel([&](const Request& request) { return request.FileId == file->File->OpenId; });
    file->File->Gate->Visit([&](ControlDevice& device) { device.Cleanup(file->File->OpenId); });
    return TRUE;
}
