// specimen.h: what there is to be shown: kinds with their variants, frames, pairs of colours.
#ifndef GALLERY_SPECIMEN_H
#define GALLERY_SPECIMEN_H

#include "gradient.h"
#include "strclss.h"

/// One picture of a kind.
struct Variant {
    SDrawGradient::GRADIENT_MODE mode;
    const wchar_t* caption;
};

struct Kind {
    const wchar_t* name;
    const Variant* variants;
    int count;
};

struct Frame {
    SDrawGradient::FRAME_TYPE type;
    const wchar_t* caption;
};

struct Colours {
    const wchar_t* name;
    COLORREF first, second;
};

extern const Kind kKinds[];
extern const int kKindCount;
extern const Frame kFrames[];
extern const int kFrameCount;
extern const Colours kColours[];
extern const int kColoursCount;

/// Paints one, with its frame, into a rectangle. `zoom` in percent is for its borders; the rectangle is as
/// large as it is.
void PaintSpecimen(SDC& dc, const SRect& rect, SDrawGradient::GRADIENT_MODE mode,
                   SDrawGradient::FRAME_TYPE frame, const Colours& colours, double zoom);

/// A line of text in the middle of a rectangle, or at its left.
void PaintText(SDC& dc, const SRect& rect, const SString& text, HFONT font, COLORREF color, UINT align);

/// An upright font of that height in pixels; the caller's.
HFONT MakeFont(int pixels, int weight);

#endif
