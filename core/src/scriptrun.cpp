// scriptrun.cpp: a block's characters are brought to lanes of equal size by one shuffle, worked on together, and brought to
// their places by another. Which shuffle is told by a mask of the block's short and long characters.
#include "scriptrun.h"

#include "compiler.h"
#include "processor.h"

#include <tmmintrin.h>

#include <array>

namespace {

constexpr size_t kUnits = 8;          // of a block
constexpr unsigned char kNone = 0x80; // in a shuffle: a zero

struct Shuffle {
    unsigned char order[16];
    unsigned char count; // bytes (characters) that it makes
};
typedef std::array<Shuffle, 256> Shuffles;

// Lanes of lead byte and next byte, to bytes; bit k: the character of lane k is the lead byte alone.
constexpr Shuffles PackingShuffles()
{
    Shuffles all{};
    for (unsigned mask = 0; mask < 256; ++mask) {
        Shuffle& shuffle = all[mask];
        unsigned char n = 0;
        for (unsigned char lane = 0; lane < kUnits; ++lane) {
            shuffle.order[n++] = static_cast<unsigned char>(2 * lane);
            if (!(mask >> lane & 1))
                shuffle.order[n++] = static_cast<unsigned char>(2 * lane + 1);
        }
        shuffle.count = n;
        while (n < 16)
            shuffle.order[n++] = kNone;
    }
    return all;
}

// Bytes to lanes with the last byte low and the one before it, if any, high; bit k: byte k + 1 belongs to the character of
// byte k.
constexpr Shuffles SpreadingShuffles()
{
    Shuffles all{};
    for (unsigned mask = 0; mask < 256; ++mask) {
        Shuffle& shuffle = all[mask];
        unsigned char n = 0;
        for (unsigned char byte = 0; byte < kUnits; ++byte) {
            const bool isLong = (mask >> byte & 1) != 0;
            shuffle.order[2 * n] = static_cast<unsigned char>(byte + isLong);
            shuffle.order[2 * n + 1] = isLong ? byte : kNone;
            ++n;
            byte = static_cast<unsigned char>(byte + isLong);
        }
        shuffle.count = n;
        for (unsigned rest = 2u * n; rest < 16; ++rest)
            shuffle.order[rest] = kNone;
    }
    return all;
}

// Four lanes of four bytes, of which one, two or three are wanted, to bytes; bit k: lane k is one byte; bit 4 + k: it is one or
// two.
constexpr Shuffles ThinningShuffles()
{
    Shuffles all{};
    for (unsigned mask = 0; mask < 256; ++mask) {
        Shuffle& shuffle = all[mask];
        unsigned char n = 0;
        for (unsigned char lane = 0; lane < 4; ++lane) {
            const int bytes = mask >> lane & 1 ? 1 : mask >> (4 + lane) & 1 ? 2 : 3;
            for (int byte = 0; byte < bytes; ++byte)
                shuffle.order[n++] = static_cast<unsigned char>(4 * lane + byte);
        }
        shuffle.count = n;
        while (n < 16)
            shuffle.order[n++] = kNone;
    }
    return all;
}

constexpr Shuffles kPack = PackingShuffles();
constexpr Shuffles kThin = ThinningShuffles();
constexpr Shuffles kSpread = SpreadingShuffles();

S_SSSE3 inline __m128i Load(const void* from)
{
    return _mm_loadu_si128(static_cast<const __m128i*>(from));
}
S_SSSE3 inline void Store(void* to, __m128i value)
{
    _mm_storeu_si128(static_cast<__m128i*>(to), value);
}
S_SSSE3 inline __m128i Words(int value)
{
    return _mm_set1_epi16(static_cast<short>(value));
}
S_SSSE3 inline unsigned Bits(__m128i truth)
{
    return static_cast<unsigned>(_mm_movemask_epi8(truth));
}
// Whether bytes, taken as signed, lie between two others.
S_SSSE3 inline __m128i Between(int above, __m128i bytes, int below)
{
    return _mm_and_si128(_mm_cmpgt_epi8(bytes, _mm_set1_epi8(static_cast<char>(above))),
                         _mm_cmplt_epi8(bytes, _mm_set1_epi8(static_cast<char>(below))));
}

S_SSSE3 inline __m128i Either(__m128i truth, __m128i then, __m128i otherwise)
{
    return _mm_or_si128(_mm_and_si128(truth, then), _mm_andnot_si128(truth, otherwise));
}

// Nothing behind the result may be written. So there must be so much text behind a block that it makes at least what the
// block's stores reach beyond what counts of them.

S_SSSE3 void BlocksTo8(const wchar_t* from, size_t count, size_t& at, char* to, size_t room, size_t& made)
{
    constexpr size_t kMostWritten = 28;    // by a block: twelve bytes at the most, then sixteen
    constexpr size_t kAhead = kUnits + 12; // a block of four bytes is stored as sixteen
    constexpr int kLongAscii = 2;
    const __m128i none = _mm_setzero_si128();
    size_t i = at, n = made;
    const auto store = [&](__m128i lanes, const Shuffle& shuffle) S_SSSE3 {
        Store(to + n, _mm_shuffle_epi8(lanes, Load(shuffle.order)));
        n += shuffle.count;
    };
    for (int plain = 0; count - i >= kAhead && room - n >= kMostWritten && plain < kLongAscii; i += kUnits) {
        const __m128i units = Load(from + i);
        const __m128i isAscii = _mm_cmpeq_epi16(_mm_and_si128(units, Words(0xFF80)), none);
        const __m128i high = _mm_and_si128(units, Words(0xF800));
        const __m128i isShort = _mm_cmpeq_epi16(high, none);
        const __m128i last = _mm_and_si128(units, Words(0x3F));
        const unsigned ascii = Bits(_mm_packs_epi16(isAscii, none));
        const unsigned shortOnes = Bits(_mm_packs_epi16(isShort, none));
        const __m128i shortLanes = Either(
            isAscii, units,
            _mm_or_si128(_mm_or_si128(Words(0x80C0), _mm_srli_epi16(units, 6)), _mm_slli_epi16(last, 8)));
        if (shortOnes == 0xFF) {
            store(shortLanes, kPack[ascii]);
            plain = ascii == 0xFF ? plain + 1 : 0;
            continue;
        }
        if (Bits(_mm_cmpeq_epi16(high, Words(0xD800))) != 0)
            break;
        const __m128i firstTwo = _mm_or_si128(_mm_or_si128(Words(0x80E0), _mm_srli_epi16(units, 12)),
                                              _mm_and_si128(_mm_slli_epi16(units, 2), Words(0x3F00)));
        const __m128i lanes = Either(isShort, shortLanes, firstTwo);
        const __m128i third = _mm_or_si128(Words(0x80), last);
        store(_mm_unpacklo_epi16(lanes, third), kThin[(ascii & 0xF) | (shortOnes & 0xF) << 4]);
        store(_mm_unpackhi_epi16(lanes, third), kThin[ascii >> 4 | (shortOnes & 0xF0)]);
        plain = 0;
    }
    at = i;
    made = n;
}

S_SSSE3 void BlocksTo16(const unsigned char* from, size_t count, size_t& at, wchar_t* to, size_t room,
                        size_t& made)
{
    constexpr size_t kAhead = 24; // 12 are read at most, and what follows makes four characters
    size_t i = at, n = made;
    while (count - i >= kAhead && room - n >= kUnits) {
        const __m128i bytes = Load(from + i);
        const unsigned others = Bits(bytes);
        if (others == 0)
            break;
        const unsigned next = Bits(_mm_cmplt_epi8(bytes, _mm_set1_epi8(-0x40))); // 80 to BF
        const unsigned two = Bits(Between(-0x3F, bytes, -0x20));                 // C2 to DF
        if (((others ^ next ^ two) & 0xFF) == 0 && ((two << 1 ^ next) & 0x1FF) == 0) {
            const Shuffle& spread = kSpread[next >> 1 & 0xFF];
            const __m128i lanes = _mm_shuffle_epi8(bytes, Load(spread.order));
            Store(to + n, _mm_or_si128(_mm_and_si128(lanes, Words(0x7F)),
                                       _mm_srli_epi16(_mm_and_si128(lanes, Words(0x1F00)), 2)));
            n += spread.count;
            i += kUnits + (next >> 8 & 1);
            continue;
        }
        constexpr unsigned kFirsts = 0x249, kNexts = 0xDB6; // of four characters of three bytes
        if ((next & 0xFFF) != kNexts || (Bits(Between(-0x21, bytes, -0x10)) & 0xFFF) != kFirsts) // E0 to EF
            break;
        const __m128i lanes =
            _mm_shuffle_epi8(bytes, _mm_setr_epi8(2, 1, 0, -1, 5, 4, 3, -1, 8, 7, 6, -1, 11, 10, 9, -1));
        const __m128i units =
            _mm_or_si128(_mm_or_si128(_mm_and_si128(lanes, _mm_set1_epi32(0x3F)),
                                      _mm_srli_epi32(_mm_and_si128(lanes, _mm_set1_epi32(0x3F00)), 2)),
                         _mm_srli_epi32(_mm_and_si128(lanes, _mm_set1_epi32(0xF0000)), 4));
        // Too long a form, and half a surrogate pair.
        const __m128i high = _mm_and_si128(units, _mm_set1_epi32(0xF800));
        if (Bits(_mm_or_si128(_mm_cmpeq_epi32(high, _mm_setzero_si128()),
                              _mm_cmpeq_epi32(high, _mm_set1_epi32(0xD800)))) != 0)
            break;
        Store(to + n, _mm_shuffle_epi8(
                          units, _mm_setr_epi8(0, 1, 4, 5, 8, 9, 12, 13, -1, -1, -1, -1, -1, -1, -1, -1)));
        n += 4;
        i += 12;
    }
    at = i;
    made = n;
}

} // namespace

namespace ScriptRun {

bool IsFast()
{
    return Processor::HasSsse3();
}

void To8(const wchar_t* from, size_t count, size_t& at, char* to, size_t room, size_t& made)
{
    if (Processor::HasSsse3())
        BlocksTo8(from, count, at, to, room, made);
}

void To16(const unsigned char* from, size_t count, size_t& at, wchar_t* to, size_t room, size_t& made)
{
    if (Processor::HasSsse3())
        BlocksTo16(from, count, at, to, room, made);
}

} // namespace ScriptRun
