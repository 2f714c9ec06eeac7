#include "corpus.h"

#include "lane.h"

#include <gtest/gtest.h>

#include <fstream>
#include <iterator>

namespace fs = std::filesystem;

namespace {

constexpr char kReached[] = "reached.txt";

std::string Escaped(const std::string& input)
{
    static constexpr char kDigits[] = "0123456789abcdef";
    std::string line;
    for (const char c : input) {
        const unsigned char byte = static_cast<unsigned char>(c);
        if (byte > ' ' && byte < 0x7F && c != '\\')
            line += c;
        else
            line += { '\\', kDigits[byte / 16], kDigits[byte % 16] };
    }
    return line;
}

std::string Unescaped(const std::string& line)
{
    std::string input;
    for (size_t at = 0; at < line.size(); ++at) {
        if (line[at] != '\\') {
            input += line[at];
            continue;
        }
        input += static_cast<char>(std::stoi(line.substr(at + 1, 2), nullptr, 16));
        at += 2;
    }
    return input;
}

} // namespace

fs::path CorpusFolder()
{
    for (fs::path folder = ProgramFolder(); folder != folder.parent_path(); folder = folder.parent_path()) {
        if (fs::is_directory(folder / "tests" / "corpus"))
            return folder / "tests" / "corpus";
    }
    ADD_FAILURE() << "no tests/corpus above the program";
    return fs::path();
}

std::vector<std::pair<std::string, std::string>> HarmfulInputs(const Target& target)
{
    std::vector<std::pair<std::string, std::string>> inputs;
    const fs::path folder = CorpusFolder() / target.name;
    if (!fs::is_directory(folder))
        return inputs; // no fault was ever found there
    for (const auto& entry : fs::directory_iterator(folder)) {
        if (entry.path().filename() == kReached)
            continue;
        std::ifstream file(entry.path(), std::ios::binary);
        EXPECT_TRUE(file.is_open()) << entry.path();
        inputs.emplace_back(
            entry.path().filename().string(),
            std::string((std::istreambuf_iterator<char>(file)), std::istreambuf_iterator<char>()));
    }
    return inputs;
}

Inputs ReachingInputs(const Target& target)
{
    Inputs inputs;
    std::ifstream file(CorpusFolder() / target.name / kReached, std::ios::binary);
    for (std::string line; std::getline(file, line);)
        inputs.push_back(Unescaped(line));
    return inputs;
}

size_t KeptSize(const std::string& input)
{
    return Escaped(input).size() + 1;
}

void KeepReachingInputs(const Target& target, const Inputs& inputs)
{
    const fs::path folder = CorpusFolder() / target.name;
    fs::create_directories(folder);
    std::ofstream file(folder / kReached, std::ios::binary);
    for (const std::string& input : inputs)
        file << Escaped(input) << '\n';
    EXPECT_TRUE(file.good());
}
