/** @file http_library.h Includes cpp-httplib without its clash with the SDK's names. */
#ifndef APPS_CAMERA_HTTP_HTTP_LIBRARY_H
#define APPS_CAMERA_HTTP_HTTP_LIBRARY_H

#include <httplib.h>

// It includes the resolver's header, which defines a macro with the name of the SDK's status type.
#undef STATUS

#endif
