#include "pool_module/Module.h"

#include "Mw/MwPooledObject.h"

namespace pool_module
{

struct Shared : Mw::PooledObject<Shared>
{
    char contents[48];
};

} // namespace pool_module

using pool_module::Shared;

void* make()
{
    return new Shared;
}
void drop(void* object)
{
    delete static_cast<Shared*>(object);
}
void* stack()
{
    return &Mw::Private::StackHolder<Shared>::get();
}
const void* code()
{
    return reinterpret_cast<const void*>(&Mw::Private::StackHolder<Shared>::get);
}
