#pragma once

#include "OS/Export.h"

// The video output: OS().display(). The standard one has no hardware and remembers what it is told. Any
// thread.
class OS_API iDisplay
{
public:
    virtual ~iDisplay();

    // The format that pictures are put out in, by the number that the caller has for it.
    virtual void setOutputImageFormat(int format) = 0;
    // -1 until one is set.
    virtual int getOutputImageFormat() = 0;
};
