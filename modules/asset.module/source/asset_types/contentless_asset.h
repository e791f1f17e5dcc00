// Kinds of assets that are nothing but metadata share one object and one type; a row says where they differ.
#pragma once

#include "assets/asset_type.h"

namespace talvo {

/// The object of such a kind, which offers `INTERFACE`. Its payload is an empty file.
template <typename INTERFACE>
class ContentlessAsset final : public AssetObject<INTERFACE> {
public:
    explicit ContentlessAsset(const Id& typeId) : AssetObject<INTERFACE>(typeId) {}

    AssetType GetType() const override { return FindAssetType(this->_typeId); }
    Result<Asset> Clone() const override {
        return CatchOutOfMemory([&]() -> Result<Asset> {
            const auto copy = StrongRef<ContentlessAsset>::Create(this->_typeId);
            copy->_state = this->_state;
            return Asset(StrongRef<AssetInterface>(copy));
        });
    }
};

/// What `Create` of such a kind does.
template <typename INTERFACE>
Result<StrongRef<INTERFACE>> CreateContentlessAsset(const Id& typeId) {
    return CatchOutOfMemory([&]() -> Result<StrongRef<INTERFACE>> {
        return StrongRef<INTERFACE>(StrongRef<ContentlessAsset<INTERFACE>>::Create(typeId));
    });
}

/// Registers the types of all these kinds. Throws std::bad_alloc.
void RegisterContentlessTypes(Registry<AssetType>& types);

}  // namespace talvo
