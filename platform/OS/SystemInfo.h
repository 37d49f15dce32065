#pragma once

#include "Mw/LightweightString.h"
#include "Mw/Ptr.h"

#include <cstdint>

// A mounted file system. Any thread.
class OS_API iDiskDrive : public iObject
{
public:
    // The path that it was asked for with.
    virtual LightweightString<wchar_t> path() = 0;

    // Room for this user and in all, at this moment; 0 on failure.
    virtual std::uint64_t freeBytes() = 0;
    virtual std::uint64_t totalBytes() = 0;
};

// A library that was loaded at run time; it stays loaded while the object lives. Any thread.
class OS_API iDLL : public iObject
{
public:
    virtual bool isLoaded() = 0;

    // The address of an exported function or variable; null if there is none.
    virtual void* symbol(const char* name) = 0;

    // Why loading failed; empty if it didn't.
    virtual LightweightString<char> lastError() = 0;
};

// The machine: OS().systemInfo(). Any thread.
class OS_API iSystemInfo
{
public:
    struct MemoryInfo
    {
        std::uint64_t totalBytes = 0;     // of the machine
        std::uint64_t availableBytes = 0; // without paging others out
        std::uint64_t processBytes = 0;   // of this process, in memory
    };

    virtual ~iSystemInfo();

    // False, and zeros, if the system doesn't tell.
    virtual bool getMemoryInfo(MemoryInfo& info) = 0;

    // A value of the system's registry; empty where there is none, as on Linux.
    virtual LightweightString<char> getRegistryValue(const LightweightString<char>& key,
                                                     const LightweightString<char>& valueName,
                                                     const LightweightString<char>& view) = 0;

    // Processors that this process may run on; at least 1.
    virtual int processorCount() = 0;

    // The file system that a path lies on. Never null.
    virtual Mw::Ptr<iDiskDrive> diskDrive(const LightweightString<wchar_t>& path) = 0;

    // Never null; the object's isLoaded() tells. A name without a separator is looked for where the
    // system keeps its libraries.
    virtual Mw::Ptr<iDLL> loadDLL(const LightweightString<wchar_t>& path) = 0;
};
