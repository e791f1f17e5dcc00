// Bit rot: each file of a sample repository with bits flipped and cut short. Payloads: all damage is found. The rest: an error, another value, or
// nothing, but never a crash, and never a look at what is sound.
#include "kernel/app/log.h"
#include "url_repository/url_repository_fixture.h"

namespace talvo {
namespace {

class BitRot : public UrlRepositoryTest {
protected:
    BitRot() {
        SetLogSink([](LOG_LEVEL, const std::string&) {});  // it would tell of each damage
        const auto repository = Open();
        const AssetDescription first = Store(repository, "a", "first");
        Need(repository->StoreMetaData(first, MakeMetaId("key"), Data(String("v")), KIND::PERSISTENT));
        Need(repository->StoreMetaData(first, MakeMetaId("fast"), Data(Int(5)), KIND::PERSISTENT | KIND::DERIVED));
        _scratch.Write("icon.png", "icon");
        Need(repository->StoreUrlMetaData(first, MakeMetaId("icon"), _scratch.GetUrl() + "icon.png", KIND::PERSISTENT));
        Store(repository, "a", "second");
        Need(repository->DeleteAsset(MakeId("a")));
        _scratch.Write("dir/x.txt", "x");
        _scratch.Write("dir/sub/y.txt", "yy");
        Need(repository->StoreAsset(MakeId("b"), MakeFileAsset(_scratch.GetUrl() + "dir"), nullptr));
        Store(repository, "sound", "untouched");
    }

    ~BitRot() override { SetLogSink(nullptr); }

    /// All files of the repository but those of the asset that stays sound.
    std::vector<std::string> ListFiles() const {
        std::vector<std::string> files;
        for (const auto& entry : std::filesystem::recursive_directory_iterator(_scratch / "repo")) {
            const std::string name = std::filesystem::relative(entry.path(), _scratch.GetPath());
            if (entry.is_regular_file() && !name.starts_with("repo/sound")) files.push_back(name);
        }
        return Sorted(files);
    }
    std::map<std::string, std::string> ReadAll() const {
        std::map<std::string, std::string> content;
        for (const std::string& name : ListFiles()) content[name] = _scratch.Read(name);
        return content;
    }
    static Bool IsPayload(const std::string& name) {
        return name.find("/asset.txt") != name.npos || name.find("/asset/") != name.npos;
    }

    std::vector<RepositoryFinding> Verify() const {
        std::vector<RepositoryFinding> findings;
        const auto verified = RepositoryMaintenance::Verify(GetRoot(), 1, [&](const RepositoryFinding& finding) -> Result<Bool> {
            findings.push_back(finding);
            return true;
        });
        // Where the identifier itself is damaged the check says so.
        if (verified.IsError()) {
            EXPECT_THAT(verified.GetError()->GetMessage(), testing::HasSubstr("repo"));
        }
        return findings;
    }
    /// Everything that the repository gives, read once.
    void ReadEverything() const {
        const auto opened =
            AssetInterface::CreateRepositoryFromUrl(Id(), REPOSITORYTYPE_DATABASE, {}, GetRoot(), false, false, false);
        if (opened.IsError()) return;
        const AssetRepositoryRef repository(opened.GetValue());
        const auto mode = MODE::ALL_VERSIONS | MODE::WITH_DELETED | MODE::WITHOUT_BASES;
        std::string sound;
        const auto walked = FindAssets(repository, {}, Id(), Id(), mode, [&](const AssetDescription& found) -> Result<Bool> {
            found->Load(false).Ignore("damage may be in the way");
            for (const auto& [id, kind] : Need(found->GetMetaData()->GetExistingEntries()))
                found->GetMetaData()->Get(id).Ignore("damage may be in the way");
            if (found->GetIdAndVersion().first == "sound"_id) sound = ReadPayload(found);
            return true;
        });
        EXPECT_THAT(walked, Succeeds());
        EXPECT_EQ(sound, "untouched");
    }
    void Check(const std::string& name, const std::string& damaged, const std::string& what) const {
        SCOPED_TRACE(name + ": " + what);
        _scratch.Write(name, damaged);
        const std::vector<RepositoryFinding> findings = Verify();
        for (const RepositoryFinding& finding : findings) {
            EXPECT_TRUE(finding.explanation.IsPopulated());
            EXPECT_EQ(finding.path.GetPath().find("/sound/"), std::string::npos) << finding.path.GetPath();
        }
        if (!IsPayload(name)) return ReadEverything();
        ASSERT_EQ(findings.size(), 1U);
        EXPECT_EQ(findings[0].problem, RepositoryFinding::PROBLEM::PAYLOAD_CHANGED);
    }
};

TEST_F(BitRot, EachFlippedBitOfAPayloadIsFoundAndNoneElseDoesHarm) {
    const auto sound = ReadAll();
    EXPECT_THAT(Verify(), testing::IsEmpty());
    for (const auto& [name, bytes] : sound) {
        // The documents of one version are like those of another.
        if (!IsPayload(name) && name.find("/1/") == name.npos && name.find("info") == name.npos) continue;
        if (!IsPayload(name) && name.starts_with("repo/b/1")) continue;
        for (std::size_t i = 0; i < bytes.size(); ++i) {
            for (int bit = 0; bit < 8; ++bit) {
                // Metadata: one bit of each byte is enough to meet every branch of a reader.
                if (!IsPayload(name) && bit != int(i % 8)) continue;
                std::string damaged = bytes;
                damaged[i] = char(damaged[i] ^ 1 << bit);
                Check(name, damaged, "byte " + std::to_string(i) + ", bit " + std::to_string(bit));
            }
        }
        _scratch.Write(name, bytes);
    }
    EXPECT_EQ(ReadAll(), sound) << "checking writes nothing";
    EXPECT_THAT(Verify(), testing::IsEmpty());
}

TEST_F(BitRot, WhatIsCutShortIsFound) {
    const auto sound = ReadAll();
    for (const auto& [name, bytes] : sound) {
        for (const std::size_t length : {std::size_t(0), bytes.size() / 2, bytes.size() - 1}) {
            Check(name, bytes.substr(0, length), "cut to " + std::to_string(length));
            // Half a text can be a whole one; half a document can't.
            const Bool isDocument = name.ends_with(".meta") || name.ends_with(".version") || name.ends_with(".derived");
            if (isDocument && length <= bytes.size() / 2) {
                const std::vector<RepositoryFinding> findings = Verify();
                ASSERT_EQ(findings.size(), 1U) << name;
                EXPECT_EQ(findings[0].problem, RepositoryFinding::PROBLEM::DOCUMENT_DAMAGED) << name;
                EXPECT_EQ(std::string(findings[0].path.GetPath()), _scratch / name);
            }
        }
        _scratch.Write(name, bytes);
    }
    EXPECT_EQ(ReadAll(), sound) << "checking writes nothing";
}

}  // namespace
}  // namespace talvo
