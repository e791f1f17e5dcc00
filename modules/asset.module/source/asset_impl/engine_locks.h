// The locks of the engine: what may happen under each, and the order in which they are taken (from top to bottom).
#pragma once

#include "kernel/thread/locks.h"

namespace talvo {

/// Changes of the graph's edges, one at a time in the process.
inline constinit LockClass GRAPH_CHANGE_LOCK{"graph change"};
/// Bases of a repository, then the derived list of its base.
inline constinit LockClass BASES_LOCK{"bases of a repository"};
inline constinit LockClass DERIVED_LOCK{"derived of a repository", LOCK_FLAGS::LEAF};
/// One store of an asset id at a time: the backend writes, and types and sources are asked, under it.
inline constinit LockClass STORE_LOCK{"store of an asset", LOCK_FLAGS::IO | LOCK_FLAGS::CALLBACKS};
inline constinit LockClass REFERENCES_LOCK{"references"};
/// The backend loads the versions of an asset under it.
inline constinit LockClass VERSIONS_LOCK{"versions of an asset", LOCK_FLAGS::IO};
/// The backend reads and writes one value under it.
inline constinit LockClass METADATA_LOCK{"metadata of a version", LOCK_FLAGS::IO};
/// The table of ids, and other short copies.
inline constinit LockClass ID_TABLE_LOCK{"table of asset ids", LOCK_FLAGS::LEAF};

}  // namespace talvo
