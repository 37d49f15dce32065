#include "OS/OS.h"

#include "Mw/Exception.h"

#include <cstdio>

// Constant-initialised, so that it stands before any static constructor, and trivially destroyed.
constinit OperatingSystem theOperatingSystem;

namespace
{

void messageToStandardError(const char* text)
{
    std::fprintf(stderr, "%s\n", text);
}

} // namespace

OperatingSystem::MessageFunction OperatingSystem::setMessageFunction(MessageFunction function) noexcept
{
    const MessageFunction before = message_.exchange(function, std::memory_order_acq_rel);
    return before != nullptr ? before : messageToStandardError;
}

void OperatingSystem::message(const char* text)
{
    const MessageFunction function = message_.load(std::memory_order_acquire);
    (function != nullptr ? function : messageToStandardError)(text);
}

void Allocator::throwBadAlloc()
{
    throw Mw::Exception::BadAlloc("Out of memory", "OS/Allocator", __LINE__);
}
