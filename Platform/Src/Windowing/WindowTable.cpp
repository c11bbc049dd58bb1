#include "WindowTable.h"

#include <ranges>

namespace Platform
{

WindowTable& WindowTable::Instance()
{
    // Never destroyed: threads may call while the process ends.
    static WindowTable& table = *new WindowTable;
    return table;
}

ATOM WindowTable::AddClass(HINSTANCE module, const std::string& name, WNDPROC procedure)
{
    const ScopedLock lock(WindowLock);
    const auto number = static_cast<ATOM>(LastClass + 1);
    // The number is consumed only by a successful registration.
    if (!Classes[module].try_emplace(name, Class{number, procedure}).second)
        return 0;
    return LastClass = number;
}

WNDPROC WindowTable::FindClass(HINSTANCE module, const WCHAR* name) const
{
    const auto number = reinterpret_cast<std::uintptr_t>(name);
    const bool isText = number > 0xFFFF;
    // A class number is passed in place of the text, as MAKEINTATOM does.
    const std::string text = isText ? ToUtf8(name) : std::string();
    const ScopedLock lock(WindowLock);
    const auto classes = Classes.find(module);
    if (classes == Classes.end())
        return nullptr;
    for (const auto& [known, entry] : classes->second)
        if (isText ? EqualNames(known, text) : entry.Number == number)
            return entry.Procedure;
    return nullptr;
}

WindowPtr WindowTable::Add(WNDPROC procedure, const MessageQueuePtr& queue)
{
    const ScopedLock lock(WindowLock);
    // Checked under the same lock that the end of the thread takes, so that no window is left behind.
    if (queue->IsEnded())
        return nullptr;
    const std::uintptr_t number = NextNumber();
    auto window = std::make_shared<Window>(Window{reinterpret_cast<HWND>(number), procedure, queue});
    Windows.emplace(number, window);
    return window;
}

WindowPtr WindowTable::Find(HWND window) const
{
    const ScopedLock lock(WindowLock);
    const auto found = Windows.find(reinterpret_cast<std::uintptr_t>(window));
    return found == Windows.end() ? nullptr : found->second;
}

// Releases the senders and forgets the registrations, but leaves the entry to the caller, which may be iterating.
void WindowTable::Drop(Window& window)
{
    window.Gone = true;
    window.Queue->Forget(window);
    std::erase_if(Registrations, [&](const auto& entry) { return entry.second.Recipient.get() == &window; });
}

void WindowTable::Remove(Window& window)
{
    const ScopedLock lock(WindowLock);
    Drop(window);
    Windows.erase(reinterpret_cast<std::uintptr_t>(window.Handle));
}

void WindowTable::RemoveOf(const MessageQueue& queue)
{
    std::erase_if(Windows, [&](const auto& entry) PLATFORM_REQUIRES(WindowLock) {
        const bool ends = entry.second->Queue.get() == &queue;
        if (ends)
            Drop(*entry.second);
        return ends;
    });
}

// A copy, because the caller sends to the windows without the lock.
std::vector<WindowPtr> WindowTable::All() const
{
    const ScopedLock lock(WindowLock);
    const auto windows = Windows | std::views::values;
    return {windows.begin(), windows.end()};
}

std::size_t WindowTable::Count() const
{
    const ScopedLock lock(WindowLock);
    return Windows.size();
}

HDEVNOTIFY WindowTable::Register(const WindowPtr& window, const GUID& interfaceClass)
{
    const ScopedLock lock(WindowLock);
    // Destroyed after the caller looked it up: a registration would never be removed.
    if (window->Gone)
        return nullptr;
    const std::uintptr_t number = NextNumber();
    Registrations.emplace(number, Registration{window, interfaceClass});
    return reinterpret_cast<HDEVNOTIFY>(number);
}

bool WindowTable::Unregister(HDEVNOTIFY notification)
{
    const ScopedLock lock(WindowLock);
    return Registrations.erase(reinterpret_cast<std::uintptr_t>(notification)) != 0;
}

std::vector<WindowPtr> WindowTable::Registered(const GUID& interfaceClass) const
{
    const ScopedLock lock(WindowLock);
    std::vector<WindowPtr> windows;
    for (const auto& [number, registration] : Registrations)
        if (registration.InterfaceClass == interfaceClass)
            windows.push_back(registration.Recipient);
    return windows;
}

} // namespace Platform
