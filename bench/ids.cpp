// Area ids: what a new identity costs.
//
// Workload: one identity after another on one thread, each thrown away. Peers make a random UUID of
// 16 bytes. Numbers and settings of the run are kept in a folder of its own.

#include "bench/ids.h"

#include "bench/harness/Keep.h"
#include "bench/harness/Registry.h"
#include "misc/diagnostics/Log.h"
#include "misc/identity/CookieJar.h"
#include "misc/identity/IdStamp.h"

#include <cstdio>
#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <stdexcept>
#include <string>

namespace
{

namespace fs = std::filesystem;

// Where the run keeps its numbers, so that it spends nobody's.
class Scratch
{
public:
    Scratch()
    {
        for (const char* const name : {"MW_CONFIG_DIR", "MW_MACHINE_CONFIG_DIR", "MW_DATA_DIR", "MW_PROJECTS_DIR"})
            ::setenv(name, path_.c_str(), 1);
        std::ofstream(path_ / "cookie.num") << 1;
        fs::create_directory(path_ / "mwbench");
        std::ofstream(path_ / "mwbench" / "machine.num") << 1;
    }
    ~Scratch()
    {
        std::error_code ignored;
        fs::remove_all(path_, ignored);
    }

private:
    static std::string made()
    {
        std::string path = fs::temp_directory_path() / "mwbench-XXXXXX";
        if (::mkdtemp(path.data()) == nullptr)
            throw std::runtime_error("no folder " + path);
        return path;
    }

    const fs::path path_ = made();
};

// Made before the jar, and so removed after its last write.
CookieJar& jar()
{
    static const Scratch scratch;
    return CookieJar::instance();
}

// `make` makes one identity. Classic numbers begin again within the run, which is logged.
template <class Make>
void addOurs(bench::Registry& registry, const char* name, Make make)
{
    registry.add(name, {bench::Role::ours, "ours",
                        [make](std::size_t count)
                        {
                            static std::FILE* const nowhere = std::fopen("/dev/null", "w");
                            SetLogOutput(nowhere);
                            CookieJar& theJar = jar();
                            for (; count != 0; --count)
                            {
                                auto made = make(theJar);
                                bench::keep(made);
                            }
                            SetLogOutput(nullptr);
                        }});
}

const bench::Registration registration(
    [](bench::Registry& registry)
    {
        const char* const what[] = {"Makes a cookie of the UUID form, random as of version 4.",
                                    "Makes a classic cookie from the jar's count and the number of the machine.",
                                    "Makes an id stamp, which reads the clock."};
        for (int i = 0; i < 3; ++i)
            registry.declare({bench::idCases[i], what[i], {{2.0, "boost mt19937"}}});

        addOurs(registry, bench::idCases[0], [](CookieJar& jar) { return jar.makeCookie('V', Cookie::eUuid, 0); });
        addOurs(registry, bench::idCases[1], [](CookieJar& jar) { return jar.makeCookie('V', Cookie::eClassic, 0); });
        addOurs(registry, bench::idCases[2], [](CookieJar&) { return IdStamp(); });
    });

} // namespace
