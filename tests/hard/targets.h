// targets.h: the targets, a family each. Those of the system's own text and window code exist under Wine alone.
#ifndef TESTS_TARGETS_H
#define TESTS_TARGETS_H

#include "target.h"

extern const Target kBinaryTarget, kInflateTarget, kTextStreamTarget; // streamtargets.cpp
extern const Target kTranslatorTarget, kListTarget, kFormatTarget;    // texttargets.cpp
extern const Target kBase64Target, kHexTarget, kUuTarget;             // codetargets.cpp
extern const Target kUtf8Target, kAnsiTarget, kWideTarget;            // narrowtargets.cpp
extern const Target kPathTarget, kUrlTarget;                          // pathtargets.cpp
extern const Target kRtfTextTarget, kRtfDocumentTarget;               // rtftargets.cpp
extern const Target kFileKindTarget, kDdeTarget, kCommandLineTarget;  // systemtargets.cpp

#endif
