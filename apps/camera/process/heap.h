/** @file heap.h How the process treats its heap. Both do nothing where the C library has no such thing. */
#ifndef APPS_CAMERA_PROCESS_HEAP_H
#define APPS_CAMERA_PROCESS_HEAP_H

namespace zelrtc::camera {

/**
 * One arena for all threads. A call uses many short-lived threads; with an arena for each, a camera holds more than
 * twice the memory it needs after a hundred calls. Call it before starting a second thread.
 */
void keepToOneArena();

/** Returns memory freed by calls to the system; otherwise the heap keeps it, scattered among what is in use. */
void returnFreeMemory();

}  // namespace zelrtc::camera

#endif
