/** @file http_library.h cpp-httplib, made fit to stand beside the SDK. */
#ifndef APPS_CAMERA_HTTP_HTTP_LIBRARY_H
#define APPS_CAMERA_HTTP_HTTP_LIBRARY_H

// The resolver's header, which comes with it, has a macro with the name of one of the SDK's: each is to see its own.
#pragma push_macro("STATUS")
#undef STATUS
#include <httplib.h>
#undef STATUS
#pragma pop_macro("STATUS")

#endif
