// base64kern.h: the loops of Base64.
#ifndef BASE64KERN_H
#define BASE64KERN_H

#include "cvbase.h"

#include <cstddef>

namespace Base64Kern {

/// A way to encode and to decode. All ways give the same.
struct Way {
    /// Encodes all the bytes, padding included: (count + 2) / 3 * 4 characters.
    void (*encode)(const unsigned char* bytes, size_t count, wchar_t* text);
    /// Decodes up to the first character that ends the text; returns how many bytes that made. `bytes` has room for
    /// 3 bytes for every 4 characters, rounded up.
    size_t (*decode)(const wchar_t* text, size_t length, unsigned char* bytes);
};

/// The way with tables, and the best one of this processor.
const Way& Plain();
const Way& Best();

} // namespace Base64Kern

#endif
