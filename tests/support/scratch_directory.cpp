#include "support/scratch_directory.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <cstdio>
#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <iterator>
#include <vector>

namespace talvo {

namespace fs = std::filesystem;

namespace {

[[noreturn]] void Fail(const char* what, const std::string& path) {
    std::fprintf(stderr, "Test can't %s %s\n", what, path.c_str());
    std::abort();
}

std::string Describe(const fs::path& root, const fs::directory_entry& entry) {
    std::string text = entry.path().lexically_relative(root).string();
    if (entry.is_symlink()) return text + "@";
    return entry.is_directory() ? text + "/" : text;
}

}  // namespace

ScratchDirectory::ScratchDirectory() {
    _path = (fs::temp_directory_path() / "talvo-test-XXXXXX").string();
    if (!mkdtemp(_path.data())) Fail("make", _path);
}

ScratchDirectory::~ScratchDirectory() {
    if (testing::Test::HasFailure()) {
        std::fprintf(stderr, "Kept for a look: %s\n", _path.c_str());
        return;
    }
    std::error_code ignored;
    fs::remove_all(_path, ignored);
}

void ScratchDirectory::Write(std::string_view name, std::string_view bytes) const {
    const std::string path = *this / name;
    fs::create_directories(fs::path(path).parent_path());
    std::ofstream file(path, std::ios::binary | std::ios::trunc);
    file.write(bytes.data(), std::streamsize(bytes.size()));
    file.close();
    if (!file) Fail("write", path);
}

std::string ScratchDirectory::Read(std::string_view name) const {
    std::ifstream file(*this / name, std::ios::binary);
    if (!file) return "(missing)";
    return std::string(std::istreambuf_iterator<char>(file), {});
}

void ScratchDirectory::MakeFolder(std::string_view name) const { fs::create_directories(*this / name); }

std::string ScratchDirectory::List(std::string_view name) const {
    const fs::path root = *this / name;
    std::vector<std::string> names;
    for (const fs::directory_entry& entry : fs::recursive_directory_iterator(root)) names.push_back(Describe(root, entry));
    std::sort(names.begin(), names.end());
    std::string list;
    for (const std::string& text : names) list += (list.empty() ? "" : " ") + text;
    return list;
}

}  // namespace talvo
