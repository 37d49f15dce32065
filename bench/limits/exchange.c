#include "bench/limits/limits.h"

/* What taking from a list with a counter beside its head and giving back must do: an exchange of 16 bytes and
   an addition, twice. */
void limit_exchange_pairs(size_t operations)
{
    static struct
    {
        unsigned long words[2] __attribute__((aligned(16)));
        int count;
    } list;
    for (operations *= 2; operations != 0; --operations)
    {
        unsigned long low = list.words[0], high = list.words[1];
        char done;
#if defined(__x86_64__)
        __asm__ __volatile__("lock cmpxchg16b %[words]"
                             : "=@ccz"(done), [words] "+m"(list.words), "+a"(low), "+d"(high)
                             : "b"(low), "c"(high + 1)
                             : "memory");
#else
        done = __atomic_compare_exchange_n(&list.words[1], &high, high + 1, 0, __ATOMIC_ACQ_REL, __ATOMIC_ACQUIRE);
#endif
        if (!done)
            __builtin_trap();
        __atomic_add_fetch(&list.count, 1, __ATOMIC_ACQ_REL);
    }
}
