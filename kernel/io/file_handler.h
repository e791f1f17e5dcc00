// Urls of the scheme `file`.
#pragma once

#include "kernel/io/connection.h"

namespace talvo {

IoHandlerRef CreateFileHandler();

}  // namespace talvo
