// rtfwords.cpp: the words that a merge has to know.
#include "rtfwords.h"

#include <algorithm>
#include <iterator>
#include <vector>

namespace {

/// Names with one meaning, with blanks between them.
template <class Meaning>
struct Row {
    Meaning meaning;
    std::wstring_view names;
};

typedef RtfWord W;
typedef RtfGroup G;

constexpr Row<RtfWord> kWords[] = {
    { W::kFont, L"f" },
    { W::kOtherFont, L"af pnf" },
    { W::kColor, L"cf cb highlight ulc brdrcf cfpat cbpat chcfpat chcbpat clcfpat clcbpat clcfpatraw "
                 L"clcbpatraw trcfpat trcbpat pncf" },
    { W::kParagraphStyle, L"s" },
    { W::kCharStyle, L"cs" },
    { W::kSectionStyle, L"ds" },
    { W::kTableStyle, L"ts yts" },
    { W::kStyleReference, L"sbasedon snext slink" },
    { W::kList, L"ls" },
    { W::kListId, L"listid" },
    { W::kPlain, L"plain" },
    { W::kSkipCount, L"uc" },
    { W::kUnicode, L"u" },
    { W::kBinary, L"bin" },
    { W::kParagraph, L"pard" },
    { W::kParagraphFormat,
      L"ql qr qc qj qd li ri fi lin rin culi curi cufi sb sa sl slmult lisb lisa sbauto "
      L"saauto keep keepn widctlpar nowidctlpar outlinelevel ltrpar rtlpar contextualspace "
      L"hyphpar noline" },
    { W::kInTable, L"intbl" },
    { W::kTableDepth, L"itap" },
    { W::kRow, L"trowd" },
    { W::kEndOfParagraph, L"par" },
    { W::kEndOfCell, L"cell nestcell nestrow" },
    { W::kEndOfRow, L"row" },
    { W::kPrints, L"tab line emdash endash emspace enspace qmspace bullet lquote rquote ldblquote "
                  L"rdblquote chpgn chdate chtime chdpl chdpa chftn sectnum" },
    { W::kHeader, L"rtf urtf ansi mac pc pca ansicpg deff adeff deflang deflangfe adeflang stshfdbch "
                  L"stshfloch stshfhich stshfbi fbidis fromtext fromhtml" },
    { W::kDocument, L"paperw paperh margl margr margt margb gutter landscape facingp margmirror gutterprl "
                    L"rtlgutter deftab widowctrl hyphauto hyphhotz hyphconsec hyphcaps psz pgnstart "
                    L"lnstart ftnbj ftntj fetd fet endnotes enddoc aendnotes aenddoc aftnbj aftntj "
                    L"ftnstart aftnstart ftnrstpg ftnrestart ftnrstcont aftnrestart aftnrstcont ftnnar "
                    L"ftnnalc ftnnauc ftnnrlc ftnnruc ftnnchi aftnnar aftnnalc aftnnauc aftnnrlc aftnnruc "
                    L"aftnnchi viewkind viewscale viewzk viewbksp revisions revprop revbar annotprot "
                    L"formprot allprot forceprotect formdisp formshade readprot linkstyles makebackup "
                    L"defformat doctemp horzdoc vertdoc jcompress jexpand lytexcttp noextrasprl "
                    L"nolnhtadjtbl transmf nouicompat rsidroot dntblnsbdb splytwnine ftnlytwnine htmautsp "
                    L"useltbaln alntblind lytcalctblwd lyttblrtgr lnbrkrule jsksu ksulang dghspace "
                    L"dgvspace dghorigin dgvorigin dghshow dgvshow dgsnap dgmargin" },
    { W::kSection, L"sectd sbknone sbkcol sbkpage sbkeven sbkodd cols colsx colno colsr colw linebetcol "
                   L"sectunlocked headery footery pgwsxn pghsxn marglsxn margrsxn margtsxn margbsxn "
                   L"guttersxn lndscpsxn titlepg pgncont pgnrestart pgnstarts pgndec pgnucrm pgnlcrm "
                   L"pgnucltr pgnlcltr pgnx pgny pgnhn pgnhnsh pgnhnsp pgnhnsc pgnhnsm pgnhnsn ltrsect "
                   L"rtlsect linemod linex linestarts linerestart lineppage linecont sectdefaultcl "
                   L"sectlinegrid sectspecifyl sectspecifycl sectexpand sftntj sftnbj sftnstart "
                   L"sftnrestart sftnrstpg sftnrstcont saftnstart saftnrestart saftnrstcont vertalt "
                   L"vertal vertalb vertalc vertalj binfsxn binsxn stextflow endnhere" },
    { W::kEndOfSection, L"sect" },
};

constexpr Row<RtfGroup> kGroups[] = {
    { G::kHidden, L"annotation atnauthor atnid atndate bkmkstart bkmkend fldinst footnote nonshppict "
                  L"objclass objname objdata tc tcn xe rxe txe listname levelnumbers" },
    { G::kPicture, L"object shp do shppict" },
    { G::kPictureData, L"pict" },
    { G::kTable, L"fonttbl colortbl stylesheet generator" },
    { G::kListText, L"listtext pntext" },
    { G::kListTable, L"listtable" },
    { G::kOverrideTable, L"listoverridetable" },
    { G::kDocument, L"info revtbl rsidtbl themedata colorschememapping latentstyles datastore xmlnstbl "
                    L"filetbl pgptbl mmathPr userprops docvar rdf ftnsep ftnsepc ftncn aftnsep aftnsepc "
                    L"aftncn background wgrffmtfilter passwordhash template protusertbl listpicture" },
    { G::kSection, L"header headerl headerr headerf footer footerl footerr footerf" },
};

/// All names in their order, to be searched by halves.
template <class Meaning>
class Names {
public:
    template <size_t n>
    explicit Names(const Row<Meaning> (&rows)[n])
    {
        for (const Row<Meaning>& row : rows) {
            for (size_t at = 0; at < row.names.size();) {
                const size_t blank = std::min(row.names.find(L' ', at), row.names.size());
                m_names.push_back({ row.names.substr(at, blank - at), row.meaning });
                at = blank + 1;
            }
        }
        std::sort(m_names.begin(), m_names.end(),
                  [](const Named& a, const Named& b) { return a.name < b.name; });
    }

    const Meaning* Find(std::wstring_view name) const
    {
        const auto at = std::lower_bound(m_names.begin(), m_names.end(), name,
                                         [](const Named& a, std::wstring_view b) { return a.name < b; });
        return at != m_names.end() && at->name == name ? &at->meaning : nullptr;
    }

private:
    struct Named {
        std::wstring_view name;
        Meaning meaning;
    };
    std::vector<Named> m_names;
};

} // namespace

RtfWord RtfWordOf(std::wstring_view name)
{
    static const Names<RtfWord> names(kWords);
    const RtfWord* const found = names.Find(name);
    return found ? *found : RtfWord::kOther;
}

RtfGroup RtfGroupOf(std::wstring_view destination, bool starred)
{
    static const Names<RtfGroup> names(kGroups);
    if (const RtfGroup* const found = names.Find(destination))
        return *found;
    return starred ? RtfGroup::kHidden : RtfGroup::kText;
}
