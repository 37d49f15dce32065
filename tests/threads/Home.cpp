#include "platform/TestHome.h"

namespace
{

[[maybe_unused]] const auto* const home = testing::AddGlobalTestEnvironment(new TestHome);

} // namespace
