/// @file
/// Objects that the end of the program leaves alone.
#pragma once

#include <utility>

/// Holds an object that is never destroyed. For what the library's threads still use while the
/// process ends, in a static variable.
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
