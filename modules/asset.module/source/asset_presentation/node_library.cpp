#include "node_library.h"

#include "kernel/thread/locks.h"

namespace talvo {

namespace {

struct Hooks {
    Delegate<Bool(const AssetDescription&, const NodeSystemClassRef&)> supports;
    Delegate<Bool(const AssetDescription&)> isObject;
    NodeLibrary::PortEntriesDelegate entries;
};

Guarded<Hooks, ARWLock>& GetHooks() {
    static Guarded<Hooks, ARWLock> hooks;
    return hooks;
}

template <typename T>
void Set(T Hooks::* member, T value) {
    auto hooks = GetHooks().Write();
    std::swap((*hooks).*member, value);
}

template <typename T>
T Get(T Hooks::* member) {
    auto hooks = GetHooks().Read();
    return (*hooks).*member;
}

}  // namespace

void NodeLibrary::SetAssetSupports(Delegate<Bool(const AssetDescription&, const NodeSystemClassRef&)> supports) {
    Set(&Hooks::supports, std::move(supports));
}

Bool NodeLibrary::AssetSupports(const AssetDescription& asset, const NodeSystemClassRef& cls) {
    if (!cls) return true;
    const auto supports = Get(&Hooks::supports);
    return !supports || supports(asset, cls);
}

void NodeLibrary::SetIsMorvaneObjectAsset(Delegate<Bool(const AssetDescription&)> isObject) {
    Set(&Hooks::isObject, std::move(isObject));
}

Bool NodeLibrary::IsMorvaneObjectAsset(const AssetDescription& asset) {
    const auto isObject = Get(&Hooks::isObject);
    return isObject && isObject(asset);
}

void NodeLibrary::SetPortEntries(PortEntriesDelegate entries) { Set(&Hooks::entries, std::move(entries)); }

Result<BaseArray<String>> NodeLibrary::GetPortEntries(const AssetDescription& asset, const NodeSystemClassRef& cls,
                                                      const String& node, const String& port, LanguageRef language) {
    const PortEntriesDelegate entries = Get(&Hooks::entries);
    return entries ? entries(asset, cls, node, port, language) : Result<BaseArray<String>>(BaseArray<String>());
}

}  // namespace talvo
