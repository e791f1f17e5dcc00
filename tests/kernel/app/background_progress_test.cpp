#include "kernel/app/background_progress.h"
#include "kernel/thread/job.h"
#include "support/result_matchers.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <cmath>
#include <string>
#include <utility>

namespace talvo {
namespace {

/// Writes down what a host is told: "+name", "name 50% [states]", "-name [states]".
class Background : public testing::Test {
protected:
    void SetUp() override {
        _token = _master.ObservableEntryChanged().AddObserver(
            [this](BACKGROUND_EVENT event, const BackgroundEntryInfo& info) -> Result<void> {
                const char* const sign = event == BACKGROUND_EVENT::ADDED ? "+" : event == BACKGROUND_EVENT::GONE ? "-" : "";
                _told += sign + info.name.GetCString();
                if (event == BACKGROUND_EVENT::CHANGED) _told += std::to_string(std::lround(info.progress * 100));
                if (info.isCancelled) _told += "!";
                for (const BackgroundState& state : info.states)
                    _told += "(" + std::to_string(Int32(state.state)) + state.text.GetCString() + ")";
                _told += " ";
                return OK;
            });
    }
    void TearDown() override { _master.ObservableEntryChanged().RemoveObserver(_token); }
    std::string TakeTold() { return std::exchange(_told, {}); }
    std::string GetNames() const {
        std::string names;
        for (const BackgroundEntryInfo& info : _master.GetEntries().GetValue()) names += info.name.GetView();
        return names;
    }
    BackgroundEntryRef Add(const char* name) { return _master.AddActiveEntry(name).GetValue(); }

    BackgroundProgress& _master = BackgroundProgress::GetMaster();

private:
    std::string _told;
    ObserverToken _token{};
};

TEST_F(Background, EntriesAreListedUntilTheyAreFinishedOrDropped) {
    BackgroundEntryRef a = Add("a");
    const BackgroundEntryRef b = Add("b");
    BackgroundEntryRef c = Add("c");
    EXPECT_EQ(GetNames(), "abc");
    a = nullptr;
    b->Finish();
    b->Finish();
    EXPECT_EQ(GetNames(), "c");
    EXPECT_EQ(TakeTold(), "+a +b +c -a -b ");
    EXPECT_TRUE(Succeeds(b->SetProgressAndCheckBreak(1)));
    EXPECT_TRUE(Succeeds(b->AddState(BACKGROUND_STATE::NOTE, "late")));
    EXPECT_EQ(TakeTold(), "") << "nobody hears of what is gone";
    // What holds the entry that it belongs to doesn't keep it for ever.
    c->SetCancelJobDelegate([c] {});
    c->Finish();
    EXPECT_EQ(c->GetReferenceCount(), 1u);
}

TEST_F(Background, ProgressIsToldInStepsThatCanBeSeen) {
    const BackgroundEntryRef entry = Add("e");
    for (int i = 0; i <= 1000000; ++i) EXPECT_TRUE(entry->SetProgressAndCheckBreak(i / 1e7).IsOk());
    const std::string told = TakeTold();
    EXPECT_LE(std::count(told.begin(), told.end(), ' '), 102);
    for (const Float64 odd : {-1.0, 5.0, std::nan(""), 0.9999, 1.0}) EXPECT_TRUE(entry->SetProgressAndCheckBreak(odd).IsOk());
    EXPECT_EQ(TakeTold(), "e0 e100 e0 e100 e100 ");
}

TEST_F(Background, CancellingTellsTheWorkOnce) {
    const BackgroundEntryRef entry = Add("e");
    int former = 0, calls = 0;
    entry->SetCancelJobDelegate([&] { ++former; });
    entry->SetCancelJobDelegate([&] { ++calls; });
    const UInt number = _master.GetEntries().GetValue().back().number;
    EXPECT_TRUE(_master.Cancel(number));
    EXPECT_TRUE(_master.Cancel(number));
    EXPECT_TRUE(FailsWith<OperationCancelledError>(entry->SetProgressAndCheckBreak(0.5), {"\"e\""}));
    EXPECT_EQ(former + 10 * calls, 10);
    entry->SetCancelJobDelegate([&] { ++calls; });
    EXPECT_EQ(calls, 2) << "it was cancelled before the work could say how";
    EXPECT_TRUE(Succeeds(entry->AddState(BACKGROUND_STATE::CANCELLED, "Cancelled by user")));
    entry->Finish();
    EXPECT_EQ(TakeTold(), "+e e0! e50! e50!(4Cancelled by user) -e!(4Cancelled by user) ");
    EXPECT_FALSE(_master.Cancel(number));
}

TEST_F(Background, WorkOfACancelledJobIsToStop) {
    const BackgroundEntryRef entry = Add("e");
    const JobRef job = JobQueue::GetDefaultQueue()
                           .Enqueue([&]() -> Result<void> {
                               Job::GetCurrent()->Cancel();
                               return entry->SetProgressAndCheckBreak(0.1);
                           })
                           .GetValue();
    EXPECT_TRUE(Succeeds(job->Wait()));
    EXPECT_TRUE(FailsWith<OperationCancelledError>(job->GetResult()));
}

}  // namespace
}  // namespace talvo
