// make_library: writes a repository of any size, so that figures can be shown and tried on it.
#include "bench/library/library_writer.h"
#include "bench/measure.h"

#include <charconv>
#include <cstdio>

namespace talvo::bench {

namespace {

constexpr const char* USAGE =
    "make_library --assets N [--versions V] [--seed S] [--fast] DIR\n"
    "\n"
    "Writes a repository of N assets into the new folder DIR: files with V versions each and the categories they are in.\n"
    "The same N, V and S give the same repository.\n"
    "  --fast   its index files alone: opens, lists, names and searches like the whole, but contents are not there\n";

constexpr Int MOST_ASSETS = 100000000;
constexpr Int MOST_VERSIONS = 100000;

struct Request {
    LibraryOptions options;
    Bool isFast = false;
    std::string folder;
};

template <typename T>
T ParseNumber(const std::string& word, T smallest, T largest) {
    T number{};
    const auto read = std::from_chars(word.data(), word.data() + word.size(), number);
    Need(read.ec == std::errc() && read.ptr == word.data() + word.size() && smallest <= number && number <= largest,
         "\"" + word + "\" is no number from " + std::to_string(smallest) + " to " + std::to_string(largest) + ".");
    return number;
}

Request Parse(const std::vector<std::string>& words) {
    Request request;
    Bool hasCount = false;
    const auto at = [&](std::size_t index) {
        Need(index < words.size(), USAGE);
        return words[index];
    };
    for (std::size_t i = 0; i < words.size(); i++) {
        if (words[i] == "--assets") {
            request.options.assets = ParseNumber<Int>(at(++i), 0, MOST_ASSETS);
            hasCount = true;
        } else if (words[i] == "--versions") {
            request.options.versions = ParseNumber<Int>(at(++i), 1, MOST_VERSIONS);
        } else if (words[i] == "--seed") {
            request.options.seed = ParseNumber<UInt>(at(++i), 0, UInt(-1));
        } else if (words[i] == "--fast") {
            request.isFast = true;
        } else {
            Need(request.folder.empty() && !words[i].starts_with('-'), USAGE);
            request.folder = words[i];
        }
    }
    Need(hasCount && !request.folder.empty(), USAGE);
    return request;
}

void Main(const std::vector<std::string>& words) {
    if (words == std::vector<std::string>{"--help"}) {
        std::fputs(USAGE, stdout);
        return;
    }
    const Request request = Parse(words);
    const LibraryModel model(request.options);
    const Cost cost = MeasureHere([&] {
        if (request.isFast) {
            WriteLibraryIndex(model, request.folder);
        } else {
            WriteLibrary(model, request.folder);
        }
    });
    std::printf("%lld assets with %lld versions in %s, %.1f s.\n", static_cast<long long>(request.options.assets),
                static_cast<long long>(model.GetVersionCount() - 1), request.folder.c_str(), cost.wall);
    if (request.isFast)
        std::puts(
            "These are index files alone: contents are not there, and what reads or changes them fails or finds them missing.");
}

}  // namespace

}  // namespace talvo::bench

int main(int count, char** words) {
    try {
        talvo::bench::Main({words + 1, words + count});
        return 0;
    } catch (const std::exception& error) {
        std::fprintf(stderr, "make_library: %s\n", error.what());
        return 1;
    }
}
