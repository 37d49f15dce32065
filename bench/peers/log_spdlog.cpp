// spdlog, synchronous, for any thread; its stamp is cut to what ours has: seconds and milliseconds.

#include "bench/harness/Keep.h"
#include "bench/harness/Registry.h"

#include <spdlog/sinks/basic_file_sink.h>
#include <spdlog/spdlog.h>

namespace
{

const bench::Registration registration(
    [](bench::Registry& registry)
    {
        static const std::shared_ptr<spdlog::logger> logger = []
        {
            auto made = spdlog::basic_logger_mt("bench", "/dev/null");
            made->set_pattern("%E.%e: %v");
            made->set_level(spdlog::level::info);
            return made;
        }();
        registry.peer("log/line to /dev/null", "spdlog",
                      [] {
                          logger->info("decoded frame {} of {} in {} us", bench::hidden(1234), bench::hidden("clip10"),
                                       bench::hidden(876));
                      });
        registry.peer("log/line that the filter drops", "spdlog",
                      []
                      {
                          logger->debug("decoded frame {} of {} in {} us", bench::hidden(1234), bench::hidden("clip10"),
                                        bench::hidden(876));
                      });
    });

} // namespace
