// The configuration variables of the module.
#pragma once

#include "kernel/app/settings.h"

namespace talvo {

extern ConfigVariable g_applicationRepositoryWritable;
extern ConfigVariable g_builtinRepositoryWritable;
extern ConfigVariable g_disableDerivedCache;
extern ConfigVariable g_generateAssetRepositoryGml;
extern ConfigVariable g_assetDiagnostic;
extern ConfigVariable g_enableAssetWatchFolders;
extern ConfigVariable g_enableAssetWatchFoldersLocalDatabase;
extern ConfigVariable g_enableAssetWatchFolderSQLiteMode;
extern ConfigVariable g_assetBuilderSettings;
extern ConfigVariable g_showHiddenNodeAssets;
extern ConfigVariable g_allowNodeDescriptionAsset2024;
extern ConfigVariable g_enablePresetDiagnostic;

}  // namespace talvo
