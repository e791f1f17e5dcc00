#include "talvo/program_test_support.h"

#include "kernel/data/document_json.h"

#include <sstream>

namespace talvo {

std::string JsonObject::Text(std::string_view key) const {
    const DocumentValue* member = Find(key);
    const Result<const std::string&> text = member ? member->GetText() : Result<const std::string&>(FileFormatError::Create());
    return text.IsOk() ? text.GetValue() : std::string();
}

Int64 JsonObject::Number(std::string_view key) const {
    const DocumentValue* member = Find(key);
    return member ? member->GetInt().GetValueOr(0) : 0;
}

Bool JsonObject::Flag(std::string_view key) const {
    const DocumentValue* member = Find(key);
    return member && member->GetBool().GetValueOr(false);
}

std::vector<JsonObject> JsonObject::List(std::string_view key) const {
    std::vector<JsonObject> list;
    const DocumentValue* member = Find(key);
    if (!member) return list;
    const Result<const DocumentValue::ArrayType&> array = member->GetArray();
    if (array.IsError()) return list;
    for (const DocumentValue& element : array.GetValue()) list.emplace_back(element);
    return list;
}

std::string JsonObject::Keys() const {
    std::string keys;
    const Result<const DocumentValue::ObjectType&> object = _value.GetObject();
    if (object.IsError()) return "(no object)";
    for (const auto& [key, value] : object.GetValue()) keys += (keys.empty() ? "" : " ") + key;
    return keys;
}

std::vector<JsonObject> ReadJsonLines(const std::string& text) {
    std::vector<JsonObject> objects;
    std::istringstream lines(text);
    for (std::string line; std::getline(lines, line);) {
        Result<DocumentValue> value = ReadJson(line);
        const Bool isObject = value.IsOk() && value.GetValue().GetObject().IsOk();
        EXPECT_TRUE(isObject) << "no JSON object: " << line;
        if (isObject) objects.emplace_back(std::move(value).GetValue());
    }
    return objects;
}

ProgramOutcome ProgramTest::Run(const Words& words, const ProgramSetup& setup) const {
    Words all{"--home", _scratch / "home"};
    all.insert(all.end(), words.begin(), words.end());
    ProgramOutcome outcome = RunProgram(all, setup);
    EXPECT_FALSE(outcome.timedOut) << "hangs: " << testing::PrintToString(words);
    return outcome;
}

std::string ProgramTest::RunText(const Words& words) const {
    const ProgramOutcome outcome = Run(words);
    EXPECT_EQ(outcome.exitCode, 0) << testing::PrintToString(words) << "\n" << outcome.err;
    return outcome.out;
}

std::vector<JsonObject> ProgramTest::RunJson(const Words& words) const {
    Words all = words;
    all.insert(all.begin() + (words.front() == "meta" ? 2 : 1), "--json");
    return ReadJsonLines(RunText(all));
}

JsonObject ProgramTest::RunJsonOne(const Words& words) const {
    const std::vector<JsonObject> objects = RunJson(words);
    EXPECT_EQ(objects.size(), 1u) << testing::PrintToString(words);
    return objects.empty() ? JsonObject(DocumentValue()) : objects.front();
}

void ProgramTest::ExpectFailure(const Words& words, std::string_view message) const {
    const ProgramOutcome outcome = Run(words);
    EXPECT_EQ(outcome.exitCode, 1) << testing::PrintToString(words) << "\n" << outcome.err;
    EXPECT_EQ(outcome.out, "");
    EXPECT_THAT(outcome.err, testing::StartsWith("talvo: error: "));
    EXPECT_THAT(outcome.err, testing::HasSubstr(std::string(message)));
}

std::string ProgramTest::MakeRepository(std::string_view name) const {
    const std::string path = _scratch / name;
    RunText({"init", path, "--id", "repo-" + std::string(name)});
    return path;
}

JsonObject ProgramTest::Store(const std::string& repository, const std::string& id, std::string_view content,
                              const Words& options) const {
    _scratch.Write("to-store.txt", content);
    Words words{"store", repository, id, _scratch / "to-store.txt"};
    words.insert(words.end(), options.begin(), options.end());
    return RunJsonOne(words);
}

std::vector<JsonObject> ProgramTest::List(const std::string& repository, const Words& options) const {
    Words words{"list", repository};
    words.insert(words.end(), options.begin(), options.end());
    std::vector<JsonObject> listed = RunJson(words);
    std::erase_if(listed, [](const JsonObject& object) {
        return object.Text("type") == "net.talvo.assettype.database" || object.Text("type") == "net.talvo.assettype.category";
    });
    return listed;
}

std::string ProgramTest::ListIds(const std::string& repository, const Words& options) const {
    std::string ids;
    for (const JsonObject& object : List(repository, options)) ids += (ids.empty() ? "" : " ") + object.Text("id");
    return ids;
}

}  // namespace talvo
