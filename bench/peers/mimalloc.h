#pragma once

#include "bench/harness/Registry.h"

#include <cstddef>
#include <dlfcn.h>

namespace bench
{

// mimalloc, opened while the program runs: linked, it would replace malloc for every side.
struct Mimalloc
{
    void* (*allocate)(std::size_t);
    void (*release)(void*);

    // Null, and noted as missing, where it is not installed.
    static const Mimalloc* open(Registry& registry)
    {
        void* const library = dlopen("libmimalloc.so.2", RTLD_NOW | RTLD_LOCAL);
        if (library == nullptr)
        {
            registry.missing("libmimalloc2.0");
            return nullptr;
        }
        static const Mimalloc functions{reinterpret_cast<void* (*)(std::size_t)>(dlsym(library, "mi_malloc")),
                                        reinterpret_cast<void (*)(void*)>(dlsym(library, "mi_free"))};
        return &functions;
    }
};

} // namespace bench
