#include "misc/commands/KeyCode.h"
#include "misc/commands/MappingManager.h"
#include "misc/commands/MappingManagerRegistryString.h"

#include <cstdint>
#include <cstdlib>

// A stored mapping's name: what is read comes back from its own text as the same, and what people see of its keys
// ends. Old names are converted to ones that can be read, if at all.
extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size)
{
    const LightweightString<char> text(reinterpret_cast<const char*>(data), static_cast<unsigned>(size));
    MappingManagerRegistryString key;
    if (!key.registryString(text))
        return 0;
    const LightweightString<char> own = key.registryString(MappingManagerRegistryString::upToKey);
    MappingManagerRegistryString again;
    if (!again.registryString(own) || again.registryString(MappingManagerRegistryString::upToKey) != own)
        std::abort();
    const LightweightString<wchar_t> shown = keycodeToString(key.mapItem().mappedKeyCode());
    keycodeFromDisplayText(shown);
    const LightweightString<char> converted = MappingManager::convertLegacyKeycodeString(text);
    if (!converted.empty() && !again.registryString(converted))
        std::abort();
    return 0;
}
