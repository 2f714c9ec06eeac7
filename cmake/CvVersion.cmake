# The version of the library, from its public header, which is the one place where it stands: CV_VERSION.
set(cv_version_header "${CMAKE_CURRENT_LIST_DIR}/../core/h/version.h")
set_property(DIRECTORY APPEND PROPERTY CMAKE_CONFIGURE_DEPENDS "${cv_version_header}")
file(STRINGS "${cv_version_header}" numbers REGEX "^#define CVCORE_VERSION_(MAJOR|MINOR|PATCH) [0-9]+$")
string(REGEX REPLACE "[^;]* " "" numbers "${numbers}")
list(JOIN numbers "." CV_VERSION)
if(NOT CV_VERSION MATCHES "^[0-9]+\\.[0-9]+\\.[0-9]+$")
    message(FATAL_ERROR "core/h/version.h: found '${CV_VERSION}', wanted three numbers")
endif()
