#include "tests/sweep/world.h"

#include "kernel/app/application.h"
#include "kernel/text/format.h"
#include "url_repository/create_repository.h"

#include <algorithm>
#include <cstdio>
#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <iterator>

namespace talvo::sweep {

namespace fs = std::filesystem;

namespace {

void Write(const fs::path& path, const std::string& bytes) {
    fs::create_directories(path.parent_path());
    std::ofstream(path, std::ios::binary) << bytes;
}

std::string Describe(const fs::path& root) {
    std::vector<std::string> lines;
    for (const auto& entry : fs::recursive_directory_iterator(root)) {
        std::string line = entry.path().string();
        if (entry.is_regular_file()) {
            std::ifstream file(entry.path(), std::ios::binary);
            line += " " + std::string(std::istreambuf_iterator<char>(file), {});
        }
        lines.push_back(std::move(line));
    }
    std::sort(lines.begin(), lines.end());
    std::string text;
    for (const std::string& line : lines) text += line + "\n";
    return text;
}

}  // namespace

void GiveUp(const std::string& why) {
    std::fprintf(stderr, "crash_sweep: %s\n", why.c_str());
    std::_Exit(2);
}

World::World() {
    _path = (fs::temp_directory_path() / "talvo-sweep-XXXXXX").string();
    if (!mkdtemp(_path.data())) GiveUp("can't make " + _path);
    fs::create_directories(*this / "repo");
    Write(*this / "source/one.txt", "one");
    Write(*this / "source/two.txt", std::string(5000, '2'));
    Write(*this / "source/other.bin", std::string("\0\1\2", 3));
    Write(*this / "source/folder/a.txt", "a");
    Write(*this / "source/folder/deep/b.txt", "b");
    Write(*this / "canary/tree/file", "canary");
    Application::SetHome(GetUrl("home"));
}

World::~World() {
    std::error_code ignored;
    fs::remove_all(_path, ignored);
}

void World::Keep() {
    fs::remove_all(GetBeside("kept"));
    fs::copy(GetBeside("now"), GetBeside("kept"), fs::copy_options::recursive);
}

void World::Reset() {
    fs::remove_all(GetBeside("now"));
    fs::copy(GetBeside("kept"), GetBeside("now"), fs::copy_options::recursive);
}

std::string World::DescribeSurroundings() const { return Describe(*this / "source") + Describe(*this / "canary"); }

std::vector<std::string> World::ListHidden(std::vector<std::string>& foreign) const {
    std::vector<std::string> ours;
    for (const char* place : {"repo", "home"}) {
        if (!fs::exists(*this / place)) continue;
        for (const auto& entry : fs::recursive_directory_iterator(*this / place)) {
            const std::string name = entry.path().filename().string();
            if (!name.starts_with('.') || name == ".~index") continue;  // an index that was dropped is kept
            (name.starts_with(".~") ? ours : foreign).push_back(entry.path().string());
        }
    }
    return ours;
}

Result<AssetRepositoryRef> Session::Open() {
    if (_repository) return AssetRepositoryRef(_repository);
    const auto opened = TRY(OpenUrlRepository(
        {.id = "repo"_id, .bases = {}, .url = world.GetRoot(), .access = UrlRepositoryRequest::ACCESS::WRITABLE}));
    _repository = opened;
    return AssetRepositoryRef(_repository);
}

Result<Asset> Session::GetFile(const std::string& name) const {
    const FileAsset asset = TRY(FileAsset::Create(world.GetUrl("source/" + name)));
    return Asset(asset);
}

Result<AssetDescription> Session::GetNewest(const std::string& aid) {
    const AssetRepositoryRef repository = TRY(Open());
    const Id id = TRY(Id::Create(aid));
    const AssetDescription found = TRY(repository->FindLatestAsset(Id(), id, Id(), ASSET_FIND_MODE::LATEST));
    if (!found) return IllegalStateError::Create("There is no asset " + aid);
    return found;
}

Result<void> Session::Store(const std::string& aid, const std::string& file) {
    const AssetRepositoryRef repository = TRY(Open());
    const Id id = TRY(Id::Create(aid));
    const Asset asset = TRY(GetFile(file));
    TRY(repository->StoreAsset(id, asset, nullptr));
    return OK;
}

Result<void> Session::Overwrite(const std::string& aid, const std::string& file) {
    const AssetRepositoryRef repository = TRY(Open());
    const Id id = TRY(Id::Create(aid));
    const Asset asset = TRY(GetFile(file));
    TRY(repository->OverwriteAsset(id, asset, nullptr));
    return OK;
}

}  // namespace talvo::sweep
