#include "libmw/Splat.h"

#include <array>
#include <atomic>

namespace
{

std::array<std::atomic<SplatCallback>, 32> slots{};

// Puts `to` into the first slot that holds `from`.
bool replaceFirst(SplatCallback from, SplatCallback to) noexcept
{
    for (auto& slot : slots)
    {
        SplatCallback found = from;
        if (slot.compare_exchange_strong(found, to, std::memory_order_acq_rel))
            return true;
    }
    return false;
}

} // namespace

bool addSplatCallback(SplatCallback callback) noexcept
{
    return callback != nullptr && replaceFirst(nullptr, callback);
}

void removeSplatCallback(SplatCallback callback) noexcept
{
    if (callback != nullptr)
        replaceFirst(callback, nullptr);
}

void callSplatCallbacks(const char* message) noexcept
{
    for (const auto& slot : slots)
    {
        const SplatCallback callback = slot.load(std::memory_order_acquire);
        if (callback == nullptr)
            continue;
        try
        {
            callback(message);
        }
        catch (...)
        {
            // The program ends all the same, whoever throws, a thread that asked to end included; the others
            // are still told.
        }
    }
}
