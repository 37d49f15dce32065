#include "misc/threads/switch.h"

#include "misc/diagnostics/FatalError.h"
#include "misc/diagnostics/Log.h"

#include <array>

int mapThreadPriority(int priority) noexcept
{
    constexpr std::array<int, 7> priorities = {0, 1, 2, 3, 4, 5, 5}; // from -2 on
    constexpr int normal = 2;
    const int index = priority < -2 || priority > 4 ? -1 : priority + 2;
    return index < 0 ? normal : priorities[static_cast<std::size_t>(index)];
}

void threadExceptionHandler(const iThread::Exception& exception)
{
    if (raiseThreadExceptionCount() != 0)
        return;
    LogBoth("\n\n***************** EXCEPTION *****************\n\n");
    for (const auto& line : exception.stack)
        LogBoth("%.250s\n", line.c_str());
    postExceptionShutdown();
}
