#include "bench/limits/limits.h"

#include <stdlib.h>

/* UTF-8 to code points and back, one character at a time, for texts that are known to be right. */

wchar_t* plain_from_utf8(const char* text, size_t length)
{
    const unsigned char* in = (const unsigned char*)text;
    const unsigned char* const end = in + length;
    wchar_t* const wide = malloc((length + 1) * sizeof(wchar_t));
    wchar_t* out = wide;
    if (wide == NULL)
        abort();
    while (in < end)
    {
        const unsigned c = *in++;
        if (c < 0x80)
            *out++ = (wchar_t)c;
        else if (c < 0xE0)
        {
            *out++ = (wchar_t)((c & 0x1F) << 6 | (in[0] & 0x3F));
            in += 1;
        }
        else if (c < 0xF0)
        {
            *out++ = (wchar_t)((c & 0x0F) << 12 | (in[0] & 0x3F) << 6 | (in[1] & 0x3F));
            in += 2;
        }
        else
        {
            *out++ = (wchar_t)((c & 0x07) << 18 | (in[0] & 0x3F) << 12 | (in[1] & 0x3F) << 6 | (in[2] & 0x3F));
            in += 3;
        }
    }
    *out = 0;
    return wide;
}

char* plain_to_utf8(const wchar_t* text, size_t length)
{
    char* const narrow = malloc(length * 4 + 1);
    unsigned char* out = (unsigned char*)narrow;
    if (narrow == NULL)
        abort();
    for (size_t i = 0; i < length; ++i)
    {
        const unsigned c = (unsigned)text[i];
        if (c < 0x80)
            *out++ = (unsigned char)c;
        else if (c < 0x800)
        {
            *out++ = (unsigned char)(0xC0 | c >> 6);
            *out++ = (unsigned char)(0x80 | (c & 0x3F));
        }
        else if (c < 0x10000)
        {
            *out++ = (unsigned char)(0xE0 | c >> 12);
            *out++ = (unsigned char)(0x80 | (c >> 6 & 0x3F));
            *out++ = (unsigned char)(0x80 | (c & 0x3F));
        }
        else
        {
            *out++ = (unsigned char)(0xF0 | c >> 18);
            *out++ = (unsigned char)(0x80 | (c >> 12 & 0x3F));
            *out++ = (unsigned char)(0x80 | (c >> 6 & 0x3F));
            *out++ = (unsigned char)(0x80 | (c & 0x3F));
        }
    }
    *out = 0;
    return narrow;
}
