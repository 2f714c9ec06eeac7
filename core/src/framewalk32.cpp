// framewalk32.cpp: the frames as the DWARF unwinder sees them.
#include "framewalk.h"

#if S_TARGET_32BIT

#include <unwind.h>

namespace {

struct Visit {
    bool (*visit)(const WalkedFrame&, void*);
    void* context;
};

_Unwind_Reason_Code Trace(_Unwind_Context* frame, void* context)
{
    const Visit& visit = *static_cast<Visit*>(context);
    WalkedFrame walked;
    walked.at = reinterpret_cast<const void*>(_Unwind_GetIP(frame));
    walked.stack = _Unwind_GetCFA(frame);
    walked.passable = _Unwind_FindEnclosingFunction(const_cast<void*>(walked.at)) != nullptr;
    walked.language = nullptr;
    walked.function = 0;
    if (walked.passable) {
        walked.language = static_cast<const unsigned char*>(_Unwind_GetLanguageSpecificData(frame));
        walked.function = _Unwind_GetRegionStart(frame);
    }
    return visit.visit(walked, visit.context) && walked.passable ? _URC_NO_REASON : _URC_END_OF_STACK;
}

} // namespace

void VisitFrames(bool (*visit)(const WalkedFrame& frame, void* context), void* context) noexcept
{
    Visit both{ visit, context };
    _Unwind_Backtrace(Trace, &both);
}

#endif
