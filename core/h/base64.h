// base64.h: Base64Tools, bytes as Base64 text and back.
//
//     SString text;
//     Base64Tools::Base64Encode(blob, text);
//
// The alphabet is A-Z, a-z, 0-9, + and /, with = as padding, and no line breaks (RFC 4648, section 4).
//
// Failure  every call returns 0. No memory throws SEOutOfMemory and leaves the target empty; so does a text of more than
//          SString::kMaxLength characters.
// Cost     linear; memory speed where the processor has AVX2.
#ifndef BASE64_H
#define BASE64_H

#include "cvbase.h"
#include "shglobal.h"
#include "strclss.h"

class CVCORE_API Base64Tools {
public:
    static long Base64Encode(const SBlob& bytes, SString& text);
    /// Null, and a count of 0 or less, is no bytes.
    static long Base64Encode(const void* bytes, int count, SString& text);
    /// Reads up to the first "=" or the first character that is not of the alphabet: a line break or blank ends the text
    /// too. Of a last group of two or three characters one or two bytes are made, of a single one none. An empty text
    /// makes the blob null.
    static long Base64Decode(const SString& text, SBlob& bytes);
};

#endif
