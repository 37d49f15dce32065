#include <cstddef>
#include <cstdint>
#include <cstdio>
#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <iterator>
#include <random>
#include <vector>

// Runs a fuzz target where libFuzzer is not there: DRIVER ROUNDS [CORPUS]. Every file of the corpus as it is,
// then so many inputs that are changed from them at random, the same in every run.

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t sizeBytes);

namespace
{

using Bytes = std::vector<std::uint8_t>;

void run(const Bytes& input)
{
    // A block of just this size, so that the address sanitizer sees a read behind it.
    const Bytes exact(input.begin(), input.end());
    LLVMFuzzerTestOneInput(exact.data(), exact.size());
}

std::vector<Bytes> corpusIn(const char* folder)
{
    std::vector<Bytes> inputs;
    for (const auto& entry : std::filesystem::directory_iterator(folder))
    {
        std::ifstream in(entry.path(), std::ios::binary);
        inputs.emplace_back(std::istreambuf_iterator<char>(in), std::istreambuf_iterator<char>());
    }
    return inputs;
}

// A few bytes set, taken out or put in.
void change(Bytes& input, std::mt19937& random)
{
    for (unsigned changes = random() % 4 + 1; changes != 0; --changes)
    {
        const auto at = static_cast<std::ptrdiff_t>(random() % (input.size() + 1));
        const auto byte = static_cast<std::uint8_t>(random());
        const bool inside = at < static_cast<std::ptrdiff_t>(input.size());
        if (!inside || random() % 4 == 0)
            input.insert(input.begin() + at, byte);
        else if (random() % 4 == 0)
            input.erase(input.begin() + at);
        else
            input[static_cast<std::size_t>(at)] = byte;
    }
}

} // namespace

int main(int argc, char** argv)
{
    const int rounds = argc > 1 ? std::atoi(argv[1]) : 0;
    std::vector<Bytes> corpus = argc > 2 ? corpusIn(argv[2]) : std::vector<Bytes>();
    if (corpus.empty())
        corpus.emplace_back();
    for (const Bytes& input : corpus)
        run(input);

    std::mt19937 random(1);
    for (int i = 0; i < rounds; ++i)
    {
        Bytes input = corpus[random() % corpus.size()];
        change(input, random);
        run(input);
        if (corpus.size() < 1000 && i % 16 == 0) // some go on changing
            corpus.push_back(std::move(input));
    }
    std::printf("%zu inputs, %d changed\n", corpus.size(), rounds);
}
