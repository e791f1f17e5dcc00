// A browser over a small library in memory, and a host that writes down what it gets.
#pragma once

#include "asset_browser.h"
#include "category_asset.h"
#include "keyword_asset.h"
#include "memoryassetrepository.h"
#include "subtype_asset.h"
#include "support/asset_test_support.h"

#include <mutex>

namespace talvo {

class BrowserFixture : public testing::Test {
protected:
    using KIND = ASSET_METADATA_KIND;
    /// What a host remembers of the calls: "stage 0", or rows with two blanks a level.
    struct Host {
        Result<Data> Take(Int stage, const Data& parent, const BuildEntryRecord& record) {
            const std::lock_guard lock(mutex);
            const Int64* depth = parent.GetPtr<Int64>();
            if (stage != BUILD_STAGE::ROW) {
                stages += std::to_string(stage);
                return Data(Int64(0));
            }
            std::string line(std::size_t(2 * (depth ? *depth : 0)), ' ');
            line += (record.isMarked ? "*" : "") + std::string(record.name.GetView());
            if (record.matchText.IsPopulated()) line += " [" + std::string(record.matchText.GetView()) + "]";
            rows.push_back(line);
            return Data(Int64((depth ? *depth : 0) + 1));
        }
        std::mutex mutex;
        std::string stages;
        std::vector<std::string> rows;
    };

    BrowserFixture();
    /// @param repository null: it is set later, and Fill called then.
    explicit BrowserFixture(BaseAssetRepositoryRef repository);
    /// Stores the library.
    void Fill();
    AssetDescription Store(const Id& aid, const Asset& asset, const char* name);
    AssetDescription StoreFile(const char* aid, const char* name, const char* category, const char* subtype);
    void Set(const AssetDescription& asset, const Id& key, Data value, KIND kind = KIND::PERSISTENT);
    AssetBrowserRef MakeBrowser(ASSET_BROWSE_MODE mode);
    /// The rows of one search with a new browser, with `parent` of what lies in that category only.
    std::vector<std::string> Search(const char* text, ASSET_BROWSE_MODE mode = ASSET_BROWSE_MODE::ASSET_LIST,
                                    const Id& parent = Id());
    /// The same by a walk over all assets: a browser that leaves a repository out, be it one that isn't there, does without tables.
    std::vector<std::string> Walk(const char* text, ASSET_BROWSE_MODE mode, const Id& parent = Id());
    /// @param parent only what lies in this category; null: everything.
    std::vector<std::string> Search(const AssetBrowserRef& browser, const char* text, const Id& parent);

    ScratchDirectory _scratch;
    BaseAssetRepositoryRef _repository;
    Host _host;
};

}  // namespace talvo
