// The settings of a browser as numbers: what the filter language writes as words.
#pragma once

#include "kernel/base/types.h"

namespace talvo {

/// What a browser lists. Fixed when it is made.
enum class ASSET_BROWSE_MODE : Int32 {
    CATEGORY_TREE = 1,
    ASSET_LIST = 2,
    KEYWORD_LIST = 3,
    KEYWORDS_OF_SELECTION = 4,
    VERSIONS_OF_SELECTION = 5,
    DEPENDENCIES_OF_SELECTION = 6,
    DEPENDANTS_OF_SELECTION = 7,
    DATABASES = 8
};

/// What rows of an asset list are put under.
enum class ASSET_GROUP_BY : Int32 { CATEGORY = 1, CREATIONDATE = 2, USEDATE = 3, USECOUNT = 4, TYPE = 5, DATABASE = 6, NONE = 7 };

/// What orders rows inside of their groups.
enum class ASSET_SORT_BY : Int32 {
    NOT_GIVEN = 0,
    NAME = 1,
    MODIFICATIONDATE = 2,
    CREATIONDATE = 3,
    USEDATE = 4,
    USECOUNT = 5,
    SIZE = 6,
    RELEVANCE = 7
};

/// Where in the host a view stands: what is relevant there.
enum class ASSET_CONTEXT : Int32 {
    OBJECTOM = 1,
    OBJECTVP = 2,
    MESH = 3,
    SPLINE = 4,
    MATERIAL = 5,
    UVEDITOR = 6,
    UVVP = 7,
    NODE = 8,
    OTHER = 9
};

/// What comes first among equals.
enum class ASSET_FIRST_ITEMS : Int32 { NONE = 1, FAVORITES = 2, RELEVANT = 3 };

/// What "relevant" means.
enum class ASSET_RELEVANT_ITEMS : Int32 {
    NONE = 0,
    OBJECTS = 1,
    MATERIALS = 2,
    MEDIA = 3,
    NODES = 4,
    SCENENODES = 5,
    SCENES = 6,
    PRESETS = 7
};

}  // namespace talvo
