#include "Mw/RefCount.h"

#include "OS/OS.h"

int RefCount::get() const noexcept
{
    return OS().atomics().load(&count);
}

int RefCount::incRef() noexcept
{
    return OS().atomics().increment(&count);
}

int RefCount::decRef()
{
    if (const int left = OS().atomics().decrement(&count); left != 0)
        return left;

    // A client may remove itself, and this object may be gone, while they are told.
    const Vector<RefCountClient*> told = clients;
    if (deleteSelf)
        delete this;
    for (RefCountClient* const client : told)
        client->refCountIsZero();
    return 0;
}
