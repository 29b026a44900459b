/** @file accepted_connections.h The TCP connections that this process has accepted. */
#ifndef APPS_CAMERA_HTTP_ACCEPTED_CONNECTIONS_H
#define APPS_CAMERA_HTTP_ACCEPTED_CONNECTIONS_H

namespace zelrtc::camera {

/**
 * Reads nothing more from the connections accepted on this local port: who waits for a request there sees its end,
 * while what is being sent still goes out. The HTTP library keeps its connections to itself, so they are found among
 * the process's descriptors.
 */
void stopReadingOn(int port);

}  // namespace zelrtc::camera

#endif
