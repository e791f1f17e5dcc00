// The folder in which a workload runs: a repository, the user's home, sources, and a canary beside them that nobody may touch.
#pragma once

#include "assets.h"
#include "urlassetrepository.h"

#include <string>

namespace talvo::sweep {

/// Ends the program with a message: the sweep itself can't go on.
[[noreturn]] void GiveUp(const std::string& why);
template <typename T>
T Need(Result<T> result) {
    if (result.IsError()) GiveUp(result.GetError()->GetMessage());
    return std::move(result).GetValue();
}
inline void Need(const Result<void>& result) {
    if (result.IsError()) GiveUp(result.GetError()->GetMessage());
}

class World {
public:
    /// Makes an empty folder of a fresh name; its end removes it.
    World();
    ~World();
    World(const World&) = delete;

    /// Path below the folder that is worked in.
    std::string operator/(const std::string& name) const { return _path + "/now/" + name; }
    Url GetUrl(const std::string& name) const { return Url::FromSystemPath(*this / name); }
    Url GetRoot() const { return GetUrl("repo"); }
    /// A file or folder beside what is worked in.
    std::string GetBeside(const std::string& name) const { return _path + "/" + name; }

    /// What is there now is what Reset goes back to.
    void Keep();
    void Reset();
    /// Sources and canary as one text, to see whether they were touched.
    std::string DescribeSurroundings() const;
    /// Hidden names in the repository and in the home. @param foreign gets those that are none of ours.
    std::vector<std::string> ListHidden(std::vector<std::string>& foreign) const;

private:
    std::string _path;
};

/// A workload's look at the world: the repository, opened at first need.
class Session {
public:
    explicit Session(const World& world) : world(world) {}

    Result<AssetRepositoryRef> Open();
    const World& world;

    /// A file below `source`, which must be there.
    Result<Asset> GetFile(const std::string& name) const;
    /// The newest version of `aid`. Errors: IllegalStateError if there is none.
    Result<AssetDescription> GetNewest(const std::string& aid);
    Result<void> Store(const std::string& aid, const std::string& file);
    Result<void> Overwrite(const std::string& aid, const std::string& file);

private:
    AssetRepositoryRef _repository;
};

}  // namespace talvo::sweep
