// A library that makes and drops objects of a pooled type. It is built twice, and each has a copy of the pool's
// code.

#include "Mw/MwPooledObject.h"

#define SHOWN extern "C" __attribute__((visibility("default")))

struct SharedByLibraries : Mw::PooledObject<SharedByLibraries>
{
    char contents[48];
};
using Pool = Mw::Private::StackHolder<SharedByLibraries>;

SHOWN void* make()
{
    return new SharedByLibraries;
}
SHOWN void drop(void* object)
{
    delete static_cast<SharedByLibraries*>(object);
}
SHOWN void* stack()
{
    return &Pool::get();
}
SHOWN void* code()
{
    return reinterpret_cast<void*>(&Pool::get);
}
