// Which module stands in for one that went. Documents go on naming the old one.
#pragma once

#include "kernel/data/data.h"
#include "kernel/thread/registry.h"

namespace talvo {

/// The registry `net.talvo.registry.replacemodule`: from the id of a module that went to the `Id` of the one in its place. Hosts fill it; it is empty
/// by default, and an entry that holds anything but an `Id` counts as none.
Registry<Data>& GetReplacedModules();

}  // namespace talvo
