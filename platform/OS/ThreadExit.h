#pragma once

#include "OS/Export.h"

// What iThreadMgr::exitCurrentThread throws to end a thread. Only the thread layer makes and swallows it;
// whatever catches everything on its way lets it through:
//
//     try
//     {
//         ...
//     }
//     catch (const ThreadExit&)
//     {
//         throw;
//     }
//     catch (...)
//     {
//         ...
//     }
class OS_API ThreadExit
{
public:
    ThreadExit(const ThreadExit&);
    ~ThreadExit();
    ThreadExit& operator=(const ThreadExit&) = delete;

    [[noreturn]] static void raise();

private:
    ThreadExit();
};
