#pragma once

#include "OS/Export.h"

#include <atomic>

namespace Mw::PooledObjectDebug
{

// Watches one object pool: counts what is taken and given back, and writes a line for each to the
// platform's debug channel while logging is switched on. The pool calls the four hooks around its steps.
// Any thread; the counts are exact once the pool is at rest.
class LIBMW_API LoggingTraitsBase
{
public:
    // `typeName` names the pool in the lines and is not copied.
    explicit LoggingTraitsBase(const char* typeName) noexcept;

    // An object goes back to the pool.
    void ltb_beforePush(void* object, unsigned long sizeBytes);
    void ltb_afterPush(void* object, unsigned long sizeBytes);

    // An object is taken from the pool, or from the heap where the pool is empty.
    void ltb_beforePop(unsigned long sizeBytes);
    void ltb_afterPop(void* object, unsigned long sizeBytes);

    const char* typeName() const noexcept { return typeName_; }
    unsigned long pushes() const noexcept { return pushes_.load(std::memory_order_relaxed); }
    unsigned long pops() const noexcept { return pops_.load(std::memory_order_relaxed); }

    // For all pools. Off at first.
    static void setLogging(bool on) noexcept;

private:
    void log(const char* step, const void* object, unsigned long sizeBytes) const;

    const char* const typeName_;
    std::atomic<unsigned long> pushes_{0};
    std::atomic<unsigned long> pops_{0};
};

} // namespace Mw::PooledObjectDebug
