#define _GNU_SOURCE
#include "bench/limits/limits.h"

#include <fcntl.h>
#include <stdlib.h>
#include <string.h>
#include <unistd.h>

void limit_copy_out_and_in(char* bytes, size_t size)
{
    char* const copy = malloc(size);
    if (copy == NULL)
        abort();
    memcpy(copy, bytes, size);
    __asm__ volatile("" : : "r"(copy) : "memory");
    memcpy(bytes, copy, size);
    free(copy);
}

void limit_write_and_sync(const char* path, const char* bytes, size_t size)
{
    const int file = open(path, O_CREAT | O_TRUNC | O_WRONLY, 0666);
    if (file < 0 || write(file, bytes, size) != (ssize_t)size || fsync(file) != 0)
        abort();
    close(file);
}

__attribute__((optimize("O3"))) void limit_widen(const char* bytes, size_t size, unsigned* wide)
{
    for (size_t i = 0; i < size; ++i)
        wide[i] = (unsigned char)bytes[i];
}

void limit_write_alone(const char* path, const char* bytes, size_t size)
{
    const int file = open(path, O_CREAT | O_TRUNC | O_WRONLY, 0666);
    if (file < 0 || write(file, bytes, size) != (ssize_t)size)
        abort();
    close(file);
    unlink(path);
}
