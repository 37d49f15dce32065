#include "misc/threads/WorkerThreadQueue.h"

#include "Mw/Assert.h"
#include "misc/diagnostics/Console.h"

#include <cstdio>

void MwCmdProcessors::detail::printWorkerMessage(const char* text)
{
    herc_printf("%s", text);
    std::fputs(text, Mw::diagnosticStream());
}

template class MwCmdProcessors::WorkerThreadQueue<MwDC::ThreadSafetyTraits::ThreadSafe, MwDC::NoCtx>;
template class MwCmdProcessors::WorkerThreadQueue<MwDC::ThreadSafetyTraits::NoLocking, MwDC::NoCtx>;
