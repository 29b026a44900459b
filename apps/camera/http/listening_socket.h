/** @file listening_socket.h Where the server can be reached. */
#ifndef APPS_CAMERA_HTTP_LISTENING_SOCKET_H
#define APPS_CAMERA_HTTP_LISTENING_SOCKET_H

#include <string>

namespace zelrtc::camera {

/**
 * Opens a TCP socket that listens.
 * @param port 0 for a free one
 * @return its descriptor, which the caller owns
 * @throw std::runtime_error with a sentence for the user when the address cannot be had
 */
int openListeningSocket(const std::string& host, int port);

/** The port of a socket. */
int portOf(int socket);

}  // namespace zelrtc::camera

#endif
