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

/// One for the process. Functions take WindowLock() themselves unless said otherwise.
class WindowTable
{
public:
    static WindowTable& Instance();

    /// 0 when the module has a class of that name.
    ATOM AddClass(HINSTANCE module, const std::string& name, WNDPROC procedure);
    /// @param name a text or the number of a class. Null for an unknown class.
    WNDPROC FindClass(HINSTANCE module, const WCHAR* name) const;

    /// Null when the queue's thread is past its end.
    WindowPtr Add(WNDPROC procedure, const MessageQueuePtr& queue);
    WindowPtr Find(HWND window) const;
    /// Takes the window out and releases those who wait for it.
    void Remove(Window& window);
    /// The same for all windows of a queue. The lock is held.
    void RemoveOf(const MessageQueue& queue);
    /// In the order in which they were made.
    std::vector<WindowPtr> All() const;
    std::size_t Count() const;

    HDEVNOTIFY Register(const WindowPtr& window, const GUID& interfaceClass);
    bool Unregister(HDEVNOTIFY notification);
    /// A window as often as it is registered, in the order of the registrations.
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

    std::uintptr_t NextNumber() { return LastNumber += 2; }
    void Drop(Window& window);

    // All guarded by WindowLock(); by number, which is the order of making.
    std::map<std::uintptr_t, WindowPtr> Windows;
    std::map<std::uintptr_t, Registration> Registrations;
    std::map<HINSTANCE, std::map<std::string, Class, NameLess>> Classes;
    std::uintptr_t LastNumber = 0x10000;
    ATOM LastClass = 0xC000;
};

} // namespace Platform
