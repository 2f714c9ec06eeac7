// describe.h: any exception as one text, for people who log.
//
//     catch (...) { AppendToExceptionLogPrefixed(SDescribeCurrentException()); }
//
//     SException and its kin      the full text: name, message, location
//     STargetedException          "STargetedException for Load,Import (17): the message", location
//     std::exception              "std::out_of_range: what() says"; what() is taken to be in the ANSI code page
//     anything else               "exception of type int"
#ifndef DESCRIBE_H
#define DESCRIBE_H

#include "cvbase.h"
#include "strclss.h"

#include <exception>

/// The text of the exception that is being handled; empty when there is none. Throws nothing: when there is no memory for
/// the text it is the exception's location, or empty.
CVCORE_API SString SDescribeCurrentException() noexcept;

/// The same for one that was kept; empty for a null pointer.
inline SString SDescribeException(const std::exception_ptr& exception) noexcept
{
    if (!exception)
        return SString();
    try {
        std::rethrow_exception(exception);
    }
    catch (...) {
        return SDescribeCurrentException();
    }
}

#endif
