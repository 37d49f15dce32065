#pragma once

#include <new>

// The one T of its kind, made on first use in storage that is never destroyed, so that static
// constructors and destructors of any module may use it. Any thread.
template <class T>
T& immortal()
{
    alignas(T) static unsigned char storage[sizeof(T)];
    static T* const object = ::new (static_cast<void*>(storage)) T;
    return *object;
}
