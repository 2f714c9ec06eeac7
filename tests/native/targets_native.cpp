#include "hard/targets.h"

// Not here: what looks names up on the disk or needs windows.
const std::vector<Target>& Targets()
{
    static const std::vector<Target> targets = {
        kBinaryTarget, kInflateTarget, kTextStreamTarget, kTranslatorTarget,  kListTarget,
        kFormatTarget, kBase64Target,  kHexTarget,        kUuTarget,          kUtf8Target,
        kAnsiTarget,   kWideTarget,    kRtfTextTarget,    kRtfDocumentTarget,
    };
    return targets;
}
