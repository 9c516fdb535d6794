/* Callbacks that hear how far long calls have come. */
#ifndef QVIMAGE_PROGRESS_H
#define QVIMAGE_PROGRESS_H

#include <qvimage/base.h>

QVIM_BEGIN_DECLS

/* Tells how far a call has come: step of steps, counted from 1; rows of raw and of JPEG files from 0. Called
 * in the thread that works, before each step; any answer but 0 stops the work and becomes the call's result.
 */
typedef int32_t (*qvimagecallback)(int64_t step, int64_t steps);

/* The same with a pointer of the caller's. */
typedef int32_t (*qvimageprogress)(void *user, int64_t step, int64_t steps);

/* In place of a callback: nothing is set, and the pointer that stands beside the thread's callback is stored
 * in the void * at `user`. For those who put another callback in its place for a while. */
#define QVIM_PROGRESS_ASK ((qvimageprogress)1)

/* Sets the calling thread's progress callback and returns the one that stood before (null for none); null
 * takes it away. Writers and other calls with a callback argument call it in place of that argument where it
 * is null; it is asked for when they begin. `user` is passed on as it is. Other threads are not concerned. */
qvimageprogress qvimage_progress(qvimageprogress callback, void *user);

QVIM_END_DECLS

#endif
