// corpus.h: the inputs that are kept, in tests/corpus/<target>/.
#ifndef TESTS_CORPUS_H
#define TESTS_CORPUS_H

#include "target.h"

#include <filesystem>
#include <string>
#include <utility>
#include <vector>

/// tests/corpus, above the program; without it the running test fails.
std::filesystem::path CorpusFolder();

/// Inputs that did harm once, each a file, with its name.
std::vector<std::pair<std::string, std::string>> HarmfulInputs(const Target& target);

/// Inputs that reach code which no seed of the target reaches, as the guided run found them (tools/native --guided). They are
/// the lines of one file, reached.txt: a byte that is no letter, digit or mark of ASCII, and the backslash, stand
/// there as a backslash and two hexadecimal digits.
Inputs ReachingInputs(const Target& target);
/// Characters of such a line.
size_t KeptSize(const std::string& input);
void KeepReachingInputs(const Target& target, const Inputs& inputs);

#endif
