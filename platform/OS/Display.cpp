#include "OS/Display.h"

#include "OS/Immortal.h"
#include "OS/OS.h"

#include <atomic>

iDisplay::~iDisplay() = default;

namespace
{

class RememberingDisplay : public iDisplay
{
public:
    void setOutputImageFormat(int format) override { format_ = format; }
    int getOutputImageFormat() override { return format_; }

private:
    std::atomic<int> format_{-1};
};

} // namespace

iDisplay& OperatingSystem::standardDisplay()
{
    return immortal<RememberingDisplay>();
}
