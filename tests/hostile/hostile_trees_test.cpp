// Trees that nobody of ours would have made: the sound assets are there, what is damaged is named, and nothing is followed or waited for.
#include "hostile/hostile_tree.h"
#include "kernel/io/file_system.h"

namespace talvo {
namespace {

using namespace std::string_literals;
using enum DamageStep::KIND;

constexpr Int64 HUNDRED_MEGABYTES = Int64(100) << 20;
constexpr Int64 FIVE_GIGABYTES = Int64(5) << 30;

TEST_F(HostileTree, LinksAreNotFollowed) {
    Check({
        {"an asset", {{LINK, "linked", "outside"}}},
        {"the asset itself", {{LINK, "x", "outside"}}, "nothing"},
        {"a version", {{LINK, "x/2", "outside/1"}}},
        {"a deletion mark", {{LINK, "x/2-deleted", "outside/1"}}},
        {"the only payload", {{LINK, "x/1/asset.txt", "outside/1/asset.txt"}}, "nothing", "x/1"},
        {"a second payload", {{LINK, "x/1/asset.zzz", "outside/1/asset.txt"}}},
        {"a payload that is a folder", {{LINK, "x/1/asset.zzz", "outside"}}},
        {"the hash", {{LINK, "x/1/hash", "outside/1/hash"}}, "#1 one, v", "x/1/hash"},
        {"a document", {{LINK, "x/1/key.meta", "outside/1/hash"}}, "#1 one, no value"},
        {"the info", {{LINK, "x/asset.info", "outside/asset.info"}}, "nothing", "x/asset.info", "asset.info"},
        {"the counter", {{LINK, "version", "outside/number"}}},
        {"a reservation", {{LINK, "x/.~2", "outside"}}, "#1 one, v", "x/.~2"},
        {"the index", {{LINK, "_index", "outside"}}},
        {"the whole tree again", {{LINK, "x/2", "repo"}, {LINK, "again", "repo"}}},
        {"loops", {{LINK, "x/2", "repo/x/3"}, {LINK, "x/3", "repo/x/2"}, {LINK, "x/1/asset.zzz", "repo/x/1/asset.zzz"}}},
        {"nowhere", {{LINK, "x/2", "nowhere"}, {LINK, "x/1/asset.zzz", "nowhere"}, {LINK, "version", "nowhere"}}},
        {"endless bytes", {{LINK, "x/1/hash", "/dev/zero"}, {LINK, "version", "/dev/zero"}}, "#1 one, v", "x/1/hash"},
        {"an info without end", {{LINK, "x/asset.info", "/dev/zero"}}, "nothing", "x/asset.info"},
    });
}

TEST_F(HostileTree, WhatIsNeitherFileNorFolderIsPassedOver) {
    Check({
        {"pipes where nothing is expected", {{FIFO, "pipe"}, {FIFO, "x/pipe"}, {FIFO, "x/1/pipe"}}},
        {"a pipe as a version", {{FIFO, "x/2"}, {FIFO, "x/3-deleted"}}},
        {"a pipe as the payload", {{FIFO, "x/1/asset.txt"}}, "nothing", "x/1"},
        {"a pipe as the hash", {{FIFO, "x/1/hash"}}, "#1 one, v", "x/1/hash"},
        {"a pipe as a document", {{FIFO, "x/1/key.meta"}}, "#1 one, no value"},
        {"a pipe as the time", {{FIFO, "x/1/net.talvo.asset.timestamp.version"}}, "#1 one, v", "x/1"},
        {"a pipe as the info", {{FIFO, "x/asset.info"}}, "nothing", "x/asset.info"},
        {"a pipe as the counter", {{FIFO, "version"}}},
        {"a pipe as a reservation", {{FIFO, "x/.~2"}}, "#1 one, v", "x/.~2"},
        {"sockets", {{SOCKET, "socket"}, {SOCKET, "x/2"}, {SOCKET, "x/1/asset.zzz"}, {SOCKET, "x/1/more.meta"}}},
    });
}

TEST_F(HostileTree, FilesAndFoldersInEachOthersPlace) {
    Check({
        {"a file as an asset", {{FILE, "x", "text"}}, "nothing"},
        {"a file as a version", {{FILE, "x/1", "text"}}, "nothing"},
        {"files as further versions", {{FILE, "x/2", "text"}, {FILE, "x/3-deleted", "text"}}},
        {"a file as a reservation", {{FILE, "x/.~2", "text"}}, "#1 one, v", "x/.~2"},
        {"a file as the index", {{FILE, "_index", "text"}}},
        {"a folder as the info", {{FOLDER, "x/asset.info"}}, "nothing", "x/asset.info"},
        {"a folder as the hash", {{FOLDER, "x/1/hash"}}, "#1 one, v", "x/1/hash"},
        {"a folder as a document", {{FOLDER, "x/1/key.meta"}}, "#1 one, no value"},
        {"a folder as the counter", {{FOLDER, "version"}}, "#1 one, v", "", "version"},
        {"stray files and folders",
         {{FILE, "stray", "x"}, {FOLDER, "folder/inside"}, {FILE, "x/stray", "x"}, {FILE, "x/1/stray", "x"}}},
        {"a repository in a repository", {{FILE, "inner/databaseid", "inner"}, {FILE, "inner/y/asset.info", "x\nt\n"}}},
    });
}

TEST_F(HostileTree, DamagedIdentifiersCloseTheRepository) {
    Check({
        {"a control character", {{FILE, "databaseid", "a\tb"}}, "closed", "", "databaseid"},
        {"two lines", {{FILE, "databaseid", "a\nb\n"}}, "closed", "", "databaseid"},
        {"five gigabytes", {{SPARSE_FILE, "databaseid", "", FIVE_GIGABYTES}}, "closed", "", "databaseid"},
        {"a pipe", {{FIFO, "databaseid"}}, "closed", "", "databaseid"},
        {"a folder", {{FOLDER, "databaseid"}}, "closed", "", "databaseid"},
        {"endless bytes", {{LINK, "databaseid", "/dev/zero"}}, "closed", "", "databaseid"},
    });
}

TEST_F(HostileTree, DamagedInfosAndHashesCostTheirAssetOrTheirFileOnly) {
    std::vector<DamageCase> cases = {
        {"no info", {{GONE, "x/asset.info"}}, "nothing", "x/asset.info"},
        {"an info of five gigabytes",
         {{SPARSE_FILE, "x/asset.info", "", FIVE_GIGABYTES}},
         "nothing",
         "x/asset.info",
         "asset.info"},
        {"another asset's id", {{FILE, "x/asset.info", "good\nt\n"}}, "nothing", "x"},
        {"an unknown type", {{FILE, "x/asset.info", "x\nsome.type\n"}}, "#1 one, v"},
        {"no hash", {{GONE, "x/1/hash"}}, "#1 one, v", "x/1/hash"},
        {"a hash of five gigabytes", {{SPARSE_FILE, "x/1/hash", "", FIVE_GIGABYTES}}, "#1 one, v", "x/1/hash"},
        {"another payload", {{FILE, "x/1/asset.txt", "One"}}, "#1 One, v", "x/1/asset.txt"},
        {"two payloads", {{FILE, "x/1/asset.zip", "two"}}, "#1 two, v", "x/1/asset.txt x/1/asset.zip"},
        {"no payload", {{GONE, "x/1/asset.txt"}}, "nothing", "x/1"},
    };
    for (const std::string& text : {""s, "x\n"s, "\nt\n"s, "x\0y\nt\n"s, "x\x7f\nt\n"s, std::string(1 << 21, 'x')}) {
        cases.push_back({"a damaged info", {{FILE, "x/asset.info", text}}, "nothing", "x/asset.info"});
    }
    for (const std::string& text : {""s, "\n"s, "deleted\n"s, "*\n"s, "\0\0\0"s, std::string(3 << 20, 'f')}) {
        cases.push_back({"a damaged hash", {{FILE, "x/1/hash", text}}, "#1 one, v", "x/1/hash"});
    }
    Check(cases);
}

TEST_F(HostileTree, ACounterThatIsNoneCountsAsZero) {
    std::vector<DamageCase> cases = {
        {"none", {{GONE, "version"}}},
        {"five gigabytes", {{SPARSE_FILE, "version", "", FIVE_GIGABYTES}}},
        {"the last number but one", {{FILE, "version", "9223372036854775806\n"}}},
        {"the last number", {{FILE, "version", "9223372036854775807\n"}}},
    };
    for (const char* text : {"", "many", "-5", "0", "9223372036854775808", "18446744073709551616", "1e9", "0x10", "\xff"}) {
        cases.push_back({text, {{FILE, "version", text}}});
    }
    Check(cases);
}

TEST_F(HostileTree, VersionsHaveNumbersOf63Bits) {
    std::vector<DamageCase> cases = {
        {"zero", {{FILE, "x/0/asset.txt", "zero"}}, "#1 one #0 zero, v", "x/0 x/0/hash"},
        {"leading zeros", {{FILE, "x/007/asset.txt", "seven"}}, "#1 one #7 seven, v", "x/007 x/007/hash"},
        {"the same number twice", {{FILE, "x/01/asset.txt", "again"}}, "#1 one, v", "x/01"},
        {"a thousand millions",
         {{FILE, "x/1000000000/asset.txt", "far"}},
         "#1 one #1000000000 far, v",
         "x/1000000000 x/1000000000/hash"},
        {"the last number",
         {{FOLDER, "x/9223372036854775807-deleted"}},
         "#1 one #9223372036854775807 deleted, v",
         "x/9223372036854775807-deleted",
         "version"},
        {"a reserved number", {{FOLDER, "x/.~2"}, {FOLDER, "x/.~3"}}, "#1 one, v", "x/.~2 x/.~3"},
    };
    for (const std::string& name :
         {"9223372036854775808"s, "18446744073709551616"s, "18446744073709551617"s, "-5"s, "+2"s, "0x2"s, "1e9"s, "2 "s, " 2"s,
          "2-"s, "2-deleted "s, "2\xff"s, "\xef\xbc\x92"s, "2\n"s, std::string(200, '9')}) {
        cases.push_back({"no number", {{FILE, "x/" + name + "/asset.txt", "none"}}});
    }
    Check(cases);
}

TEST_F(HostileTree, NamesOfAnyBytes) {
    const std::string longest(255, 'n');
    Check({
        {"an asset",
         {{FILE, "\xff\xfe\n/asset.info", "y\nt\n"}, {FILE, "\xff\xfe\n/1/asset.txt", "y"}},
         "#1 one, v",
         "\xff\xfe\n/1 \xff\xfe\n/1/hash"},
        {"a payload", {{GONE, "x/1/asset.txt"}, {FILE, "x/1/asset.\xff\n", "one"}}},
        {"a longest payload", {{GONE, "x/1/asset.txt"}, {FILE, "x/1/asset." + std::string(249, 'n'), "one"}}},
        {"values",
         {{FILE, "x/1/\xff.meta.png", "x"}, {FILE, "x/1/" + std::string(250, 'n') + ".meta", "x"}},
         "#1 one, v",
         "x/1/" + std::string(250, 'n') + ".meta"},
        {"longest names", {{FOLDER, longest}, {FOLDER, "x/" + longest}, {FILE, "x/1/" + longest, "x"}}},
        {"a version id of odd bytes",
         {{FILE, "x/2-" + std::string(39, '\n') + "\xff/asset.txt", "odd"}},
         "#1 one #2 odd, v",
         "x/2-" + std::string(39, '\n') + "\xff"},
    });
}

/// A binary document of this payload; its checksum is wrong, which is told first.
std::string MakeBinary(const std::string& payload) {
    return "TALVODOC\1\0\0\0\1\0\0\0r\1\0\0\0t"s + std::string(8, '\xff') + payload + std::string(8, '\0');
}

TEST_F(HostileTree, DamagedDocumentsCostTheirValueOnly) {
    std::vector<DamageCase> cases = {
        {"a hundred megabytes", {{SPARSE_FILE, "x/1/key.meta", "", HUNDRED_MEGABYTES}}, "#1 one, damaged", "x/1/key.meta"},
    };
    std::string nested;
    for (int i = 0; i < 100000; ++i) nested += "a\1\0\0\0"s;
    const std::string frame = R"({"root": "net.talvo.asset.metadata", "format": 1, "type": "some.type", "value": )";
    for (const std::string& text :
         {""s, "{"s, "[]"s, "\xff\xfe"s, "{}"s, std::string(100000, '['),
          frame + std::string(100000, '[') + std::string(100000, ']') + "}", frame + R"({"a": 1, "a": 2}})", frame + "1e999}",
          "TALVODOC"s, MakeBinary(nested), MakeBinary("a\xff\xff\xff\xff"s), MakeBinary("s\xff\xff\xff\x7f"s)}) {
        cases.push_back({"a damaged document", {{FILE, "x/1/key.meta", text}}, "#1 one, damaged", "x/1/key.meta"});
    }
    for (const std::string& text :
         {""s, frame + "1}",
          R"({"root": "net.talvo.asset.metadata", "format": 1, "type": "net.talvo.datatype.int", "value": 1})"s}) {
        cases.push_back({"a damaged time",
                         {{FILE, "x/1/net.talvo.asset.timestamp.version", text}},
                         "#1 one, v",
                         "x/1/net.talvo.asset.timestamp.version"});
    }
    Check(cases);
}

TEST_F(HostileTree, AValueThatCanNotBeCarriedToTheNextVersionStopsTheStore) {
    Restore();
    _scratch.Write("repo/x/1/key.meta", "{");
    const auto repository = Open();
    const Asset loaded = Need(FindLatest(repository, MakeId("x"))->Load(false));
    EXPECT_THAT(repository->StoreAsset(MakeId("x"), loaded, nullptr), FailsWith<FileFormatError>("x/1/key.meta"));
    EXPECT_EQ(_scratch.List("repo/x"), "1/ 1/asset.txt 1/hash 1/key.meta 1/net.talvo.asset.timestamp.version asset.info");
}

TEST_F(HostileTree, AFolderDeeperThanPathsCanBeIsStoredAndRemovedOrRefused) {
    Restore();
    _scratch.MakeFolder("repo/x/2/asset");
    const std::filesystem::path before = std::filesystem::current_path();
    std::filesystem::current_path(_scratch / "repo/x/2/asset");
    for (int i = 0; i < 60; ++i) {
        const std::string name(200, 'd');
        std::filesystem::create_directory(name);
        std::filesystem::current_path(name);
    }
    std::filesystem::current_path(before);
    _scratch.Write("repo/x/2/hash", "v2\n");
    const auto repository = Open();
    const AssetDescription asset = Need(repository->FindLatestAsset(Id(), MakeId("x"), MakeId("v2"), MODE::NONE));
    ASSERT_TRUE(Bool(asset));
    EXPECT_THAT(repository->CopyAsset(MakeId("y"), asset, false, false), FailsWith<IoError>("Use a shorter name"));
    EXPECT_THAT(repository->EraseAsset(asset), Succeeds());
    EXPECT_THAT(_scratch.List("repo/x"), testing::Not(testing::HasSubstr("2/")));
}

#ifdef TALVO_FAULTS

TEST_F(HostileTree, AFolderThatCanNotBeReadCostsItsAssetOnly) {
    for (const int firstFailing : {1, 2, 3, 4, 5, 6}) {
        SCOPED_TRACE(firstFailing);
        Restore();
        FaultPlan::SetScope(_scratch / "repo/x");
        Need(FaultPlan::Set("failfrom@" + std::to_string(firstFailing) + ":EACCES"));
        {
            const auto repository = Open();
            EXPECT_EQ(ReadPayload(FindLatest(repository, MakeId("good"))), "sound");
            Store(repository, "good", "better");
            EXPECT_THAT(repository->StoreAsset(MakeId("x"), File("stored"), nullptr), FailsWith<IoError>("repo/x"));
            EXPECT_THAT(Verify(), testing::HasSubstr("x"));
        }
        FaultPlan::Clear();
        FaultPlan::SetScope({});
        const auto repository = Open();
        EXPECT_EQ(See(repository), "#1 one, v") << "once it can be read again all is as before";
        EXPECT_EQ(ReadPayload(FindLatest(repository, MakeId("good"))), "better");
    }
}

#endif

}  // namespace
}  // namespace talvo
