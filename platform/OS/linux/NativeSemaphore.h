#pragma once

#include "OS/linux/NativeEvent.h"

// Units in the low half of a waited word. Taking one that is there and giving one that nobody waits for
// make no system call.
class NativeSemaphore final : public iSemaphore
{
public:
    explicit NativeSemaphore(int units) noexcept;

    bool acquire(int timeoutMs) override;
    void release(int units) override;

private:
    bool take() noexcept;

    WaitedWord units_;
};
