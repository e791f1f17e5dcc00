#include "kernel/thread/observable.h"
#include "kernel/thread/registry.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <new>
#include <string>
#include <vector>

namespace talvo {
namespace {

using testing::ElementsAre;
using testing::IsEmpty;

struct Recorder {
    Observable<int> observable;
    std::vector<std::string> calls;

    Observable<int>::Observer Record(const char* name) {
        return [this, name](int value) -> Result<void> {
            calls.push_back(name + std::to_string(value));
            return OK;
        };
    }
};

TEST(Observable, higherPriorityFirstThenRegistration) {
    Recorder r;
    r.observable.AddObserver(r.Record("a"));
    r.observable.AddObserver(r.Record("b"), 5);
    r.observable.AddObserver(r.Record("c"));
    r.observable.AddObserver(r.Record("d"), 5);
    r.observable.AddObserver(r.Record("e"), -1);
    EXPECT_EQ(r.observable.AddObserver(nullptr), ObserverToken::NONE);
    r.observable.Notify(1);
    EXPECT_THAT(r.calls, ElementsAre("b1", "d1", "a1", "c1", "e1"));
    EXPECT_EQ(r.observable.GetObserverCount(), 5);
}

TEST(Observable, oneThatFailsKeepsNoOtherFromBeingCalled) {
    Recorder r;
    r.observable.AddObserver([](int) -> Result<void> { return UnknownError::Create("mine"); });
    r.observable.AddObserver([](int) -> Result<void> { throw std::bad_alloc(); });
    r.observable.AddObserver(r.Record("a"));
    r.observable.Notify(1);
    EXPECT_THAT(r.calls, ElementsAre("a1"));
}

TEST(Observable, listMayChangeDuringANotification) {
    Recorder r;
    ObserverToken self{}, later{};
    self = r.observable.AddObserver([&](int) -> Result<void> {
        r.calls.push_back("self");
        EXPECT_TRUE(r.observable.RemoveObserver(self));
        EXPECT_TRUE(r.observable.RemoveObserver(later));
        r.observable.AddObserver(r.Record("new"));
        return OK;
    });
    later = r.observable.AddObserver(r.Record("later"));
    r.observable.Notify(1);
    EXPECT_THAT(r.calls, ElementsAre("self")) << "removed ones are not called any more, new ones not yet";
    r.observable.Notify(2);
    EXPECT_THAT(r.calls, ElementsAre("self", "new2"));
    EXPECT_FALSE(r.observable.RemoveObserver(self));
    EXPECT_FALSE(r.observable.RemoveObserver(ObserverToken::NONE));
}

TEST(Observable, disconnectingReleasesWhatObserversHold) {
    struct Held : ObjectInterface {};
    const auto held = StrongRef<Held>::Create();
    Recorder r;
    r.observable.AddObserver([&r, held](int) -> Result<void> {
        r.observable.DisconnectAll();
        return OK;
    });
    r.observable.AddObserver(r.Record("after"));
    r.observable.Notify(1);
    EXPECT_THAT(r.calls, IsEmpty());
    EXPECT_EQ(held->GetReferenceCount(), 1u);
    EXPECT_FALSE(r.observable.HasObservers());
}

TEST(Registry, keepsOrderAndRefusesWhatIsTaken) {
    Registry<int> registry("net.talvo.registry.test"_id);
    MUST(registry.Register("b"_id, 1));
    MUST(registry.Register("a"_id, 2));
    MUST(registry.Register("first"_id, 3, 10));
    const auto before = registry.GetEntries();

    const Result<void> taken = registry.Register("a"_id, 9);
    ASSERT_TRUE(taken.IsError());
    EXPECT_TRUE(IllegalArgumentError::IsClassOf(taken.GetError()));
    EXPECT_THAT(taken.GetError()->GetMessage(),
                testing::AllOf(testing::HasSubstr("\"a\""), testing::HasSubstr("net.talvo.registry.test")));
    EXPECT_TRUE(registry.Register(Id(), 9).IsError());
    EXPECT_EQ(registry.FindEntryValue("a"_id), 2);

    MUST(registry.InsertEntry("b"_id, 4));
    EXPECT_TRUE(MUST(registry.EraseEntry("first"_id)));
    EXPECT_FALSE(MUST(registry.EraseEntry("first"_id)));
    std::vector<int> values;
    for (const auto& entry : registry.GetEntries()) values.push_back(entry->value);
    EXPECT_THAT(values, ElementsAre(4, 2)) << "a replaced entry keeps its place";
    EXPECT_FALSE(registry.Find("first"_id));
    values.clear();
    for (const auto& entry : before) values.push_back(entry->value);
    EXPECT_THAT(values, ElementsAre(3, 1, 2)) << "a walk sees one moment";
}

TEST(Registry, tellsOfChanges) {
    Registry<int> registry("net.talvo.registry.test"_id);
    std::vector<std::string> changes;
    registry.ObservableChanged().AddObserver([&](const Id& id) -> Result<void> {
        changes.push_back(std::string(id.GetView()) + (registry.Find(id) ? "+" : "-"));
        return OK;
    });
    const UInt stamp = registry.GetStamp();
    MUST(registry.Register("a"_id, 1));
    EXPECT_TRUE(registry.Register("a"_id, 1).IsError());
    MUST(registry.EraseEntry("a"_id));
    EXPECT_THAT(changes, ElementsAre("a+", "a-"));
    EXPECT_EQ(registry.GetStamp(), stamp + 2);
}

}  // namespace
}  // namespace talvo
