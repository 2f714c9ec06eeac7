// describe.cpp: any exception as one text.
#include "describe.h"

#include "sexcept.h"
#include "starget.h"

#include <cxxabi.h>

#include <cstdlib>
#include <memory>
#include <typeinfo>

namespace {

// The name of a type as its source has it; the mangled one when there is no memory for that.
SString NameOf(const std::type_info* type)
{
    if (!type)
        return SString(L"unknown");
    int status;
    const std::unique_ptr<char, decltype(&std::free)> plain(
        abi::__cxa_demangle(type->name(), nullptr, nullptr, &status), std::free);
    return SString(plain ? plain.get() : type->name());
}

SString Describe()
{
    try {
        throw;
    }
    catch (const SException& e) {
        return e.GetFullText();
    }
    catch (const STargetedException& e) {
        SString text;
        text.Format(L"STargetedException for %s (%d): %s%s", e.GetTargets(), e.GetValue(), e.GetText(),
                    e.GetLocation());
        return text;
    }
    catch (const std::exception& e) {
        return SString::Concat(NameOf(&typeid(e)), L": ", SString(e.what()));
    }
    catch (...) {
        return L"exception of type " + NameOf(abi::__cxa_current_exception_type());
    }
}

} // namespace

SString SDescribeCurrentException() noexcept
{
    if (!std::current_exception())
        return SString();
    try {
        return Describe();
    }
    catch (...) {
        return SString();
    }
}
