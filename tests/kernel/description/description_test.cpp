// Definitions of descriptions: entries by identifier, merging, documents.
#include "kernel/description/description.h"

#include "kernel/data/document.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

namespace talvo {
namespace {

using ::testing::HasSubstr;

DataDictionary MakeText(const Id& key, const char* text) { return DESCRIPTION::MakeStringEntry(key, text); }

/// "key=text key=text" in order.
std::string Summarize(const DataDescriptionDefinition& definition) {
    std::string text;
    for (const DataDictionary& entry : definition.GetEntries()) {
        text += text.empty() ? "" : " ";
        text += entry.Find(DESCRIPTION::IDENTIFIER)->ToString() + "=" + entry.Find(DESCRIPTION::TRANSLATEDSTRING)->ToString();
    }
    return text;
}

DataDescriptionDefinition MakeDefinition(std::initializer_list<DataDictionary> entries) {
    return MUST(DataDescriptionDefinition::Create({}, BaseArray<DataDictionary>(entries)));
}

TEST(DataDescriptionDefinitionTest, keepsEntriesInOrderByIdentifier) {
    DataDescriptionDefinition definition;
    MUST(definition.AddEntry(MakeText("b"_id, "1")));
    MUST(definition.ReplaceEntry(MakeText("a"_id, "2")));
    MUST(definition.ReplaceEntry(MakeText("b"_id, "3")));
    EXPECT_EQ(Summarize(definition), "b=3 a=2");

    const DataDescriptionDefinition copy = definition;
    EXPECT_TRUE(MUST(definition.EraseEntry("b"_id)));
    EXPECT_FALSE(MUST(definition.EraseEntry("b"_id)));
    EXPECT_EQ(Summarize(definition), "a=2");
    EXPECT_EQ(Summarize(copy), "b=3 a=2") << "a copy stays as it was";
    EXPECT_EQ(copy.FindEntry("c"_id), nullptr);
    EXPECT_THAT(copy.GetEntry("c"_id).GetError()->GetMessage(), HasSubstr("c"));
}

TEST(DataDescriptionDefinitionTest, refusesEntriesItCouldNotFindAgain) {
    DataDescriptionDefinition definition = MakeDefinition({MakeText("a"_id, "1")});
    DataDictionary nameless = MakeText("x"_id, "2");
    nameless.Erase(DESCRIPTION::IDENTIFIER);
    const Result<void> failures[] = {
        definition.AddEntry(MakeText("a"_id, "2")),
        definition.AddEntry(nameless),
        definition.ReplaceEntry(nameless),
        definition.ReplaceEntry(MakeText(Id(), "2")),
    };
    for (const Result<void>& failure : failures) {
        ASSERT_TRUE(failure.IsError());
        EXPECT_TRUE(IllegalArgumentError::IsClassOf(failure.GetError()));
    }
    EXPECT_EQ(Summarize(definition), "a=1");
}

TEST(DataDescriptionDefinitionTest, mergesEntriesAndInfo) {
    DataDescriptionDefinition definition = MakeDefinition({MakeText("a"_id, "1"), MakeText("b"_id, "1")});
    definition.SetCategory("string"_id);
    DataDescriptionDefinition other = MakeDefinition({MakeText("c"_id, "2"), MakeText("a"_id, "2")});
    DataDictionary info;
    info.Set("net.talvo.note"_id, Int(1));
    other.SetInfo(info);
    MUST(definition.MergeDescriptionDefinition(other));
    EXPECT_EQ(Summarize(definition), "a=2 b=1 c=2");
    EXPECT_EQ(definition.GetCategory(), "string"_id);
    EXPECT_EQ(definition.GetInfo().Get<Int>("net.talvo.note"_id), 1);

    DataDescriptionDefinition empty;
    MUST(empty.MergeDescriptionDefinition(definition));
    EXPECT_EQ(empty, definition);
    MUST(definition.MergeDescriptionDefinition(*DataDescriptionDefinition::DefaultValuePtr()));
    EXPECT_EQ(empty, definition);
}

TEST(DataDescriptionDefinitionTest, comesBackFromDocuments) {
    DataDescriptionDefinition definition =
        MakeDefinition({MakeText("b"_id, "1"), DESCRIPTION::MakeIncludeEntry(DESCRIPTION::BASE)});
    definition.SetCategory("string"_id);
    for (const Data& data : {Data(definition), Data(DataDescriptionDefinition())}) {
        for (const DOCUMENT_FORMAT format : {DOCUMENT_FORMAT::JSON, DOCUMENT_FORMAT::BINARY}) {
            const std::string bytes = MUST(WriteDocumentText(data, "r"_id, format));
            EXPECT_EQ(MUST(ReadDocumentText(bytes, "r"_id, "sample")), data);
        }
    }
}

TEST(DataDescriptionDefinitionTest, refusesDamagedDocuments) {
    const std::string nameless = R"({"x": {"type": "net.talvo.datatype.int", "value": 1}})";
    const std::string named = R"({"net.talvo.description.base.identifier": {"type": "net.talvo.datatype.id", "value": "a"}})";
    for (const std::string& value :
         {std::string("{}"), std::string(R"({"info": {}})"), R"({"info": {}, "entries": [)" + nameless + "]}",
          R"({"info": {}, "entries": [)" + named + ", " + named + "]}"}) {
        const std::string text =
            R"({"root": "r", "format": 1, "type": "net.talvo.datatype.datadescriptiondefinition", "value": )" + value + "}";
        const Result<Data> result = ReadDocumentText(text, "r"_id, "sample");
        ASSERT_TRUE(result.IsError()) << value;
        EXPECT_TRUE(FileFormatError::IsClassOf(result.GetError())) << value;
    }
}

}  // namespace
}  // namespace talvo
