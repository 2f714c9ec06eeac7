// safemem.cpp: the exported text primitives: null texts, terminators and orders over the kernels of
// textkern.h.
#include "safemem.h"

#include "casetable.h"
#include "textblock.h"
#include "textkern.h"

#include <algorithm>
#include <cstring>

namespace {

constexpr size_t kNoLimit = ~static_cast<size_t>(0);

const wchar_t* OrEmpty(const wchar_t* text)
{
    return text ? text : L"";
}

int Sign(size_t a, size_t b)
{
    return a == b ? 0 : a < b ? -1 : 1;
}

// ---- Search in a text that is only as long as it proves to be ----

using FindKernel = const wchar_t* (*)(const wchar_t*, size_t, const wchar_t*, size_t);

constexpr size_t kFirstStretch = 512;

// Measuring the whole text first would make a walk from one occurrence to the next quadratic. So the text is
// measured and searched in stretches, each twice as long as the last: the cost follows the place where the
// text is found.
const wchar_t* FindInTerminated(FindKernel find, const wchar_t* text, const wchar_t* wanted)
{
    if (!text)
        return nullptr;
    wanted = OrEmpty(wanted);
    const size_t wantedLength = TextKern::Length(wanted, kNoLimit);
    if (wantedLength == 0)
        return text;
    for (size_t stretch = std::max(kFirstStretch, 2 * wantedLength);; stretch *= 2) {
        const size_t length = TextKern::Length(text, stretch);
        const wchar_t* found = find(text, length, wanted, wantedLength);
        if (found || length < stretch)
            return found;
        text += length - (wantedLength - 1);
    }
}

// ---- Number-aware order ----

bool IsDigit(wchar_t c)
{
    return c >= L'0' && c <= L'9';
}

// A place in a text of at most so many characters; at the end it stands on a NUL.
class Cursor {
public:
    Cursor(const wchar_t* text, size_t most) : m_text(text), m_most(most) {}
    wchar_t Unit() const { return m_most > 0 ? TextKern::UnitAt(m_text, 0) : L'\0'; }
    void Advance()
    {
        ++m_text;
        --m_most;
    }
    size_t SkipZeros()
    {
        size_t zeros = 0;
        for (; Unit() == L'0'; Advance())
            ++zeros;
        return zeros;
    }

private:
    const wchar_t* m_text;
    size_t m_most;
};

// Order of two runs of digits without leading zeros; moves both behind their run.
int CompareRuns(Cursor& a, Cursor& b)
{
    int order = 0;
    for (; IsDigit(a.Unit()) && IsDigit(b.Unit()); a.Advance(), b.Advance()) {
        if (order == 0)
            order = a.Unit() - b.Unit();
    }
    // More digits are more, whatever they are.
    if (IsDigit(a.Unit()) != IsDigit(b.Unit()))
        return IsDigit(a.Unit()) ? 1 : -1;
    return order;
}

// Each text is a row of tokens: numbers and other units. All digits lie on the same side of any other unit,
// so tokens have one order, and comparing first all tokens, then all counts of leading zeros makes a proper
// order of texts.
template <class Unit>
int CompareNumberAware(Cursor a, Cursor b, Unit unit)
{
    int byZeros = 0;
    for (;;) {
        if (IsDigit(a.Unit()) && IsDigit(b.Unit())) {
            const int zeros = Sign(a.SkipZeros(), b.SkipZeros());
            if (const int order = CompareRuns(a, b))
                return order;
            if (byZeros == 0)
                byZeros = zeros;
            continue;
        }
        const wchar_t ours = unit(a.Unit());
        const wchar_t its = unit(b.Unit());
        if (ours != its)
            return Sign(ours, its);
        if (ours == L'\0')
            return byZeros;
        a.Advance();
        b.Advance();
    }
}

wchar_t AsIs(wchar_t c)
{
    return c;
}

} // namespace

// ---- Length ----

size_t SSafeStrLen(const wchar_t* text)
{
    return text ? TextKern::Length(text, kNoLimit) : 0;
}

size_t SSafeStrNLen(const wchar_t* text, size_t most)
{
    return text ? TextKern::Length(text, most) : 0;
}

// ---- Comparison ----

int SSafeStrCmp(const wchar_t* a, const wchar_t* b)
{
    return TextKern::CompareTerminated(OrEmpty(a), OrEmpty(b), kNoLimit);
}

int SSafeStrNCmp(const wchar_t* a, const wchar_t* b, size_t count)
{
    return TextKern::CompareTerminated(OrEmpty(a), OrEmpty(b), count);
}

int SSafeStrICmp(const wchar_t* a, const wchar_t* b)
{
    return TextKern::CompareTerminatedNoCase(OrEmpty(a), OrEmpty(b), kNoLimit);
}

int SSafeStrNICmp(const wchar_t* a, const wchar_t* b, size_t count)
{
    return TextKern::CompareTerminatedNoCase(OrEmpty(a), OrEmpty(b), count);
}

int SSafeStrNbCmp(const wchar_t* a, const wchar_t* b, size_t count, SCaseRule rule)
{
    const Cursor ours(OrEmpty(a), count);
    const Cursor its(OrEmpty(b), count);
    return rule == kIgnoreCase ? CompareNumberAware(ours, its, CaseTable::Upper)
                               : CompareNumberAware(ours, its, AsIs);
}

int SSafeMemCmp(const wchar_t* a, size_t aLength, const wchar_t* b, size_t bLength)
{
    return TextKern::Compare(a, a ? aLength : 0, b, b ? bLength : 0);
}

int SSafeMemICmp(const wchar_t* a, size_t aLength, const wchar_t* b, size_t bLength)
{
    return TextKern::CompareNoCase(a, a ? aLength : 0, b, b ? bLength : 0);
}

// ---- Search ----

const wchar_t* SSafeStrChr(const wchar_t* text, wchar_t c)
{
    if (!text)
        return nullptr;
    const wchar_t* found = TextKern::FindCharOrEnd(text, c);
    return TextKern::UnitAt(found, 0) == c ? found : nullptr;
}

const wchar_t* SSafeStrRChr(const wchar_t* text, wchar_t c)
{
    return text ? TextKern::FindLastChar(text, TextKern::Length(text, kNoLimit) + 1, c) : nullptr;
}

const wchar_t* SSafeStrStr(const wchar_t* text, const wchar_t* wanted)
{
    return FindInTerminated(TextKern::FindPart, text, wanted);
}

const wchar_t* SSafeStrIStr(const wchar_t* text, const wchar_t* wanted)
{
    return FindInTerminated(TextKern::FindPartNoCase, text, wanted);
}

const wchar_t* SSafeMemChr(const wchar_t* text, size_t length, wchar_t c)
{
    return text ? TextKern::FindChar(text, length, c) : nullptr;
}

const wchar_t* SSafeMemRChr(const wchar_t* text, size_t length, wchar_t c)
{
    return text ? TextKern::FindLastChar(text, length, c) : nullptr;
}

const wchar_t* SSafeMemStr(const wchar_t* text, size_t length, const wchar_t* wanted, size_t wantedLength)
{
    return text ? TextKern::FindPart(text, length, wanted, wanted ? wantedLength : 0) : nullptr;
}

const wchar_t* SSafeMemIStr(const wchar_t* text, size_t length, const wchar_t* wanted, size_t wantedLength)
{
    return text ? TextKern::FindPartNoCase(text, length, wanted, wanted ? wantedLength : 0) : nullptr;
}

// ---- Copying into a buffer of a given size ----

int SSafeStrCpy(wchar_t* to, size_t room, const wchar_t* from)
{
    if (!to || room == 0)
        return 0;
    from = OrEmpty(from);
    const size_t length = TextKern::Length(from, room);
    const size_t copied = std::min(length, room - 1);
    std::memmove(to, from, copied * sizeof(wchar_t));
    TextKern::SetUnitAt(to, copied, L'\0');
    return copied == length;
}

int SSafeStrCat(wchar_t* to, size_t room, const wchar_t* from)
{
    if (!to || room == 0)
        return 0;
    const size_t used = TextKern::Length(to, room);
    if (used == room) {
        TextKern::SetUnitAt(to, room - 1, L'\0');
        return 0;
    }
    return SSafeStrCpy(to + used, room - used, from);
}

// ---- Case, a unit at a time ----

wchar_t SUpperChar(wchar_t c)
{
    return CaseTable::Upper(c);
}

wchar_t SLowerChar(wchar_t c)
{
    return CaseTable::Lower(c);
}

void SSafeStrUpper(wchar_t* text, size_t length)
{
    if (text)
        TextKern::ToUpper(text, length);
}

void SSafeStrLower(wchar_t* text, size_t length)
{
    if (text)
        TextKern::ToLower(text, length);
}
