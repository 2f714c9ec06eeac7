// madetext.h: a text whose buffer is written by the one who makes it.
#ifndef MADETEXT_H
#define MADETEXT_H

#include "strclss.h"

/// A text whose characters are all written by the one who makes it, so it need not be measured afterwards as a locked buffer is.
class MadeText : public SString {
public:
    /// The room of `length` characters, more than none; the terminator stands behind it already. Old characters are lost.
    wchar_t* Make(int length)
    {
        if (Capacity() < length)
            Empty(); // given back first: there need not be memory for both
        AllocBeforeWrite(length);
        SStringData* const data = GetData();
        data->refs = 1;
        data->length = length;
        data->Text()[length] = L'\0';
        return data->Text();
    }
};

#endif
