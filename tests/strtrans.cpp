// Symbols, and variables in texts replaced by their values.
#include "strtrans.h"

#include "sexcept.h"

#include "support/stringhelp.h"

#include <gtest/gtest.h>

#include <string>

namespace {

class Expanded : public testing::Test {
protected:
    Expanded()
    {
        m_symbols.Set(L"N", 0, L"abcdef");
        m_symbols.Set(L"NAME", 0, L"abc");
        m_symbols.Set(L"SHORT", 0, L"ab");
        m_symbols.Set(L"ITS", 0, L"it's");
        m_symbols.Set(L"QUOTED", 0, L"\"a\"\"b'c\"");
        m_symbols.Set(L"NUMBER", 0, L"255");
        m_symbols.Set(L"BLANKS", 0, L"  a b ");
        m_symbols.Set(L"EMPTY", 0, L"");
        m_symbols.Set(L"MIXED", 0, L"aBC dEF");
        m_symbols.Set(L"a:b", 0, L"colon");
        m_translator.SetSymbolTable(&m_symbols);
    }
    SString Of(const wchar_t* text, long id = SSymbolTable::kAnyId)
    {
        return m_translator.Translate(text, m_status, id);
    }

    SSymbolTable m_symbols;
    SStringTranslator m_translator;
    int m_status = 99;
};

} // namespace

TEST(Symbols, AreToldApartByNameAndId)
{
    SSymbolTable symbols;
    EXPECT_TRUE(symbols.Set(L"a", 5, L"five"));
    EXPECT_TRUE(symbols.Set(L"a", 3, L"three"));
    EXPECT_FALSE(symbols.Set(L"a", 5, L"FIVE"));
    EXPECT_TRUE(symbols.Set(L"A", 5, L"other"));
    EXPECT_EQ(3, symbols.Count());
    EXPECT_STREQ(L"FIVE", symbols.Find(L"a", 5)->value);
    EXPECT_STREQ(L"three", symbols.Find(L"a", SSymbolTable::kAnyId)->value);
    EXPECT_EQ(5, symbols.Find(L"A", SSymbolTable::kAnyId)->id);
    EXPECT_EQ(nullptr, symbols.Find(L"a", 4));
    EXPECT_EQ(nullptr, symbols.Find(L"b", SSymbolTable::kAnyId));
    const SSymbolTable copy(symbols);
    EXPECT_EQ(2, symbols.Remove(L"a"));
    EXPECT_EQ(0, symbols.Remove(L"a"));
    EXPECT_EQ(1, symbols.Count());
    EXPECT_EQ(3, copy.Count());
    symbols.Clear();
    EXPECT_EQ(0, symbols.Count());
}

TEST_F(Expanded, VariablesBecomeTheirValues)
{
    const struct {
        const wchar_t *text, *result;
    } kCases[] = {
        { L"Name: %NAME%", L"Name: abc" },
        { L"%NAME%%SHORT%", L"abcab" },
        { L"no variable", L"no variable" },
        { L"", L"" },
        { L"a%%b", L"%b" },
        { L"50%% done", L"% done" },
        { L"%NAME% a%%b %NAME%", L"abc%b abc" },
        { L"%%%%", L"%%" },
        { L"%NAME", L"%NAME" },
        { L"100% of %NAME%", L"100NAME%" }, // " of " is a name
        { L"%NA\nME% %NAME%", L"%NA\nME% %NAME%" },
        { L"line\n%NAME%\n%SHORT%", L"line\nabc\nab" },
        { L"<%UNKNOWN%>", L"<>" },
        { L"%", L"%" },
        { L"%-6:SHORT%", L"    ab" },
        { L"%6:SHORT%", L"ab    " },
        { L"%1:SHORT%", L"ab" },
        { L"%.2:N%", L"ab" },
        { L"%.2-:N%", L"ef" },
        { L"%.-2:N%", L"ef" },
        { L"%.99:N%", L"abcdef" },
        { L"%.1x2:N%", L"ab" }, // a later run replaces an earlier one
        { L"%3.2M:N%", L"cd" },
        { L"%9.2M:N%", L"" },
        { L"%0.2M:N%", L"abcdef" },
        { L"%3.0M:N%", L"abcdef" },
        { L"%.U:N%", L"ABCDEF" },
        { L"%.UF:N%", L"Abcdef" },
        { L"%.L:MIXED%", L"abc def" },
        { L"%.LF:MIXED%", L"aBC dEF" },
        { L"%.c:MIXED%", L"Abc def" },
        { L"<%.T:BLANKS%>", L"<a b>" },
        { L"%.q:ITS%", L"'it''s'" },
        { L"%.Q:ITS%", L"\"it's\"" },
        { L"%.qQ:ITS%", L"'it''s'" },
        { L"%.q:QUOTED%", L"'a\"b''c'" },
        { L"%.Q:QUOTED%", L"\"\"\"a\"\"\"\"b'c\"\"\"" },
        { L"%6.q:SHORT%", L"'ab    '" },
        { L"%.H:NUMBER%", L"ff" },
        { L"%.H:N%", L"abcdef" },
        { L"%-5.H:NUMBER%", L"   ff" },
        { L"%?:EMPTY%", L"" },
        { L"%:NAME%", L"abc" },
        { L"%a:b%", L"colon" }, // no option: the name begins where the options end
        { L"%:a:b%", L"colon" },
        { L"%.zzz:NAME%", L"abc" },
        { L"%.:NAME%", L"abc" },
        { L"%.2:%", L"" },
    };
    for (const auto& c : kCases)
        EXPECT_STREQ(c.result, Of(c.text)) << SString(c.text);
    EXPECT_STREQ(L"", Of(nullptr));
}

TEST_F(Expanded, TheStatusIsThatOfTheLastReference)
{
    const struct {
        const wchar_t* text;
        int status;
    } kCases[] = {
        { L"nothing", 99 },   { L"%NAME%", 1 },   { L"%NONE%", -1 },        { L"%?:NONE%", 0 },
        { L"%?:EMPTY%", 0 },  { L"%EMPTY%", 1 },  { L"%NAME% %NONE%", -1 }, { L"%NONE% %NAME%", 1 },
        { L"%NONE% %%", -1 }, { L"%?:NAME%", 1 },
    };
    for (const auto& c : kCases) {
        m_status = 99;
        Of(c.text);
        EXPECT_EQ(c.status, m_status) << SString(c.text);
    }
    m_translator.SetSymbolTable(nullptr);
    EXPECT_STREQ(L"<>", Of(L"<%NAME%>"));
    EXPECT_EQ(-1, m_status);
}

TEST_F(Expanded, TheIdSaysWhichSymbolsQualify)
{
    m_symbols.Set(L"X", 3, L"three");
    m_symbols.Set(L"Y", SSymbolTable::kAnyId, L"any");
    EXPECT_STREQ(L"three", Of(L"%X%", 3));
    EXPECT_STREQ(L"", Of(L"%X%", 4));
    EXPECT_STREQ(L"three", Of(L"%X%"));
    EXPECT_STREQ(L"any", Of(L"%Y%"));
    EXPECT_STREQ(L"", Of(L"%Y%", 0));
}

TEST_F(Expanded, DelimitersMayBeOthers)
{
    m_translator.ChangeDelimiter(L'$');
    EXPECT_STREQ(L"abc % $", Of(L"$NAME$ % $"));
    m_translator.ChangeDelimiter(L"${", L"}");
    EXPECT_STREQ(L"<abc> }", Of(L"<${NAME}> }"));
    EXPECT_STREQ(L"${ x", Of(L"a${${ x")) << "a doubled start";
    EXPECT_STREQ(L"ABC", Of(L"${.U:NAME}"));
    EXPECT_STREQ(L"${NAME", Of(L"${NAME"));
    EXPECT_STREQ(L"${NAME\n}", Of(L"${NAME\n}"));
    m_translator.ChangeDelimiter(L"", L"");
    EXPECT_STREQ(L"${NAME}", Of(L"${NAME}"));
    m_translator.ChangeDelimiter(L'%');
    EXPECT_STREQ(L"abc", Of(L"%NAME%"));
}

namespace {

/// Answers from itself, writes brackets around texts, and gives up at "stop".
class Own : public SStringTranslator {
public:
    using SStringTranslator::AppendText;
    using SStringTranslator::FormatOptions;
    using SStringTranslator::GetOptions;

    int LookupVariable(const SString& name, OPTIONS& options, long id, SString* value, int*) override
    {
        last = options;
        if (name == L"stop")
            throw id;
        if (name == L"abandon")
            return kAbandon;
        *value = name + name;
        return 1;
    }
    void CopyText(SString& out, const wchar_t* from, const wchar_t* to) override
    {
        out += L"[";
        SStringTranslator::CopyText(out, from, to);
        out += L"]";
    }
    OPTIONS last;
};

} // namespace

TEST(Translator, LetsDerivedClassesLookUpAndEmit)
{
    Own own;
    int status = 0;
    EXPECT_STREQ(L"[a]bb[c]dd", own.Translate(L"a%b%c%d%", status, 7));
    EXPECT_THROW(own.Translate(L"%stop%", status, 7), long);
    EXPECT_STREQ(L"", own.Translate(L"a%b%c%abandon%d%e%", status, 7));
    EXPECT_EQ(SStringTranslator::kAbandon, status);
    own.Translate(L"%?-12.3-4UQM:x%", status, 7);
    EXPECT_EQ(0x001u | 0x020u | 0x004u | 0x080u | 0x400u, own.last.flags);
    EXPECT_EQ(12, own.last.width);
    EXPECT_EQ(-4, own.last.precision);
    const wchar_t* const kReference = L"99999999999.99999999999:x";
    SStringTranslator::OPTIONS options;
    EXPECT_STREQ(L"x", Own::GetOptions(&options, kReference, kReference + std::wcslen(kReference)));
    EXPECT_EQ(0x7FFFFFFF, options.width);
    EXPECT_EQ(0x7FFFFFFF, options.precision);
    EXPECT_THROW(own.Translate(L"%2147483647:x%", status, 7), SEOutOfMemory);
}

TEST(Translator, EmitsPiecesOfTheResultItself)
{
    // So large that the memory is unmapped with the buffer.
    constexpr int kUnits = 1000000;
    Own own;
    SString out(L'x', kUnits);
    own.AppendText(out, out.begin() + 1);
    EXPECT_EQ(SString(L'x', 2 * kUnits - 1), out);
}

TEST_F(Expanded, LongTextsTakeTimeInProportion)
{
    // Quadratic work on this many references would take minutes, and the test's time limit with it.
    std::wstring text, expected;
    for (int i = 0; i < 200000; ++i) {
        text += L"some text %NAME%\n";
        expected += L"some text abc\n";
    }
    EXPECT_TRUE(expected == Wide(Of(text.c_str())));
    std::wstring open(1000000, L'%');
    open[999999] = L'x';
    Of(open.c_str());
    std::wstring line, values;
    for (int i = 0; i < 200000; ++i) {
        line += L"%NAME%,";
        values += L"abc,";
    }
    EXPECT_TRUE(values == Wide(Of(line.c_str())));
    std::wstring unfinished;
    for (int i = 0; i < 200000; ++i)
        unfinished += L"%a\n";
    EXPECT_TRUE(unfinished == Wide(Of(unfinished.c_str())));
}
