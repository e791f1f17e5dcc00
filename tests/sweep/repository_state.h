// All that a repository holds, as text: what the oracle compares.
#pragma once

#include "assets.h"

#include <map>
#include <set>
#include <string>
#include <vector>

namespace talvo::sweep {

/// Times are left out, and numbers stand apart, since both may differ between two runs of the same steps.
struct RepositoryState {
    std::vector<std::string> versions;           ///< a line each, by asset id, oldest first: id, type, version id, bytes, values
    std::set<std::string> user;                  ///< values of the user, which lie in a tree of their own
    std::set<std::string> derived;               ///< computed values, which may be dropped at any time
    std::map<std::string, std::string> numbers;  ///< "id#number" -> what is stored under it

    /// Reads everything. Errors: those of lookups, payloads and values.
    static Result<RepositoryState> Read(const AssetRepositoryRef& repository);
    std::vector<std::string> ToLines() const;
    static RepositoryState FromLines(const std::vector<std::string>& lines);
    Bool HasSameVersions(const RepositoryState& other) const { return versions == other.versions; }
    Bool HasSameValues(const RepositoryState& other) const { return versions == other.versions && user == other.user; }
};

}  // namespace talvo::sweep
