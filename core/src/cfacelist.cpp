// cfacelist.cpp: lists of strings of the flat face.
#include "cface.h"

namespace {

int Index(int32_t index, const SStringTable& strings)
{
    return FaceInRange(index, 0, strings.Count() - 1, L"an index");
}

} // namespace

cv_result CVCORE_CALL cv_list_create(cv_list** list)
{
    return FaceCreate(__func__, list, [](cv_list&) {});
}

// String by string: tables that share their block belong to one thread, strings that share a buffer do not.
cv_result CVCORE_CALL cv_list_copy(const cv_list* list, cv_list** copy)
{
    return FaceCreate(__func__, copy, [&](cv_list& fresh) {
        const SStringTable& from = FaceObject(list).strings;
        fresh.strings = SStringTable(from.begin(), from.end());
    });
}

cv_result CVCORE_CALL cv_list_free(cv_list* list)
{
    return FaceFree(__func__, list, [](cv_list&) {});
}

cv_result CVCORE_CALL cv_list_count(const cv_list* list, int32_t* count)
{
    return FaceCall(__func__, [&] {
        const SStringTable& strings = FaceObject(list).strings;
        FaceOutput(count) = strings.Count();
    });
}

cv_result CVCORE_CALL cv_list_get(const cv_list* list, int32_t index, cv_string* text)
{
    return FaceCall(__func__, [&] {
        const SStringTable& strings = FaceObject(list).strings;
        SString& to = FaceText(text);
        to = strings[Index(index, strings)];
    });
}

cv_result CVCORE_CALL cv_list_add(cv_list* list, const cv_char* text, int32_t length)
{
    return FaceCall(__func__, [&] { FaceObject(list).strings.Add(FaceGiven(text, length)); });
}

cv_result CVCORE_CALL cv_list_set(cv_list* list, int32_t index, const cv_char* text, int32_t length)
{
    return FaceCall(__func__, [&] {
        SStringTable& strings = FaceObject(list).strings;
        const int at = Index(index, strings);
        SString given = FaceGiven(text, length);
        strings[at].swap(given);
    });
}

cv_result CVCORE_CALL cv_list_insert(cv_list* list, int32_t index, const cv_char* text, int32_t length)
{
    return FaceCall(__func__, [&] {
        SStringTable& strings = FaceObject(list).strings;
        const int at = FacePosition(index, strings.Count());
        strings.Insert(at, FaceGiven(text, length));
    });
}

cv_result CVCORE_CALL cv_list_remove(cv_list* list, int32_t index)
{
    return FaceCall(__func__, [&] {
        SStringTable& strings = FaceObject(list).strings;
        strings.Remove(Index(index, strings));
    });
}

cv_result CVCORE_CALL cv_list_clear(cv_list* list)
{
    return FaceCall(__func__, [&] { FaceObject(list).strings.Clear(); });
}

cv_result CVCORE_CALL cv_list_sort(cv_list* list, int32_t rule, int32_t descending)
{
    return FaceCall(__func__, [&] {
        SStringTable& strings = FaceObject(list).strings;
        const int ascending = descending == 0;
        switch (FaceInRange(rule, CV_EXACT, CV_NUMBERED_NO_CASE, L"the rule")) {
        case CV_EXACT: strings.Sort(ascending); break;
        case CV_NO_CASE: strings.SortNoCase(ascending); break;
        case CV_NUMBERED: strings.SortNumbered(ascending); break;
        default: strings.SortNumberedNoCase(ascending); break;
        }
    });
}

cv_result CVCORE_CALL cv_list_split(cv_list* list, const cv_char* text, int32_t length,
                                    const cv_char* separators, int32_t separators_length, cv_char escape)
{
    return FaceCall(__func__, [&] {
        SStringTable& strings = FaceObject(list).strings;
        // All of the items or none: adding them one by one may end for want of memory.
        SStringTable items;
        items.AddFromList(FaceGiven(text, length), FaceGiven(separators, separators_length), escape);
        strings += items;
    });
}

cv_result CVCORE_CALL cv_list_join(const cv_list* list, const cv_char* separator, int32_t separator_length,
                                   cv_string* text)
{
    return FaceCall(__func__, [&] {
        const SStringTable& strings = FaceObject(list).strings;
        SString& to = FaceText(text);
        to = strings.Format(SString(), FaceGiven(separator, separator_length), SString());
    });
}
