/// @file
/// Objects that the end of the program leaves alone.
#pragma once

#include <utility>

/// Holds an object that is never destroyed. For what the library's threads still use while the
/// process ends, in a static variable.
template <class Type>
union Immortal {
    template <class... Arguments>
    explicit Immortal(Arguments&&... arguments) : Object(std::forward<Arguments>(arguments)...)
    {
    }
    ~Immortal() {}
    Immortal(const Immortal&) = delete;
    Immortal& operator=(const Immortal&) = delete;

    Type Object;
};
