// What many rows share: names of types, categories and repositories, looked up once an update, and its one reading of the clock.
#pragma once

#include "assets.h"
#include "kernel/base/hash_map.h"

namespace talvo {

struct Bucket;

/// A text of the browser's in the current language, with arguments put in.
String GetListingText(const char* key);
String GetListingText(const char* key, Int64 argument);
String GetListingText(const char* key, const char* argument);

/// Threads: as a plain value.
class ListingTexts {
public:
    /// @param now empty: the clock's time, read once.
    ListingTexts(AssetRepositoryRef lookupRepository, UniversalDateTime now);

    struct Category {
        Id id;  ///< of one that is there, or that of all assets without one
        String name;
        String upperName;
        String path;  ///< names from the root down to it, for the subtitle
        AssetDescription asset;
    };
    /// The category with an id; of all assets without one, if that is null or not there. Errors: those of the lookup.
    Result<const Category&> GetCategory(const Id& id);
    /// Name of a subtype, or of a type where `subtype` is null. Errors: those of the lookup.
    Result<const String&> GetTypeName(const Id& type, const Id& subtype);
    /// Type and place, for a row. Errors: those of the lookup.
    Result<const String&> GetSubtitle(const Id& type, const Id& subtype, const Id& category);
    /// What orders types among each other, such as "#$07".
    static String GetTypePrefix(const Id& type);
    /// Name of the asset's repository. Errors: those of the lookup.
    Result<const String&> GetRepositoryName(const AssetDescription& asset);
    Result<UniversalDateTime> GetCreationDate(const AssetDescription& asset) const;
    Result<AssetUsage> GetUsage(const AssetDescription& asset) const;
    /// @param missing key of the text for no date.
    Bucket GetBucket(UniversalDateTime time, const char* missing) const;
    UniversalDateTime GetNow() const { return _now; }
    const AssetRepositoryRef& GetLookupRepository() const { return _lookupRepository; }

private:
    Result<Category> FindCategory(const Id& id) const;

    const AssetRepositoryRef _lookupRepository;
    const UniversalDateTime _now;
    const Int64 _today;
    HashMap<Id, Category> _categories;
    HashMap<std::pair<Id, Id>, String> _typeNames;
    HashMap<Id, String> _repositoryNames;
    HashMap<std::pair<std::pair<Id, Id>, Id>, String> _subtitles;
};

}  // namespace talvo
