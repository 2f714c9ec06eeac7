// picture.cpp: an off-screen picture, and its PNG file (RFC 2083): eight bits a colour, no filters.
#include "picture.h"

#include "safefile.h"
#include "sexcept.h"
#include "smemstream.h"
#include "szipstream.h"

namespace {

typedef unsigned char Byte;

unsigned Crc(const Byte* bytes, unsigned long count)
{
    unsigned crc = ~0u;
    for (; count > 0; --count) {
        crc ^= *bytes++;
        for (int bit = 0; bit < 8; ++bit)
            crc = crc >> 1 ^ (crc & 1 ? 0xEDB88320u : 0);
    }
    return ~crc;
}

unsigned Adler(const Byte* bytes, unsigned long count)
{
    constexpr unsigned kModulus = 65521;
    unsigned low = 1, high = 0;
    for (; count > 0; --count) {
        low = (low + *bytes++) % kModulus;
        high = (high + low) % kModulus;
    }
    return high << 16 | low;
}

void PutNumber(SOutputStream& out, unsigned number)
{
    const Byte bytes[] = { static_cast<Byte>(number >> 24), static_cast<Byte>(number >> 16),
                           static_cast<Byte>(number >> 8), static_cast<Byte>(number) };
    out.Write(bytes, sizeof bytes);
}

// A chunk: its length, its name and data, and the check sum of these two.
void PutChunk(SOutputStream& out, const char* name, const SOutputGlobal& data)
{
    SOutputGlobal named;
    named.Write(name, 4);
    named.Write(data.GetBytes(), data.GetSize());
    PutNumber(out, data.GetSize());
    out.Write(named.GetBytes(), named.GetSize());
    PutNumber(out, Crc(static_cast<const Byte*>(named.GetBytes()), named.GetSize()));
}

} // namespace

Picture::Picture(int width, int height) : m_width(width), m_height(height), m_bits(nullptr)
{
    BITMAPINFO info = {};
    info.bmiHeader.biSize = sizeof info.bmiHeader;
    info.bmiHeader.biWidth = width;
    info.bmiHeader.biHeight = -height; // top row first
    info.bmiHeader.biPlanes = 1;
    info.bmiHeader.biBitCount = 32;
    void* bits = nullptr;
    m_dc.Attach(::CreateCompatibleDC(nullptr));
    m_bitmap.Attach(::CreateDIBSection(nullptr, &info, DIB_RGB_COLORS, &bits, nullptr, 0));
    if (!m_dc.GetHandle() || !bits)
        throw SECOMException(S_HERE, E_OUTOFMEMORY);
    m_bits = static_cast<const unsigned char*>(bits);
    m_before = ::SelectObject(m_dc.GetHandle(), m_bitmap.GetHandle());
}

Picture::~Picture()
{
    ::SelectObject(m_dc.GetHandle(), m_before);
}

void Picture::SaveAsPng(const SString& path) const
{
    ::GdiFlush();
    SOutputGlobal rows, header, data, file;
    const Byte* pixel = m_bits;
    for (int y = 0; y < m_height; ++y) {
        rows.Write("", 1); // the number of the row's filter
        for (int x = 0; x < m_width; ++x, pixel += 4) {
            const Byte colours[] = { pixel[2], pixel[1], pixel[0] };
            rows.Write(colours, sizeof colours);
        }
    }
    PutNumber(header, static_cast<unsigned>(m_width));
    PutNumber(header, static_cast<unsigned>(m_height));
    header.Write("\x08\x02\0\0\0", 5); // eight bits a colour, red green blue
    data.Write("\x78\x01", 2);         // the head that deflate has in a PNG
    SDeflaterOutputStream packed(data);
    packed.Write(rows.GetBytes(), rows.GetSize());
    packed.Close();
    PutNumber(data, Adler(static_cast<const Byte*>(rows.GetBytes()), rows.GetSize()));

    file.Write("\x89PNG\r\n\x1A\n", 8);
    PutChunk(file, "IHDR", header);
    PutChunk(file, "IDAT", data);
    PutChunk(file, "IEND", SOutputGlobal());
    const long saved = SSafeFile::Replace(path, file.GetBytes(), file.GetSize());
    if (saved < 0)
        throw SECOMException(S_HERE, saved);
}

void SaveWindowAsPng(HWND window, const SString& path)
{
    RECT client;
    if (!::GetClientRect(window, &client) || client.right == 0 || client.bottom == 0)
        throw SException(S_HERE, L"the window shows nothing");
    Picture picture(client.right, client.bottom);
    const HDC screen = ::GetDC(window);
    ::BitBlt(picture.Dc().GetHandle(), 0, 0, client.right, client.bottom, screen, 0, 0, SRCCOPY);
    ::ReleaseDC(window, screen);
    picture.SaveAsPng(path);
}
