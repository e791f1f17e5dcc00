// Files below a directory that somebody else names: the way there leads through no link, whoever changes the tree meanwhile.
#pragma once

#include "kernel/base/date_time.h"
#include "kernel/io/streams.h"
#include "kernel/io/url.h"

namespace talvo {

/// What a look at a file tells.
struct InnerFileStatus {
    Int64 length = 0;
    UniversalDateTime time;
};

/// @param inner components joined by "/". `root` itself may be reached through links.
/// Errors: IllegalArgumentError for a component that is empty, "." or ".."; IoError, also for a link on the way and for what is no file.
Result<InputStreamRef> OpenInputStreamBelow(const Url& root, std::string_view inner);
/// The same for length and time of the last change.
Result<InnerFileStatus> LookBelow(const Url& root, std::string_view inner);
/// For what is opened later, by code that follows links: whether there is one on the way, as far as it leads. What isn't there is fine.
/// Errors: as above, for a link.
Result<void> CheckNoLinkBelow(const Url& root, std::string_view inner);

}  // namespace talvo
