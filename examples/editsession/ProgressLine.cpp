#include "examples/editsession/ProgressLine.h"

#include "examples/editsession/Console.h"
#include "misc/threads/ServiceLock.h"

ProgressLine::ProgressLine(std::FILE* stream, const char* title, std::int64_t frames)
    : stream_(stream), title_(title), frames_(frames), isTerminal_(isTerminal(stream)),
      startMs_(service_get_msecs_precise())
{
}

ProgressLine::~ProgressLine()
{
    if (isTerminal_)
        std::fputs("\r\033[K", stream_);
}

void ProgressLine::show(double done)
{
    if (isTerminal_)
        std::fprintf(stream_, "\r%s\033[K", text(done).c_str());
    else if (const int tenths = static_cast<int>(done * 10); tenths > tenthsShown_)
    {
        tenthsShown_ = tenths;
        std::fprintf(stream_, "%s\n", text(done).c_str());
    }
    std::fflush(stream_);
}

Text ProgressLine::text(double done) const
{
    Text line = formatted("%s %3d %%", title_, static_cast<int>(done * 100));
    const double seconds = (service_get_msecs_precise() - startMs_) / 1000;
    if (done <= 0 || seconds <= 0)
        return line;
    const auto left = static_cast<std::int64_t>(seconds * (1 - done) / done + 0.5);
    line += formatted(", %.0f frames/s", static_cast<double>(frames_) * done / seconds);
    line += formatted(", %lld:%02lld left", static_cast<long long>(left / 60), static_cast<long long>(left % 60));
    return line;
}
