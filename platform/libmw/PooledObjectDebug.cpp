#include "libmw/PooledObjectDebug.h"

#include "OS/Debugger.h"
#include "OS/OS.h"

#include <cstdio>

namespace Mw::PooledObjectDebug
{

namespace
{

std::atomic<bool> logging{false};

} // namespace

LoggingTraitsBase::LoggingTraitsBase(const char* typeName) noexcept : typeName_(typeName) {}

void LoggingTraitsBase::ltb_beforePush(void* object, unsigned long sizeBytes)
{
    log("before push", object, sizeBytes);
}

void LoggingTraitsBase::ltb_afterPush(void* object, unsigned long sizeBytes)
{
    pushes_.fetch_add(1, std::memory_order_relaxed);
    log("after push", object, sizeBytes);
}

void LoggingTraitsBase::ltb_beforePop(unsigned long sizeBytes)
{
    log("before pop", nullptr, sizeBytes);
}

void LoggingTraitsBase::ltb_afterPop(void* object, unsigned long sizeBytes)
{
    pops_.fetch_add(1, std::memory_order_relaxed);
    log("after pop", object, sizeBytes);
}

void LoggingTraitsBase::setLogging(bool on) noexcept
{
    logging.store(on, std::memory_order_relaxed);
}

void LoggingTraitsBase::log(const char* step, const void* object, unsigned long sizeBytes) const
{
    if (!logging.load(std::memory_order_relaxed)) [[likely]]
        return;
    char line[256];
    std::snprintf(line, sizeof line, "pool %s: %s %p, %lu bytes\n", typeName_, step, object, sizeBytes);
    OS().debugger().debugOutput(line);
}

} // namespace Mw::PooledObjectDebug
