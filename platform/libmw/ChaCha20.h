#pragma once

#include <algorithm>
#include <array>
#include <cstdint>
#include <iterator>

namespace Mw
{

// The stream cipher of RFC 8439 as a source of random words. Four of its blocks are made at once, one in
// each lane of a vector: the lanes of result[i] are word i of the blocks whose counters are that of the
// state and the next three. Any thread.
class ChaCha20
{
public:
    using Lanes = std::uint32_t __attribute__((vector_size(16)));

    // Four words that are always the same, the key (8), the counter (1) and the nonce (3).
    using State = std::array<std::uint32_t, 16>;
    static constexpr std::uint32_t constants[4] = {0x61707865, 0x3320646E, 0x79622D32, 0x6B206574};
    static constexpr unsigned counter = 12;

    static void blocks(const State& state, Lanes (&result)[16]) noexcept
    {
        Lanes start[16];
        for (unsigned i = 0; i < 16; ++i)
            start[i] = Lanes{} + state[i];
        start[counter] += Lanes{0, 1, 2, 3};

        std::copy(std::begin(start), std::end(start), result);
        Lanes(&x)[16] = result;
        for (int i = 0; i < 10; ++i)
        {
            quarterRound(x[0], x[4], x[8], x[12]);
            quarterRound(x[1], x[5], x[9], x[13]);
            quarterRound(x[2], x[6], x[10], x[14]);
            quarterRound(x[3], x[7], x[11], x[15]);
            quarterRound(x[0], x[5], x[10], x[15]);
            quarterRound(x[1], x[6], x[11], x[12]);
            quarterRound(x[2], x[7], x[8], x[13]);
            quarterRound(x[3], x[4], x[9], x[14]);
        }
        for (unsigned i = 0; i < 16; ++i)
            x[i] += start[i];
    }

private:
    static Lanes rotated(Lanes value, int bits) noexcept { return value << bits | value >> (32 - bits); }

    static void quarterRound(Lanes& a, Lanes& b, Lanes& c, Lanes& d) noexcept
    {
        a += b;
        d = rotated(d ^ a, 16);
        c += d;
        b = rotated(b ^ c, 12);
        a += b;
        d = rotated(d ^ a, 8);
        c += d;
        b = rotated(b ^ c, 7);
    }
};

} // namespace Mw
