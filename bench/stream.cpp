// Area stream: stored primitives, and files that are replaced whole.
//
// Workload: bench/stream.h. The primitives stay in memory; the files lie in the folder for temporary files,
// which should be on a disk.

#include "bench/stream.h"

#include "bench/harness/Keep.h"
#include "bench/harness/Registry.h"
#include "bench/limits/limits.h"
#include "libmw/Text.h"
#include "misc/persistence/PStream.h"

#include <algorithm>
#include <cstdlib>
#include <vector>

namespace
{

using bench::stored::Record;

constexpr const char* primitives = "stream/1,000,000 primitives out and in";
constexpr const char* replaced = "stream/20 MB replaced on the disk";

void primitivesOutAndIn()
{
    StreamFile file;
    PStream stream(&file);
    Record out;
    bench::keep(out);
    for (int i = 0; i < bench::stored::recordCount; ++i)
        stream << out.kind << out.track << out.flags << out.offset << out.length << out.start << out.end << out.rate
               << out.level << out.gain;
    file.setPosition(0);
    for (int i = 0; i < bench::stored::recordCount; ++i)
    {
        Record in;
        stream >> in.kind >> in.track >> in.flags >> in.offset >> in.length >> in.start >> in.end >> in.rate >>
            in.level >> in.gain;
        bench::keep(in);
    }
}

void replaceFile()
{
    static const LightweightString<wchar_t> path = fromUTF8((bench::stored::folder() / "ours").c_str());
    const std::string& bytes = bench::stored::twentyMegabytes();
    StreamFile file;
    bool good = file.open(path, iFile::eCreateAlways);
    for (std::size_t done = 0; done < bytes.size(); done += bench::stored::partBytes)
        file.write(bytes.data() + done, static_cast<unsigned>(std::min(bench::stored::partBytes, bytes.size() - done)));
    good = good && file.flush();
    if (!good)
        std::abort();
}

const bench::Registration registration(
    [](bench::Registry& registry)
    {
        registry.declare({primitives,
                          "Writes 1,000,000 numbers of one to eight bytes to memory and reads them back.",
                          {{0.3, "QDataStream"}}});
        registry.declare({.name = replaced,
                          .what = "Puts a file of 20 MB in another's place, flushed to the disk; the limit is one "
                                  "write and one sync, and what it takes longer than the write alone is the sync.",
                          .aims = {{1.15, bench::theLimit}},
                          .clock = bench::Clock::wall});
        registry.ours(primitives, primitivesOutAndIn);
        registry.ours(replaced, replaceFile);
        registry.add(primitives, {bench::Role::limit, "memcpy",
                                  [](std::size_t count)
                                  {
                                      std::vector<char> bytes(bench::stored::recordBytes * bench::stored::recordCount);
                                      for (; count != 0; --count)
                                          limit_copy_out_and_in(bytes.data(), bytes.size());
                                  }});
        registry.add(replaced, {bench::Role::limit, "write and fsync",
                                [](std::size_t count)
                                {
                                    const std::string path = bench::stored::folder() / "limit";
                                    const std::string& bytes = bench::stored::twentyMegabytes();
                                    for (; count != 0; --count)
                                        limit_write_and_sync(path.c_str(), bytes.data(), bytes.size());
                                }});
        registry.peer(replaced, "write alone",
                      []
                      {
                          static const std::string path = bench::stored::folder() / "alone";
                          const std::string& bytes = bench::stored::twentyMegabytes();
                          limit_write_alone(path.c_str(), bytes.data(), bytes.size());
                      });
    });

} // namespace
