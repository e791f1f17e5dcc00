#include "asset_databases.h"

namespace talvo {

Bool AssetDataBases::FindRepository(const AssetRepositoryRef&) { return false; }

}  // namespace talvo
