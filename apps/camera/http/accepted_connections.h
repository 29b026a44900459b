/** @file accepted_connections.h The TCP connections that this process has accepted. */
#ifndef APPS_CAMERA_HTTP_ACCEPTED_CONNECTIONS_H
#define APPS_CAMERA_HTTP_ACCEPTED_CONNECTIONS_H

namespace zelrtc::camera {

/**
 * Shuts down the reading side of every connection accepted on this local port. A thread waiting for a request sees
 * the end of the stream; responses under way still go out. The HTTP library does not expose its connections, so they
 * are found among the process's descriptors.
 */
void stopReadingOn(int port);

}  // namespace zelrtc::camera

#endif
