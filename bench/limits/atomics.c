#include "bench/limits/limits.h"

/* A counted copy and its drop with nothing around them: one locked add and one locked subtract whose
   result is tested, as every counted handle must. */
void limit_atomic_pair(int* count, size_t operations)
{
    for (; operations != 0; --operations)
    {
        __atomic_add_fetch(count, 1, __ATOMIC_RELAXED);
        if (__atomic_sub_fetch(count, 1, __ATOMIC_ACQ_REL) == 0)
            __builtin_trap();
    }
}
