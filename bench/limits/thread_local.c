#include "bench/limits/limits.h"

_Thread_local unsigned limit_thread_local = 0;

void limit_read_thread_local(size_t operations)
{
    for (; operations != 0; --operations)
    {
        __asm__ __volatile__("" : : "r"((unsigned short)*(volatile unsigned*)&limit_thread_local));
    }
}
