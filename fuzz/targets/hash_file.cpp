// `hash`: what reads is written again so that it reads the same.
#include "url_repository/hash_file.h"

#include "fuzz/fuzz_target.h"

namespace talvo {

FUZZ_TARGET(hash_file, bytes) {
    const Opt<HashFile> hash = ParseHashFile(bytes);
    if (!hash) return;
    FUZZ_EXPECT(hash->versionId.IsPopulated(), "");
    FUZZ_EXPECT(hash->digest.empty() || IsDigestText(hash->digest), hash->digest);
    const std::string text = WriteHashText(*hash);
    const Opt<HashFile> again = ParseHashFile(text);
    FUZZ_EXPECT(again && again->versionId == hash->versionId, text);
    // A digest that equals the version id is not written twice.
    const std::string digest = hash->digest == hash->versionId.GetView() ? std::string() : hash->digest;
    FUZZ_EXPECT(again->digest == digest, text);
}

}  // namespace talvo
