// rtffragment.cpp: the tables of a fragment.
#include "rtffragment.h"

#include "rtftags.h"
#include "strbuffer.h"

#include <algorithm>

namespace {

bool IsPlain(std::wstring_view text)
{
    return std::all_of(text.begin(), text.end(), [](wchar_t c) { return c > 0 && c < 0x80; });
}

void Append(SString& text, std::wstring_view piece)
{
    text.Append(piece.data(), static_cast<int>(piece.size()));
}

std::wstring_view WithoutBlank(const RtfToken& word)
{
    std::wstring_view text = word.Text();
    while (!text.empty() && text.back() == L' ')
        text.remove_suffix(1);
    return text;
}

// A name in the making. Bytes are kept back until their second one, if they need one, is there.
class Name {
public:
    explicit Name(RtfDecoder& decoder) : m_decoder(decoder) {}

    void Start(int page)
    {
        m_text.Clear();
        m_page = page;
        m_lead = 0;
        m_skip = 0;
    }
    void SetPage(int page) { m_page = page; }
    bool IsEmpty() const { return m_text.IsEmpty(); }

    void AddUnicode(int number)
    {
        m_text << static_cast<wchar_t>(number);
        m_skip = 1;
    }
    void AddByte(unsigned char byte)
    {
        if (m_skip > 0)
            --m_skip;
        else
            Decode(byte);
    }
    /// Adds text up to its ";"; whether there was one.
    bool AddText(std::wstring_view text)
    {
        for (const wchar_t c : text) {
            if (c == L'\r' || c == L'\n' || c == L'\0')
                continue;
            if (c == L';')
                return true;
            if (c < 0x100)
                AddByte(static_cast<unsigned char>(c));
            else
                m_text << c;
        }
        return false;
    }
    SString Take() { return RtfEscapedName(m_text.Detach().Trim(L' ')); }

private:
    void Decode(unsigned char byte)
    {
        wchar_t character;
        if (m_lead != 0) {
            character = m_decoder.Decode(m_page, m_lead, byte);
            m_lead = 0;
        } else if (m_decoder.IsLead(m_page, byte)) {
            m_lead = byte;
            return;
        } else {
            character = byte < 0x80 ? byte : m_decoder.Decode(m_page, byte);
        }
        m_text << (character != L'\0' ? character : L'?');
    }

    RtfDecoder& m_decoder;
    SStringBuffer m_text;
    int m_page = kRtfUsualPage;
    unsigned char m_lead = 0;
    int m_skip = 0; // characters that stand for a \u where a reader does not know it
};

// What font tables and style sheets have in common: entries, in braces or not, that end with ";".
class EntryReader {
public:
    EntryReader(std::wstring_view table, RtfDecoder& decoder, int page)
        : m_lexer(table), m_name(decoder), m_documentPage(page)
    {}
    virtual ~EntryReader() = default;
    EntryReader(const EntryReader&) = delete;
    EntryReader& operator=(const EntryReader&) = delete;

    void Run()
    {
        m_lexer.Next(); // the brace
        for (RtfToken keyword = m_lexer.Next(); keyword.kind == RtfToken::kSymbol; keyword = m_lexer.Next()) {
        }
        Begin();
        bool inBraces = false;
        for (;;) {
            const RtfToken token = m_lexer.Next();
            switch (token.kind) {
            case RtfToken::kEnd: return;
            case RtfToken::kOpen:
                if (m_started || inBraces)
                    OnGroup({ token.start, static_cast<size_t>(m_lexer.SkipGroup() - token.start) });
                else
                    inBraces = true;
                break;
            case RtfToken::kClose:
                Finish();
                if (!inBraces)
                    return;
                inBraces = false;
                break;
            case RtfToken::kWord:
                if (token.name == L"u")
                    m_name.AddUnicode(token.number);
                else if (token.name != L"bin" && !m_done)
                    OnWord(token);
                m_started = true;
                break;
            case RtfToken::kHex: AddToName(token); break;
            case RtfToken::kText: AddText(token, inBraces); break;
            case RtfToken::kSymbol: break;
            }
        }
    }

protected:
    virtual void OnWord(const RtfToken& word) = 0;
    virtual void OnGroup(std::wstring_view) {}
    /// The entry is complete and has this name.
    virtual void OnEntry(const SString& name) = 0;
    virtual void OnBegin() = 0;

    Name& GetName() { return m_name; }
    int DocumentPage() const { return m_documentPage; }

private:
    void Begin()
    {
        m_started = m_done = false;
        m_name.Start(m_documentPage);
        OnBegin();
    }
    void Finish()
    {
        const SString name = m_name.Take();
        if (m_started && !name.IsEmpty())
            OnEntry(name);
        Begin();
    }
    void AddToName(const RtfToken& byte)
    {
        if (!m_done)
            m_name.AddByte(static_cast<unsigned char>(byte.number));
    }
    void AddText(const RtfToken& token, bool inBraces)
    {
        if (m_done)
            return;
        std::wstring_view text = token.Text();
        if (inBraces) {
            m_started = true;
            m_done = m_name.AddText(text);
            return;
        }
        // Between entries in braces there is white space; entries without braces are ended by the ";" alone.
        for (size_t end; (end = text.find(L';')) != text.npos; text.remove_prefix(end + 1)) {
            m_name.AddText(text.substr(0, end));
            Finish();
        }
        if (m_started)
            m_name.AddText(text);
    }

    RtfLexer m_lexer;
    Name m_name;
    int m_documentPage;
    bool m_started = false; // a control word or a name has been read
    bool m_done = false;    // and its ";"
};

class FontReader : public EntryReader {
public:
    typedef void (*Visit)(void* context, const SRtfFontEntry& entry, int page);

    FontReader(const RtfSurvey& survey, RtfDecoder& decoder, Visit visit, void* context)
        : EntryReader(survey.fonts, decoder, survey.PageOfBytes()), m_visit(visit), m_context(context)
    {}

private:
    void OnBegin() override
    {
        m_entry = SRtfFontEntry();
        m_page = DocumentPage();
    }
    void OnWord(const RtfToken& word) override
    {
        if (word.name == L"f" && word.hasNumber) {
            m_entry.m_nNumber = word.number;
            return;
        }
        if (word.name == L"fcharset")
            m_page = RtfPageOfCharset(word.number, DocumentPage());
        else if (word.name == L"cpg" && word.number > 0)
            m_page = word.number;
        GetName().SetPage(m_page);
        Append(m_entry.m_strControls, WithoutBlank(word));
    }
    void OnGroup(std::wstring_view group) override
    {
        if (IsPlain(group))
            Append(GetName().IsEmpty() ? m_entry.m_strControls : m_entry.m_strAltGroup, group);
    }
    void OnEntry(const SString& name) override
    {
        m_entry.m_strName = name;
        m_visit(m_context, m_entry, m_page);
    }

    Visit m_visit;
    void* m_context;
    SRtfFontEntry m_entry;
    int m_page = kRtfUsualPage;
};

class StyleReader : public EntryReader {
public:
    typedef void (*Visit)(void* context, const SRtfStyleEntry& entry);

    StyleReader(const RtfSurvey& survey, RtfDecoder& decoder, Visit visit, void* context)
        : EntryReader(survey.styles, decoder, survey.PageOfBytes()), m_visit(visit), m_context(context)
    {}

private:
    void OnBegin() override
    {
        m_entry = SRtfStyleEntry();
        m_hasKind = false;
    }
    void OnWord(const RtfToken& word) override
    {
        const bool isKind =
            word.name == L"s" || word.name == L"cs" || word.name == L"ds" || word.name == L"ts";
        if (!isKind) {
            Append(m_entry.m_strControls, WithoutBlank(word));
            return;
        }
        if (m_hasKind)
            return;
        m_hasKind = true;
        m_entry.m_nNumber = word.number;
        m_entry.m_bCharStyle = word.name == L"cs";
        m_entry.m_bSectionStyle = word.name == L"ds";
        m_entry.m_bTableStyle = word.name == L"ts";
    }
    void OnEntry(const SString& name) override
    {
        m_entry.m_strName = name;
        m_visit(m_context, m_entry);
    }

    Visit m_visit;
    void* m_context;
    SRtfStyleEntry m_entry;
    bool m_hasKind = false;
};

} // namespace

void RtfReadFonts(const RtfSurvey& survey, RtfDecoder& decoder, FontReader::Visit visit, void* context)
{
    FontReader(survey, decoder, visit, context).Run();
}

void RtfReadStyles(const RtfSurvey& survey, RtfDecoder& decoder, StyleReader::Visit visit, void* context)
{
    StyleReader(survey, decoder, visit, context).Run();
}

SString RtfCleanColors(std::wstring_view table)
{
    SStringBuffer clean;
    clean << L"{\\colortbl";
    RtfLexer lexer(table);
    lexer.Next();
    for (;;) {
        const RtfToken token = lexer.Next();
        if (token.kind == RtfToken::kEnd || token.kind == RtfToken::kClose)
            break;
        if (token.kind == RtfToken::kOpen)
            lexer.SkipGroup();
        else if (token.kind == RtfToken::kWord && token.name != L"bin" && token.name != L"colortbl")
            clean << WithoutBlank(token);
        else if (token.kind == RtfToken::kText)
            clean.Append(L';', static_cast<int>(std::count(token.start, token.end, L';')));
    }
    clean << L'}';
    return clean.Detach();
}

void RtfAppendWord(SStringBuffer& out, const RtfToken& word, int number)
{
    out << L'\\' << word.name << number;
    if (word.HasBlank())
        out << L' ';
}

SString RtfRenumbered(const SString& controls, const RtfFragment& fragment)
{
    SStringBuffer out(controls.Length());
    RtfLexer lexer(static_cast<std::wstring_view>(controls));
    for (RtfToken token = lexer.Next(); token.kind != RtfToken::kEnd; token = lexer.Next()) {
        int number = RtfFragment::kKeep;
        if (token.kind == RtfToken::kWord && token.hasNumber)
            number = fragment.NewNumber(RtfWordOf(token.name), token.number);
        if (number == RtfFragment::kKeep)
            out << token.Text();
        else if (number != RtfFragment::kDrop)
            RtfAppendWord(out, token, number);
    }
    return out.Detach();
}
