#include "OS/OS.h"

#include <cpuid.h>
#include <malloc.h>

Allocator::Statistics Allocator::statistics() const
{
    const struct mallinfo2 info = ::mallinfo2();
    return {info.uordblks + info.hblkhd, info.arena + info.hblkhd};
}

void Allocator::dump(std::FILE* out) const
{
    ::malloc_info(0, out);
}

bool Atomics::hasPairExchange() const noexcept
{
#if defined(__x86_64__)
    static const bool has = []
    {
        unsigned eax = 0, ebx = 0, ecx = 0, edx = 0;
        return __get_cpuid(1, &eax, &ebx, &ecx, &edx) != 0 && (ecx & bit_CMPXCHG16B) != 0;
    }();
    return has;
#else
    return false;
#endif
}
