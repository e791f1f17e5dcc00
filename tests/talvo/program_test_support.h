// What tests of the program share: a scratch folder, a home of its own, and reading of what was printed.
#pragma once

#include "kernel/data/document_value.h"
#include "support/scratch_directory.h"
#include "talvo/program_runner.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <string>
#include <string_view>
#include <vector>

namespace talvo {

using Words = std::vector<std::string>;

/// A JSON object with short access to its members; a missing one is an empty text, 0 or false.
class JsonObject {
public:
    explicit JsonObject(DocumentValue value) : _value(std::move(value)) {}
    std::string Text(std::string_view key) const;
    Int64 Number(std::string_view key) const;
    Bool Flag(std::string_view key) const;
    std::vector<JsonObject> List(std::string_view key) const;
    /// All keys in their order, joined by blanks.
    std::string Keys() const;
    const DocumentValue* Find(std::string_view key) const { return _value.FindMember(key); }
    const DocumentValue& GetValue() const { return _value; }

private:
    DocumentValue _value;
};

/// The lines of `text`, each an object. A line that is none fails the test.
std::vector<JsonObject> ReadJsonLines(const std::string& text);

class ProgramTest : public ::testing::Test {
protected:
    /// Runs the program with a home below the scratch folder; hanging fails the test.
    ProgramOutcome Run(const Words& words, const ProgramSetup& setup = {}) const;
    /// Runs it with --json and expects success.
    std::vector<JsonObject> RunJson(const Words& words) const;
    /// The same, for a command that prints one object.
    JsonObject RunJsonOne(const Words& words) const;
    /// Runs it and expects success. @return what it printed.
    std::string RunText(const Words& words) const;
    /// Expects exit code 1, nothing on standard output, and an error that contains `message`.
    void ExpectFailure(const Words& words, std::string_view message) const;

    /// Makes a repository in the scratch folder and gives its path.
    std::string MakeRepository(std::string_view name) const;
    /// Stores a file of this content under `id`, as its next version.
    JsonObject Store(const std::string& repository, const std::string& id, std::string_view content,
                     const Words& options = {}) const;
    /// What `list` shows, but for the repository's own name, which each has.
    std::vector<JsonObject> List(const std::string& repository, const Words& options = {}) const;
    /// The ids of that, joined by blanks.
    std::string ListIds(const std::string& repository, const Words& options = {}) const;

    ScratchDirectory _scratch;
};

}  // namespace talvo
