/** @file mhd_messages.h Requests and responses in the form of the HTTP library. Only this room's insides include it. */
#ifndef APPS_CAMERA_HTTP_MHD_MESSAGES_H
#define APPS_CAMERA_HTTP_MHD_MESSAGES_H

#include <microhttpd.h>

#include <cstddef>
#include <string>

#include "http/request.h"
#include "http/response.h"

namespace zelrtc::camera {

/** A request whose header is there, without its body. */
Request requestOf(MHD_Connection* connection, const char* path, const char* method);

/** Size of the header of a connection's request. */
size_t headerBytesOf(MHD_Connection* connection);

/** The socket of a connection. */
int socketOf(MHD_Connection* connection);

/** A text that the connections of one client share: its address, of IPv6 the network that a household has. */
std::string clientOf(MHD_Connection* connection);

/** Queues a response with a body. @return what the library's callback has to return */
MHD_Result queueBody(MHD_Connection* connection, const Response& response);

/** Queues a response whose body `reader` gives. @return what the library's callback has to return */
MHD_Result queueStream(MHD_Connection* connection, const Response& response, MHD_ContentReaderCallback reader,
                       void* context);

}  // namespace zelrtc::camera

#endif
