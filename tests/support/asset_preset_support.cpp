#include "support/asset_preset_support.h"

#include "kernel/io/file_utilities.h"

namespace talvo {

namespace {

constexpr Int PAYLOAD_LIMIT = 1 << 16;

class TestPreset final : public AssetObject<BasePresetAssetInterface> {
public:
    TestPreset(Id type, std::string text) : AssetObject(std::move(type)), _text(std::move(text)) {}
    AssetType GetType() const override { return FindAssetType(_typeId); }
    Result<Asset> Clone() const override { return MakePreset(_typeId, _text); }
    Result<Data> Apply(const Data& arguments) override { return arguments; }
    Result<Data> GeneratePreview(const Data& arguments) override { return arguments; }
    Result<Data> ConvertFromLegacyBrowser(const Data& arguments) override { return arguments; }
    Result<void> Serialize(const OutputStreamRef& stream) const override {
        if (_text == "unwritable") return IllegalStateError::Create("This preset can't be written.");
        return stream->Write(_text);
    }

private:
    const std::string _text;
};

class BareType : public BasePresetAssetType {
public:
    explicit BareType(Id id) : _id(std::move(id)) {}
    const Id& GetId() const override { return _id; }
    const Id& GetAssetDataType() const override { return _id; }
    Result<Asset> Load(const AssetRepositoryRef&, const AssetDescription&, const Url& url, Bool) const override {
        const std::string text = TRY(FileUtilities::ReadFileToMemory(url, PAYLOAD_LIMIT));
        return MakePreset(_id, text);
    }

private:
    const Id _id;
};

class SwatchType final : public BareType {
public:
    SwatchType() : BareType(ASSETTYPE_SWATCH) {}
    String GetName() const override { return String("Swatch"); }
    Bool DoesSupportSetAsDefault() const override { return true; }
};

void RegisterType(const Id& id, AssetTypeInterface* type) {
    Need(GetAssetTypes().Register(id, AssetType(StrongRef<AssetTypeInterface>(type))));
}

}  // namespace

Asset MakePreset(const Id& type, std::string text) {
    static const Bool isRegistered [[maybe_unused]] = [] {
        RegisterType(ASSETTYPE_BAREPRESET, new BareType(ASSETTYPE_BAREPRESET));
        RegisterType(ASSETTYPE_SWATCH, new SwatchType);
        return true;
    }();
    return Asset(StrongRef<AssetInterface>(StrongRef<TestPreset>::Create(type, std::move(text))));
}

}  // namespace talvo
