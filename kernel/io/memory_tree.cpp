#include "kernel/io/memory_tree.h"

#include <algorithm>
#include <cerrno>
#include <utility>
#include <vector>

namespace talvo {

namespace {

constexpr std::size_t MAX_NAME_LENGTH = 255;
using Components = std::vector<std::string_view>;

int Split(std::string_view path, Components& components) {
    while (!path.empty()) {
        const std::string_view component = path.substr(0, path.find('/'));
        path.remove_prefix(std::min(component.size() + 1, path.size()));
        if (component.size() > MAX_NAME_LENGTH) return ENAMETOOLONG;
        if (component == "..") {
            if (!components.empty()) components.pop_back();
        } else if (!component.empty() && component != ".") {
            components.push_back(component);
        }
    }
    return 0;
}

/// A name in a directory; `parent` is null for the root, `node` where nothing has the name.
struct Place {
    MemoryNodeRef parent;
    std::string_view name;
    MemoryNodeRef node;
    Components components;
};

int Find(const MemoryNodeRef& root, std::string_view path, Place& place) {
    if (const int error = Split(path, place.components)) return error;
    place.node = root;
    for (const std::string_view name : place.components) {
        if (!place.node) return ENOENT;
        if (place.node->kind != IO_DETECT::DIRECTORY) return ENOTDIR;
        place.parent = std::move(place.node);
        place.name = name;
        const auto found = place.parent->entries.find(name);
        place.node = found == place.parent->entries.end() ? nullptr : found->second;
    }
    return 0;
}

int FindExisting(const MemoryNodeRef& root, std::string_view path, Place& place) {
    const int error = Find(root, path, place);
    return error == 0 && !place.node ? ENOENT : error;
}

int FindFile(const MemoryNodeRef& root, std::string_view path, Place& place) {
    const int error = FindExisting(root, path, place);
    return error == 0 && place.node->kind == IO_DETECT::DIRECTORY ? EISDIR : error;
}

MemoryStatus StatusOf(const MemoryNode& node) {
    return {node.kind, node.kind == IO_DETECT::FILE ? Int64(node.bytes.size()) : Int64(-1), node.time, node.readOnly};
}

void Put(const Place& place, MemoryNodeRef node) {
    place.parent->entries.insert_or_assign(std::string(place.name), std::move(node));
    place.parent->time = UniversalDateTime::GetNow();
}

void TakeOut(const Place& place) {
    place.parent->entries.erase(place.parent->entries.find(place.name));
    place.parent->time = UniversalDateTime::GetNow();
}

Bool LiesBelow(const Place& place, const Place& top) {
    return place.components.size() > top.components.size() &&
           std::equal(top.components.begin(), top.components.end(), place.components.begin());
}

/// Whether `target` may give way to `source`, by the rules of the system.
int CheckGivesWay(const MemoryNode& source, const MemoryNode& target) {
    if (source.kind == IO_DETECT::FILE) return target.kind == IO_DETECT::DIRECTORY ? EISDIR : 0;
    if (target.kind == IO_DETECT::FILE) return ENOTDIR;
    return target.entries.empty() ? 0 : ENOTEMPTY;
}

int ExchangePlaces(const Place& from, const Place& to) {
    if (!to.node) return ENOENT;
    if (LiesBelow(from, to)) return EINVAL;
    Put(from, to.node);
    Put(to, from.node);
    return 0;
}

}  // namespace

MemoryNode::~MemoryNode() {
    std::vector<MemoryNodeRef> pending;
    const auto takeEntries = [&](MemoryNode& node) {
        for (auto& entry : node.entries) pending.push_back(std::move(entry.second));
        node.entries.clear();
    };
    takeEntries(*this);
    while (!pending.empty()) {
        const MemoryNodeRef node = std::move(pending.back());
        pending.pop_back();
        if (node->GetReferenceCount() == 1) takeEntries(*node);
    }
}

int MemoryTree::Look(std::string_view path, MemoryStatus& status) const {
    const auto state = _state.Read();
    Place place;
    const int error = FindExisting(state->root, path, place);
    if (error == 0) status = StatusOf(*place.node);
    return error;
}

int MemoryTree::List(std::string_view path, BaseArray<IoEntry>& entries) const {
    const auto state = _state.Read();
    Place place;
    if (const int error = FindExisting(state->root, path, place)) return error;
    if (place.node->kind != IO_DETECT::DIRECTORY) return ENOTDIR;
    for (const auto& [name, node] : place.node->entries) {
        const MemoryStatus status = StatusOf(*node);
        if (entries.Append({name, status.kind, status.size}).IsError()) return ENOMEM;
    }
    return 0;
}

int MemoryTree::OpenFile(std::string_view path, MemoryNodeRef& file) const {
    const auto state = _state.Read();
    Place place;
    const int error = FindFile(state->root, path, place);
    if (error == 0) file = place.node;
    return error;
}

int MemoryTree::OpenFileForWriting(std::string_view path, OUTPUT_MODE mode, MemoryNodeRef& file) {
    MemoryNodeRef fresh = MemoryNodeRef::Create(IO_DETECT::FILE);
    const auto state = _state.Write();
    Place place;
    if (const int error = Find(state->root, path, place)) return error;
    if (place.node) {
        if (mode == OUTPUT_MODE::CREATE_NEW) return EEXIST;
        if (place.node->kind == IO_DETECT::DIRECTORY) return EISDIR;
        if (place.node->readOnly) return EACCES;
        if (mode == OUTPUT_MODE::OVERWRITE) place.node->bytes.clear();
        file = place.node;
        return 0;
    }
    Put(place, fresh);
    file = std::move(fresh);
    return 0;
}

int MemoryTree::CheckReplace(std::string_view path) const {
    const auto state = _state.Read();
    Place place;
    const int error = Find(state->root, path, place);
    return error == 0 && place.node && place.node->kind == IO_DETECT::DIRECTORY ? EISDIR : error;
}

int MemoryTree::Replace(std::string_view path, std::string bytes) {
    MemoryNodeRef fresh = MemoryNodeRef::Create(IO_DETECT::FILE);
    fresh->bytes = std::move(bytes);
    Place place;  // outlives the lock, and with it what is replaced
    const auto state = _state.Write();
    if (const int error = Find(state->root, path, place)) return error;
    if (place.node && place.node->kind == IO_DETECT::DIRECTORY) return EISDIR;
    Put(place, std::move(fresh));
    return 0;
}

int MemoryTree::MakeDirectory(std::string_view path) {
    MemoryNodeRef fresh = MemoryNodeRef::Create(IO_DETECT::DIRECTORY);
    const auto state = _state.Write();
    Place place;
    if (const int error = Find(state->root, path, place)) return error;
    if (place.node) return EEXIST;
    Put(place, std::move(fresh));
    return 0;
}

int MemoryTree::MakeDirectories(std::string_view path) {
    Components components;
    if (const int error = Split(path, components)) return error;
    std::string top;
    for (const std::string_view name : components) {
        top.append(top.empty() ? "" : "/").append(name);
        const int error = MakeDirectory(top);
        if (error != 0 && error != EEXIST) return error;
    }
    MemoryStatus status;
    const int error = Look(path, status);
    return error == 0 && status.kind != IO_DETECT::DIRECTORY ? EEXIST : error;
}

int MemoryTree::Delete(std::string_view path) {
    Place place;  // outlives the lock: a whole tree may go with it
    const auto state = _state.Write();
    const int error = Find(state->root, path, place);
    if (error == ENOENT || error == ENOTDIR || (error == 0 && !place.node)) return 0;
    if (error != 0) return error;
    if (!place.parent) return EBUSY;
    TakeOut(place);
    return 0;
}

int MemoryTree::Rename(std::string_view from, std::string_view to, RENAME_MODE mode) {
    Place source, target;  // outlive the lock, and with it what is replaced
    const auto state = _state.Write();
    if (const int error = FindExisting(state->root, from, source)) return error;
    if (const int error = Find(state->root, to, target)) return error;
    if (target.node && mode == RENAME_MODE::NO_REPLACE) return EEXIST;
    if (source.node == target.node) return 0;
    if (!source.parent || !target.parent) return EBUSY;
    if (LiesBelow(target, source)) return EINVAL;
    if (mode == RENAME_MODE::EXCHANGE) return ExchangePlaces(source, target);
    if (target.node) {
        // A directory that holds the source is not empty.
        if (const int error = CheckGivesWay(*source.node, *target.node)) return error;
    }
    TakeOut(source);
    Put(target, source.node);
    return 0;
}

int MemoryTree::SetReadOnly(std::string_view path, Bool readOnly) {
    const auto state = _state.Write();
    Place place;
    const int error = FindExisting(state->root, path, place);
    if (error == 0) place.node->readOnly = readOnly;
    return error;
}

Int64 MemoryTree::GetSize(const MemoryNode& file) const {
    const auto state = _state.Read();
    return Int64(file.bytes.size());
}

Int64 MemoryTree::ReadAt(const MemoryNode& file, Block<char> buffer, Int64 position) const {
    const auto state = _state.Read();
    if (position >= Int64(file.bytes.size())) return 0;
    const std::string_view part = std::string_view(file.bytes).substr(std::size_t(position), buffer.size());
    std::copy(part.begin(), part.end(), buffer.begin());
    return Int64(part.size());
}

void MemoryTree::WriteAt(MemoryNode& file, std::string_view bytes, Int64 position) {
    const auto state = _state.Write();
    const std::size_t end = std::size_t(position) + bytes.size();
    if (file.bytes.size() < end) file.bytes.resize(end);
    std::copy(bytes.begin(), bytes.end(), file.bytes.begin() + std::ptrdiff_t(position));
    file.time = UniversalDateTime::GetNow();
}

}  // namespace talvo
