// Readers never wait for a store's I/O.
#include "contract/repository_contract.h"
#include "kernel/io/connection.h"

#include <chrono>
#include <future>
#include <thread>

namespace talvo {
namespace {

/// Files of this scheme open only when the test lets them: whoever reads one stands in the middle of his I/O.
class GatedHandler final : public IoHandler {
public:
    static constexpr LiteralId SCHEME{"gated"};

    Id GetUrlScheme() const override { return SCHEME; }
    Result<IoConnectionRef> OpenConnection(const Url&) override {
        return IoConnectionRef(new GatedConnection(StrongRef<GatedHandler>(this)));
    }
    std::promise<void> reached;
    std::promise<void> opened;

private:
    class GatedConnection final : public IoConnection {
    public:
        explicit GatedConnection(StrongRef<GatedHandler> handler) : _handler(std::move(handler)) {}
        Url GetUrl() const override { return Url::Create(SCHEME, "", "/x"); }
        IO_DETECT IoDetect() override { return IO_DETECT::FILE; }
        Result<InputStreamRef> OpenInputStream() override {
            _handler->reached.set_value();
            _handler->opened.get_future().wait();
            return CreateStringInputStream("new", String("gated"));
        }

    private:
        const StrongRef<GatedHandler> _handler;
    };
};

TEST_P(RepositoryContract, readersDoNotWaitForTheStoreOfTheAssetThatTheyRead) {
    const auto repository = Create("repository");
    const AssetDescription old = Store(repository, "chair"_id, "old");
    Store(repository, "table"_id, "other");
    const auto handler = StrongRef<GatedHandler>::Create();
    Need(IoHandlers::Register(IoHandlerRef(handler)));

    std::jthread writer([&] {
        const Asset asset = MakeFileAsset(Url::Create(GatedHandler::SCHEME, "", "/new.txt"));
        EXPECT_THAT(repository->StoreAsset("chair"_id, asset, nullptr), Succeeds());
    });
    handler->reached.get_future().wait();
    std::future<void> reader = std::async(std::launch::async, [&] {
        EXPECT_TRUE(FindLatest(repository, "chair"_id).IsEqual(old));
        EXPECT_EQ(ReadPayload(FindLatest(repository, "chair"_id)), "old");
        EXPECT_THAT(ListAll(repository), testing::ElementsAre("chair#1", "table#1"));
        Store(repository, "lamp"_id, "stored beside it");
    });
    const Bool done = reader.wait_for(std::chrono::seconds(60)) == std::future_status::ready;
    EXPECT_TRUE(done) << "a reader waits for the store";
    handler->opened.set_value();
    reader.get();
    writer.join();
    IoHandlers::Unregister(GatedHandler::SCHEME);
    EXPECT_THAT(ListAll(repository), testing::ElementsAre("chair#2", "chair#1", "lamp#1", "table#1"));
}

}  // namespace
}  // namespace talvo
