#pragma once

#include "Mw/Callback.h"
#include "OS/Export.h"

// The ordered stop of the application: what must end before the process does is registered here with a
// priority, and whoever stops the program runs it all. Callbacks run in ascending priority, in order of
// arrival within one, on the thread that executes them and without a lock held.
//
// Works during static construction. Any thread.
class LIBMW_API Shutdown
{
public:
    enum eExitType
    {
        eNormalExit = 0,
        eExceptionExit = 1 // the program stops because of an exception or a fatal error
    };

    using Function = void (*)(eExitType);
    using Callback = iCallbackBase<void, eExitType>;

    // Registers; a null function or object is ignored. An object is kept alive until it has run or is
    // removed. A callback that arrives during execution is run by it.
    static void addCallback(Function function, unsigned int priority);
    static void addCallback(const Mw::Ptr<Callback>& callback, unsigned int priority);

    // Takes back every registration of the object. Does not wait for a call that is going on.
    static void removeCallback(const Mw::Ptr<Callback>& callback);

    // Runs the callbacks. One that has run is not run again. An exception of a callback is passed on at
    // once: the callback stays, behind all others, so that the next call runs the rest first and then
    // tries it again.
    static void executeCallbacks(eExitType type);

    // True once executeCallbacks has begun, for the rest of the process.
    static bool isExiting() noexcept;
};
