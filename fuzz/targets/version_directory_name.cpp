// Names of version directories and the version counter: numbers of 63 bits, and nothing that is read is of another number.
#include "url_repository/version_directory_name.h"

#include "fuzz/fuzz_target.h"
#include "url_repository/tree_access.h"
#include "url_repository/version_counter.h"

namespace talvo {

namespace {

constexpr UInt GREATEST = UInt(INT64_MAX);

void CheckName(std::string_view bytes) {
    const Opt<VersionDirectoryName> name = ParseVersionDirectoryName(bytes);
    if (!name) return;
    FUZZ_EXPECT(name->number <= GREATEST, bytes);
    FUZZ_EXPECT(!IsWorkName(bytes), bytes);
    std::string made = MakeVersionDirectoryName(name->number);
    if (name->form == VersionDirectoryName::FORM::DELETED) made = MakeDeletedDirectoryName(name->number);
    if (name->form == VersionDirectoryName::FORM::WITH_VERSION_ID) made += "-" + name->versionId;
    FUZZ_EXPECT(bytes.size() >= made.size(), bytes);
    FUZZ_EXPECT(name->canonical == (bytes.size() == made.size()), bytes);
    const Opt<VersionDirectoryName> again = ParseVersionDirectoryName(made);
    FUZZ_EXPECT(again && again->number == name->number && again->form == name->form && again->versionId == name->versionId, made);
    FUZZ_EXPECT(again->canonical && !IsPreferred(*name, *again), made);
}

}  // namespace

FUZZ_TARGET(version_directory_name, bytes) {
    CheckName(bytes);
    const UInt counter = FindVersionCounter(bytes).value_or(0);
    FUZZ_EXPECT(counter <= GREATEST, bytes);
    FUZZ_EXPECT(FindVersionCounter(std::to_string(counter) + "\n") == counter, bytes);
}

}  // namespace talvo
