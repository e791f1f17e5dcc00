#include "hostile/hostile_tree.h"

#include "url_repository/create_repository.h"

#include <sys/socket.h>
#include <sys/un.h>
#include <unistd.h>

#include <fstream>

namespace talvo {

namespace fs = std::filesystem;

namespace {

/// Names, kinds, contents and times of all below a folder.
std::string Remember(const std::string& folder) {
    std::vector<std::string> lines;
    for (const auto& entry : fs::recursive_directory_iterator(folder)) {
        std::string content;
        if (entry.is_regular_file()) {
            std::ifstream file(entry.path(), std::ios::binary);
            content.assign(std::istreambuf_iterator<char>(file), {});
        }
        const auto time = entry.last_write_time().time_since_epoch().count();
        lines.push_back(entry.path().string() + " " + std::to_string(time) + " " + content);
    }
    std::sort(lines.begin(), lines.end());
    return testing::PrintToString(lines);
}

void MakeSocket(const std::string& path) {
    // Addresses of sockets are short: it is bound by a name in its folder.
    const fs::path before = fs::current_path();
    fs::current_path(fs::path(path).parent_path());
    sockaddr_un address{};
    address.sun_family = AF_UNIX;
    fs::path(path).filename().string().copy(address.sun_path, sizeof(address.sun_path) - 1);
    const int socket = ::socket(AF_UNIX, SOCK_STREAM, 0);
    EXPECT_EQ(::bind(socket, reinterpret_cast<const sockaddr*>(&address), sizeof(address)), 0) << path;
    ::close(socket);
    fs::current_path(before);
}

}  // namespace

HostileTree::HostileTree() {
    const auto repository = Open();
    Store(repository, "good", "sound");
    const AssetDescription x = Store(repository, "x", "one");
    Need(repository->StoreMetaData(x, MakeMetaId("key"), Data(String("v")), KIND::PERSISTENT));
    fs::rename(_scratch / "repo", _scratch / "sound");
    _scratch.Write("outside/asset.info", "outside\nt\n");
    _scratch.Write("outside/1/asset.txt", "secret");
    _scratch.Write("outside/1/hash", "h\n");
    _scratch.Write("outside/number", "100\n");
    _outside = Remember(_scratch / "outside");
}

void HostileTree::Check(const std::vector<DamageCase>& cases) {
    for (const DamageCase& damage : cases) {
        SCOPED_TRACE(damage.why);
        Restore();
        try {
            CheckCase(damage);
        } catch (const std::exception& error) {
            ADD_FAILURE() << error.what();
        }
        EXPECT_TRUE(IsOutsideUntouched());
    }
}

Bool HostileTree::IsOutsideUntouched() const { return Remember(_scratch / "outside") == _outside; }

void HostileTree::Restore() const {
    Remove("repo");
    Remove("home");
    fs::copy(_scratch / "sound", _scratch / "repo", fs::copy_options::recursive);
}

void HostileTree::Apply(const DamageStep& step) const {
    const std::string path = "repo/" + step.path;
    Remove(path);
    fs::create_directories(fs::path(_scratch / path).parent_path());
    switch (step.kind) {
        case DamageStep::KIND::FILE: return _scratch.Write(path, step.text);
        case DamageStep::KIND::SPARSE_FILE:
            _scratch.Write(path, "");
            return fs::resize_file(_scratch / path, std::uintmax_t(step.size));
        case DamageStep::KIND::FOLDER: return _scratch.MakeFolder(path);
        case DamageStep::KIND::LINK: return MakeLink(step.text.starts_with('/') ? step.text : _scratch / step.text, path);
        case DamageStep::KIND::FIFO: return MakeFifo(path);
        case DamageStep::KIND::SOCKET: return MakeSocket(_scratch / path);
        case DamageStep::KIND::GONE: return;
    }
}

Result<UpdatableAssetRepositoryRef> HostileTree::TryOpen() const {
    return OpenUrlRepository({.id = Id(), .bases = {}, .url = GetRoot(), .access = UrlRepositoryRequest::ACCESS::WRITABLE});
}

std::string HostileTree::See(const AssetRepositoryRef& repository) {
    std::string seen;
    AssetDescription newest;
    const auto mode = MODE::ALL_VERSIONS | MODE::WITH_DELETED;
    const Result<Bool> walked =
        FindAssets(repository, {}, MakeId("x"), Id(), mode, [&](const AssetDescription& found) -> Result<Bool> {
            seen += (seen.empty() ? "#" : " #") + std::to_string(found.GetVersionKey().counter) + " " +
                    (found->IsDeleted() ? "deleted" : ReadPayload(found));
            if (!newest) newest = found;
            return true;
        });
    if (walked.IsError()) return "error: " + walked.GetError()->GetMessage();
    if (!newest) return "nothing";
    const Result<Opt<Data>> value = newest->GetMetaData()->Get(MakeMetaId("key"));
    if (value.IsError()) {
        EXPECT_TRUE(FileFormatError::IsClassOf(value.GetError())) << value.GetError()->GetMessage();
        EXPECT_THAT(value.GetError()->GetMessage(), testing::HasSubstr("key.meta"));
        return seen + ", damaged";
    }
    return seen + ", " + (value.GetValue() ? value.GetValue()->ToString() : "no value");
}

std::string HostileTree::Verify() const {
    std::string paths;
    const Url root = GetRoot();
    const auto done = RepositoryMaintenance::Verify(root, 1, [&](const RepositoryFinding& finding) -> Result<Bool> {
        EXPECT_TRUE(finding.explanation.IsPopulated()) << ToText(finding.path);
        paths += (paths.empty() ? "" : " ") + std::string(finding.path.GetPath().substr(root.GetPath().size() + 1));
        return true;
    });
    return done.IsOk() ? paths : "error: " + done.GetError()->GetMessage();
}

void HostileTree::CheckStore(const DamageCase& damage) {
    {
        const auto repository = Need(TryOpen());
        EXPECT_EQ(ReadPayload(FindLatest(repository, MakeId("good"))), "sound");
        EXPECT_EQ(See(repository), damage.seen);
        const AssetDescription x = Need(repository->FindLatestAsset(Id(), MakeId("x"), Id(), MODE::NONE));
        if (x) Need(repository->StoreMetaData(x, MakeMetaId("more"), Data(String("w")), KIND::PERSISTENT));
        const Result<AssetDescription> stored = repository->StoreAsset(MakeId("x"), File("stored"), nullptr);
        if (damage.refused.empty()) {
            EXPECT_THAT(stored, Succeeds());
        } else {
            ASSERT_TRUE(stored.IsError());
            EXPECT_THAT(stored.GetError()->GetMessage(), testing::HasSubstr(damage.refused));
        }
    }
    const auto again = Need(TryOpen());
    EXPECT_EQ(ReadPayload(FindLatest(again, MakeId("good"))), "sound");
    if (damage.refused.empty()) {
        EXPECT_EQ(ReadPayload(FindLatest(again, MakeId("x"))), "stored");
    }
}

void HostileTree::CheckCase(const DamageCase& damage) {
    for (const DamageStep& step : damage.steps) Apply(step);
    const std::string verified = Verify();
    if (damage.seen != "closed") {
        EXPECT_EQ(verified, damage.reported);
        return CheckStore(damage);
    }
    EXPECT_THAT(verified, testing::AllOf(testing::StartsWith("error: "), testing::HasSubstr(damage.refused)));
    const auto repository = TryOpen();
    ASSERT_TRUE(repository.IsError());
    EXPECT_THAT(repository.GetError()->GetMessage(), testing::HasSubstr(damage.refused));
}

}  // namespace talvo
