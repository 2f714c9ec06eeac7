// stextin.h: SInputTextStream, lines of text in any encoding.
//
//     SInputFile file(path);
//     SInputTextStream text(file, SInputTextStream::kReplaceMalformed);
//     for (SString line; text.ReadLine(line);)
//         log.SetLineNo(text.GetLineNo());
//
// The encoding is the one that a byte-order mark says (UTF-8, UTF-16 in either order); without a mark UTF-8 when all of the
// bytes are that, else the ANSI code page. A caller who knows better says so.
//
// Failure  malformed text throws SEEncodingException, which names the line, or becomes U+FFFD, as the caller chose. Text in the
//          ANSI code page is never malformed.
// Cost     reads the inner stream to its end at once.
#ifndef STEXTIN_H
#define STEXTIN_H

#include "sstream.h"
#include "strclss.h"

class CVCORE_API SInputTextStream {
public:
    enum Encoding { kDetect, kAnsi, kUtf8, kUtf16LittleEndian, kUtf16BigEndian };
    enum Malformed { kThrowMalformed, kReplaceMalformed };

    /// Takes a mark off in any case.
    explicit SInputTextStream(SInputStream& in, Malformed malformed = kThrowMalformed,
                              Encoding encoding = kDetect);
    SInputTextStream(const SInputTextStream&) = delete;
    SInputTextStream& operator=(const SInputTextStream&) = delete;

    /// The next line without its end, which is CR, LF or both; false behind the last one. A line end at the very end of the
    /// text opens no further line.
    bool ReadLine(SString& line);
    /// The number of the line that was read last, from 1; 0 before the first.
    int GetLineNo() const { return m_line; }
    /// The whole text.
    const SString& GetText() const { return m_text; }
    Encoding GetEncoding() const { return m_encoding; }

private:
    SString m_text;
    int m_at;
    int m_line;
    Encoding m_encoding;
};

#endif
