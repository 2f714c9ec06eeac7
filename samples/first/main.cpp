#include <cvcore.h>

#include <cstdio>

int main()
{
    SString path(L"C:/Reports/2026/summary.txt");
    path.ReplaceAll(L'/', L'\\');
    SMap<SString, int> parts;
    for (const SString& part : SParts(path, L'\\'))
        ++parts[part.Left(1).ToUpper()];
    for (const auto& [letter, count] : parts)
        std::printf("%ls: %d\n", letter.PszStr(), count);
    return path.Match(L"*.txt") ? 0 : 1;
}
