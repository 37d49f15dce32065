#include "misc/threads/CommandQueue.h"

template class MwCmdProcessors::Queue<MwDC::ThreadSafetyTraits::ThreadSafe, MwDC::NoCtx>;
template class MwCmdProcessors::Queue<MwDC::ThreadSafetyTraits::NoLocking, MwDC::NoCtx>;
