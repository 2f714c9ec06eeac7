#include "mutate.h"

#include <algorithm>
#include <cstring>

namespace {

unsigned Mixed(unsigned seed, const char* name)
{
    for (; *name; ++name)
        seed = (seed ^ static_cast<unsigned char>(*name)) * 16777619u;
    return seed;
}

// Units that text code treats in a way of their own: ends, blanks, quotes, halves of pairs, the borders of the UTF-8
// lengths, letters whose other case is far away.
constexpr wchar_t kUnits[] = { 0,      1,      9,      10,     13,     L' ',   L'"',   L'%',   L'\'',
                               L'*',   L'-',   L'.',   L'/',   L'0',   L':',   L';',   L'=',   L'?',
                               L'\\',  L'`',   L'|',   0x7F,   0x80,   0xDF,   0x130,  0x131,  0x17F,
                               0x301,  0x7FF,  0x800,  0x2028, 0xD7FF, 0xD800, 0xDBFF, 0xDC00, 0xDFFF,
                               0xE000, 0xFEFF, 0xFF10, 0xFFFD, 0xFFFE, 0xFFFF };
// The same for bytes: leads and tails of UTF-8 at their limits.
constexpr unsigned char kBytes[] = { 0,    1,    10,   13,   32,   0x7F, 0x80, 0xBF, 0xC0, 0xC1, 0xC2,
                                     0xDF, 0xE0, 0xED, 0xEF, 0xF0, 0xF4, 0xF5, 0xFD, 0xFE, 0xFF };

} // namespace

Mutator::Mutator(const Target& target, unsigned seed)
    : m_target(target), m_seeds(target.seeds()), m_random(Mixed(seed, target.name))
{}

unsigned Mutator::NearPowerOfTwo()
{
    const unsigned power = 1u << Below(32);
    return power + static_cast<unsigned>(Below(3)) - 1;
}

std::string Mutator::NumberText()
{
    const std::string digits = std::to_string(NearPowerOfTwo());
    if (m_target.unit == 1)
        return digits;
    std::string wide;
    for (const char digit : digits)
        wide += { digit, '\0' };
    return wide;
}

std::string Mutator::Special()
{
    if (!m_target.words.empty() && Below(2) == 0)
        return m_target.words[Below(m_target.words.size())];
    if (m_target.unit == 1)
        return std::string(1, static_cast<char>(kBytes[Below(std::size(kBytes))]));
    return Raw(&kUnits[Below(std::size(kUnits))], 1);
}

void Mutator::Change(std::string& input)
{
    const size_t unit = m_target.unit;
    const size_t at = Place(input);
    const size_t left = input.size() - at;
    const size_t piece = std::min(left, unit * (1 + Below(Below(4) == 0 ? 200 : 8)));
    switch (Below(11)) {
    case 0:
    case 1:
        if (left > 0)
            input[at + Below(std::min(left, unit))] ^= static_cast<char>(1 << Below(8));
        break;
    case 2: input.insert(at, Special()); break;
    case 3: {
        const std::string special = Special();
        input.replace(at, std::min(left, special.size()), special);
        break;
    }
    case 4: input.erase(at, piece); break;
    case 5: { // a piece once more, or many times
        const std::string copy = input.substr(at, piece);
        for (size_t times = Below(8) == 0 ? Below(60) : 1; times > 0; --times)
            input.insert(at, copy);
        break;
    }
    case 6: { // a length
        const unsigned number = NearPowerOfTwo();
        const size_t bytes = std::min(left, size_t(1) << Below(3));
        std::memcpy(&input[0] + at, &number, bytes);
        break;
    }
    case 7: input.insert(at, NumberText()); break;
    case 8: { // the head of this, the tail of another
        const std::string& other = Seed();
        input.resize(at);
        input += other.substr(Below(other.size() + 1) / unit * unit);
        break;
    }
    case 9: { // a piece elsewhere
        const std::string moved = input.substr(at, piece);
        input.erase(at, piece);
        input.insert(Place(input), moved);
        break;
    }
    default:
        if (Below(4) == 0)
            input.resize(Below(2) == 0 ? at : Below(input.size() + 1));
        else
            std::generate_n(input.begin() + static_cast<std::ptrdiff_t>(at), piece,
                            [this] { return static_cast<char>(m_random()); });
        break;
    }
}

// Seeds one behind the other, of which one may come over and over. Half are a single one: what only a short input meets must
// not become rare.
std::string Mutator::Start()
{
    std::string input = Seed();
    if (Below(2) == 0)
        return input;
    for (const size_t wanted = Below(kLongestStart); input.size() < wanted;) {
        const std::string& piece = Seed();
        if (piece.empty())
            break;
        for (size_t times = Below(4) == 0 ? 1 + Below(20) : 1; times > 0 && input.size() < wanted; --times)
            input += piece;
    }
    return input;
}

std::string Mutator::Next()
{
    std::string input = Start();
    // A long one has room for more.
    const size_t most = 8 + input.size() / 100;
    for (size_t changes = 1 + Below(1 + Below(most)); changes > 0; --changes)
        Change(input);
    if (input.size() > kLongest)
        input.resize(kLongest);
    return input;
}
