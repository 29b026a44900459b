/** @file http_library.h cpp-httplib, made fit to stand beside the SDK. */
#ifndef APPS_CAMERA_HTTP_HTTP_LIBRARY_H
#define APPS_CAMERA_HTTP_HTTP_LIBRARY_H

#include <httplib.h>

// The resolver's header, which comes with it, has a macro with the name of the SDK's status type.
#undef STATUS

#endif
