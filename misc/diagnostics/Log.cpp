#include "misc/diagnostics/Log.h"

#include "Mw/Assert.h"
#include "OS/Debugger.h"
#include "OS/OS.h"
#include "libmw/Text.h"
#include "misc/diagnostics/Console.h"

#include <algorithm>
#include <atomic>
#include <bit>
#include <cmath>
#include <cstdarg>
#include <cstddef>
#include <cstdint>
#include <cstring>
#include <cwchar>

namespace
{

constexpr int textBufferSize = 256;
// A stamp ends where its text begins, so that both are written in one piece. The longest double has 309
// digits before its point.
constexpr std::size_t stampRoom = 320;

struct Filter
{
    LightweightString<char> narrow;
    LightweightString<wchar_t> wide;
};

// Null passes every line. Never destroyed: threads may log to the end of the process.
std::atomic<const Filter*> theFilter{nullptr};

bool isFilteredOut(const char* format) noexcept
{
    const Filter* const filter = theFilter.load(std::memory_order_acquire);
    return filter != nullptr && std::strstr(format, filter->narrow.c_str()) == nullptr;
}

bool isFilteredOut(const wchar_t* format) noexcept
{
    const Filter* const filter = theFilter.load(std::memory_order_acquire);
    return filter != nullptr && std::wcsstr(format, filter->wide.c_str()) == nullptr;
}

// The value times 1000, rounded as printf rounds: to the nearest, an exact half to the even neighbour.
// The value is finite, not negative and below 2^52.
std::uint64_t toThousandths(double value)
{
    const auto bits = std::bit_cast<std::uint64_t>(value);
    const auto exponent = static_cast<int>(bits >> 52);
    if (exponent < 1023 - 11) // below 1/2048
        return 0;
    const std::uint64_t mantissa = (bits & ((1ull << 52) - 1)) | (1ull << 52);
    // value = mantissa / 2^shift, with shift from 1 to 63; mantissa * 1000 has 63 bits
    const int shift = 1023 + 52 - exponent;
    const std::uint64_t scaled = mantissa * 1000;
    const std::uint64_t half = 1ull << (shift - 1);
    const std::uint64_t remainder = scaled & (half * 2 - 1);
    const std::uint64_t whole = scaled >> shift;
    return whole + (remainder > half || (remainder == half && (whole & 1) != 0) ? 1 : 0);
}

// A stamp of what is no time of a session: too large for integers, or not a number.
char* writeUnlikelyStampBefore(char* end, double seconds)
{
    char stamp[stampRoom];
    const auto length = static_cast<std::size_t>(std::snprintf(stamp, sizeof stamp, "%-9.3f: ", seconds));
    std::memcpy(end - length, stamp, length);
    return end - length;
}

// Writes "%-9.3f: " of the seconds so that it ends before `end`; gives its beginning.
char* writeStampBefore(char* end, double seconds)
{
    if (!(std::fabs(seconds) < 0x1p52)) [[unlikely]]
        return writeUnlikelyStampBefore(end, seconds);

    const std::uint64_t thousandths = toThousandths(std::fabs(seconds));
    std::uint64_t whole = thousandths / 1000;
    auto fraction = static_cast<unsigned>(thousandths % 1000);

    std::ptrdiff_t length = 5 + (std::signbit(seconds) ? 1 : 0); // one digit, the point and three digits
    for (std::uint64_t rest = whole; rest >= 10; rest /= 10)
        ++length;
    char* const begin = end - std::max<std::ptrdiff_t>(length, 9) - 2;
    std::memcpy(end - 8, "      : ", 8); // of the blanks, those behind the digits stay

    char* digit = begin + length;
    for (int i = 0; i < 3; ++i, fraction /= 10)
        *--digit = static_cast<char>('0' + fraction % 10);
    *--digit = '.';
    do
        *--digit = static_cast<char>('0' + whole % 10);
    while ((whole /= 10) != 0);
    if (digit != begin)
        *begin = '-';
    return begin;
}

double secondsSinceStart()
{
    return OS().debugger().getTimeMs() / 1000.0;
}

void writeText(const char* text, const char* ending = "")
{
    char room[stampRoom];
    const char* const stamp = writeStampBefore(room + sizeof room, secondsSinceStart());
    const auto stampLength = static_cast<int>(room + sizeof room - stamp);
    std::fprintf(Mw::diagnosticStream(), "%.*s%s%s", stampLength, stamp, text, ending);
}

// A formatted text with room for its stamp before it.
class Line
{
public:
    // False, after the assertion line, if the text is empty or does not fit.
    bool format(const char* format, std::va_list arguments, const char* location)
    {
        length_ = std::vsnprintf(text(), textBufferSize, format, arguments);
        if (length_ >= 1 && length_ < textBufferSize)
            return true;
        Mw::assertionFailed("false", location);
        return false;
    }

    void write()
    {
        const char* const begin = writeStampBefore(text(), secondsSinceStart());
        std::fwrite(begin, 1, static_cast<std::size_t>(text() + length_ - begin), Mw::diagnosticStream());
    }

    char* text() { return buffer_ + stampRoom; }

private:
    int length_ = 0;
    char buffer_[stampRoom + textBufferSize];
};

void logPlatformMessage(const char* text)
{
    if (!isFilteredOut(text))
        writeText(text, "\n");
}

} // namespace

void Log(const char* format, ...)
{
    if (isFilteredOut(format))
        return;
    Line line;
    std::va_list arguments;
    va_start(arguments, format);
    const bool fits = line.format(format, arguments, "misc/herc line 500");
    va_end(arguments);
    if (fits)
        line.write();
}

void Log(const wchar_t* format, ...)
{
    if (isFilteredOut(format))
        return;
    wchar_t text[textBufferSize];
    std::va_list arguments;
    va_start(arguments, format);
    const int length = std::vswprintf(text, textBufferSize, format, arguments);
    va_end(arguments);
    if (length < 1)
        Mw::assertionFailed("false", "misc/herc line 518");
    else
        writeText(toUTF8(LightweightString<wchar_t>(text)).c_str());
}

void LogString(const char* text)
{
    if (!isFilteredOut(text))
        writeText(text);
}

void LogStringW(const wchar_t* text)
{
    if (!isFilteredOut(text))
        writeText(toUTF8(LightweightString<wchar_t>(text)).c_str());
}

void LogBoth(const char* format, ...)
{
    if (isFilteredOut(format))
        return;
    Line line;
    std::va_list arguments;
    va_start(arguments, format);
    const bool fits = line.format(format, arguments, "misc/herc line 482");
    va_end(arguments);
    if (!fits)
        return;
    line.write();
    herc_printf("%s", line.text());
}

void LogStringBoth(const char* text)
{
    if (isFilteredOut(text))
        return;
    writeText(text);
    herc_printf("%s", text);
}

void SetLogFilter(const char* filter)
{
    const Filter* next = nullptr;
    if (filter != nullptr && *filter != 0)
        next = new Filter{filter, fromUTF8(filter, -1)};
    delete theFilter.exchange(next, std::memory_order_acq_rel);
}

void SetLogOutput(std::FILE* stream) noexcept
{
    Mw::setDiagnosticStream(stream);
}

void LogPlatformMessages() noexcept
{
    OS().setMessageFunction(logPlatformMessage);
}
