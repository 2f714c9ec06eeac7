// strbuffer.cpp: a builder is a string whose buffer grows ahead of its text.
#include "strbuffer.h"

#include "copytext.h"
#include "numbertext.h"

#include <cwchar>

// A private buffer with room for `n` more.
SStringData* SStringBuffer::MakeRoom(int n)
{
    SStringData* data = m_text.GetData();
    if (!data->HasOwnRoom(n)) {
        // A sum beyond the longest text is refused there, as every such length is.
        m_text.GrowAhead(n > SString::kMaxLength - data->length ? SString::kMaxLength + 1 : data->length + n);
        data = m_text.GetData();
    }
    return data;
}

SStringBuffer& SStringBuffer::Append(const wchar_t* text, int n)
{
    if (n <= 0 || !text)
        return *this;
    SStringData* data = m_text.GetData();
    if (!data->HasOwnRoom(n)) {
        // A piece of the builder itself must outlive the buffer that it stands in.
        const SString old = text >= m_text.begin() && text <= m_text.end() ? m_text : SString();
        MakeRoom(n);
        return Append(text, n);
    }
    TextKern::CopyText(data->Text() + data->length, text, static_cast<size_t>(n));
    data->length += n;
    data->Text()[data->length] = L'\0';
    return *this;
}

template <class Whole>
SStringBuffer& SStringBuffer::AppendWhole(Whole number)
{
    const NumberText text(number);
    return Append(text.first, text.Length());
}

SStringBuffer& SStringBuffer::operator<<(long number)
{
    return AppendWhole(number);
}
SStringBuffer& SStringBuffer::operator<<(unsigned long number)
{
    return AppendWhole(number);
}
SStringBuffer& SStringBuffer::operator<<(long long number)
{
    return AppendWhole(number);
}
SStringBuffer& SStringBuffer::operator<<(unsigned long long number)
{
    return AppendWhole(number);
}

SStringBuffer& SStringBuffer::Append(const wchar_t* text)
{
    const size_t length = SSafeStrLen(text);
    return Append(text, length > SString::kMaxLength ? SString::kMaxLength + 1 : static_cast<int>(length));
}

SStringBuffer& SStringBuffer::Append(wchar_t c, int repeat)
{
    if (repeat <= 0)
        return *this;
    SStringData* data = MakeRoom(repeat);
    std::wmemset(data->Text() + data->length, c, static_cast<size_t>(repeat));
    data->length += repeat;
    data->Text()[data->length] = L'\0';
    return *this;
}

void SStringBuffer::Reserve(int n)
{
    SStringData* data = m_text.GetData();
    if (n > data->length && (!data->IsOwn() || data->capacity < n))
        m_text.AllocCopy(m_text, data->length, 0, n - data->length);
}

void SStringBuffer::Clear()
{
    if (m_text.GetData()->IsOwn())
        Truncate(0);
    else
        m_text.Empty();
}

void SStringBuffer::Truncate(int n)
{
    if (n >= m_text.Length())
        return;
    m_text.CopyBeforeWrite();
    SStringData* data = m_text.GetData();
    data->length = n < 0 ? 0 : n;
    data->Text()[data->length] = L'\0';
}

SString SStringBuffer::Detach()
{
    if (m_text.IsEmpty()) {
        // An empty text is the static buffer in every string.
        m_text.Empty();
        return SString();
    }
    m_text.ShrinkLarge();
    return std::move(m_text);
}
