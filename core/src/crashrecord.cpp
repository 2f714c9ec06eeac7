// crashrecord.cpp: what a machine fault is called and where it happened.
#include "crashrecord.h"

#include "modulename.h"

namespace {

const struct {
    DWORD code;
    const wchar_t* name;
} kFaults[] = {
    { EXCEPTION_ACCESS_VIOLATION, L"access violation" },
    { EXCEPTION_IN_PAGE_ERROR, L"in-page error" },
    { EXCEPTION_DATATYPE_MISALIGNMENT, L"misaligned access" },
    { EXCEPTION_ARRAY_BOUNDS_EXCEEDED, L"array bounds exceeded" },
    { EXCEPTION_INT_DIVIDE_BY_ZERO, L"integer division by zero" },
    { EXCEPTION_INT_OVERFLOW, L"integer overflow" },
    { EXCEPTION_FLT_DENORMAL_OPERAND, L"floating-point denormal operand" },
    { EXCEPTION_FLT_DIVIDE_BY_ZERO, L"floating-point division by zero" },
    { EXCEPTION_FLT_INEXACT_RESULT, L"floating-point inexact result" },
    { EXCEPTION_FLT_INVALID_OPERATION, L"floating-point invalid operation" },
    { EXCEPTION_FLT_OVERFLOW, L"floating-point overflow" },
    { EXCEPTION_FLT_STACK_CHECK, L"floating-point stack check" },
    { EXCEPTION_FLT_UNDERFLOW, L"floating-point underflow" },
    { EXCEPTION_ILLEGAL_INSTRUCTION, L"illegal instruction" },
    { EXCEPTION_PRIV_INSTRUCTION, L"privileged instruction" },
    { EXCEPTION_STACK_OVERFLOW, L"stack overflow" },
    { 0xC00002B4 /* STATUS_FLOAT_MULTIPLE_FAULTS */, L"floating-point faults" },
    { 0xC00002B5 /* STATUS_FLOAT_MULTIPLE_TRAPS */, L"floating-point traps" },
};

const wchar_t* KnownName(DWORD code)
{
    for (const auto& fault : kFaults) {
        if (fault.code == code)
            return fault.name;
    }
    return nullptr;
}

const wchar_t* const kAccesses[] = { L"", L" reading ", L" writing ", L" executing " };

} // namespace

bool IsMachineFault(DWORD code) noexcept
{
    return KnownName(code) != nullptr;
}

const wchar_t* FaultName(DWORD code) noexcept
{
    const wchar_t* const name = KnownName(code);
    return name ? name : L"exception";
}

SMachineFault::Access FaultAccess(const EXCEPTION_RECORD& record) noexcept
{
    const DWORD code = record.ExceptionCode;
    const bool tells = code == EXCEPTION_ACCESS_VIOLATION || code == EXCEPTION_IN_PAGE_ERROR;
    if (!tells || record.NumberParameters < 2)
        return SMachineFault::kNoAccess;
    constexpr ULONG_PTR kReads = 0, kWrites = 1; // 8 is execution that the page forbids
    const ULONG_PTR kind = record.ExceptionInformation[0];
    if (kind == kWrites)
        return SMachineFault::kWrite;
    // Where pages cannot forbid it, a jump into nothing is told as reading the instruction there.
    const bool fetches =
        record.ExceptionInformation[1] == reinterpret_cast<ULONG_PTR>(record.ExceptionAddress);
    return kind == kReads && !fetches ? SMachineFault::kRead : SMachineFault::kExecute;
}

SMachineFault DescribeFault(const EXCEPTION_RECORD& record) noexcept
{
    SMachineFault fault;
    fault.code = record.ExceptionCode;
    fault.address = record.ExceptionAddress;
    fault.access = FaultAccess(record);
    fault.target = fault.access == SMachineFault::kNoAccess
                       ? nullptr
                       : reinterpret_cast<const void*>(record.ExceptionInformation[1]);
    fault.offset = FindModulePlace(fault.address, fault.module, SMachineFault::kModuleRoom);
    return fault;
}

void FormatFault(const SMachineFault& fault, FaultText& text) noexcept
{
    text << FaultName(fault.code) << L" (";
    text.Hex(fault.code, L"0123456789ABCDEF") << L")" << kAccesses[fault.access];
    if (fault.access != SMachineFault::kNoAccess)
        text.Hex(reinterpret_cast<UINT_PTR>(fault.target));
}

void FormatPlace(const wchar_t* module, UINT_PTR offset, FaultText& text) noexcept
{
    if (*module != L'\0')
        text << module << L"+";
    text.Hex(offset);
}
