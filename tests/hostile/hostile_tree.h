// A sound repository, damaged in one known way: what is seen of it, what a store into it gives, and what a check reports.
#pragma once

#include "url_repository/url_repository_fixture.h"

namespace talvo {

/// One step of damage. `path` is below the root; what is there before goes.
struct DamageStep {
    enum class KIND { FILE, SPARSE_FILE, FOLDER, LINK, FIFO, SOCKET, GONE } kind;
    std::string path;
    std::string text = {};  ///< content, or what a link points at: below the scratch directory, or absolute
    Int64 size = 0;         ///< of a sparse file
};

/// What comes of it.
struct DamageCase {
    const char* why;
    std::vector<DamageStep> steps;
    /// Versions of asset `x`, newest first, and the newest one's value `key`: "#1 one, v". "closed": the repository doesn't open.
    std::string seen = "#1 one, v";
    /// Paths below the root that a check names, joined by blanks.
    std::string reported = "";
    /// Empty: a store into `x` works. Else its error, or that of opening, holds this text.
    std::string refused = "";
};

/// The repository holds asset `good` and asset `x` with version 1, payload "one" and the value `key` of "v". Beside it lies `outside`, which nothing touches.
class HostileTree : public UrlRepositoryTest {
protected:
    HostileTree();
    /// Damages a fresh copy for each case and tells what is otherwise than expected.
    void Check(const std::vector<DamageCase>& cases);
    /// Puts the sound repository in the place of whatever is there.
    void Restore() const;
    /// As DamageCase::seen tells it, or "error: ..." of the walk.
    static std::string See(const AssetRepositoryRef& repository);
    /// Whether all beside the repository is as it was.
    Bool IsOutsideUntouched() const;
    Result<UpdatableAssetRepositoryRef> TryOpen() const;
    /// As DamageCase::reported tells it, or "error: ...".
    std::string Verify() const;

private:
    void CheckCase(const DamageCase& damage);
    void Apply(const DamageStep& step) const;
    void CheckStore(const DamageCase& damage);

    std::string _outside;
};

}  // namespace talvo
