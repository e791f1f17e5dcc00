// What an import makes of each file: into which category it goes, of which kind it is, and whether the repository has it already.
#pragma once

#include "apps/talvo/import_walk.h"
#include "assets.h"

#include <map>
#include <memory>
#include <mutex>
#include <string>
#include <vector>

namespace talvo {

enum class IMPORT_STATE { NEW, UPDATED, UNCHANGED };

/// Assets that a file may be, since they have its name and stand in its category.
class ImportCandidates {
public:
    void Add(const AssetDescription& asset) { _assets.push_back(asset); }
    /// One more file of this import has that name and category.
    void CountItem() { ++_items; }
    /// What the file at `url` is. @param state UNCHANGED: it is the asset's newest version; UPDATED: it becomes the next one; NEW: it is none of them.
    /// One of several that is none of them all is nobody's next version: nobody can tell whose. Threads: any, for the files of one import.
    Result<AssetDescription> Choose(const Url& url, IMPORT_STATE& state);

private:
    std::mutex _lock;
    std::vector<AssetDescription> _assets;  // those that no file of this import is; guarded by _lock once files are chosen
    Int _items = 0;
};

struct ImportPlanItem {
    Opt<Id> category;
    Opt<Id> subtype;
    ImportCandidates* candidates = nullptr;  // null: it is new in any case
};

/// Threads: made on one thread; then any.
class ImportPlan {
public:
    enum class KNOWN { LOOK_UP, FORCE_NEW };
    /// Makes the categories that are missing. @param items as long as the object.
    /// Errors: those of lookups and of stores of categories; nothing else was stored then.
    static Result<std::unique_ptr<ImportPlan>> Create(const AssetRepositoryRef& repository, const std::vector<ImportItem>& items,
                                                      KNOWN known);

    const ImportPlanItem& Get(std::size_t index) const { return _items[index]; }

private:
    using Key = std::pair<Id, std::string>;  // category, or the null id, and name
    Result<void> ReadCategories(const AssetRepositoryRef& repository);
    Result<void> ReadAssets(const AssetRepositoryRef& repository);
    Result<Id> EnsureCategory(const AssetRepositoryRef& repository, const std::vector<std::string>& folders);
    Result<Opt<Id>> FindSubtype(const ImportItem& item);

    std::vector<ImportPlanItem> _items;
    std::map<Key, Id> _categories;  // parent and name to id
    std::map<Key, std::unique_ptr<ImportCandidates>> _known;
    std::map<std::string, Id> _subtypes;  // by suffix
};

}  // namespace talvo
