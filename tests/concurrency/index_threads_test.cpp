// Indexes that are written while everything changes, by several threads and by two repository objects on one directory: what they tell is what the tree tells.
#include "support/stress_threads.h"
#include "url_repository/url_repository_fixture.h"

#include <atomic>
#include <random>

namespace talvo {
namespace {

class IndexThreads : public UrlRepositoryTest {
protected:
    static constexpr KIND PLAIN = KIND::PERSISTENT;

    /// One change of one of the writer's own assets.
    void Change(const UpdatableAssetRepositoryRef& repository, const std::string& writer, std::mt19937& dice, Int step) const {
        const Id aid = MakeId(writer + std::to_string(dice() % 4));
        const AssetDescription asset = FindLatest(repository, aid);
        const Asset file = File(writer + std::to_string(step), "payload " + writer);
        switch (dice() % 6) {
            case 0: Need(repository->StoreAsset(aid, file, nullptr)); break;
            case 1: Need(repository->OverwriteAsset(aid, file, nullptr)); break;
            case 2:
                if (asset) Need(repository->EraseAsset(asset));
                break;
            default:
                if (asset)
                    Need(repository->StoreMetaData(asset, MakeMetaId("key" + std::to_string(dice() % 2)),
                                                   dice() % 4 == 0 ? Data() : Data(Int(step)), PLAIN));
        }
    }
    /// Lines of the assets whose ids begin so.
    static std::vector<std::string> Of(std::vector<std::string> lines, std::string_view writers) {
        std::erase_if(lines, [&](const std::string& line) { return writers.find(line.front()) == std::string_view::npos; });
        return lines;
    }
};

TEST_F(IndexThreads, TellWhatChangesLeftWhoeverMadeThem) {
    const std::vector<UpdatableAssetRepositoryRef> open{Open(), Open()};
    std::mt19937 dices[] = {std::mt19937(1), std::mt19937(2), std::mt19937(3)};
    for (Int round = 0; round < 12; ++round) {
        const auto write = [&](Int writer, Int repository) {
            return [&, writer, repository] {
                for (Int step = 0; step < 25; ++step) {
                    NoteStressStep();
                    Change(open[std::size_t(repository)], std::string(1, char('a' + writer)), dices[writer], round * 100 + step);
                }
            };
        };
        const auto compact = [&](std::size_t repository) {
            return [&, repository] {
                for (Int i = 0; i < 6; ++i) {
                    NoteStressStep();
                    // With that many changes it may give up.
                    const Result<void> written = Indexed(open[repository]).Compact();
                    if (written.IsError()) {
                        EXPECT_THAT(written, FailsWith<IllegalStateError>("changed all the time"));
                    }
                }
            };
        };
        const auto look = [&] {
            for (Int i = 0; i < 20; ++i) {
                NoteStressStep();
                FindLatest(open[0], MakeId("a1"));
                Open();
            }
        };
        RunStress({{"first writer", write(0, 0)},
                   {"second writer", write(1, 0)},
                   {"writer of the other", write(2, 1)},
                   {"compactions", compact(0)},
                   {"more of them", compact(0)},
                   {"compactions of the other", compact(1)},
                   {"lookups", look}});
        const auto tree = DescribeTree();
        ASSERT_EQ(DescribeAll(Open()), tree) << "round " << round;
        ASSERT_EQ(Of(DescribeAll(open[0]), "ab"), Of(tree, "ab")) << "round " << round;
        ASSERT_EQ(Of(DescribeAll(open[1]), "c"), Of(tree, "c")) << "round " << round;
        Need(Indexed(open[std::size_t(round % 2)]).Compact());
        ASSERT_EQ(DescribeAll(Open()), tree) << "after the index of round " << round;
    }
}

// A value is written down in the journal first and copied then; an index that is begun and placed in between would not tell it.
TEST_F(IndexThreads, AChangeThatTakesItsTimeIsNotMissed) {
    const auto repository = Open();
    const AssetDescription asset = Store(repository, "a", "x");
    for (int i = 0; i < 100; ++i) _scratch.Write("folder/" + std::to_string(i), "file");
    for (int round = 0; round < 10; ++round) {
        std::atomic<Bool> isDone{false};
        const auto change = [&] {
            const InternedId key = MakeMetaId("key" + std::to_string(round));
            Need(repository->StoreUrlMetaData(asset, key, _scratch.GetUrl() + "folder", PLAIN));
            isDone = true;
        };
        const auto compact = [&] {
            while (!isDone) {
                NoteStressStep();
                Indexed(repository).Compact().Ignore("with changes all the time it may give up");
            }
        };
        RunStress({{"change", change}, {"compactions", compact}});
        ASSERT_EQ(DescribeAll(Open()), DescribeTree()) << "round " << round;
    }
}

TEST_F(IndexThreads, ALongTextIsCheckedAheadOfWhoTakesIt) {
    constexpr Int COUNT = 30000;
    std::string text;
    for (Int i = 0; i < COUNT; ++i) {
        const std::string id = "asset" + std::to_string(100000 + i);
        text += id + "\n" + id + "\nnet.talvo.assettype.file\n\t1\n\tv\n\t\tasset.txt\n";
    }
    _scratch.Write("repo/databaseid", "repo");
    _scratch.Write("repo/_index/0-1/index", text);
    RunStress(3, [&](Int) { EXPECT_EQ(Need(FindLatest(Open(), MakeId("asset123456"))->GetUrl()).GetName(), "asset.txt"); });
    text.insert(text.size() / 2, "\n\n\n");
    _scratch.Write("repo/_index/0-1/index", text);
    RunStress(3, [&](Int) {
        UrlRepositoryRequest request;
        request.url = GetRoot();
        EXPECT_THAT(OpenUrlRepository(request), FailsWith<FileFormatError>("Line "));
    });
}

}  // namespace
}  // namespace talvo
