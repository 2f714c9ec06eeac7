// base64.cpp: bytes as Base64 text and back.
#include "base64.h"

#include "base64kern.h"
#include "bloblock.h"
#include "madetext.h"
#include "sexcept.h"

namespace {

long Encode(const void* bytes, unsigned long count, SString& text)
{
    // A text that has the room keeps it: fresh memory costs more than the encoding.
    MadeText encoded;
    encoded.swap(text);
    if (!bytes || count == 0)
        return 0;
    const unsigned long long length = (static_cast<unsigned long long>(count) + 2) / 3 * 4;
    if (length > static_cast<unsigned long long>(SString::kMaxLength))
        throw SEOutOfMemory(S_HERE);
    const int units = static_cast<int>(length);
    Base64Kern::Best().encode(static_cast<const unsigned char*>(bytes), count, encoded.Make(units));
    text = std::move(encoded);
    return 0;
}

} // namespace

long Base64Tools::Base64Encode(const SBlob& bytes, SString& text)
{
    const BlobBytes held(bytes);
    return Encode(held.Data(), held.Size(), text);
}

long Base64Tools::Base64Encode(const void* bytes, int count, SString& text)
{
    return Encode(bytes, count > 0 ? static_cast<unsigned long>(count) : 0, text);
}

long Base64Tools::Base64Decode(const SString& text, SBlob& bytes)
{
    if (text.IsEmpty()) {
        bytes.Free();
        return 0;
    }
    // Rounded to the nearest; no group of characters makes more.
    const unsigned long estimate = static_cast<unsigned long>(::MulDiv(text.Length(), 3, 4));
    SBlob decoded;
    size_t made = 0;
    const bool held = FillBlob(decoded, estimate, [&](unsigned char* to) {
        made = Base64Kern::Best().decode(text, static_cast<size_t>(text.Length()), to);
    });
    if (!held) {
        bytes.Free();
        throw SEOutOfMemory(S_HERE);
    }
    if (made != estimate && !decoded.Realloc(static_cast<unsigned long>(made))) {
        bytes.Free();
        throw SEOutOfMemory(S_HERE);
    }
    bytes = std::move(decoded);
    return 0;
}
