/// @file
/// Objects that exist until the process exits.
#pragma once

#include <utility>

/// Holds an object that is never destroyed, in a static variable: threads of the library may use it until the
/// process exits.
template <class Type>
union NeverDestroyed {
    template <class... Arguments>
    explicit NeverDestroyed(Arguments&&... arguments) : Object(std::forward<Arguments>(arguments)...)
    {
    }
    ~NeverDestroyed() {}
    NeverDestroyed(const NeverDestroyed&) = delete;
    NeverDestroyed& operator=(const NeverDestroyed&) = delete;

    Type Object;
};
