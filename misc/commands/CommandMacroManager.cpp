#include "misc/commands/CommandMacroManager.h"

CommandMacroManager& CommandMacroManager::instance()
{
    static CommandMacroManager manager;
    return manager;
}
