#include "examples/editsession/Options.h"
#include "examples/editsession/Session.h"
#include "examples/editsession/UserRecord.h"

#include "Mw/Exception.h"
#include "libmw/Shutdown.h"
#include "misc/diagnostics/FatalError.h"
#include "misc/diagnostics/Log.h"
#include "misc/settings/config.h"
#include "misc/threads/CoProcess.h"
#include "misc/threads/ServiceLock.h"

#include <cstdio>
#include <exception>

namespace
{

// The library from the start of an application to its end.
class Library
{
public:
    Library()
    {
        // Standard output belongs to the list, which people pipe.
        SetLogOutput(stderr);
        except_init();
        service_init();
        config_init(nullptr);
        co_init();
    }
    ~Library() { Shutdown::executeCallbacks(Shutdown::eNormalExit); }

    Library(const Library&) = delete;
    Library& operator=(const Library&) = delete;
};

ExitStatus runProgram(int argc, char** argv)
{
    Options options;
    if (const Text reason = readOptions(argc, argv, options); !reason.empty())
    {
        complain(reason + "\nTry editsession --help.");
        return Failed;
    }
    if (options.help)
        return show(helpText()) ? AllRead : Failed;
    if (!applyKeyOptions(options.keys))
        return Failed;
    if (options.list.empty())
        return AllRead;
    const RunRecord record;
    const ExitStatus status = Session(options).run();
    if (status != Failed)
        keepOptions(options);
    return status;
}

} // namespace

int main(int argc, char** argv)
{
    const Library library;
    try
    {
        return runProgram(argc, argv);
    }
    catch (const Mw::Exception::Base& e)
    {
        complain(e.message_);
    }
    catch (const std::exception& e)
    {
        complain(e.what());
    }
    return Failed;
}
