#include "targets.h"

const std::vector<Target>& Targets()
{
    static const std::vector<Target> targets = {
        kBinaryTarget, kInflateTarget,     kTextStreamTarget, kFileKindTarget,    kTranslatorTarget,
        kListTarget,   kFormatTarget,      kBase64Target,     kHexTarget,         kUuTarget,
        kUtf8Target,   kAnsiTarget,        kWideTarget,       kPathTarget,        kUrlTarget,
        kDdeTarget,    kCommandLineTarget, kRtfTextTarget,    kRtfDocumentTarget,
    };
    return targets;
}
