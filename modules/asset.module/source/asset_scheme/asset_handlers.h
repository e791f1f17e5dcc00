// The handlers of the four schemes. They have no state: what they look up, they look up in the user preferences repository.
#pragma once

#include "kernel/io/connection.h"

namespace talvo {

/// Which scheme a handler of urls of assets serves.
enum class ASSET_SCHEME : Int32 { ASSET = 0, META = 1, WATCH_FOLDER_STORE = 2 };

IoHandlerRef CreateAssetHandler(ASSET_SCHEME scheme);
/// Names of people, by way of the categories.
IoHandlerRef CreateAssetDatabaseHandler();

}  // namespace talvo
