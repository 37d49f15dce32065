#define _GNU_SOURCE
#include "bench/limits/limits.h"

#include <pthread.h>
#include <stdlib.h>

static pthread_mutex_t mutex = PTHREAD_RECURSIVE_MUTEX_INITIALIZER_NP;

/* What ours asks for: a record and a guard. */
enum
{
    recordBytes = 56,
    guardBytes = 40
};

void limit_allocate_and_lock(size_t operations)
{
    for (; operations != 0; --operations)
    {
        void* const record = malloc(recordBytes);
        void* const guard = malloc(guardBytes);
        pthread_mutex_lock(&mutex);
        __asm__ volatile("" : : "r"(record), "r"(guard) : "memory");
        pthread_mutex_unlock(&mutex);
        pthread_mutex_lock(&mutex);
        __asm__ volatile("" : : "r"(record), "r"(guard) : "memory");
        pthread_mutex_unlock(&mutex);
        free(guard);
        free(record);
    }
}
