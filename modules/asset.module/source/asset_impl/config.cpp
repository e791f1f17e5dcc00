#include "asset_impl/config.h"

namespace talvo {

ConfigVariable g_applicationRepositoryWritable{
    "g_applicationRepositoryWritable", false,
    "Allows to mount the application database writable for translations. Also allows automatic checkout of builtin resources."};
ConfigVariable g_builtinRepositoryWritable{"g_builtinRepositoryWritable", false,
                                           "Allows to write meta data of assets of the built-in repository."};
ConfigVariable g_disableDerivedCache{"g_disableDerivedCache", false, "Disabled the derived cache of builtin nodes."};
ConfigVariable g_generateAssetRepositoryGml{"g_generateAssetRepositoryGml", false,
                                            "Generate an asset repository dependency gml graph."};
ConfigVariable g_assetDiagnostic{"g_assetDiagnostic", false, "diagnostic for asset database mounting."};
ConfigVariable g_enableAssetWatchFolders{"g_enableAssetWatchFolders", true,
                                         "enable experimental watch folders inside the asset browser."};
ConfigVariable g_enableAssetWatchFoldersLocalDatabase{"g_enableAssetWatchFoldersLocalDatabase", false,
                                                      "stores the metadata in the local folder instead global prefs."};
ConfigVariable g_enableAssetWatchFolderSQLiteMode{"g_enableAssetWatchFolderSQLiteMode", true,
                                                  "uses a sqlite3 database to store data instead of filesystem."};
ConfigVariable g_assetBuilderSettings{"g_assetBuilderSettings", false, ""};
ConfigVariable g_showHiddenNodeAssets{"g_showHiddenNodeAssets", false, ""};
ConfigVariable g_allowNodeDescriptionAsset2024{"g_allowNodeDescriptionAsset2024", false, ""};
ConfigVariable g_enablePresetDiagnostic{"g_enablePresetDiagnostic", false, ""};

}  // namespace talvo
