// The application around the module: version, and the directories of its files.
#pragma once

#include "kernel/io/url.h"

namespace talvo {

enum class APPLICATION_DIRECTORY : Int32 {
    TEMPORARY = 5,
    GENERATED = 6,  ///< writable, made by the program
    PREFERENCES = 7,
    MODULE_RESOURCES = 14,      ///< read only, installed
    APPLICATION_RESOURCES = 15  ///< read only, installed
};

namespace Application {

struct Version {
    Int32 number = 0;  ///< thousandths: 1025 is version 1.025
    CString build;     ///< identifier of the build
};

/// Errors: none in a build of ours; hosts may replace it by SetVersion.
Result<Version> GetVersion();
void SetVersion(Version version);
/// Id of the application, by which some entries are of no use in it; null: none was set. Set before any browser is made.
Id GetApplicationId();
void SetApplicationId(const Id& id);
/// Human text such as "0.1.0".
CString GetVersionText();

/// All directories below `home`, for tests and portable use: home/{temporary,generated,preferences}. Empty: the XDG base
/// directories. Default: the environment's TALVO_HOME. Call before any directory was asked for.
void SetHome(const Url& home);
/// The directory of `kind` for `owner` (a module's id), which is its last component; APPLICATION_RESOURCES is one for all.
/// It need not exist; nothing is made. Resources lie in share/talvo beside the program's or the library's directory, or where
/// the environment's TALVO_RESOURCES says.
/// Errors: IllegalArgumentError for an owner that can't be a name, SystemError if the user's own directory can't be told.
Result<Url> PrivateGetUrl(const Id& owner, APPLICATION_DIRECTORY kind);
/// A fresh file name in `directory`, which is made if it isn't there.
Result<Url> GetTempUrl(const Url& directory);

}  // namespace Application

}  // namespace talvo
