// Index files: what is read from them is what the tree says, whatever was changed in between, and nothing wrong in them hides or invents a version.
#include "kernel/base/hashing.h"
#include "kernel/io/directory_tree.h"
#include "kernel/io/file_utilities.h"
#include "url_repository/compacted_metadata.h"
#include "url_repository/compacted_metadata_layout.h"
#include "url_repository/index_text.h"
#include "url_repository/url_asset_repository.h"
#include "url_repository/url_repository_fixture.h"

#include <fstream>
#include <random>
#include <thread>

namespace talvo {
namespace {

namespace fs = std::filesystem;
using testing::HasSubstr;

class Index : public UrlRepositoryTest {
protected:
    static constexpr KIND PLAIN = KIND::PERSISTENT;
    static constexpr KIND VERSIONED = KIND::PERSISTENT | KIND::VERSIONED;
    static constexpr KIND USER = KIND::PERSISTENT | KIND::USER;

    static void Compact(const AssetRepositoryRef& repository) { Need(Indexed(repository).Compact()); }
    Result<void> Set(const AssetRepositoryRef& repository, std::string_view aid, std::string_view key, const char* value,
                     KIND kind) {
        const AssetDescription asset = FindLatest(repository, MakeId(aid));
        return repository->StoreMetaData(asset, MakeMetaId(key), value ? Data(String(value)) : Data(), kind);
    }
    void Fill(const AssetRepositoryRef& repository) {
        Store(repository, "a", "one");
        Need(Set(repository, "a", "plain", "1", PLAIN));
        Need(Set(repository, "a", "versioned", "2", VERSIONED));
        Need(Set(repository, "a", "index", "3", PLAIN));
        Need(Set(repository, "a", "user", "4", USER));
        Store(repository, "a", "two");
        Store(repository, "b", "x");
        Need(repository->DeleteAsset(MakeId("b")));
        Store(repository, "c with a blank", "y");
        _scratch.Write("value.bin", "bytes");
        Need(repository->StoreUrlMetaData(FindLatest(repository, MakeId("a")), MakeMetaId("file"),
                                          _scratch.GetUrl() + "value.bin", PLAIN));
    }
    /// Takes away what a load from the index must not need.
    void RemoveInfos() const {
        for (const auto& entry : fs::directory_iterator(_scratch / "repo")) {
            if (entry.is_directory()) fs::remove(entry.path() / "asset.info");
        }
    }
    Result<UpdatableAssetRepositoryRef> TryOpen() const {
        return AssetInterface::CreateRepositoryFromUrl(MakeId("repo"), REPOSITORYTYPE_DATABASE, {}, GetRoot(), true, false,
                                                       false);
    }
};

TEST_F(Index, TellsWhatTheTreeTells) {
    auto repository = Open();
    Fill(repository);
    const auto before = DescribeAll(repository);
    Compact(repository);
    EXPECT_EQ(Indexed(repository).GetIndexState(), 3);
    EXPECT_EQ(DescribeAll(repository), before);
    EXPECT_EQ(DescribeTree(), before);
    RemoveInfos();
    repository = Open();
    EXPECT_EQ(Indexed(repository).GetIndexState(), 3);
    EXPECT_EQ(DescribeAll(repository), before);
    EXPECT_EQ(DescribeAll(Open(ACCESS::READ_ONLY)), before);
    fs::remove(_scratch / "repo/version");
    EXPECT_EQ(DescribeAll(Open()), before);
}

TEST_F(Index, ASecondOneIsTheSameToTheByte) {
    auto repository = Open();
    Fill(repository);
    const auto read = [&] {
        std::map<std::string, std::string> files;
        for (const auto& entry : fs::recursive_directory_iterator(_scratch / "repo/_index")) {
            const std::string name = entry.path().lexically_relative(_scratch / "repo/_index");
            if (entry.is_regular_file() && name != "modified.dat" && name != "index.dat")
                files[name] = _scratch.Read("repo/_index/" + name);
        }
        return files;
    };
    Compact(repository);
    const auto first = read();
    EXPECT_TRUE(first.contains("0-2/index")) << _scratch.List("repo/_index");
    EXPECT_TRUE(first.contains("0-2.json/plain.json"));
    Compact(repository);
    EXPECT_EQ(read(), first);
    repository = Open();
    Compact(repository);
    EXPECT_EQ(read(), first);
}

TEST_F(Index, ItsListingLeavesOutWhatTheIndexTells) {
    auto repository = Open();
    Fill(repository);
    _scratch.Write("repo/a/1/.DS_Store", "x");
    Compact(repository);
    std::vector<std::string> paths;
    Need(FileUtilities::ReadDirectoryTree(GetRoot() + "_index/index.dat", [&](const DirectoryTreeEntry& entry) -> Result<Bool> {
        std::string path;
        for (const auto& component : entry.components) path += "/" + std::string(component);
        paths.push_back(path);
        return true;
    }));
    const auto has = [&](const char* path) { return std::find(paths.begin(), paths.end(), path) != paths.end(); };
    for (const char* path :
         {"/databaseid", "/version", "/_index/0-2/index", "/a/1/asset.txt", "/a/2/file.meta.bin", "/a/1/index.meta"}) {
        EXPECT_TRUE(has(path)) << path;
    }
    for (const char* path : {"/a/asset.info", "/a/1/hash", "/a/1/plain.meta", "/a/1/.DS_Store", "/.~index"})
        EXPECT_FALSE(has(path)) << path;
}

TEST_F(Index, IsWrittenInTheBackgroundAndAgainAfterChanges) {
    auto repository = Open();
    Store(repository, "a", "x");
    Need(Indexed(repository).CompactInBackground(0, nullptr));
    const auto waitFor = [&](Int32 state) {
        while (Indexed(repository).GetIndexState() != state) std::this_thread::yield();
    };
    waitFor(3);
    Store(repository, "a", "y");
    EXPECT_NE(Indexed(repository).GetIndexState(), 0);
    EXPECT_FALSE(fs::exists(_scratch / "repo/_index"));
    Need(Indexed(repository).DeleteIndexFiles());
    EXPECT_EQ(Indexed(repository).GetIndexState(), 0);
    Need(Indexed(repository).CompactInBackground(1000, nullptr));
    EXPECT_EQ(Indexed(repository).GetIndexState(), 1);
    // Whoever lets go of it is not kept by what is pending.
    WeakRef<AssetRepositoryInterface> weak(repository.GetPointer());
    repository = nullptr;
    EXPECT_FALSE(weak.Promote());
}

TEST_F(Index, AnEmptyOneAndOneOfALonelyRange) {
    auto repository = Open();
    Compact(repository);
    EXPECT_TRUE(fs::exists(_scratch / "repo/_index/0-1/index")) << _scratch.List("repo");
    EXPECT_EQ(_scratch.Read("repo/_index/0-1/index"), "");
    EXPECT_EQ(Describe(Open()), std::vector<std::string>());
}

TEST_F(Index, RangesAreReadTogether) {
    auto repository = Open();
    Fill(repository);
    for (int i = 3; i < 6; ++i) Store(repository, "a", "more" + std::to_string(i));
    const auto before = DescribeAll(repository);
    auto& url = dynamic_cast<UrlAssetRepositoryImpl&>(*repository);
    Need(url.Compact(0, 2));
    Need(url.Compact(3, 100));
    EXPECT_TRUE(fs::exists(_scratch / "repo/_index/3-5/index")) << _scratch.List("repo/_index");
    _scratch.Write("repo/_index/5-1/index", "nonsense");
    _scratch.Write("repo/_index/2-2/index", "covered, so never read");
    _scratch.Write("repo/_index/x-y/index", "no range");
    _scratch.MakeFolder("repo/tmp-0-5-uuid");
    RemoveInfos();
    EXPECT_EQ(DescribeAll(Open()), before);
}

TEST_F(Index, AChangeDropsItAndTheJournalKeepsItOfUse) {
    auto repository = Open();
    Fill(repository);
    Compact(repository);
    Store(repository, "new", "n");
    EXPECT_FALSE(fs::exists(_scratch / "repo/_index"));
    Need(Set(repository, "a", "plain", nullptr, PLAIN));
    Need(repository->EraseAsset(FindLatest(repository, MakeId("c with a blank"))));
    const auto after = DescribeAll(repository);
    EXPECT_EQ(DescribeTree(), after);
    EXPECT_EQ(DescribeAll(Open()), after);
    // "b" was not changed, so its directory isn't looked at.
    const std::string info = _scratch.Read("repo/b/asset.info");
    fs::remove(_scratch / "repo/b/asset.info");
    EXPECT_EQ(DescribeAll(Open()), after);
    // Someone who knows no journal stored: nothing but the tree is believed.
    _scratch.Write("repo/version", "9\n");
    EXPECT_NE(DescribeAll(Open()), after);
    // Nor when one of ours stored on top of that.
    Store(Open(), "later", "l");
    EXPECT_EQ(DescribeAll(Open()), DescribeTree());
    _scratch.Write("repo/b/asset.info", info);
    EXPECT_EQ(DescribeAll(Open()), DescribeTree());
}

TEST_F(Index, OthersChangesAreNeverHidden) {
    auto first = Open();
    Fill(first);
    Compact(first);
    auto second = Open();
    Store(second, "a", "by the second");
    Need(Set(second, "c with a blank", "plain", "by the second", PLAIN));
    Store(second, "only the second", "s");
    // The first has never heard of it, and writes an index.
    Compact(first);
    EXPECT_TRUE(fs::exists(_scratch / "repo/_index"));
    EXPECT_EQ(DescribeAll(Open()), DescribeAll(second));
    EXPECT_EQ(DescribeTree(), DescribeAll(second));
    Compact(first);
    EXPECT_EQ(DescribeAll(Open()), DescribeAll(second));
    Store(second, "a", "again");
    EXPECT_EQ(DescribeAll(Open()), DescribeAll(second));
}

// Any changes, by two objects on one directory, with indexes written in between: what is read is always what the tree says.
TEST_F(Index, RandomChangesReadTheSameFromIndexJournalAndTree) {
    std::mt19937 dice(20);
    std::vector<UpdatableAssetRepositoryRef> open{Open(), Open()};
    const auto pick = [&](Int count) { return Int(dice() % UInt(count)); };
    for (int step = 0; step < 120; ++step) {
        UpdatableAssetRepositoryRef& repository = open[std::size_t(pick(2))];
        const std::string aid = "asset" + std::to_string(pick(7));
        const AssetDescription asset = FindLatest(repository, MakeId(aid));
        const std::string bytes = std::to_string(step);
        switch (pick(10)) {
            case 0:
            case 1: Store(repository, aid, bytes); break;
            case 2: Need(repository->OverwriteAsset(MakeId(aid), File(bytes), nullptr)); break;
            case 3:
                if (asset) Need(repository->DeleteAsset(MakeId(aid)));
                break;
            case 4:
                // The other one may have erased it; then there is nothing to do.
                if (asset) repository->EraseAsset(asset).Ignore("");
                break;
            case 5:
            case 6:
                if (asset)
                    Set(repository, aid, "key" + std::to_string(pick(3)), pick(4) ? bytes.c_str() : nullptr,
                        pick(2) ? PLAIN : VERSIONED)
                        .Ignore("");
                break;
            case 7: Compact(repository); break;
            case 8: open[std::size_t(pick(2))] = Open(); break;
            default: Need(Indexed(repository).DeleteIndexFiles()); break;
        }
        if (pick(3) != 0) continue;
        ASSERT_EQ(DescribeAll(Open()), DescribeTree()) << "step " << step << _scratch.List("repo");
    }
}

TEST_F(Index, WhatItCantTellIsNamed) {
    auto repository = Open();
    WriteInfo("a", "a");
    WriteVersion("a/007", "seven");
    EXPECT_THAT(Indexed(Open()).Compact(), FailsWith<IllegalStateError>("007"));
    EXPECT_FALSE(fs::exists(_scratch / "repo/_index"));
    EXPECT_THAT(Indexed(Open(ACCESS::READ_ONLY)).Compact(), FailsWith<IllegalStateError>("isn't writable"));
}

TEST_F(Index, AVersionIdThatOccursTwiceKeepsItsFiles) {
    auto repository = Open();
    Store(repository, "a", "same");
    Need(Set(repository, "a", "versioned", "first", VERSIONED));
    Store(repository, "a", "same");
    const auto before = DescribeAll(repository);
    Compact(repository);
    EXPECT_EQ(DescribeAll(Open()), before);
}

TEST_F(Index, BadTextIsNamedWithItsLine) {
    const std::string head = "dir\nid\ntype\n";
    const std::string version = "\t1\n\tv\n\t\tasset.x\n";
    const std::vector<std::pair<std::string, const char*>> cases = {
        {"dir\n", "Line 2"},
        {"dir\nid\n", "Line 3"},
        {"dir\n\ntype\n", "Line 2"},
        {"../x\nid\ntype\n" + version, "Line 1"},
        {"..\nid\ntype\n" + version, "Line 1"},
        {head + "\tone\n\tv\n\t\tasset.x\n", "Line 4"},
        {head + "\t6\n\tv\n\t\tasset.x\n", "Line 4"},
        {head + "\t99999999999999999999999999\n\tv\n\t\tasset.x\n", "Line 4"},
        {head + "\t1\nv\n\t\tasset.x\n", "Line 5"},
        {head + "\t1\n\tv\n", "Line 6"},
        {head + "\t1\n\tv\n\t\t\n", "Line 6"},
        {head + "\t1\n\t*\n\t\tasset.x\n", "Line 5"},
        {head + "\t1\n\tv\n\t\t../../etc\n", "Line 6"},
        {head + "\t1\n\tv\n\t\tasset.x\n\t\ta/b.meta\n", "Line 7"},
        {head + "\t1\n\tv\n\t\tasset.x\n\t\t\n", "Line 7"},
        {head + version + head + version + "x", "Line 14"},
        {head + "\t1\n\tv\x01\n\t\tasset.x\n", "Line 5"},
        {head + "\t1\n\tv\n" + std::string(1000000, '\t') + "\n", "Line 6"},
        {std::string(3000000, 'x') + "\nid\ntype\n", "Line 1"},
    };
    for (const auto& [text, line] : cases) {
        _scratch.Write("repo/_index/0-5/index", text);
        _scratch.Write("repo/databaseid", "repo");
        EXPECT_THAT(TryOpen(), FailsWith<FileFormatError>(line)) << text.substr(0, 60);
        EXPECT_THAT(TryOpen(), FailsWith<FileFormatError>("_index/0-5/index"));
    }
    _scratch.Write("repo/_index/0-5/index", "dir\r\nid\r\ntype\r\n\t1\r\n\tv\r\n\t\tasset.x\r\n");
    fs::remove(_scratch / "repo/version");
    EXPECT_EQ(Need(FindLatest(Need(TryOpen()), MakeId("id"))->GetUrl()).GetPath(), (GetRoot() + "dir/1/asset.x").GetPath());
    _scratch.Write("repo/_index/0-5/index", head + version + "\t2\n\tdeleted\n\t\tasset.x\n");
    EXPECT_FALSE(FindLatest(Need(TryOpen()), MakeId("id"))) << "a deletion mark is one, whatever it names";
}

TEST_F(Index, AFileInItsPlaceIsNone) {
    auto repository = Open();
    Store(repository, "a", "x");
    _scratch.Write("repo/_index", "a file");
    EXPECT_EQ(Describe(Open()).size(), Describe(repository).size());
    Store(repository, "a", "y");
    EXPECT_EQ(Describe(Open()), Describe(repository));
}

// Each byte of a document of values, flipped, and each shorter form of it: an error or the value, never anything else.
TEST_F(Index, DamagedValuesAreErrors) {
    CompactedMetaDataWriter writer;
    const std::string digest(64, 'a');
    for (const char* aid : {"a", "b", "c"}) {
        Need(writer.Add(aid, "v1", Data(String("text"))));
        Need(writer.Add(aid, digest, Data(Int(5))));
    }
    Need(writer.Write(_scratch.GetUrl() + "values", _scratch.GetUrl() + "values.json"));
    const std::string good = _scratch.Read("values");
    const auto find = [&](const std::string& bytes) -> std::string {
        fs::remove(_scratch / "damaged");
        _scratch.Write("damaged", bytes);
        const Result<StrongRef<CompactedMetaData>> opened = CompactedMetaData::Open(_scratch.GetUrl() + "damaged");
        if (opened.IsError()) return FileFormatError::IsClassOf(opened.GetError()) ? "error" : opened.GetError()->GetMessage();
        const Result<Data> value = opened.GetValue()->Find("b", digest, 0.5);
        if (value.IsError()) return FileFormatError::IsClassOf(value.GetError()) ? "error" : value.GetError()->GetMessage();
        return value.GetValue().ToString();
    };
    EXPECT_EQ(find(good), "5");
    for (std::size_t i = 0; i < good.size(); ++i) {
        std::string bytes = good;
        bytes[i] = char(bytes[i] ^ 0x41);
        EXPECT_EQ(find(bytes), "error") << "byte " << i;
        EXPECT_EQ(find(good.substr(0, i)), "error") << "length " << i;
    }
    // The checksum is no protection against someone who makes it anew.
    std::mt19937 dice(7);
    for (int i = 0; i < 3000; ++i) {
        std::string bytes = good.substr(0, good.size() - 8);
        for (int k = 0; k < 3; ++k) bytes[dice() % bytes.size()] = char(dice());
        compacted::AppendNumber(bytes, GetStoredHash64(bytes));
        find(bytes);
    }
}

// The place that callers guess may be far off.
TEST_F(Index, ValuesAreFoundFromAnywhere) {
    CompactedMetaDataWriter writer;
    std::vector<std::string> ids;
    for (int i = 0; i < 1000; i += 3) ids.push_back("id" + std::to_string(1000 + i));
    for (const std::string& id : ids) Need(writer.Add(id, "v", Data(String(id))));
    Need(writer.Write(_scratch.GetUrl() + "values", _scratch.GetUrl() + "values.json"));
    const auto values = Need(CompactedMetaData::Open(_scratch.GetUrl() + "values"));
    for (const Float64 place : {-1.0, 0.0, 0.3, 0.999, 1.0, 7.0}) {
        for (const std::string& id : ids) EXPECT_EQ(Need(values->Find(id, "v", place)), Data(String(id)));
        for (const char* id : {"", "id1001", "zz", "id"}) EXPECT_TRUE(Need(values->Find(id, "v", place)).IsEmpty());
        EXPECT_TRUE(Need(values->Find(ids[5], "w", place)).IsEmpty());
    }
}

}  // namespace
}  // namespace talvo
