// Values: how they are held, copied, compared and turned into text.
#include "kernel/data/data.h"

#include "kernel/data/data_dictionary.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <thread>

namespace talvo {

namespace {

/// Counts its living copies; the numbers of bytes choose where it is held.
template <int BYTES>
struct Counted {
    inline static int living = 0;
    int value = 0;
    char filler[BYTES]{};
    explicit Counted(int v) : value(v) { ++living; }
    Counted(const Counted& other) : value(other.value) { ++living; }
    Counted(Counted&& other) noexcept : value(other.value) { ++living; }
    ~Counted() { --living; }
    bool operator==(const Counted& other) const { return value == other.value; }
};
using Small = Counted<8>;
using Large = Counted<40>;

struct NoEquality {
    int value = 0;
};

}  // namespace

template <>
struct DataTraits<Small> {
    static constexpr LiteralId ID{"net.talvo.test.small"};
};
template <>
struct DataTraits<Large> {
    static constexpr LiteralId ID{"net.talvo.test.large"};
};
template <>
struct DataTraits<NoEquality> {
    static constexpr LiteralId ID{"net.talvo.test.noequality"};
};

namespace {

using ::testing::HasSubstr;

template <typename T>
void ExpectValueSemantics() {
    {
        Data first(T(7));
        EXPECT_EQ(T::living, 1);
        Data copy = first;
        EXPECT_EQ(copy, first);
        Data moved = std::move(copy);
        EXPECT_TRUE(copy.IsEmpty());  // NOLINT(bugprone-use-after-move): a moved value is empty by contract
        EXPECT_EQ(moved, first);
        ASSERT_TRUE(moved.GetPtr<T>());
        EXPECT_EQ(moved.GetPtr<T>()->value, 7);

        moved = Data(T(8));
        EXPECT_FALSE(moved == first);
        EXPECT_EQ(first.GetPtr<T>()->value, 7) << "changing one copy leaves the other";
        Data& self = moved;
        moved = self;
        EXPECT_EQ(moved.GetPtr<T>()->value, 8);
        first = Data(Int(1));
        EXPECT_EQ(first.GetPtr<T>(), nullptr);
    }
    EXPECT_EQ(T::living, 0) << "nothing leaks and nothing is destroyed twice";
}

TEST(DataTest, holdsSmallValuesInPlaceAndLargeOnesInABox) {
    EXPECT_TRUE(GetDataType<Small>()->fitsInline);
    EXPECT_FALSE(GetDataType<Large>()->fitsInline);
    ExpectValueSemantics<Small>();
    ExpectValueSemantics<Large>();
}

TEST(DataTest, sharesLargeValuesBetweenCopies) {
    const Data first(Large(1));
    const Data second = first;
    EXPECT_EQ(first.GetPtr<Large>(), second.GetPtr<Large>());
}

TEST(DataTest, withoutEqualityIsEqualToItsCopiesOnly) {
    const Data first(NoEquality{1});
    const Data copy = first;
    EXPECT_EQ(first, copy);
    EXPECT_FALSE(first == Data(NoEquality{1}));
}

TEST(DataTest, holdsIdsOfAllKindsAsOne) {
    const Id owned = MUST(Id::Create("a.b"));
    const Data values[] = {Data(owned), Data("a.b"_id), Data(InternedId(owned))};
    for (const Data& value : values) {
        EXPECT_EQ(value, values[0]);
        EXPECT_EQ(value.GetHashCode(), values[0].GetHashCode());
        EXPECT_EQ(value.GetType(), GetDataType<Id>());
    }
}

TEST(DataTest, comparesReferencesAndCallablesByIdentityAndRefusesToStoreThem) {
    struct Object : ObjectInterface {};
    const auto object = StrongRef<Object>::Create();
    const Delegate<void()> call = [] {};
    const Data values[] = {Data(object), Data(WeakRef<Object>(object)), Data(call)};
    EXPECT_EQ(values[0], Data(object));
    EXPECT_FALSE(values[0] == Data(StrongRef<Object>::Create()));
    EXPECT_EQ(values[1], Data(WeakRef<Object>(object)));
    EXPECT_EQ(values[2], Data(call));
    EXPECT_FALSE(values[2] == Data(Delegate<void()>([] {})));
    for (const Data& value : values) {
        EXPECT_FALSE(value.ToString().empty());
        const Result<DocumentValue> document = value.ToDocument();
        ASSERT_TRUE(document.IsError());
        EXPECT_TRUE(UnsupportedArgumentError::IsClassOf(document.GetError()));
        EXPECT_THAT(document.GetError()->GetMessage(), HasSubstr(std::string(value.GetTypeId().GetView())));
    }
}

TEST(DataTest, namesBothTypesWhenAskedForTheWrongOne) {
    const Result<Int> wrong = Data(String("x")).Get<Int>();
    ASSERT_TRUE(wrong.IsError());
    EXPECT_TRUE(IllegalArgumentError::IsClassOf(wrong.GetError()));
    EXPECT_THAT(wrong.GetError()->GetMessage(), HasSubstr("net.talvo.datatype.string"));
    EXPECT_THAT(wrong.GetError()->GetMessage(), HasSubstr("net.talvo.datatype.int"));
    EXPECT_TRUE(Data().Get<Int>().IsError());
}

TEST(DataTest, hasTextsForPeople) {
    const struct {
        Data value;
        const char* text;
    } rows[] = {
        {Data(), ""},
        {Data(true), "true"},
        {Data(Int(-5)), "-5"},
        {Data(String("chair")), "chair"},
        {Data("a.b"_id), "a.b"},
        {Data(Color{1, 0.5, 0}), "[1, 0.5, 0]"},
        {Data(BaseArray<Id>{"a"_id, "b"_id}), "[\"a\", \"b\"]"},
    };
    for (const auto& row : rows) EXPECT_EQ(row.value.ToString(), row.text);
}

TEST(DataTest, makesIdsOfTypesFromTheirParts) {
    using Usage = std::tuple<UniversalDateTime, Int>;
    EXPECT_EQ(GetDataType<Usage>()->id.GetView(),
              "net.talvo.datatype.tuple(net.talvo.datatype.universaldatetime,net.talvo.datatype.int)");
    EXPECT_EQ(GetDataType<BaseArray<Id>>()->id.GetView(), "net.talvo.datatype.array(net.talvo.datatype.id)");
    EXPECT_EQ(DataTypes::Find(GetDataType<BaseArray<Id>>()->id), GetDataType<BaseArray<Id>>());
    EXPECT_EQ(DataTypes::Find("net.talvo.datatype.nosuch"_id), nullptr);
}

TEST(DataTest, countsCopiesOfSeveralThreads) {
    const Data shared(Large(3));
    std::vector<std::thread> threads;
    for (int i = 0; i < 4; ++i) {
        threads.emplace_back([&shared] {
            for (int k = 0; k < 1000; ++k) {
                const Data copy = shared;
                EXPECT_EQ(copy.GetPtr<Large>()->value, 3);
                EXPECT_NE(DataTypes::Find("net.talvo.datatype.id"_id), nullptr);
            }
        });
    }
    for (std::thread& thread : threads) thread.join();
}

// --- dictionary

TEST(DataDictionaryTest, takesIdsOfOneTextForOneKey) {
    DataDictionary dictionary;
    const Id owned = MUST(Id::Create("net.talvo.key"));
    dictionary.Set("net.talvo.key"_id, Int(1));
    dictionary.Set(owned, Int(2));
    dictionary.Set(Data(InternedId(owned)), Data(Int(3)));
    EXPECT_EQ(dictionary.GetCount(), 1);
    EXPECT_EQ(dictionary.Get<Int>("net.talvo.key"_id), 3);
    EXPECT_EQ(dictionary.Get<String>("net.talvo.key"_id), std::nullopt) << "another type is no value";
    dictionary.Set(Data(owned), Data());
    EXPECT_TRUE(dictionary.IsEmpty()) << "an empty value erases";
}

TEST(DataDictionaryTest, isOrderedByTypeThenValueWhateverCameFirst) {
    const Data keys[] = {Data("b"_id),      Data(Int(10)),        Data("a"_id), Data(Int(9)),
                         Data(String("z")), Data(Color{1, 2, 3}), Data()};
    std::string text;
    for (std::size_t shift = 0; shift < std::size(keys); ++shift) {
        DataDictionary dictionary;
        for (std::size_t i = 0; i < std::size(keys); ++i) dictionary.Set(keys[(i + shift) % std::size(keys)], Data(true));
        if (shift == 0) text = dictionary.ToString();
        EXPECT_EQ(dictionary.ToString(), text);
        for (const Data& key : keys) EXPECT_TRUE(dictionary.Find(key));
    }
    EXPECT_EQ(text, "{: true, [1, 2, 3]: true, a: true, b: true, 9: true, 10: true, z: true}");
}

TEST(DataDictionaryTest, leavesCopiesAsTheyWere) {
    DataDictionary first;
    first.Set("a"_id, Int(1));
    DataDictionary second = first;
    second.Set("b"_id, Int(2));
    EXPECT_TRUE(second.Erase("a"_id));
    EXPECT_FALSE(second.Erase("a"_id));
    EXPECT_EQ(first.ToString(), "{a: 1}");
    EXPECT_EQ(second.ToString(), "{b: 2}");
    EXPECT_FALSE(first == second);
}

TEST(DataDictionaryTest, findsKeysThatTieInOrder) {
    struct Object : ObjectInterface {};
    std::vector<Data> keys;
    for (int i = 0; i < 5; ++i) keys.emplace_back(StrongRef<Object>::Create());
    DataDictionary forward;
    DataDictionary backward;
    for (Int i = 0; i < 5; ++i) {
        forward.Set(keys[std::size_t(i)], Data(i));
        backward.Set(keys[std::size_t(4 - i)], Data(4 - i));
    }
    EXPECT_EQ(forward, backward);
    EXPECT_EQ(forward.GetHashCode(), backward.GetHashCode());
    EXPECT_TRUE(forward.Erase(keys[2]));
    EXPECT_EQ(*forward.Find(keys[4]), Data(Int(4)));
}

TEST(DataDictionaryTest, refusesAKeyTwiceWhenMadeAtOnce) {
    BaseArray<DataDictionary::Entry> entries{
        {Data("a"_id), Data(Int(1))}, {Data("b"_id), Data(Int(1))}, {Data("a"_id), Data(Int(2))}};
    const Result<DataDictionary> twice = DataDictionary::Create(entries);
    ASSERT_TRUE(twice.IsError());
    EXPECT_THAT(twice.GetError()->GetMessage(), HasSubstr("key a"));
}

}  // namespace
}  // namespace talvo
