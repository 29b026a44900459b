/** @file heap.h How the process treats its heap. Both do nothing where the C library has no such thing. */
#ifndef APPS_CAMERA_PROCESS_HEAP_H
#define APPS_CAMERA_PROCESS_HEAP_H

namespace zelrtc::camera {

/**
 * One arena for all threads. A call lives on many short-lived threads; with an arena for each, a camera that has had a
 * hundred calls holds more than twice the memory that it needs. Before there is a second thread.
 */
void keepToOneArena();

/** Gives the system back what calls have freed: the heap keeps it otherwise, scattered among what is in use. */
void returnFreeMemory();

}  // namespace zelrtc::camera

#endif
