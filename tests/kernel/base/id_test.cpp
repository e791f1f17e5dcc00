#include "kernel/base/id.h"
#include "kernel/base/hash_map.h"
#include "kernel/base/result.h"
#include "kernel/base/uuid.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <algorithm>
#include <string>
#include <vector>

namespace talvo {
namespace {

Id Owned(std::string_view text) { return MUST(Id::Create(text)); }

TEST(Id, wordIsPartOfFormats) {
    EXPECT_EQ("asset"_id.GetWord(), 0x5000058ceaf0u);
    EXPECT_EQ(Owned("asset").GetWord(), 0x5000058ceaf0u) << "the bit of the owner is masked out";
    EXPECT_EQ(Owned("\xff").GetWord(), UInt(1) << 44 | 0xff) << "bytes are unsigned";
    EXPECT_LE(Owned(std::string(1000, 'z')).GetWord() & ~(~UInt(0) << 44), Id::HASH_MASK)
        << "the hash stays below the owner's bit";
}

TEST(Id, equalWordsAreNotEqualIds) {
    ASSERT_EQ("Aa"_id.GetWord(), "BB"_id.GetWord());
    EXPECT_NE(Id("Aa"_id), Id("BB"_id));
    EXPECT_NE(Owned("Aa"), Owned("BB"));
    EXPECT_NE(InternedId("Aa"_id), InternedId("BB"_id));

    HashMap<Id, int> map;
    MUST(map.Insert("Aa"_id, 1));
    MUST(map.Insert("BB"_id, 2));
    ASSERT_TRUE(map.Find(Owned("Aa")));
    EXPECT_EQ(*map.Find(Owned("Aa")), 1);
}

TEST(Id, literalAndOwnedTextAreOneId) {
    EXPECT_EQ(Owned("net.talvo.x"), Id("net.talvo.x"_id));
    EXPECT_EQ(absl::Hash<Id>()(Owned("net.talvo.x")), absl::Hash<Id>()("net.talvo.x"_id));
    EXPECT_EQ(Owned("a\0b"), Owned("a\0b"));
    EXPECT_EQ(Owned(std::string_view("a\0b", 3)).GetLength(), 3u) << "a NUL is a byte like others";
    EXPECT_TRUE(Owned("").IsEmpty());
    EXPECT_EQ(Owned(""), Id());
}

TEST(Id, orderIsByUnsignedBytesNotByWord) {
    std::vector<Id> ids{Owned("b"), Owned("\xc3\xa4"), Owned("aaa"), Owned(""), Owned("aa"), Owned("B")};
    std::sort(ids.begin(), ids.end());
    std::vector<std::string> texts;
    for (const Id& id : ids) texts.emplace_back(id.GetView());
    EXPECT_THAT(texts, testing::ElementsAre("", "B", "aa", "aaa", "b", "\xc3\xa4"));
}

TEST(Id, lengthHasALimit) {
    EXPECT_TRUE(Id::Create(std::string(Id::MAX_LENGTH, 'a')).IsOk());
    EXPECT_EQ(Owned(std::string(Id::MAX_LENGTH, 'a')).GetLength(), Id::MAX_LENGTH);
    const Result<Id> tooLong = Id::Create("abc" + std::string(Id::MAX_LENGTH - 2, 'a'));
    ASSERT_TRUE(tooLong.IsError());
    EXPECT_TRUE(IllegalArgumentError::IsClassOf(tooLong.GetError()));
    EXPECT_THAT(tooLong.GetError()->GetMessage(), testing::HasSubstr("1048576 bytes"));
}

TEST(Id, ownedTextLivesAsLongAsTheLastCopy) {
    Id copy;
    {
        Id original = Owned("long enough to be wrong when it is gone");
        copy = original;
        original = std::move(copy);
        copy = Id(original);
        copy = *&copy;
    }
    EXPECT_EQ(copy.GetView(), "long enough to be wrong when it is gone");
    EXPECT_EQ(copy.GetView().data()[copy.GetLength()], '\0');
}

TEST(InternedId, equalIdsAreOneEntryWhichLeavesWithItsLastHolder) {
    const Int before = InternedId::GetTableCount();
    {
        const InternedId first(Owned("test.interned"));
        const InternedId second("test.interned"_id);
        InternedId third = second;
        EXPECT_EQ(first, second);
        EXPECT_EQ(&first.GetId(), &third.GetId());
        EXPECT_EQ(InternedId::GetTableCount(), before + 1);
        third = InternedId();
        EXPECT_TRUE(third.IsEmpty());
        EXPECT_TRUE(third.GetId().IsEmpty());
    }
    EXPECT_EQ(InternedId::GetTableCount(), before);
    const InternedId again("test.interned"_id);
    EXPECT_EQ(again.GetView(), "test.interned");
    EXPECT_TRUE(InternedId(Id()).IsEmpty()) << "the null id has no entry";
}

TEST(Uuid, textForms) {
    const Uuid uuid = MUST(Uuid::Create("01234567-89AB-cdef-0123-456789abcdef"));
    EXPECT_EQ(uuid.ToString(), "01234567-89ab-cdef-0123-456789abcdef");
    EXPECT_EQ(uuid.ToCompactString(), "0123456789abcdef0123456789abcdef");
    EXPECT_TRUE(MUST(Uuid::Create("00000000-0000-0000-0000-000000000000")).IsEmpty());
    for (const char* wrong : {"", "01234567-89ab-cdef-0123-456789abcde", "01234567+89ab-cdef-0123-456789abcdef",
                              "0123456-789ab-cdef-0123-456789abcdef", "01234567-89ab-cdef-0123-456789abcdeg"}) {
        const Result<Uuid> result = Uuid::Create(wrong);
        ASSERT_TRUE(result.IsError()) << wrong;
        EXPECT_TRUE(IllegalArgumentError::IsClassOf(result.GetError()));
        EXPECT_THAT(result.GetError()->GetMessage(), testing::HasSubstr(wrong));
    }
}

TEST(Uuid, madeIdsAreFreshAndShaped) {
    const Id plain = MUST(IdHelper::MakeUuid("file", UUID_FORM::HYPHENS));
    EXPECT_THAT(std::string(plain.GetView()), testing::MatchesRegex("file_[0-9a-f]{8}(-[0-9a-f]{4}){3}-[0-9a-f]{12}"));
    const Id compact = MUST(IdHelper::MakeUuid("", UUID_FORM::COMPACT));
    EXPECT_THAT(std::string(compact.GetView()), testing::MatchesRegex("[0-9a-f]{32}"));
    EXPECT_NE(compact, MUST(IdHelper::MakeUuid("", UUID_FORM::COMPACT)));
    EXPECT_TRUE(IdHelper::MakeUuid(std::string(Id::MAX_LENGTH, 'p'), UUID_FORM::COMPACT).IsError());
}

}  // namespace
}  // namespace talvo
