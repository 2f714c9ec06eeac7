// picture.h: an off-screen picture to paint on, and what a window shows, as PNG files.
#ifndef SAMPLES_PICTURE_H
#define SAMPLES_PICTURE_H

#include "sgdi.h"
#include "strclss.h"

/// A picture of 32 bits a pixel. Throws SECOMException when it cannot be made.
class Picture {
public:
    Picture(int width, int height);
    ~Picture();
    Picture(const Picture&) = delete;
    Picture& operator=(const Picture&) = delete;

    /// Paints on it.
    SDC& Dc() { return m_dc; }
    int Width() const { return m_width; }
    int Height() const { return m_height; }
    /// Throws SECOMException when the file cannot be written.
    void SaveAsPng(const SString& path) const;

private:
    int m_width, m_height;
    const unsigned char* m_bits;
    SDC m_dc;
    SGdiObject m_bitmap;
    HGDIOBJ m_before;
};

/// Throws SException when there is nothing to see or the file cannot be written.
void SaveWindowAsPng(HWND window, const SString& path);

#endif
