#pragma once

#include "OS/testing/ForwardingDesktop.h"
#include "platform/TempFolder.h"

#include <gtest/gtest.h>

#include <cstdlib>
#include <fstream>
#include <string>

// Directories of a test program's own for settings, data and projects, and machine number 5, so that nothing
// reaches those of whoever runs it. A program has them that includes this in one file.
class TestHome : public testing::Environment
{
public:
    void SetUp() override
    {
        // A program that a death test starts again dies without an end, and uses its parent's.
        if (std::getenv("MW_TEST_HOME") != nullptr)
            return;
        ::setenv("MW_TEST_HOME", "1", 1);
        // Goes after what writes at exit: it was made before.
        static const TempFolder folder;
        for (const char* const name : {"MW_CONFIG_DIR", "MW_MACHINE_CONFIG_DIR", "MW_DATA_DIR", "MW_PROJECTS_DIR"})
        {
            const std::filesystem::path directory = folder.path() / name;
            std::filesystem::create_directory(directory);
            ::setenv(name, directory.c_str(), 1);
        }
        // What was read before main was not of this home.
        OS().replace(new ForwardingDesktop);
        giveMachineNumber(std::filesystem::read_symlink("/proc/self/exe").filename(), 5);
    }

    static void giveMachineNumber(const std::string& program, int number)
    {
        const std::filesystem::path directory = std::filesystem::path(std::getenv("MW_DATA_DIR")) / program;
        std::filesystem::create_directories(directory);
        std::ofstream(directory / "machine.num") << number;
    }
};

inline const testing::Environment* const testHome = testing::AddGlobalTestEnvironment(new TestHome);
