// Start and end of the module in a host.
#pragma once

#include "kernel/base/result.h"
#include "kernel/base/types.h"

namespace talvo {

/// Threads: one at a time; lookups of other threads have ended before Stop, and begin after Start.
namespace AssetModule {

/// Makes the built-in, the application and the user preferences repository, each the base of the next one. Once it is done another call does
/// nothing. After an error all is as before, and it may be called again.
/// Errors: those of the directories below the user's home, which name the directory and what is wrong with it.
Result<void> Start();
/// Lets go of the three repositories and of all that was kept for them. It is called at the end of the run loop as well. After it Start may be called
/// again. Without a start it does nothing.
void Stop();
/// Whether the module is started.
Bool IsStarted();

}  // namespace AssetModule

}  // namespace talvo
