// Pending updates in the order of their dependencies, and the step that lets an asset take them.
#include "asset_impl/repository_engine.h"
#include "asset_types/asset_description_impl.h"

#include <functional>

namespace talvo {

namespace {

/// The assets that have to take updates, and what each of them takes.
struct UpdateNode {
    AssetDescription placeholder;
    BaseArray<AssetDescription> updates;
    Int index = -1;  // Tarjan's numbering
    Int lowLink = -1;
    Bool onStack = false;
};
using UpdateNodes = HashMap<Id, std::unique_ptr<UpdateNode>>;

/// Strongly connected components (Tarjan, Depth-first search and linear graph algorithms, 1972); each must be a single node. Components come out
/// with what they depend on first. Runs on a stack of its own, since chains of references can be long.
class UpdateOrder {
public:
    explicit UpdateOrder(UpdateNodes& nodes) : _nodes(nodes) {}

    Result<BaseArray<AssetUpdateRecord>> Make() {
        for (const Id& id : _nodes.GetSortedKeys()) {
            UpdateNode& node = Get(id);
            if (node.index < 0) TRY(Visit(node));
        }
        return std::move(_result);
    }

private:
    struct Frame {
        UpdateNode* node;
        Int next = 0;
    };

    UpdateNode& Get(const Id& id) { return **_nodes.Find(id); }

    void Enter(UpdateNode& node) {
        node.index = node.lowLink = _counter++;
        node.onStack = true;
        _component.push_back(&node);
        _frames.push_back({&node});
    }

    Result<void> Visit(UpdateNode& root) {
        Enter(root);
        while (!_frames.empty()) {
            Frame& frame = _frames.back();
            UpdateNode& node = *frame.node;
            if (frame.next < node.updates.GetCount()) {
                Follow(node, node.updates[frame.next++]->GetIdAndVersion().first);
                continue;
            }
            _frames.pop_back();
            if (!_frames.empty()) {
                UpdateNode& parent = *_frames.back().node;
                parent.lowLink = std::min(parent.lowLink, node.lowLink);
            }
            if (node.lowLink == node.index) TRY(Emit(node));
        }
        return OK;
    }

    void Follow(UpdateNode& node, const Id& target) {
        auto* found = _nodes.Find(target);
        if (!found) return;
        UpdateNode& next = **found;
        if (next.index < 0) {
            Enter(next);
        } else if (next.onStack) {
            node.lowLink = std::min(node.lowLink, next.index);
        }
    }

    Result<void> Emit(UpdateNode& node) {
        UpdateNode* other = _component.back();
        _component.pop_back();
        if (other != &node) {
            return IllegalArgumentError::Create(FormatMessage("Circular node dependency involving @ and @",
                                                              node.placeholder->GetIdAndVersion().first,
                                                              other->placeholder->GetIdAndVersion().first));
        }
        node.onStack = false;
        return _result.Append({node.placeholder, node.updates});
    }

    UpdateNodes& _nodes;
    Int _counter = 0;
    std::vector<UpdateNode*> _component;
    std::vector<Frame> _frames;
    BaseArray<AssetUpdateRecord> _result;
};

Result<AssetDescription> MakePlaceholder(const AssetRepositoryRef& self, const Asset& asset) {
    AssetDescription::Parts parts;
    parts.type = asset->GetTypeId();
    parts.identity = {asset->GetIdAndVersion().first, g_newVersion};
    parts.key.time = UInt(UniversalDateTime::GetNow().GetValue());
    return AssetDescription::Create(self, std::move(parts));
}

Result<Bool> AnyUpdateOf(const BaseArray<AssetReference>& references, const AssetDescription& updated) {
    for (const AssetReference& reference : references) {
        const Bool matches = TRY(IsUpdateOf(reference, updated));
        if (matches) return true;
    }
    return false;
}

}  // namespace

Result<BaseArray<AssetUpdateRecord>> RepositoryEngine::GetPendingUpdates(Bool reset) {
    std::vector<AssetDescription> stack;
    {
        auto updated = _updatedAssets.Write();
        for (const Id& id : updated->GetSortedKeys()) stack.push_back(*updated->Find(id));
        if (reset) updated->Reset();
    }
    // A snapshot: matching asks assets and repositories, which must not happen under the lock.
    const AssetReferenceTable references = [&] {
        auto scope = _references.Read();
        return *scope;
    }();
    const AssetRepositoryRef self(&_self);
    UpdateNodes nodes;
    while (!stack.empty()) {
        const AssetDescription updated = std::move(stack.back());
        stack.pop_back();
        if (!updated->GetRepository()) continue;
        const auto* referring = references.Find(updated->GetIdAndVersion().first);
        if (!referring) continue;
        for (const auto& [id, entry] : *referring) {
            const Asset asset(entry.asset.Promote());
            if (!asset) continue;
            const Bool matches = TRY(AnyUpdateOf(entry.references, updated));
            if (!matches) continue;
            std::unique_ptr<UpdateNode>* node = TRY(nodes.InsertKey(id));
            if (!*node) {
                *node = std::make_unique<UpdateNode>();
                (*node)->placeholder = TRY(MakePlaceholder(self, asset));
                // What refers to an updated asset counts as updated itself.
                stack.push_back((*node)->placeholder);
            }
            TRY((*node)->updates.Append(updated));
        }
    }
    return UpdateOrder(nodes).Make();
}

Result<void> RepositoryEngine::Update(const AssetUpdateRecord& update) {
    const auto& [description, updatedAssets] = update;
    const IdAndVersion aid = description ? description->GetIdAndVersion() : IdAndVersion();
    CHECK_EXPECTED(description && description->GetRepository().GetPointer() == &_self && aid.second == g_newVersion,
                   "d.GetRepository() == self && aid.second == g_newVersion");
    AssetIdData* record = _table.Find(aid.first);
    if (!record) return IllegalStateError::Create(FormatMessage("No asset to update for asset id @.", aid.first));
    const AssetVersionTable table = TRY(EnsureVersions(*record));
    if (!table.GetLast()) return IllegalStateError::Create(FormatMessage("No asset to update for asset id @.", aid.first));
    const AssetDescription latest = table.GetLast()->description;
    const Asset loaded = TRY(latest->Load(false));
    if (!Cast<UpdatableAssetInterface>(StrongRef<AssetInterface>(loaded))) return OK;

    std::vector<std::pair<AssetReference, AssetBase>> pairs;
    TRY(loaded->GetPendingUpdates(updatedAssets, [&](const AssetReference& reference, const AssetBase& updated) -> Result<Bool> {
        pairs.emplace_back(reference, updated);
        return true;
    }));
    if (pairs.empty()) return OK;

    const AssetRepositoryRef self(&_self);
    const Asset changed = TRY(loaded->Clone());
    TRY(Cast<UpdatableAssetInterface>(StrongRef<AssetInterface>(changed))->Update(pairs, self));
    const Url& url = TRY_REF(latest->GetUrl());
    AssetDescriptionImpl::Of(latest).ReplaceLoadedWithLinks([&](const Asset& old) {
        changed->SetId(latest->GetIdAndVersion(), old ? old->GetUpdate() + 1 : 1, self, url);
        changed->SetMetaData(latest->GetMetaData());
        return changed;
    });
    Result<void> registered = RegisterReferences(*record, changed);
    _self.HandleAssetUpdated(changed);
    return registered;
}

}  // namespace talvo
