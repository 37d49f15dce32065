#include "bench/limits/limits.h"

/* A write to a value that nobody follows: the number is stored, and the list of those to tell is looked at. */
void limit_store_and_test(int* value, void** clients, size_t operations)
{
    for (int next = 1; operations != 0; --operations, ++next)
    {
        __atomic_store_n(value, next, __ATOMIC_RELAXED);
        if (__atomic_load_n(clients, __ATOMIC_RELAXED) != NULL)
            __builtin_trap();
    }
}
