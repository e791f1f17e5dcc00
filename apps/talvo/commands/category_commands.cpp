#include "apps/talvo/asset_values.h"
#include "apps/talvo/commands/all_commands.h"
#include "apps/talvo/commands/version_arguments.h"
#include "apps/talvo/named_assets.h"
#include "category_asset.h"
#include "kernel/base/hash_map.h"

#include <algorithm>
#include <functional>
#include <map>

namespace talvo {

namespace {

struct Category {
    Id id;
    Id parent;
    String name;
    Int assets = 0;  // that stand in it, categories not counted
};

Result<std::vector<Category>> ListCategories(const AssetRepositoryRef& repository) {
    std::vector<Category> categories;
    std::map<Id, Int> counts;
    TRY(FindAssets(repository, {}, Id(), Id(), ASSET_FIND_MODE::LATEST, [&](const AssetDescription& found) -> Result<Bool> {
        const Id parent = CategoryAssetInterface::GetParentCategory(found);
        if (found->GetTypeId() != ASSETTYPE_CATEGORY) {
            if (parent.IsPopulated()) ++counts[parent];
            return true;
        }
        String name = TRY(GetAssetName(found));
        categories.push_back({found->GetIdAndVersion().first, parent, std::move(name)});
        return true;
    }));
    for (Category& category : categories) category.assets = counts[category.id];
    std::sort(categories.begin(), categories.end(), [](const Category& first, const Category& second) {
        if (first.name != second.name) return first.name < second.name;
        return first.id < second.id;
    });
    return categories;
}

DocumentValue::ObjectType ToJson(const Category& category) {
    DocumentValue::ObjectType object;
    object.emplace_back("id", ToJsonText(category.id));
    object.emplace_back("name", category.name.GetCString());
    if (category.parent.IsPopulated()) object.emplace_back("parent", ToJsonText(category.parent));
    object.emplace_back("assets", DocumentValue(category.assets));
    return object;
}

class CategoryAddCommand final : public Command {
public:
    CommandWords GetWords() const override {
        return {"category add", "Make a category.",
                "talvo category add shelf Furniture\ntalvo category add shelf Chairs --parent Furniture"};
    }
    void DeclareArguments(ArgumentList& arguments) override {
        arguments.AddRequired("REPO", _path, REPO_HELP);
        arguments.AddRequired("NAME", _name, "what people call it");
        arguments.AddOption("--parent", "CATEGORY", _parent, "id or name of the category above (default: none)");
        arguments.AddOption("--id", "ID", _id, "id of the category (default: a fresh one)");
    }
    Result<EXIT_CODE> Run(const CommonOptions& options, Output& output) override {
        const AssetRepositoryRef repository = TRY(RepositoryOpener::Open(_path, options));
        AssetValues values;
        values.name = String(_name);
        if (_parent) {
            const AssetDescription parent = TRY(FindNamedAsset(repository, ASSETTYPE_CATEGORY, *_parent, "category"));
            values.category = parent->GetIdAndVersion().first;
        }
        const CategoryAsset category = TRY(CategoryAssetInterface::Create());
        const AssetDescription stored =
            TRY(StoreNamedAsset(repository, _id, "category", Asset(StrongRef<AssetInterface>(category)), values));
        TRY(RepositoryOpener::Sync(repository, RepositoryOpener::SYNC::IF_DURABLE));
        TRY(WriteStored(output, stored));
        return EXIT_CODE::DONE;
    }

private:
    std::string _path;
    std::string _name;
    Opt<std::string> _parent;
    Opt<std::string> _id;
};

class CategoryListCommand final : public Command {
public:
    CommandWords GetWords() const override { return {"category list", "List the categories.", "talvo category list shelf"}; }
    void DeclareArguments(ArgumentList& arguments) override { arguments.AddRequired("REPO", _path, REPO_HELP); }
    Result<EXIT_CODE> Run(const CommonOptions& options, Output& output) override {
        const AssetRepositoryRef repository = TRY(RepositoryOpener::Open(_path, options));
        const std::vector<Category> categories = TRY(ListCategories(repository));
        TextTable table({{"NAME"}, {"ASSETS", TextTable::ALIGN::RIGHT}, {"ID"}, {"PARENT"}});
        for (const Category& category : categories) {
            if (output.IsJson()) TRY(output.WriteJson(DocumentValue(ToJson(category))));
            table.AddRow({std::string(category.name.GetView()), std::to_string(category.assets),
                          std::string(category.id.GetView()), std::string(category.parent.GetView())});
        }
        if (!output.IsJson()) TRY(output.WriteTable(table));
        return EXIT_CODE::DONE;
    }

private:
    std::string _path;
};

class CategoryTreeCommand final : public Command {
public:
    CommandWords GetWords() const override {
        return {"category tree", "Show the tree of categories.", "talvo category tree shelf",
                "A category whose parent isn't there stands at the top, and so do those that stand in a circle."};
    }
    void DeclareArguments(ArgumentList& arguments) override { arguments.AddRequired("REPO", _path, REPO_HELP); }
    Result<EXIT_CODE> Run(const CommonOptions& options, Output& output) override {
        const AssetRepositoryRef repository = TRY(RepositoryOpener::Open(_path, options));
        const std::vector<Category> categories = TRY(ListCategories(repository));
        std::map<Id, std::vector<const Category*>> children;
        HashSet<Id> known;
        for (const Category& category : categories) TRY(known.Insert(category.id));
        for (const Category& category : categories) {
            const Bool isRoot = !known.Contains(category.parent);
            children[isRoot ? Id() : category.parent].push_back(&category);
        }
        HashSet<Id> shown;
        const std::function<Result<void>(const Category&, Int)> show = [&](const Category& category, Int depth) -> Result<void> {
            const Bool isNew = TRY(shown.Insert(category.id));
            if (!isNew) return OK;
            TRY(Write(category, depth, output));
            for (const Category* child : children[category.id]) TRY(show(*child, depth + 1));
            return OK;
        };
        for (const Category* root : children[Id()]) TRY(show(*root, 0));
        for (const Category& category : categories) TRY(show(category, 0));  // what is left goes in circles
        return EXIT_CODE::DONE;
    }

private:
    static Result<void> Write(const Category& category, Int depth, Output& output) {
        if (output.IsJson()) {
            DocumentValue::ObjectType object = ToJson(category);
            object.emplace_back("depth", DocumentValue(depth));
            return output.WriteJson(DocumentValue(std::move(object)));
        }
        return output.WriteLine(std::string(std::size_t(2 * depth), ' ') +
                                FormatMessage("@  (@)", category.name, category.assets));
    }

    std::string _path;
};

class CategorySetCommand final : public Command {
public:
    CommandWords GetWords() const override {
        return {"category set", "Put an asset into a category.",
                "talvo category set shelf chair Chairs\ntalvo category set shelf Chairs Furniture",
                "A category is put below another one in the same way. Without a CATEGORY it stands in none."};
    }
    void DeclareArguments(ArgumentList& arguments) override {
        arguments.AddRequired("REPO", _path, REPO_HELP);
        arguments.AddRequired("ID", _asset, "id of the asset, or id or name of a category");
        arguments.AddOptional("CATEGORY", _category, "id or name of the category");
    }
    Result<EXIT_CODE> Run(const CommonOptions& options, Output& output) override {
        const AssetRepositoryRef repository = TRY(RepositoryOpener::Open(_path, options));
        const AssetDescription asset = TRY(FindAsset(repository));
        Id category;
        if (_category) {
            const AssetDescription found = TRY(FindNamedAsset(repository, ASSETTYPE_CATEGORY, *_category, "category"));
            TRY(CheckNoCircle(repository, asset, found));
            category = found->GetIdAndVersion().first;
        }
        TRY(CategoryAssetInterface::SetAssetCategory(asset, category));
        TRY(RepositoryOpener::Sync(repository, RepositoryOpener::SYNC::IF_DURABLE));
        const Id& id = asset->GetIdAndVersion().first;
        if (!output.IsJson()) {
            TRY(output.WriteLine(FormatMessage("@ stands in @", id, category.IsPopulated() ? category : "no category"_id)));
            return EXIT_CODE::DONE;
        }
        DocumentValue::ObjectType object;
        object.emplace_back("id", ToJsonText(id));
        if (category.IsPopulated()) object.emplace_back("category", ToJsonText(category));
        TRY(output.WriteJson(DocumentValue(std::move(object))));
        return EXIT_CODE::DONE;
    }

private:
    Result<AssetDescription> FindAsset(const AssetRepositoryRef& repository) const {
        Result<AssetDescription> found = VersionSelector::Select(repository, _asset, {}, VersionSelector::SCOPE::REPOSITORY_ONLY);
        if (found.IsOk() || !UnresolvedError::IsClassOf(found.GetError())) return found;
        Result<AssetDescription> named = FindNamedAsset(repository, ASSETTYPE_CATEGORY, _asset, "asset or category");
        return named;
    }
    /// A category may not stand below itself: nobody would find the way up from there.
    static Result<void> CheckNoCircle(const AssetRepositoryRef& repository, const AssetDescription& asset,
                                      const AssetDescription& category) {
        const Id& id = asset->GetIdAndVersion().first;
        std::string way(id.GetView());
        HashSet<Id> met;
        for (AssetDescription next = category; next;) {
            const Id& parentId = next->GetIdAndVersion().first;
            way += " in " + std::string(parentId.GetView());
            if (parentId == id)
                return IllegalArgumentError::Create(FormatMessage("That would be a circle: @. Choose another category.", way));
            const Bool isNew = TRY(met.Insert(parentId));
            const Id parent = CategoryAssetInterface::GetParentCategory(next);
            if (!isNew || parent.IsEmpty()) return OK;
            next = TRY(repository->FindLatestAsset(ASSETTYPE_CATEGORY, parent, Id(), ASSET_FIND_MODE::NONE));
        }
        return OK;
    }

    std::string _path;
    std::string _asset;
    Opt<std::string> _category;
};

}  // namespace

std::unique_ptr<Command> MakeCategoryAddCommand() { return std::make_unique<CategoryAddCommand>(); }
std::unique_ptr<Command> MakeCategoryListCommand() { return std::make_unique<CategoryListCommand>(); }
std::unique_ptr<Command> MakeCategoryTreeCommand() { return std::make_unique<CategoryTreeCommand>(); }
std::unique_ptr<Command> MakeCategorySetCommand() { return std::make_unique<CategorySetCommand>(); }

}  // namespace talvo
