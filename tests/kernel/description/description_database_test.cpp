// The table of description databases: who is asked, and in which order.
#include "kernel/description/description_database.h"

#include "kernel/base/hash_map.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

namespace talvo {
namespace {

using ::testing::HasSubstr;
using Databases = DataDescriptionDefinitionDatabase;
using ImplRef = DataDescriptionDefinitionDatabaseImplRef;

/// Holds definitions by asset id, whatever the category and language.
class FakeDatabase final : public DataDescriptionDefinitionDatabaseImplInterface {
public:
    HashMap<Id, DataDescriptionDefinition> definitions;
    Delegate<void()> onContains;
    Int loads = 0;
    Bool lastDeferred = false;

    Bool Contains(const DescriptionIdentity& identity) override {
        if (onContains) onContains();
        return definitions.Contains(identity.first);
    }
    Result<DataDescriptionDefinition> LoadDescription(Int32, const Id&, LanguageRef, const DescriptionIdentity& identity,
                                                      Id*) override {
        ++loads;
        return *definitions.Find(identity.first);
    }
    Result<Bool> StoreDescription(const Id&, LanguageRef, const DescriptionIdentity& identity,
                                  const DataDescriptionDefinition& description, Bool deferred) override {
        lastDeferred = deferred;
        TRY(definitions.Insert(identity.first, description));
        return true;
    }
    Result<Bool> DeleteDescription(const Id&, LanguageRef, const DescriptionIdentity&) override { return false; }
    Result<BaseArray<DescriptionIdentity>> GetRegisteredDescriptions() override { return BaseArray<DescriptionIdentity>(); }
    Result<BaseArray<LanguageRef>> GetRegisteredLanguages() override { return BaseArray<LanguageRef>(); }
    Result<void> WriteDataBases() override { return Write(); }
    Result<void> RenameId(const DescriptionIdentity&, const DescriptionIdentity&) override { return OK; }
    Result<void> RenameAttribute(const DescriptionIdentity&, const Id&, const Id&) override { return OK; }
    Result<Bool> CheckUniqueAttributeName(const DescriptionIdentity&, const Id&) override { return true; }
    Result<void> UpdateDescriptions(const Id&, LanguageRef, const DescriptionIdentity&) override { return OK; }
    Bool IsWritableDatabase() override { return true; }
    Int GetChangeCounts() override { return 0; }
    Int GetUserChangeCount() override { return 0; }
    Result<void> Write() override { return OK; }
    Result<void> WriteUserChangedDataBases() override { return Write(); }
};

DataDescriptionDefinition MakeDefinition(std::initializer_list<DataDictionary> entries) {
    return MUST(DataDescriptionDefinition::Create({}, BaseArray<DataDictionary>(entries)));
}

DataDictionary MakeText(const Id& key, const char* text) { return DESCRIPTION::MakeStringEntry(key, text); }

String GetText(const DataDictionary& entry) { return entry.Get<String>(DESCRIPTION::TRANSLATEDSTRING).value_or("none"); }

constexpr LiteralId FIRST{"assets.first"};
constexpr LiteralId SECOND{"assets.second"};
constexpr LiteralId CATEGORY{"string"};
const DescriptionIdentity CHAIR("chair"_id, "v1"_id);

class DescriptionDatabaseTest : public ::testing::Test {
protected:
    DescriptionDatabaseTest() {
        MUST(Databases::RegisterDatabase(FIRST, first));
        MUST(Databases::RegisterDatabase(SECOND, second));
    }
    ~DescriptionDatabaseTest() override {
        MUST(Databases::UnregisterDatabase(FIRST));
        MUST(Databases::UnregisterDatabase(SECOND));
    }
    static void Put(const StrongRef<FakeDatabase>& database, const Id& id, DataDescriptionDefinition definition) {
        MUST(database->definitions.Insert(id, std::move(definition)));
    }
    /// The database that a load was routed to; empty after an error.
    static Id Route(const DescriptionIdentity& identity, const Id& preferred = Id()) {
        Id found;
        const Result<DataDescriptionDefinition> loaded =
            Databases::LoadDescription(0, CATEGORY, nullptr, identity, &found, preferred);
        return loaded.IsOk() ? found : Id();
    }

    const StrongRef<FakeDatabase> first = StrongRef<FakeDatabase>::Create();
    const StrongRef<FakeDatabase> second = StrongRef<FakeDatabase>::Create();
};

TEST_F(DescriptionDatabaseTest, routesToTheFirstThatHoldsTheIdentity) {
    Put(second, "chair"_id, {});
    EXPECT_EQ(Route(CHAIR), SECOND);
    Put(first, "chair"_id, {});
    EXPECT_EQ(Route(CHAIR), FIRST) << "both hold it: the order of registration counts";
    EXPECT_EQ(Route(CHAIR, SECOND), SECOND) << "unless one is preferred";
    EXPECT_EQ(Route(CHAIR, "assets.nosuch"_id), FIRST);
    Put(first, "table"_id, {});
    EXPECT_EQ(Route({"table"_id, Id()}, SECOND), FIRST) << "a preferred one that lacks it is no obstacle";
}

TEST_F(DescriptionDatabaseTest, namesWhatNobodyHolds) {
    for (const DescriptionIdentity& identity : {CHAIR, DescriptionIdentity()}) {
        const auto loaded = Databases::LoadDescription(0, CATEGORY, nullptr, identity);
        ASSERT_TRUE(loaded.IsError());
        EXPECT_TRUE(IllegalArgumentError::IsClassOf(loaded.GetError()));
        EXPECT_THAT(loaded.GetError()->GetMessage(), HasSubstr(std::string(identity.first.GetView())));
    }
    EXPECT_THAT(Databases::StoreDescription("assets.nosuch"_id, CATEGORY, nullptr, CHAIR, {}, false).GetError()->GetMessage(),
                HasSubstr("assets.nosuch"));
}

TEST_F(DescriptionDatabaseTest, refusesATakenIdAndUnregistersOnlyItsOwn) {
    const auto successor = StrongRef<FakeDatabase>::Create();
    EXPECT_TRUE(Databases::RegisterDatabase(FIRST, successor).IsError());
    EXPECT_TRUE(Databases::RegisterDatabase(Id(), successor).IsError());
    EXPECT_TRUE(NullptrError::IsClassOf(Databases::RegisterDatabase("assets.none"_id, nullptr).GetError()));
    MUST(Databases::ReplaceDatabase(FIRST, successor));
    EXPECT_FALSE(MUST(Databases::UnregisterDatabase(FIRST, first))) << "the former owner comes too late";
    EXPECT_EQ(Databases::FindDatabase(FIRST), ImplRef(successor));
    EXPECT_TRUE(MUST(Databases::UnregisterDatabase(FIRST, successor)));
    EXPECT_EQ(Databases::FindDatabase(FIRST), nullptr);
    MUST(Databases::ReplaceDatabase(FIRST, first));
    EXPECT_TRUE(MUST(Databases::UnregisterDatabase(FIRST)));
}

TEST_F(DescriptionDatabaseTest, mayBeChangedFromInsideOfADatabase) {
    Put(second, "chair"_id, {});
    first->onContains = [] { MUST(Databases::UnregisterDatabase(SECOND)); };
    EXPECT_EQ(Route(CHAIR), SECOND) << "a load goes on with the list it began with";
    EXPECT_EQ(Route(CHAIR), Id());
}

TEST_F(DescriptionDatabaseTest, storesIntoTheNamedDatabase) {
    EXPECT_TRUE(
        MUST(Databases::StoreDescription(SECOND, CATEGORY, nullptr, CHAIR, MakeDefinition({MakeText("a"_id, "1")}), true)));
    EXPECT_TRUE(second->lastDeferred);
    EXPECT_TRUE(first->definitions.IsEmpty());
    EXPECT_EQ(MUST(Databases::LoadDescription(1, CATEGORY, nullptr, CHAIR)).GetEntryCount(), 1);
}

TEST_F(DescriptionDatabaseTest, tellsObserversOfUpdates) {
    Id told;
    const ObserverToken token =
        Databases::ObservableUpdated().AddObserver([&](const Id&, const Id&, LanguageRef, const DescriptionIdentity& identity,
                                                       const DataDescriptionDefinition&) -> Result<void> {
            told = identity.first;
            return OK;
        });
    MUST(Databases::UpdateDescription(FIRST, CATEGORY, nullptr, CHAIR, {}));
    Databases::ObservableUpdated().RemoveObserver(token);
    EXPECT_EQ(told, "chair"_id);
}

TEST_F(DescriptionDatabaseTest, fillsInWhatADescriptionIncludes) {
    Put(first, "chair"_id,
        MakeDefinition({DESCRIPTION::MakeIncludeEntry("base"_id), MakeText("name"_id, "Chair"),
                        DESCRIPTION::MakeIncludeEntry("missing"_id)}));
    Put(second, "base"_id,
        MakeDefinition({DESCRIPTION::MakeIncludeEntry("base"_id), DESCRIPTION::MakeIncludeEntry("chair"_id),
                        MakeText("name"_id, "Name"), MakeText("tags"_id, "Tags")}));
    const DataDescription description = MUST(DataDescriptionDatabase::LoadDescription(CATEGORY, nullptr, "chair"_id));
    EXPECT_EQ(description.GetEntryCount(), 2) << "includes are gone";
    EXPECT_EQ(GetText(MUST(description.GetEntry("name"_id))), "Chair") << "own entries count first";
    EXPECT_EQ(GetText(MUST(description.GetEntry("tags"_id))), "Tags");
    EXPECT_EQ(first->loads + second->loads, 2) << "rings end";
    EXPECT_TRUE(DataDescriptionDatabase::LoadDescription(CATEGORY, nullptr, "missing"_id).IsError());
}

}  // namespace
}  // namespace talvo
