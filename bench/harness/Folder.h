#pragma once

#include <cstdlib>
#include <filesystem>
#include <string>

namespace bench
{

// A folder of the run's own, which is removed at its end: below the given one. The current folder where it can't be made.
class Folder
{
public:
    explicit Folder(const std::filesystem::path& parent)
    {
        std::string path = parent / "mwbench-XXXXXX";
        path_ = ::mkdtemp(path.data()) != nullptr ? path : ".";
    }
    ~Folder()
    {
        if (path_ != ".")
            std::filesystem::remove_all(path_);
    }
    Folder(const Folder&) = delete;
    Folder& operator=(const Folder&) = delete;
    std::string operator/(const char* name) const { return path_ / name; }

private:
    std::filesystem::path path_;
};

} // namespace bench
