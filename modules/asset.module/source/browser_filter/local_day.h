// The day on the user's calendar that a point in time belongs to.
#pragma once

#include "kernel/base/date_time.h"

namespace talvo {

/// Days since 1970-01-01 in the local time zone. Threads: any.
Int64 GetLocalDay(UniversalDateTime time);

}  // namespace talvo
