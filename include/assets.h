// Everything that a host needs to find, load and store assets.
#pragma once

#include "assets/asset.h"
#include "assets/asset_description.h"
#include "assets/asset_identity.h"
#include "assets/asset_link.h"
#include "assets/asset_metadata.h"
#include "assets/asset_repository.h"
#include "assets/asset_type.h"
