// mimalloc, opened while the program runs: linked, it would replace malloc for every side.

#include "bench/pool.h"

#include <dlfcn.h>

namespace
{

const bench::Registration registration(
    [](bench::Registry& registry)
    {
        void* const library = dlopen("libmimalloc.so.2", RTLD_NOW | RTLD_LOCAL);
        if (library == nullptr)
            return registry.missing("libmimalloc2.0");
        static const auto allocate = reinterpret_cast<void* (*)(std::size_t)>(dlsym(library, "mi_malloc"));
        static const auto release = reinterpret_cast<void (*)(void*)>(dlsym(library, "mi_free"));
        bench::pool::add(
            registry, bench::Role::peer, "mimalloc", [] { return allocate(bench::pool::objectBytes); },
            [](void* object) { release(object); });
    });

} // namespace
