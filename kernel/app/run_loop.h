// The application's main loop, as far as the module needs it: its end, and jobs of the main thread.
#pragma once

#include "kernel/thread/observable.h"

namespace talvo {

namespace RunLoop {

/// Fired when the main loop ends; observers run in the order of their priority, higher first.
Observable<>& ObservableExitLoop();
/// Runs the jobs that wait in the main thread's queue, on the calling thread. @return how many ran.
Int RunPendingJobs();
/// Ends the loop: fires ObservableExitLoop once. Hosts call it before they leave main.
void Exit();

}  // namespace RunLoop

}  // namespace talvo
