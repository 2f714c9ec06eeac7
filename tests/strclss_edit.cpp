// The string's editing, extraction, search and comparison, against std::wstring and against tables of cases.
#include "strclss.h"

#include "striter.h"
#include "support/seed.h"
#include "support/stringhelp.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <random>
#include <string>
#include <vector>

namespace {

std::mt19937& Random()
{
    static std::mt19937 random(TestSeed());
    return random;
}

int Below(int n)
{
    return static_cast<int>(Random()() % static_cast<unsigned>(n));
}

// Mostly from three letters, so that searches hit; sometimes a letter beyond ASCII or a case variant.
std::wstring RandomText(int longest)
{
    static const wchar_t kLetters[] = L"aaabbbcccABC xé";
    std::wstring text(static_cast<size_t>(Below(longest + 1)), L' ');
    for (wchar_t& c : text)
        c = kLetters[Below(static_cast<int>(std::size(kLetters)) - 1)];
    return text;
}

std::wstring Upper(std::wstring text)
{
    for (wchar_t& c : text)
        c = SUpperChar(c);
    return text;
}

int ReplaceInModel(std::wstring& text, const std::wstring& from, const std::wstring& to, bool noCase,
                   bool all)
{
    if (from.empty())
        return 0;
    const std::wstring wanted = noCase ? Upper(from) : from;
    int count = 0;
    std::wstring result;
    size_t at = 0;
    while (at < text.size()) {
        const std::wstring here = text.substr(at, from.size());
        if ((count == 0 || all) && (noCase ? Upper(here) : here) == wanted) {
            result += to;
            at += from.size();
            ++count;
        } else {
            result += text[at++];
        }
    }
    text = result;
    return count;
}

int Sign(int n)
{
    return (n > 0) - (n < 0);
}

} // namespace

TEST(StringEditing, AgreesWithTheStandardStringFromEveryStartingState)
{
    const StringsAtRest rest;
    for (int round = 0; round < Cases(20000); ++round) {
        const int longest = round % 50 == 0 ? 5000 : 40;
        std::wstring model = RandomText(longest);
        SString s(model.c_str());
        SString keeper;
        switch (Below(3)) {
        case 0: keeper = s; break; // shared
        case 1: s.Lock(); break;   // locked
        default: break;            // private, or empty
        }
        const std::wstring kept = Wide(keeper);
        for (int step = 0; step < 4; ++step) {
            const std::wstring a = RandomText(4), b = RandomText(6);
            const int position = Below(longest + 6) - 3, count = Below(12) - 2;
            const int size = static_cast<int>(model.size());
            const int operation = Below(13);
            SCOPED_TRACE(testing::Message()
                         << "operation " << operation << " with " << testing::PrintToString(a)
                         << testing::PrintToString(b) << position << ' ' << count);
            int expected = 0, result = 0;
            switch (operation) {
            case 0:
                s += a.c_str();
                model += a;
                break;
            case 1:
                s += L'q';
                model += L'q';
                break;
            case 2:
                s.Insert(a.c_str(), position);
                model.insert(std::clamp(position, 0, size), a);
                break;
            case 3:
                s.Delete(position, count);
                if (count > 0 && std::max(position, 0) < size)
                    model.erase(std::max(position, 0), count);
                break;
            case 4:
            case 5:
            case 6:
            case 7: {
                const bool noCase = operation == 5 || operation == 7, all = operation >= 6;
                expected = ReplaceInModel(model, a, b, noCase, all);
                result =
                    all ? (noCase ? s.ReplaceAllNoCase(a.c_str(), b.c_str())
                                  : s.ReplaceAll(a.c_str(), b.c_str()))
                        : (noCase ? s.ReplaceNoCase(a.c_str(), b.c_str()) : s.Replace(a.c_str(), b.c_str()));
                break;
            }
            case 8: {
                expected = ReplaceInModel(model, L"a", L"z", false, true);
                result = s.ReplaceAll(L'a', L'z');
                break;
            }
            case 9: {
                const std::wstring set = L"ab " + a.substr(0, 1);
                s.Trim(set.c_str());
                model.erase(0, std::min(model.find_first_not_of(set), model.size()));
                model.erase(model.find_last_not_of(set) + 1);
                break;
            }
            case 10:
                s.ToUpper();
                model = Upper(model);
                break;
            case 11:
                s.MakeReverse();
                std::reverse(model.begin(), model.end());
                break;
            default:
                s = a.c_str();
                model = a;
                break;
            }
            ASSERT_EQ(expected, result);
            ASSERT_EQ(model, Wide(s));
            ASSERT_EQ(L'\0', s.GetUnsafePointer()[s.Length()]);
        }
        ASSERT_EQ(kept, Wide(keeper)) << "the other owner's text changed";
    }
}

TEST(StringSearch, AgreesWithTheStandardString)
{
    for (int round = 0; round < Cases(20000); ++round) {
        const std::wstring model = RandomText(60), wanted = RandomText(3);
        const SString s(model.c_str());
        const wchar_t c = L"abAz"[Below(4)];
        const int start = Below(70) - 5;
        const auto position = [&s](const wchar_t* found) { return found ? static_cast<int>(found - s) : -1; };
        const auto npos = [](size_t found) { return static_cast<int>(found); };
        const size_t from = static_cast<size_t>(std::max(start, 0));
        SCOPED_TRACE(testing::PrintToString(model) + testing::PrintToString(wanted));
        ASSERT_EQ(npos(model.find(c)), position(s.Find(c)));
        ASSERT_EQ(npos(model.rfind(c)), position(s.ReverseFind(c)));
        ASSERT_EQ(npos(model.find(c, from)), s.FindPos(c, start));
        ASSERT_EQ(npos(model.rfind(c, start < 0 ? model.npos : from)), s.ReverseFindPos(c, start));
        ASSERT_EQ(npos(model.find(wanted)), position(s.Find(wanted.c_str())));
        ASSERT_EQ(npos(model.rfind(wanted)), position(s.ReverseFind(wanted.c_str())));
        ASSERT_EQ(npos(Upper(model).find(Upper(wanted))), position(s.FindNoCase(wanted.c_str())));
        ASSERT_EQ(npos(Upper(model).rfind(Upper(wanted))), position(s.ReverseFindNoCase(wanted.c_str())));
        ASSERT_EQ(npos(Upper(model).rfind(SUpperChar(c))), position(s.ReverseFindNoCase(c)));
        if (from <= model.size()) {
            ASSERT_EQ(npos(model.find(wanted, from)),
                      position(s.Find(wanted.c_str(), s.GetPointerAt(start))));
            ASSERT_EQ(npos(Upper(model).find(Upper(wanted), from)),
                      position(s.FindNoCase(wanted.c_str(), s.GetPointerAt(start))));
            ASSERT_EQ(npos(model.rfind(c, from)), position(s.ReverseFind(c, s.GetPointerAt(start))));
        }
    }
    const SString s(L"abc");
    EXPECT_EQ(nullptr, s.Find(L'a', L"abc")) << "a pointer from elsewhere finds nothing";
    EXPECT_EQ(nullptr, s.Find(L"a", nullptr));
    EXPECT_EQ(s.PszStr(), s.Find(static_cast<const wchar_t*>(nullptr))) << "null is the empty text";
    EXPECT_EQ(s.PszStr() + 3, s.ReverseFind(L""));
}

TEST(StringComparison, FormsAgreeAndNullIsEmpty)
{
    for (int round = 0; round < Cases(20000); ++round) {
        const std::wstring a = RandomText(8), b = RandomText(8);
        const SString s(a.c_str()), t(b.c_str());
        const int start = Below(10), count = Below(6);
        const std::wstring rest = start <= static_cast<int>(a.size()) ? a.substr(start) : L"";
        const auto cut = [count](const std::wstring& text) { return text.substr(0, count); };
        SCOPED_TRACE(testing::PrintToString(a) + testing::PrintToString(b));
        ASSERT_EQ(Sign(a.compare(b)), Sign(s.Compare(t)));
        ASSERT_EQ(Sign(a.compare(b)), Sign(s.Compare(b.c_str())));
        ASSERT_EQ(Sign(cut(a).compare(cut(b))), Sign(s.Compare(b.c_str(), count)));
        ASSERT_EQ(Sign(rest.compare(b)), Sign(s.Compare(start, b.c_str())));
        ASSERT_EQ(Sign(cut(rest).compare(cut(b))), Sign(s.Compare(start, b.c_str(), count)));
        ASSERT_EQ(Sign(Upper(a).compare(Upper(b))), Sign(s.CompareNoCase(t)));
        ASSERT_EQ(Sign(Upper(a).compare(Upper(b))), Sign(s.CompareNoCase(b.c_str())));
        ASSERT_EQ(Sign(cut(Upper(a)).compare(cut(Upper(b)))), Sign(s.CompareNoCase(b.c_str(), count)));
        ASSERT_EQ(Sign(Upper(rest).compare(Upper(b))), Sign(s.CompareNoCase(start, b.c_str())));
        ASSERT_EQ(Sign(cut(Upper(rest)).compare(cut(Upper(b)))),
                  Sign(s.CompareNoCase(start, b.c_str(), count)));
        ASSERT_EQ(a < b, s < t);
        ASSERT_EQ(a <= b, s <= b.c_str());
        ASSERT_EQ(a > b, a.c_str() > t);
        ASSERT_EQ(a == b, s == b.c_str());
        ASSERT_EQ(a == b, s.Hash() == t.Hash());
        ASSERT_EQ(a == b, s.Collate(b.c_str()) == 0);
        ASSERT_EQ(Sign(s.Collate(b.c_str())), -Sign(t.Collate(a.c_str())));
    }
    typedef int (SString::*ByText)(const wchar_t*) const;
    typedef int (SString::*ByStart)(int, const wchar_t*) const;
    typedef int (SString::*ByCount)(const wchar_t*, int) const;
    typedef int (SString::*ByBoth)(int, const wchar_t*, int) const;
    const struct {
        ByText text;
        ByStart start;
        ByCount count;
        ByBoth both;
    } members[] = {
        { &SString::Compare, &SString::Compare, &SString::Compare, &SString::Compare },
        { &SString::CompareNoCase, &SString::CompareNoCase, &SString::CompareNoCase,
          &SString::CompareNoCase },
        { &SString::Collate, &SString::Collate, &SString::Collate, &SString::Collate },
        { &SString::CollateNoCase, &SString::CollateNoCase, &SString::CollateNoCase,
          &SString::CollateNoCase },
        { &SString::CompareNb, &SString::CompareNb, &SString::CompareNb, &SString::CompareNb },
        { &SString::CompareNbNoCase, &SString::CompareNbNoCase, &SString::CompareNbNoCase,
          &SString::CompareNbNoCase },
    };
    for (const auto& m : members) {
        for (const SString& s : { SString(L"x9"), SString() }) {
            const int expected = s.IsEmpty() ? 0 : 1;
            EXPECT_EQ(expected, (s.*m.text)(nullptr));
            EXPECT_EQ(expected, (s.*m.start)(5, nullptr));
            EXPECT_EQ(expected, (s.*m.count)(nullptr, 0));
            EXPECT_EQ(expected, (s.*m.both)(5, nullptr, 0));
            EXPECT_EQ(0, (s.*m.count)(L"different", 0));
            EXPECT_LT((s.*m.start)(3, L"y"), 0) << "beyond the text an empty one is compared";
        }
        EXPECT_EQ(0, (SString(L"abx9").*m.start)(2, L"x9"));
        EXPECT_EQ(0, (SString(L"abx9").*m.both)(2, L"x9-more", 2));
        EXPECT_NE(0, (SString(L"abx9").*m.both)(2, L"x9-more", 3));
    }
}

TEST(StringComparison, ByNumberByLocaleAndByPattern)
{
    const wchar_t* const rising[] = { L"",
                                      L"a",
                                      L"a1",
                                      L"a01",
                                      L"a2",
                                      L"a02b",
                                      L"a10",
                                      L"a10b",
                                      L"a0100",
                                      L"a18446744073709551616",
                                      L"a18446744073709551617",
                                      L"b" };
    for (size_t i = 0; i < std::size(rising); ++i) {
        for (size_t j = 0; j < std::size(rising); ++j) {
            const int expected = (i > j) - (i < j);
            EXPECT_EQ(expected, Sign(SString(rising[i]).CompareNb(rising[j]))) << i << ' ' << j;
            EXPECT_EQ(expected, Sign(SString(SString(rising[i]).ToUpper()).CompareNbNoCase(rising[j])))
                << i << ' ' << j;
        }
    }
    EXPECT_LT(SString(L"éa").Collate(L"f"), 0) << "the locale sorts é before f, the code units do not";
    EXPECT_GT(SString(L"éa").Compare(L"f"), 0);
    EXPECT_EQ(0, SString(L"ÉA").CollateNoCase(L"éa"));
    EXPECT_NE(0, SString(L"ÉA").Collate(L"éa"));

    const struct {
        const wchar_t* text;
        const wchar_t* pattern;
        bool match, noCase;
    } patterns[] = { { L"report.txt", L"*.txt", true, true },
                     { L"report.TXT", L"R*.t?t", false, true },
                     { L"", L"", true, true },
                     { L"", L"*", true, true },
                     { L"", L"?", false, false },
                     { L"abc", L"a?c", true, true },
                     { L"abc", L"abc*", true, true },
                     { L"abc", L"ab", false, false },
                     { L"mississippi", L"m*iss*p*", true, true },
                     { L"mississippi", L"*iss?x*", false, false },
                     { L"É", L"é", false, true } };
    for (const auto& c : patterns) {
        EXPECT_EQ(c.match, SString(c.text).Match(c.pattern)) << SString(c.pattern);
        EXPECT_EQ(c.noCase, SString(c.text).MatchNoCase(c.pattern)) << SString(c.pattern);
    }
    EXPECT_FALSE(SString(L'a', 20000).Match(L"*a*a*a*b")) << "and soon";
}

TEST(StringExtraction, CutsAsPromised)
{
    const SString s(L"abcdef");
    const struct {
        SString result;
        const wchar_t* expected;
    } cases[] = {
        { s.Left(2), L"ab" },
        { s.Left(99), L"abcdef" },
        { s.Right(2), L"ef" },
        { s.Right(99), L"abcdef" },
        { s.Right(-1), L"" },
        { s.Mid(2, 2), L"cd" },
        { s.Mid(4, 99), L"ef" },
        { s.Mid(-2, 2), L"ab" },
        { s.Mid(6, 1), L"" },
        { s.Mid(2), L"cdef" },
        { s.Split(L'c'), L"ab" },
        { s.Split(L'x'), L"abcdef" },
        { SString(L"abc", L"abc" + 0), L"" },
    };
    for (const auto& c : cases)
        EXPECT_STREQ(c.expected, c.result);
    SString rest, path(L"one;two;;");
    EXPECT_STREQ(L"one", path.Split(&rest, L';'));
    EXPECT_STREQ(L"two;;", rest);
    std::vector<std::wstring> parts;
    SString head;
    while (path.Split(&head, &path, L';'))
        parts.push_back(Wide(head));
    EXPECT_EQ((std::vector<std::wstring>{ L"one", L"two", L"" }), parts);
    EXPECT_TRUE(path.IsEmpty());
    EXPECT_EQ(0, SString(L"whole").Split(&head, &rest, L';'));
    EXPECT_STREQ(L"whole", head);
    EXPECT_TRUE(rest.IsEmpty());
    EXPECT_EQ(L'\0', s.GetAt(6));
    EXPECT_EQ(L'\0', s.GetAt(-1));
    EXPECT_EQ(L'f', s[5]);
    EXPECT_STREQ(L"", s.GetPointerAt(99));
}

TEST(StringEditing, NarrowTextsJoinInTheAnsiCodePage)
{
    const SString text(L"ab");
    EXPECT_STREQ(L"abc", text + 'c');
    EXPECT_STREQ(L"cab", 'c' + text);
    EXPECT_STREQ(L"abcd", text + "cd");
    EXPECT_STREQ(L"cdab", "cd" + text);
    EXPECT_STREQ(L"ab", text + static_cast<const char*>(nullptr));
    EXPECT_STREQ(L"ab", text);
}

TEST(StringEditing, LettersAndMarks)
{
    EXPECT_STREQ(L"deja vu, Angstrom", SString(L"d\u00e9j\u00e0 vu, \u00c5ngstr\u00f6m").NoAccent());
    EXPECT_STREQ(L"e\u00f8", SString(L"e\u0301\u00f8").NoAccent())
        << "marks go; a letter that does not decompose stays";
    EXPECT_STREQ(L"\u00c9\u0416", SString(L"\u00e9\u0436").ToUpper());
    EXPECT_STREQ(L"\u00e9\u0436", SString(L"\u00c9\u0416").ToLower());
    EXPECT_STREQ(L"abCDef", SString(L"abcdef").ToUpper(2, 2));
    EXPECT_STREQ(L"ABcdef", SString(L"ABCDEF").ToLower(2, 99));
    EXPECT_STREQ(L"b\U0001F600a", SString(L"a\U0001F600b").MakeReverse());
    EXPECT_STREQ(L"hippp", SString(L"jkqqp").Translate(L"jkq", L"hip"));
    EXPECT_STREQ(L"xyzz", SString(L"abcd").Translate(L"abcd", L"xyz"));
    EXPECT_STREQ(L"bd", SString(L"abcd").Translate(L"ac", L""));
    EXPECT_STREQ(L"x", SString(L"a").Translate(L"aa", L"xy"));
    const SString first = SString().Randomize(40), second = SString().Randomize(40);
    EXPECT_NE(first, second);
    EXPECT_TRUE(first.IsAlphaNum());
    EXPECT_EQ(40, first.Length());
    EXPECT_STREQ(L"zzz", SString().Randomize(3, L"z"));
    EXPECT_TRUE(SString(L"x").Randomize(0).IsEmpty());
}

TEST(StringCursors, WalkCharactersLinesWordsAndParts)
{
    const auto collect = [](auto pieces) {
        std::vector<std::wstring> all;
        for (const SString& piece : pieces)
            all.push_back(Wide(piece));
        return all;
    };
    typedef std::vector<std::wstring> List;
    const struct {
        const wchar_t* text;
        List lines, words, parts;
    } cases[] = {
        { L"", {}, {}, {} },
        { L"one", { L"one" }, { L"one" }, { L"one" } },
        { L"a\r\n\rb;\n", { L"a", L"", L"b;" }, { L"a", L"b" }, { L"a\r\n\rb", L"\n" } },
        { L"don't 'quote' d\u2019\u00e9t\u00e9;;x2-;",
          { L"don't 'quote' d\u2019\u00e9t\u00e9;;x2-;" },
          { L"don't", L"quote", L"d\u2019\u00e9t\u00e9", L"x2" },
          { L"don't 'quote' d\u2019\u00e9t\u00e9", L"", L"x2-", L"" } },
        { L" \n", { L" " }, {}, { L" \n" } },
    };
    for (const auto& c : cases) {
        const SString text(c.text);
        EXPECT_EQ(c.lines, collect(SLines(text)));
        EXPECT_EQ(c.words, collect(SWords(text)));
        EXPECT_EQ(c.parts, collect(SParts(text, L';')));
    }
    SString text(L"first second");
    SString::word_iterator word(text);
    text = L"gone";
    EXPECT_STREQ(L"first", SString(word));
    EXPECT_EQ(5, word.GetLength());
    SString::word_iterator copy(word);
    EXPECT_TRUE(word.AdvanceNext());
    EXPECT_STREQ(L"second", *word);
    EXPECT_NE(copy, word);
    EXPECT_FALSE(word.AdvanceNext());
    EXPECT_FALSE(word.AdvanceNext());
    EXPECT_EQ(SString::word_iterator(), word);
    word.reset();
    EXPECT_EQ(L'f', *word.GetPointer());

    const SString line(L"a b\n");
    SString::const_iterator at(line, -4);
    const SString::const_iterator::State start = at.SaveState();
    --at;
    EXPECT_EQ(L'a', *at++);
    EXPECT_TRUE(at.IsWhitespace());
    ++at, ++at;
    EXPECT_TRUE(at.IsEoln());
    ++at, ++at, ++at;
    EXPECT_TRUE(at.IsEnd() && at.IsEoln() && !at.IsWhitespace());
    EXPECT_EQ(SString::const_iterator(line, 99), at);
    at.RestoreState(start);
    EXPECT_EQ(SString::const_iterator(line), at);
    EXPECT_EQ(&line, &at.Str());

    SString original(L"kept");
    SStringCopyIterator kept(original, 2);
    original = L"other";
    SStringCopyIterator second(kept), third(original);
    third = kept;
    EXPECT_EQ(L'p', *kept);
    EXPECT_EQ(L'p', *second);
    EXPECT_STREQ(L"kept", third.Str());
    EXPECT_EQ(2, third.SaveState());
}

TEST(StringCursors, ServeExpressionsOnOnePiece)
{
    SString::line_iterator line(SString(L"one\nthree"));
    EXPECT_EQ(3, line->Length());
    const SString first = *line++;
    EXPECT_STREQ(L"one", first);
    EXPECT_EQ(5, line++->Length());
    EXPECT_FALSE(line);
    static_assert(!std::is_constructible<SString::const_iterator, SString>::value, "over a temporary");
    SString::const_iterator at(first, 1);
    EXPECT_FALSE(at.IsWhitespace());
    const SString blank(L"a\u00a0");
    EXPECT_TRUE(SString::const_iterator(blank, 1).IsWhitespace());
    EXPECT_FALSE(SString::const_iterator(blank, 2).IsWhitespace());
}
