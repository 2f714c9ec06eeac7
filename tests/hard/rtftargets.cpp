// RTF source: tags and tables out of it, numbers changed in it, documents merged.
//
// An input's first byte chooses what its bytes from 128 on stand for, since RTF is bytes by its nature; bit 0: units far
// from any byte.
#include "targets.h"

#include "lane.h"

#include "rtfmerge.h"
#include "rtftext.h"

#include <algorithm>

namespace {

SString TextOf(const std::string& input)
{
    const bool isWide = !input.empty() && (input[0] & 1) != 0;
    std::wstring text;
    for (size_t i = 1; i < input.size(); ++i) {
        const unsigned char byte = static_cast<unsigned char>(input[i]);
        text += static_cast<wchar_t>(isWide && byte >= 0x80 ? byte * 0x101 : byte);
    }
    if (text[0] == L'\0')
        text.clear(); // as a copy of such a string is
    return SString(std::wstring_view(text));
}

bool IsSpace(wchar_t c)
{
    return c == L' ' || c == L'\t' || c == L'\r' || c == L'\n';
}

// ---- Tags, parts, tables ----

// The tags of a text, one behind the other; checks that they and white space make all of it up.
SString TagsOf(const wchar_t* text, int wholeGroup)
{
    std::wstring tags;
    const wchar_t* at = text;
    const wchar_t* tag = nullptr;
    long length = 0;
    while (SRtfText::GetNextTag(&tag, &length, at, wholeGroup) == 1) {
        Require(tag >= at && length > 0, "a tag gets on");
        Require(std::all_of(at, tag, IsSpace), "there is only white space between tags");
        tags.append(tag, static_cast<size_t>(length));
        at = tag + length;
    }
    for (; *at; ++at)
        Require(IsSpace(*at), "nothing but white space is left");
    return SString(std::wstring_view(tags));
}

void TakeOut(int (*extract)(SString&, SString&, int), const SString& text)
{
    if (text.GetAt(0) == L'\0')
        return; // a copy would be empty
    SString part, again, rest(text), same(text);
    extract(part, rest, 1);
    extract(again, same, 0);
    Require(part == again && same == text, "a part is the same whether it is cut out or not");
    const int lost =
        text.Length() - rest.Length() - part.Length(); // white space behind a group without an end
    Require(lost == 0 || (lost > 0 && IsSpace(text[text.Length() - 1])), "what is cut out is gone");
    Require(part.IsEmpty() || text.Find(part) != nullptr, "a part stood in the text");
}

// What a table answers for a text: entries that exist, and the same ones when it is added again.
template <class Table, class Add, class Get>
void AddTwice(const SString& text, Add add, Get get)
{
    Table table;
    const SRtfNumberMap first = (table.*add)(text);
    for (const auto& pair : first)
        Require(pair.value >= 0 && pair.value < table.Count(), "a number is that of an entry");
    Require(table.Count() <= text.Length() + 1, "no more entries than characters");
    const int count = table.Count();
    (table.*add)(text);
    Require(table.Count() == count, "what is there already is not added");
    const SString written = (table.*get)();
    Require(written.Length() <= 60 * (text.Length() + 1), "a table is no longer than its parts can be");
    Table read;
    (read.*add)(written);
}

size_t EatRtfText(const std::string& input)
{
    const SString whole = TextOf(input);
    const SString text(whole.PszStr()); // up to the NUL, where tags end
    const Walled walled(Raw(text) + std::string(sizeof(wchar_t), '\0'));
    const SString tags = TagsOf(walled.As<wchar_t>(), 0);
    TagsOf(walled.As<wchar_t>(), 1);
    const SRtfNumberMap none;
    SString out;
    SRtfText::ChangeFontAndColor(out, text, none, none, none);
    Require(out == tags, "without numbers to change the tags stay");
    SRtfNumberMap shift;
    for (int i = 0; i < 9; ++i)
        shift.Set(i, 1000 + i);
    SRtfText::ChangeFontAndColor(out, whole, shift, shift, shift);
    Require(out.Length() <= 3 * whole.Length(), "a number becomes no longer than three more digits");

    SString header, rest(whole);
    SRtfText::ExtractHeader(header, rest, 1);
    Require(header.Length() + rest.Length() <= whole.Length() + 1, "a header is part of the text");
    for (const auto& extract :
         { SRtfText::ExtractFontTable, SRtfText::ExtractColorTable, SRtfText::ExtractStyleTable }) {
        TakeOut(extract, whole);
        TakeOut(extract, rest);
    }
    AddTwice<SRtfFontTable>(whole, &SRtfFontTable::AddFontTable, &SRtfFontTable::GetFontTable);
    AddTwice<SRtfColorTable>(whole, &SRtfColorTable::AddColorTable, &SRtfColorTable::GetColorTable);
    AddTwice<SRtfStyleTable>(whole, &SRtfStyleTable::AddStyleTable, &SRtfStyleTable::GetStyleTable);

    const Walled work(Raw(text) + std::string(sizeof(wchar_t), '\0'));
    wchar_t* cursor = work.As<wchar_t>();
    SRtfText::SkipSpace(&cursor);
    Require(!IsSpace(*cursor), "white space is skipped");
    SRtfText::RemoveTag(cursor, static_cast<long>(input.size() / 3));
    return 8 * Raw(whole).size();
}

// ---- Whole documents ----

size_t EatRtfDocument(const std::string& input)
{
    const SString text = TextOf(input);
    SString why, refused;
    const int isSound = SRtfMerger::Check(text, &why);
    Require((isSound == 1) == why.IsEmpty(), "a refusal says why");
    SRtfMerger merger;
    Require(merger.AddFragment(text, SRtfMerger::kPageBreak, &refused) == isSound && refused == why,
            "what is sound is merged");
    if (!isSound) {
        Require(merger.Count() == 0 && merger.GetDocument().IsEmpty(), "a refusal leaves nothing");
        return 0;
    }
    const int fonts = merger.GetFonts().Count(), colors = merger.GetColors().Count(),
              styles = merger.GetStyles().Count();
    merger.AddFragment(text, SRtfMerger::kParagraphBreak);
    Require(merger.GetFonts().Count() == fonts && merger.GetColors().Count() == colors &&
                merger.GetStyles().Count() == styles,
            "entries that are there already are not added");
    const SString document = merger.GetDocument();
    Require(std::all_of(document.begin(), document.end(), [](wchar_t c) { return c > 0 && c < 0x80; }),
            "a document is plain ASCII");
    SRtfMerger again;
    Require(again.AddFragment(document, SRtfMerger::kParagraphBreak, &why) == 1,
            "a merged document is sound");
    return 8 * Raw(again.GetDocument()).size();
}

// ---- Well-formed documents: the shapes that producers write ----

Inputs RtfSeeds()
{
    const auto plain = [](std::string text) { return '@' + text; };
    Inputs seeds = {
        plain("{\\rtf1\\ansi\\ansicpg1252\\deff0\\deflang1033{\\fonttbl{\\f0\\fswiss\\fcharset0 Arial;}"
              "{\\f1\\froman\\fcharset204{\\*\\falt Georgia}Times New Roman;}}"
              "{\\colortbl ;\\red255\\green0\\blue0;\\red1\\green2\\blue3;}"
              "{\\stylesheet{\\s0\\f1 Normal;}{\\s5\\b\\cf1\\sbasedon0\\snext0 Head;}"
              "{\\*\\cs10\\i Emphasis;}{\\ds2 Part;}}"
              "\\pard\\plain\\s5\\cf1\\f1 caf\\'e9 \\u1057? \\{\\}\\\\ {\\b bold}\\tab x\\par\r\n}\r\n"),
        plain("{\\rtf1\\ansi\\deff1{\\fonttbl{\\f1\\fcharset128 Kana;}{\\f2\\fcharset2 Signs;}}"
              "{\\*\\listtable{\\list\\listtemplateid7{\\listlevel\\levelnfc0{\\leveltext\\'02\\'00.;}"
              "{\\levelnumbers\\'01;}}\\listid5}}{\\*\\listoverridetable{\\listoverride\\listid5\\ls2}}"
              "{\\info{\\title x}}\\paperw11907\\margl1440\\sectd {\\header\\ltrpar top}\\ls2\\f1\\'82\\'a0"
              "\\uc2\\u945 ab{\\pict\\wmetafile8\\bin4 {}\\'\\par}{\\*\\unknown\\f9 x}\\sect\\f2 \\'41}"),
        plain("{\\urtf1{\\trowd\\cellx100\\intbl a\\cell\\row}{\\field{\\*\\fldinst PAGE}{\\fldrslt "
              "1}}\\plain b}"),
        plain("plain text"),
        std::string("A{\\rtf1{\\fonttbl{\\f0 \xE4\xFF;}}\\f0 \xC4\x80 x}"),
        plain("{\\rtf1 " + std::string(60, '{') + "x" + std::string(61, '}')),
    };
    SRtfMerger merger;
    for (const size_t i : { 0, 1, 2 })
        merger.AddFragment(TextOf(seeds[i]));
    const SString merged = merger.GetDocument();
    seeds.push_back(plain(std::string(merged.begin(), merged.end())));
    return seeds;
}

const char* const kWords[] = {
    "{",       "}",       "\\",     "\\'",        "\\'e9",       "\\u",           "\\u-1?", "\\bin9 ",
    "\\bin",   ";",       "\\f",    "\\f7",       "\\cf3",       "\\s",           "\\uc0 ", "\\uc99999",
    "\\plain", "\\deff9", "\\par",  "{\\fonttbl", "{\\colortbl", "{\\stylesheet", "{\\*\\", "{\\rtf1",
    "\\\n",    "\\ls2",   "\\sect", "\\listid5",  "{\\f1 a;}",   "\\red1;"
};

} // namespace

const Target kRtfTextTarget = { "rtftext",  RtfSeeds, Inputs(std::begin(kWords), std::end(kWords)),
                                EatRtfText, 1,        false };
const Target kRtfDocumentTarget = { "rtfmerge",     RtfSeeds, Inputs(std::begin(kWords), std::end(kWords)),
                                    EatRtfDocument, 1,        false };
