// A folder of its own for each test that touches files.
#pragma once

#include "kernel/io/url.h"

#include <string>
#include <string_view>

namespace talvo {

/// Makes an empty folder below the system's folder for temporary files. Its end removes it with all that is in it, unless
/// the test has failed by then: then it stays and its path is printed.
class ScratchDirectory {
public:
    ScratchDirectory();
    ~ScratchDirectory();
    ScratchDirectory(const ScratchDirectory&) = delete;
    ScratchDirectory& operator=(const ScratchDirectory&) = delete;

    const std::string& GetPath() const { return _path; }
    Url GetUrl() const { return Url::FromSystemPath(_path); }
    /// Path of `name`, which may have several components.
    std::string operator/(std::string_view name) const { return _path + "/" + std::string(name); }

    /// Makes the file and the folders above it. A failure ends the test program.
    void Write(std::string_view name, std::string_view bytes) const;
    /// Content of the file; "(missing)" if there is none.
    std::string Read(std::string_view name) const;
    void MakeFolder(std::string_view name) const;
    /// All entries below `name` ("" for all), sorted, joined by blanks; folders end with "/", links with "@".
    std::string List(std::string_view name = "") const;

private:
    std::string _path;
};

}  // namespace talvo
