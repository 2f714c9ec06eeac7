// strmap.cpp: the one-line form of the string maps.
#include "strmap.h"

#include "listtext.h"

#if S_TARGET_32BIT
static_assert(sizeof(SStringMap) == 12 && sizeof(SStringMapNoCase) == 12, "exactly the fields of the tree");
static_assert(sizeof(SStringUnsortedMap) == 16 && sizeof(SStringUnsortedMapNoCase) == 16,
              "and the order table");
#endif

namespace SStringMapDetail {

int ReadList(const SString& list, const SString& separators, wchar_t escape, wchar_t divider, TakePair take,
             void* map)
{
    ListReader reader(list, separators, escape);
    SString key, value;
    int count = 0;
    for (; reader.Next(&key, &value, divider); ++count)
        take(map, key, value);
    return count;
}

void AppendToList(SStringBuffer& out, const SString& text, const SString& escape, const SString& separator,
                  const SString& divider)
{
    AppendEscaped(out, text, escape, { &separator, &divider });
}

} // namespace SStringMapDetail
