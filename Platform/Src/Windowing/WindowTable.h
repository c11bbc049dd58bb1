/// @file
/// The windows of the process, their classes, and their registrations for device interfaces.
#pragma once

#include "MessageQueue.h"
#include "Text.h"

#include <cstddef>
#include <map>
#include <optional>
#include <string>
#include <vector>

namespace Platform
{

/// One for the process; thread-safe. Only functions that say so require WindowLock, the others take it.
class WindowTable
{
public:
    static WindowTable& Instance();

    /// Returns 0 if the module has a class of that name.
    ATOM AddClass(HINSTANCE module, const std::string& name, WNDPROC procedure);
    /// @param name a text or the number of a class. @return null for an unknown class.
    WNDPROC FindClass(HINSTANCE module, const WCHAR* name) const;

    /// Returns null if the queue's thread has ended.
    WindowPtr Add(WNDPROC procedure, const MessageQueuePtr& queue);
    /// Returns null for a window that does not exist.
    WindowPtr Find(HWND window) const;
    /// Removes a window and releases the threads that wait for its answer.
    void Remove(Window& window);
    /// Removes all windows of a queue.
    void RemoveOf(const MessageQueue& queue) PLATFORM_REQUIRES(WindowLock);
    /// In the order of creation.
    std::vector<WindowPtr> All() const;
    std::size_t Count() const;

    /// Returns null if the window is destroyed.
    HDEVNOTIFY Register(const WindowPtr& window, const GUID& interfaceClass);
    bool Unregister(HDEVNOTIFY notification);
    /// Returns a window once for each of its registrations, in the order of the registrations, as Windows notifies.
    std::vector<WindowPtr> Registered(const GUID& interfaceClass) const;

private:
    struct Class
    {
        ATOM Number;
        WNDPROC Procedure;
    };
    struct Registration
    {
        WindowPtr Recipient;
        GUID InterfaceClass;
    };

    using ClassMap = std::map<std::string, Class, NameLess>;

    std::uintptr_t NextNumber() PLATFORM_REQUIRES(WindowLock) { return LastNumber += 2; }
    void Drop(Window& window) PLATFORM_REQUIRES(WindowLock);

    // By number, which is the order of creation.
    std::map<std::uintptr_t, WindowPtr> Windows PLATFORM_GUARDED_BY(WindowLock);
    std::map<std::uintptr_t, Registration> Registrations PLATFORM_GUARDED_BY(WindowLock);
    std::map<HINSTANCE, ClassMap> Classes PLATFORM_GUARDED_BY(WindowLock);
    std::uintptr_t LastNumber PLATFORM_GUARDED_BY(WindowLock) = 0x10000; // above the numbers of classes
    ATOM LastClass PLATFORM_GUARDED_BY(WindowLock) = 0xC000;             // where published class numbers begin
};

} // namespace Platform
