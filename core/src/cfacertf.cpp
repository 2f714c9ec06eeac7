// cfacertf.cpp: RTF of the flat face.
#include "cface.h"

#include "rtftext.h"

namespace {

void Refuse(const SString& why)
{
    throw FaceRefusal{ CV_E_RTF, nullptr, why };
}

SRtfNumberMap NumberMap(const int32_t* pairs, int32_t count)
{
    FaceInRange(count, 0, INT32_MAX, L"a count");
    if (!pairs && count > 0)
        FaceRefuse(CV_E_NULL, L"a map is null and has a count");
    SRtfNumberMap map;
    for (int32_t i = 0; i < count; ++i)
        map.Set(pairs[2 * static_cast<size_t>(i)], pairs[2 * static_cast<size_t>(i) + 1]);
    return map;
}

int (*const kExtract[])(SString&, SString&, int) = {
    SRtfText::ExtractHeader,
    SRtfText::ExtractFontTable,
    SRtfText::ExtractColorTable,
    SRtfText::ExtractStyleTable,
};

} // namespace

cv_result CVCORE_CALL cv_rtf_check(const cv_char* rtf, int32_t length)
{
    return FaceCall(__func__, [&] {
        SString why;
        if (!SRtfMerger::Check(FaceGiven(rtf, length), &why))
            Refuse(why);
    });
}

cv_result CVCORE_CALL cv_rtf_extract(cv_string* rtf, int32_t part_kind, int32_t remove, cv_string* part)
{
    return FaceCall(__func__, [&] {
        SString& document = FaceText(rtf);
        SString& to = FaceText(part);
        FaceInRange(part_kind, CV_RTF_HEADER, CV_RTF_STYLES, L"the part");
        if (rtf == part)
            FaceRefuse(CV_E_RANGE, L"the document and its part are one string");
        kExtract[part_kind](to, document, remove != 0);
    });
}

cv_result CVCORE_CALL cv_rtf_renumber(const cv_char* rtf, int32_t length, const int32_t* fonts,
                                      int32_t font_count, const int32_t* colors, int32_t color_count,
                                      const int32_t* styles, int32_t style_count, cv_string* out)
{
    return FaceCall(__func__, [&] {
        SString& to = FaceText(out);
        const SRtfNumberMap fontMap = NumberMap(fonts, font_count), colorMap = NumberMap(colors, color_count),
                            styleMap = NumberMap(styles, style_count);
        SRtfText::ChangeFontAndColor(to, FaceGiven(rtf, length), fontMap, colorMap, styleMap);
    });
}

cv_result CVCORE_CALL cv_merger_create(cv_merger** merger)
{
    return FaceCreate(__func__, merger, [](cv_merger&) {});
}

cv_result CVCORE_CALL cv_merger_free(cv_merger* merger)
{
    return FaceFree(__func__, merger, [](cv_merger&) {});
}

cv_result CVCORE_CALL cv_merger_add(cv_merger* merger, const cv_char* rtf, int32_t length, int32_t before)
{
    return FaceCall(__func__, [&] {
        SRtfMerger& own = FaceObject(merger).merger;
        const bool isPage = FaceInRange(before, CV_PARAGRAPH, CV_PAGE, L"the break") == CV_PAGE;
        SString why;
        if (!own.AddFragment(FaceGiven(rtf, length),
                             isPage ? SRtfMerger::kPageBreak : SRtfMerger::kParagraphBreak, &why))
            Refuse(why);
    });
}

cv_result CVCORE_CALL cv_merger_count(const cv_merger* merger, int32_t* count)
{
    return FaceCall(__func__, [&] {
        const SRtfMerger& own = FaceObject(merger).merger;
        FaceOutput(count) = own.Count();
    });
}

cv_result CVCORE_CALL cv_merger_document(const cv_merger* merger, cv_string* rtf)
{
    return FaceCall(__func__, [&] {
        const SRtfMerger& own = FaceObject(merger).merger;
        SString& to = FaceText(rtf);
        to = own.GetDocument();
    });
}

cv_result CVCORE_CALL cv_merger_clear(cv_merger* merger)
{
    return FaceCall(__func__, [&] { FaceObject(merger).merger.Clear(); });
}
