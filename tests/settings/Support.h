#pragma once

#include "diagnostics/Support.h"
#include "libmw/Text.h"
#include "misc/settings/RegistryConfig.h"
#include "misc/settings/configb.h"
#include "platform/TempFolder.h"

#include <fstream>
#include <string>

// Settings in memory, the log in the test's hands, and a folder for legacy files.
class Settings : public Diagnostics
{
protected:
    std::string file(const std::string& text)
    {
        const std::string path = folder_.path() / "config.dat";
        std::ofstream(path, std::ios::binary) << text;
        return path;
    }

    const TempFolder folder_;
};
