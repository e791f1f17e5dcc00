#include "kernel/data/enum_type.h"

#include "support/result_matchers.h"

namespace talvo {

TEST(EnumType, isOneTypeForEqualChoices) {
    const DataType ids = GetDataType<Id>();
    const auto make = [&](BaseArray<EnumEntry> entries) { return DataTypeLib::GetEnumType(ids, std::move(entries)).GetValue(); };
    const EnumEntry one{"One", Data("1"_id)};
    const EnumEntry two{"Two", Data("2"_id)};
    const DataType both = make({one, two});
    EXPECT_EQ(make({one, two}), both);
    EXPECT_EQ(make({one, two})->id, both->id);
    EXPECT_EQ(*DataTypeLib::FindEnumEntries(both), (BaseArray<EnumEntry>{one, two}));
    for (const DataType other : {make({two, one}), make({one}), make({}), make({{"One", Data("2"_id)}, {"Two", Data("1"_id)}})}) {
        EXPECT_NE(other, both);
        EXPECT_NE(other->id, both->id);
    }
    EXPECT_EQ(both->size, ids->size);
    EXPECT_EQ(DataTypeLib::FindEnumEntries(ids), nullptr);
}

TEST(EnumType, refusesChoicesThatCanNotBeToldApartOrAreOfAnotherType) {
    const DataType ids = GetDataType<Id>();
    EXPECT_TRUE(
        FailsWith<IllegalArgumentError>(DataTypeLib::GetEnumType(ids, {{"A", Data("1"_id)}, {"A", Data("2"_id)}}), {"\"A\""}));
    EXPECT_TRUE(FailsWith<IllegalArgumentError>(DataTypeLib::GetEnumType(ids, {{"A", Data(Int(1))}}), {"\"A\"", "datatype.int"}));
    EXPECT_TRUE(FailsWith<NullptrError>(DataTypeLib::GetEnumType(nullptr, {})));
}

}  // namespace talvo
