#pragma once

#include "Mw/LightweightString.h"
#include "Mw/StdAllocator.h"

#include <vector>

namespace Mw
{

// One text line per stack frame, innermost first.
using StackTrace = std::vector<LightweightString<char>, StdAllocator<LightweightString<char>>>;

} // namespace Mw

namespace Mw::Exception
{

// Root of the library's own exceptions. Handlers catch it by const reference and read its fields. The
// three texts are not copied: they must be literals or otherwise outlive the exception.
class OS_API Base
{
public:
    // A copy shares the texts and the lines of the stack; made from a derived one it keeps all there is.
    Base(const Base&);
    virtual ~Base();

    const char* kind_; // the class's own name, such as "RuntimeError"
    const char* message_;
    const char* file_; // the source path in its short form, such as "misc/Cookie"
    int line_;
    StackTrace stack_; // empty if no trace was taken

protected:
    Base(const char* kind, const char* message, const char* file, int line);
    Base& operator=(const Base&);
};

// A fault that depends on data. Carries the stack trace of the place where it was made.
class OS_API RuntimeError : public Base
{
public:
    RuntimeError(const char* message, const char* file, int line);
    RuntimeError(const RuntimeError&);
    ~RuntimeError() override;
};

// A fault of the program. Carries no stack trace.
class OS_API LogicError : public Base
{
public:
    LogicError(const char* message, const char* file, int line);
    LogicError(const LogicError&);
    ~LogicError() override;
};

// Memory ran out: raised by OS().allocator(). Carries no stack trace, which would need memory.
class OS_API BadAlloc : public Base
{
public:
    BadAlloc(const char* message, const char* file, int line);
    BadAlloc(const BadAlloc&);
    ~BadAlloc() override;
};

} // namespace Mw::Exception
