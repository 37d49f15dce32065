#include "misc/threads/TaskLog.h"

#include "libmw/Now.h"

void TaskLog::addLine(const LightweightString<char>& text)
{
    const CriticalSection::Lock lock(lock_);
    lines_.push_back({Mw::now(), text});
}

std::vector<iTaskLog::Line> TaskLog::getLines() const
{
    const CriticalSection::Lock lock(lock_);
    return lines_;
}
