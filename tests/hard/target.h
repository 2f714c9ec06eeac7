// target.h: what takes input from anywhere, as targets that can be fed with anything.
//
//     size_t EatBase64(const std::string& input) { ... Require(made <= input.size(), "..."); ... return madeBytes; }
//     const Target kTarget = { "base64", MakeSeeds, EatBase64 };
//
// The same targets run under Wine against the DLL and, with sanitizers, in the native lane.
#ifndef TESTS_TARGET_H
#define TESTS_TARGET_H

#include "cvbase.h"
#include "strclss.h"

#include <stdexcept>
#include <string>
#include <string_view>
#include <vector>

typedef std::vector<std::string> Inputs;

struct Target {
    const char* name; ///< also of its folder in tests/corpus
    /// Well-formed inputs, mostly from our own encoders.
    Inputs (*seeds)();
    /// Words that mean something to it; mutations put them anywhere.
    Inputs words;
    /// Eats one input. Returns how many bytes of result that made, beyond which memory may not be asked for except in
    /// proportion to the input. An SException is a refusal; Broken, and any other exception, is a fault.
    size_t (*eat)(const std::string& input);
    /// Bytes of one unit: 2 where the input is UTF-16.
    size_t unit;
    /// Whether a small input may rightly ask for more memory than there is: a width of a billion.
    bool mayRunOut;
};

/// All targets of this lane.
const std::vector<Target>& Targets();

/// A promise that an input broke.
struct Broken : std::runtime_error {
    using std::runtime_error::runtime_error;
};
inline void Require(bool holds, const char* promise)
{
    if (!holds)
        throw Broken(promise);
}

// ---- UTF-16 inputs: little-endian units ----

inline std::string Raw(const wchar_t* text, size_t units)
{
    return std::string(reinterpret_cast<const char*>(text), units * sizeof(wchar_t));
}
inline std::string Raw(std::wstring_view text)
{
    return Raw(text.data(), text.size());
}
inline std::string Raw(const wchar_t* text)
{
    return Raw(std::wstring_view(text));
}
inline std::string Raw(const SString& text)
{
    return Raw(text, static_cast<size_t>(text.Length()));
}
/// The units of an input, as a string that keeps NULs; half a unit at the end is left out.
SString UnitsOf(const std::string& input, size_t from = 0);
/// One unit; NUL behind the end.
wchar_t UnitAt(const std::string& input, size_t index);
/// Numbers of up to ten digits lose digits until they are small: what a width rightly asks for would fill the memory,
/// slowly. Longer ones stay: they must fail at once.
SString WithoutLargeNumbers(const SString& text);
/// Sum of all decimal numbers in a text, each at most `most`.
size_t SumOfNumbers(const SString& text, size_t most);

#endif
