#pragma once

#include "Mw/Vector.h"
#include "OS/Export.h"

// Is told when a RefCount has come to zero. It may delete itself or leave the RefCount during the call.
class OS_API RefCountClient
{
public:
    virtual ~RefCountClient() = default;
    virtual void refCountIsZero() = 0;
};

// A count that stands alone and tells its clients when it comes to zero. The count starts at 0 and is
// atomic; the clients have no lock, so they are added before the object is shared.
class OS_API RefCount
{
public:
    // With `deleteSelf` the RefCount, which then comes from `new`, deletes itself at zero.
    explicit RefCount(bool deleteSelf) : deleteSelf(deleteSelf) {}
    RefCount(const RefCount&) = delete;
    RefCount& operator=(const RefCount&) = delete;

    int get() const noexcept;

    // Both give the new value. The step down to zero tells the clients in the order in which they were
    // added; a RefCount that deletes itself is gone before the first of them is told.
    int incRef() noexcept;
    int decRef();

    // Clients are not owned.
    void addClient(RefCountClient* client) { clients.push_back(client); }
    void removeClient(RefCountClient* client) { clients.removeItem(client); }

private:
    int count = 0;
    Vector<RefCountClient*> clients;
    bool deleteSelf;
};
