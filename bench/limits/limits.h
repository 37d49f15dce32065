#pragma once

#include <stddef.h>

/* The limits: what the machine and plain C allow, with loops of their own. None of them includes a header
   of the library. */

#ifdef __cplusplus
extern "C"
{
#endif

    /* Adds 1 to the count and takes it away again, so many times. The count must be above 0. */
    void limit_atomic_pair(int* count, size_t operations);

    /* Stores so many numbers and looks each time whether there are clients, who must be none. */
    void limit_store_and_test(int* value, void** clients, size_t operations);

    /* Exchanges a pair of words and adds to a count beside it, so many times two of each. */
    void limit_exchange_pairs(size_t operations);

    /* Reads a thread-local variable of the program so many times. */
    void limit_read_thread_local(size_t operations);

    /* Allocates two blocks, enters and leaves a recursive mutex twice, and frees them, so many times. */
    void limit_allocate_and_lock(size_t operations);

    /* Splits so many frame numbers into timecode fields and counts the fields back, frame after frame through
   the day from 1 on; gives the sum of the frames found. */
    long limit_fields(short fps, short drop_frame, size_t operations);

    /* Seconds to "HH:MM:SS.FF" and back by snprintf and sscanf; `fps` is the exact rate, `ticks` the whole one. */
    enum
    {
        plainTextBytes = 32
    };
    void plain_tc_to_string(double seconds, char* buffer, double fps, int ticks, int drop_frame);
    double plain_string_to_tc(const char* text, double fps, int ticks, int drop_frame);

    /* UTF-8 to code points and back by a plain loop, for texts that are known to be right; the caller frees
       the result. */
    wchar_t* plain_from_utf8(const char* text, size_t length);
    char* plain_to_utf8(const wchar_t* text, size_t length);

    /* Copies the bytes to a block of its own and back, once each. */
    void limit_copy_out_and_in(char* bytes, size_t size);

    /* Gives each byte 32 bits of its own in `wide`. */
    void limit_widen(const char* bytes, size_t size, unsigned* wide);

    /* Writes the bytes to a file by one call and waits until they are on the disk. */
    void limit_write_and_sync(const char* path, const char* bytes, size_t size);

    /* Writes them and waits for nothing; the file is removed, so that no later sync finds its bytes. */
    void limit_write_alone(const char* path, const char* bytes, size_t size);

#ifdef __cplusplus
}
#endif
