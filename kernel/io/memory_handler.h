// Urls of the scheme `ramdisk`.
#pragma once

#include "kernel/io/connection.h"

namespace talvo {

IoHandlerRef CreateMemoryHandler();

}  // namespace talvo
