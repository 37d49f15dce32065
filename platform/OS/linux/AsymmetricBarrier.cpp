#include "OS/AsymmetricBarrier.h"

#include "OS/linux/Futex.h"

#include <cerrno>
#include <ctime>

// False until the system has shown that it has such barriers. Where it denies them later, light halves that are under
// way are given time to arrive.
constinit std::atomic<bool> AsymmetricBarrier::isAsymmetric_{false};
const bool AsymmetricBarrier::isStarted_ = (isAsymmetric_ = barrierInAllThreads());

void AsymmetricBarrier::heavy() noexcept
{
    if (isAsymmetric_.load())
    {
        if (barrierInAllThreads())
            return;
        isAsymmetric_.store(false);
        sleepForMs(2);
    }
    full();
}

void AsymmetricBarrier::full() noexcept
{
    __sync_synchronize();
}
