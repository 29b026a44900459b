/** @file process_figures.h What the process holds, so that a leak can be seen from outside. */
#ifndef CAMERA_PROCESS_FIGURES_H
#define CAMERA_PROCESS_FIGURES_H

namespace camera {

/** Open file descriptors. */
int openDescriptors();

/** Running threads. */
int runningThreads();

}  // namespace camera

#endif
