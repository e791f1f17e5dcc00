#include "bench/repositories.h"

#include "bench/measure.h"
#include "kernel/app/application.h"
#include "kernel/io/file_utilities.h"
#include "kernel/io/memory_volume.h"
#include "memoryassetrepository.h"

namespace talvo::bench {

UpdatableAssetRepositoryRef OpenOnDisk(const Setting& setting, const std::string& folder) {
    return OpenOnDisk(folder, setting.At("home"));
}

UpdatableAssetRepositoryRef OpenOnDisk(const std::string& folder, const std::string& home) {
    Application::SetHome(Url::FromSystemPath(home));
    return Need(AssetInterface::CreateRepositoryFromUrl(Id(), REPOSITORYTYPE_DATABASE, {}, Url::FromSystemPath(folder), true,
                                                        false, false));
}

BaseAssetRepositoryRef MakeInMemory(const Id& id) {
    return Need(MemoryAssetRepository::Create(id, {}, MemoryAssetRepository::ACCESS::WRITABLE));
}

Asset MakeSmallAsset() {
    static const MemoryVolumeRef VOLUME = Need(MemoryVolume::Create());
    const Url file = VOLUME->GetRoot() + "payload.dat";
    Need(FileUtilities::WriteFileFromMemory(file, "a few bytes of payload"));
    return Asset(StrongRef<AssetInterface>(Need(FileAsset::Create(file))));
}

}  // namespace talvo::bench
