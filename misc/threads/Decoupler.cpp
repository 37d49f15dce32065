#include "misc/threads/Decoupler.h"

#include "misc/diagnostics/FatalError.h"

#include <stdexcept>

namespace MwDC
{

void ErrorNullRep()
{
    oma_splat("Attempted to use unitinitalized MwDecoupler::Command!");
}

void ThreadSafetyTraits::ThreadSafe::refuse()
{
    Mw::assertionFailed("false", "misc/Decoupler line 189");
    lock_.leave();
    throw std::runtime_error("Recusive access to lock forbidden.");
}

template class CommandRep<NoCtx, ThreadSafetyTraits::ThreadSafe>;
template class Cmd<NoCtx, ThreadSafetyTraits::ThreadSafe>;
template class NullCommand<NoCtx, ThreadSafetyTraits::ThreadSafe>;
template class SimpleCommandRep<NoCtx, NoTag, ThreadSafetyTraits::ThreadSafe>;
template class SmplCmd<NoCtx, NoTag, ThreadSafetyTraits::ThreadSafe>;
template class CompoundCommandRep<NoCtx, ThreadSafetyTraits::ThreadSafe>;
template class CompCmd<NoCtx, ThreadSafetyTraits::ThreadSafe>;
template class CommandRep<NoCtx, ThreadSafetyTraits::NoLocking>;
template class Cmd<NoCtx, ThreadSafetyTraits::NoLocking>;
template class NullCommand<NoCtx, ThreadSafetyTraits::NoLocking>;
template class SimpleCommandRep<NoCtx, NoTag, ThreadSafetyTraits::NoLocking>;
template class SmplCmd<NoCtx, NoTag, ThreadSafetyTraits::NoLocking>;
template class CompoundCommandRep<NoCtx, ThreadSafetyTraits::NoLocking>;
template class CompCmd<NoCtx, ThreadSafetyTraits::NoLocking>;

} // namespace MwDC
