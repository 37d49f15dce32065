#include "Mw/Exception.h"

#include "OS/Debugger.h"

namespace Mw::Exception
{

Base::Base(const char* kind, const char* message, const char* file, int line)
    : kind_(kind), message_(message), file_(file), line_(line)
{
}
Base::Base(const Base&) = default;
Base& Base::operator=(const Base&) = default;
Base::~Base() = default;

RuntimeError::RuntimeError(const char* message, const char* file, int line) : Base("RuntimeError", message, file, line)
{
    OS().debugger().getStackTrace(stack_);
}
RuntimeError::RuntimeError(const RuntimeError&) = default;
RuntimeError::~RuntimeError() = default;

LogicError::LogicError(const char* message, const char* file, int line) : Base("LogicError", message, file, line) {}
LogicError::LogicError(const LogicError&) = default;
LogicError::~LogicError() = default;

BadAlloc::BadAlloc(const char* message, const char* file, int line) : Base("BadAlloc", message, file, line) {}
BadAlloc::BadAlloc(const BadAlloc&) = default;
BadAlloc::~BadAlloc() = default;

} // namespace Mw::Exception
