// What the types of the module have in common beyond their base: icons that are installed with it, ids that several answer.
#pragma once

#include "kernel/io/url.h"

namespace talvo {

inline constexpr LiteralId NODE_BASE_CATEGORY{"net.talvo.node.base.category"};

/// Where the icon of this file name lies, there or not. Errors: those of Application::PrivateGetUrl.
Result<Url> GetModuleIcon(std::string_view name);

}  // namespace talvo
