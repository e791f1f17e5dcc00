// What of an asset is here, as long as nothing is loaded from elsewhere.
#include "asset_downloads.h"

#include "memoryassetrepository.h"
#include "support/asset_test_support.h"

namespace talvo {

TEST(AssetDownloads, knowWhatIsHereAndHowLargeItIs) {
    using KIND = ASSET_METADATA_KIND;
    using STATE = ASSET_DOWNLOAD_STATE;
    const ScratchDirectory scratch;
    const auto repository = Need(MemoryAssetRepository::Create("r"_id, {}, MemoryAssetRepository::ACCESS::WRITABLE));
    const auto storeFile = [&](const Id& id, Int64 size) {
        const AssetDescription file =
            Need(repository->StoreAsset(id, MakeFileAsset(scratch, std::string(id.GetView()) + ".txt", "12345"), nullptr));
        const Data stored = size ? Data(size) : Data();
        Need(file.StoreMetaData(InternedId(ASSETMETADATA::SIZE), stored, KIND::PERSISTENT));
        return file;
    };
    const AssetDescription future = storeFile("future"_id, 1);
    Need(future.StoreMetaData(InternedId(ASSETMETADATA::VALIDVERSION), Data(AssetVersionRange(1e6, 0)), KIND::PERSISTENT));
    AssetDescription::Parts parts;
    parts.type = ASSETTYPE_FILE;
    parts.identity = {"gone"_id, "v1"_id};
    const struct {
        const char* why;
        AssetDescription asset;
        Int64 size;
        STATE state;
    } rows[] = {
        {"a size that was stored counts", storeFile("a"_id, 77), 77, STATE::CACHED},
        {"otherwise the file is asked", storeFile("b"_id, 0), 5, STATE::CACHED},
        {"also where it is said to be unknown", storeFile("c"_id, -1), 5, STATE::CACHED},
        {"no file", Need(repository->StoreAsset("note"_id, MakeNote("text", {}), nullptr)), -1, STATE::CACHED},
        {"for a later version of the application", future, 1, STATE::INVALID},
        {"not stored", Need(AssetDescription::Create(repository, std::move(parts))), -1, STATE::INVALID},
    };
    for (const auto& row : rows) {
        SCOPED_TRACE(row.why);
        EXPECT_EQ(Need(AssetDownloads::GetAssetFileSize(row.asset)), row.size);
        EXPECT_EQ(Need(AssetDownloads::GetDownloadState(row.asset)), row.state);
        EXPECT_TRUE(AssetDownloads::IsAssetCached(row.asset));
    }
    EXPECT_EQ(Need(AssetDownloads::GetDownloadState(nullptr)), STATE::INVALID);
    EXPECT_THAT(AssetDownloads::GetAssetFileSize(nullptr), FailsWith<NullptrError>());
}

}  // namespace talvo
