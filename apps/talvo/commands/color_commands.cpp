#include "apps/talvo/asset_values.h"
#include "apps/talvo/commands/all_commands.h"
#include "apps/talvo/commands/version_arguments.h"
#include "apps/talvo/named_assets.h"
#include "colorcategory_asset.h"

#include <charconv>
#include <cstdio>

namespace talvo {

namespace {

/// Reads "#rrggbb", the usual form of colours in hexadecimal digits.
Result<Color> ParseColor(const std::string& text) {
    UInt32 number = 0;
    const Bool hasForm = text.size() == 7 && text[0] == '#';
    const auto read = std::from_chars(text.data() + (hasForm ? 1 : 0), text.data() + text.size(), number, 16);
    if (!hasForm || read.ec != std::errc() || read.ptr != text.data() + text.size()) {
        return WrongUsageError::Create(FormatMessage("\"@\" is no colour. Write it like #ff8800.", text));
    }
    const auto part = [&](UInt32 shift) { return Float64(number >> shift & 0xff) / 255; };
    return Color{part(16), part(8), part(0)};
}

std::string FormatColor(const Color& color) {
    const auto part = [](Float64 value) { return unsigned(std::min(255.0, std::max(0.0, value * 255 + 0.5))); };
    char text[8];
    std::snprintf(text, sizeof text, "#%02x%02x%02x", part(color.r), part(color.g), part(color.b));
    return text;
}

class ColorAddCommand final : public Command {
public:
    CommandWords GetWords() const override {
        return {"color add", "Make a colour category.", "talvo color add shelf Approved '#00aa00'"};
    }
    void DeclareArguments(ArgumentList& arguments) override {
        arguments.AddRequired("REPO", _path, REPO_HELP);
        arguments.AddRequired("NAME", _name, "what people call it");
        arguments.AddRequired("COLOR", _color, "like #ff8800");
        arguments.AddOption("--id", "ID", _id, "id of the colour category (default: a fresh one)");
    }
    Result<EXIT_CODE> Run(const CommonOptions& options, Output& output) override {
        AssetValues values;
        values.color = TRY(ParseColor(_color));
        values.name = String(_name);
        const AssetRepositoryRef repository = TRY(RepositoryOpener::Open(_path, options));
        const ColorCategoryAsset category = TRY(ColorCategoryAssetInterface::Create());
        const AssetDescription stored =
            TRY(StoreNamedAsset(repository, _id, "colorcategory", Asset(StrongRef<AssetInterface>(category)), values));
        TRY(RepositoryOpener::Sync(repository, RepositoryOpener::SYNC::IF_DURABLE));
        TRY(WriteStored(output, stored));
        return EXIT_CODE::DONE;
    }

private:
    std::string _path;
    std::string _name;
    std::string _color;
    Opt<std::string> _id;
};

class ColorSetCommand final : public Command {
public:
    CommandWords GetWords() const override {
        return {"color set", "Give an asset a colour category.", "talvo color set shelf chair Approved"};
    }
    void DeclareArguments(ArgumentList& arguments) override {
        _arguments.DeclareAsset(arguments);
        arguments.AddOptional("CATEGORY", _category, "id or name of the colour category (default: none)");
    }
    Result<EXIT_CODE> Run(const CommonOptions& options, Output& output) override {
        const OpenedVersion opened = TRY(OpenedVersion::OpenToWrite(_arguments, options));
        Id category;
        if (_category) {
            const AssetDescription found =
                TRY(FindNamedAsset(opened.repository, ASSETTYPE_COLORCATEGORY, *_category, "colour category"));
            category = found->GetIdAndVersion().first;
        }
        TRY(ColorCategoryAssetInterface::SetColorCategory(opened.description, category));
        TRY(RepositoryOpener::Sync(opened.repository, RepositoryOpener::SYNC::IF_DURABLE));
        const Id& id = opened.description->GetIdAndVersion().first;
        if (output.IsJson()) {
            DocumentValue::ObjectType object;
            object.emplace_back("id", ToJsonText(id));
            if (category.IsPopulated()) object.emplace_back("category", ToJsonText(category));
            TRY(output.WriteJson(DocumentValue(std::move(object))));
        } else {
            TRY(output.WriteLine(FormatMessage("@ has @", id, category.IsPopulated() ? category : "no colour"_id)));
        }
        return EXIT_CODE::DONE;
    }

private:
    VersionArguments _arguments;
    Opt<std::string> _category;
};

class ColorListCommand final : public Command {
public:
    CommandWords GetWords() const override { return {"color list", "List the colour categories.", "talvo color list shelf"}; }
    void DeclareArguments(ArgumentList& arguments) override { arguments.AddRequired("REPO", _path, REPO_HELP); }
    Result<EXIT_CODE> Run(const CommonOptions& options, Output& output) override {
        const AssetRepositoryRef repository = TRY(RepositoryOpener::Open(_path, options));
        const Id type = ASSETTYPE_COLORCATEGORY;
        TextTable table({{"COLOR"}, {"NAME"}, {"ID"}});
        TRY(FindAssets(repository, Block<const Id>(&type, 1), Id(), Id(), ASSET_FIND_MODE::LATEST,
                       [&](const AssetDescription& found) -> Result<Bool> {
                           const String name = TRY(GetAssetName(found));
                           const Opt<Color> color = TRY(found->GetMetaData().Get<Color>(COLORCATEGORY_COLOR));
                           const std::string text = color ? FormatColor(*color) : std::string();
                           const Id& id = found->GetIdAndVersion().first;
                           table.AddRow({text, std::string(name.GetView()), std::string(id.GetView())});
                           if (!output.IsJson()) return true;
                           DocumentValue::ObjectType object;
                           object.emplace_back("id", ToJsonText(id));
                           object.emplace_back("name", name.GetCString());
                           if (color) object.emplace_back("color", text);
                           TRY(output.WriteJson(DocumentValue(std::move(object))));
                           return true;
                       }));
        if (!output.IsJson()) TRY(output.WriteTable(table));
        return EXIT_CODE::DONE;
    }

private:
    std::string _path;
};

}  // namespace

std::unique_ptr<Command> MakeColorAddCommand() { return std::make_unique<ColorAddCommand>(); }
std::unique_ptr<Command> MakeColorSetCommand() { return std::make_unique<ColorSetCommand>(); }
std::unique_ptr<Command> MakeColorListCommand() { return std::make_unique<ColorListCommand>(); }

}  // namespace talvo
