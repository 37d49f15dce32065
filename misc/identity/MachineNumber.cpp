#include "misc/identity/MachineNumber.h"

#include "misc/identity/Cookie.h"

constinit std::atomic<int> Cookie::localMachineNumber_{0};

int Cookie::getLocalMachineNumber()
{
    // Two threads may look it up at once: they find the same number.
    int machine = localMachineNumber_.load(std::memory_order_relaxed);
    if (!isValidMachineNum(machine))
    {
        machine = our_machine_number_get_from_file();
        localMachineNumber_.store(machine, std::memory_order_relaxed);
    }
    return machine;
}

int Cookie::findHighestCookieNum()
{
    // No installation has a number yet, so none has handed out any.
    return 0;
}

int our_machine_number_get_from_file()
{
    // Numbers of installations come with the settings that keep them.
    return 0;
}
