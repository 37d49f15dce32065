#pragma once

#include "platform/TempFolder.h"

#include <gtest/gtest.h>

#include <cstdlib>
#include <fstream>
#include <memory>
#include <string>

// Directories of a test program's own for settings, data and projects, and machine number 5, so that nothing
// reaches those of whoever runs it. One file of a program registers it:
//
//     const auto* const home = testing::AddGlobalTestEnvironment(new TestHome);
class TestHome : public testing::Environment
{
public:
    void SetUp() override
    {
        folder_ = std::make_unique<TempFolder>();
        for (const char* const name : {"MW_CONFIG_DIR", "MW_MACHINE_CONFIG_DIR", "MW_DATA_DIR", "MW_PROJECTS_DIR"})
        {
            const std::filesystem::path directory = folder_->path() / name;
            std::filesystem::create_directory(directory);
            ::setenv(name, directory.c_str(), 1);
        }
        const std::string program = std::filesystem::read_symlink("/proc/self/exe").filename();
        giveMachineNumber(folder_->path() / "MW_DATA_DIR" / program);
    }
    void TearDown() override { folder_.reset(); }

    // To the application whose data directory it is.
    static void giveMachineNumber(const std::filesystem::path& dataDirectory)
    {
        std::filesystem::create_directories(dataDirectory);
        std::ofstream(dataDirectory / "machine.num") << 5;
    }

private:
    std::unique_ptr<TempFolder> folder_;
};
