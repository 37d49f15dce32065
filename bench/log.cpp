// Area log: what a line of the log costs its caller.
//
// Workload: one format with two numbers and a name, 36 characters long when formatted, stamped with
// seconds and milliseconds, written through a buffered stream to /dev/null.

#include "misc/diagnostics/Log.h"

#include "bench/harness/Keep.h"
#include "bench/harness/Registry.h"

#include <memory>

namespace
{

std::FILE* nullDevice()
{
    static const std::unique_ptr<std::FILE, int (*)(std::FILE*)> file(std::fopen("/dev/null", "w"), std::fclose);
    return file.get();
}

void logLines(std::size_t lines)
{
    SetLogOutput(nullDevice());
    for (; lines != 0; --lines)
        Log("decoded frame %d of %s in %d us\n", bench::hidden(1234), bench::hidden("clip10"), bench::hidden(876));
    SetLogOutput(nullptr);
}

const bench::Registration registration(
    [](bench::Registry& registry)
    {
        registry.declare({"log/line to /dev/null", "Logs one line that no filter holds back.", {{1.0, "spdlog"}}});
        registry.declare({"log/line that the filter drops",
                          "Logs one line whose format does not contain the filter's text.",
                          {{3.0, "spdlog"}}});
        registry.add("log/line to /dev/null", {bench::Role::ours, "ours", logLines});
        registry.add("log/line that the filter drops", {bench::Role::ours, "ours",
                                                        [](std::size_t lines)
                                                        {
                                                            SetLogFilter("cookie");
                                                            logLines(lines);
                                                            SetLogFilter(nullptr);
                                                        }});
    });

} // namespace
