// Small fixtures for tests of assets: results that fail the test, payloads, a type of assets with references, a recorder of events.
#pragma once

#include "assets.h"
#include "support/scratch_directory.h"

#include <gmock/gmock.h>

#include <stdexcept>
#include <string>
#include <string_view>
#include <vector>

namespace talvo {

/// The value; an error ends the test with its text.
template <typename T>
T Need(Result<T> result) {
    if (result.IsError()) throw std::runtime_error("unexpected error: " + result.GetError()->GetMessage());
    return std::move(result).GetValue();
}
inline void Need(const Result<void>& result) {
    if (result.IsError()) throw std::runtime_error("unexpected error: " + result.GetError()->GetMessage());
}
template <typename T>
const T& NeedRef(const Result<const T&>& result) {
    if (result.IsError()) throw std::runtime_error("unexpected error: " + result.GetError()->GetMessage());
    return result.GetValue();
}

/// `EXPECT_THAT(result, FailsWith<IoError>("missing.txt"))`: exactly this class, and the message holds the text.
template <typename CLASS>
class FailsWithMatcher {
public:
    explicit FailsWithMatcher(std::string text) : _text(std::move(text)) {}
    template <typename RESULT>
    bool MatchAndExplain(const RESULT& result, testing::MatchResultListener* listener) const {
        if (!result.IsError()) {
            *listener << "it succeeded";
            return false;
        }
        *listener << result.GetError()->GetClassId().GetView() << " \"" << result.GetError()->GetMessage() << "\"";
        return CLASS::IsClassOf(result.GetError()) && result.GetError()->GetMessage().find(_text) != std::string::npos;
    }
    void DescribeTo(std::ostream* out) const { *out << "fails with " << CLASS::ID.GetView() << " that says \"" << _text << "\""; }
    void DescribeNegationTo(std::ostream* out) const { *out << "doesn't fail so"; }

private:
    const std::string _text;
};
template <typename CLASS>
testing::PolymorphicMatcher<FailsWithMatcher<CLASS>> FailsWith(std::string text = {}) {
    return testing::MakePolymorphicMatcher(FailsWithMatcher<CLASS>(std::move(text)));
}
MATCHER(Succeeds, "succeeds") {
    if (arg.IsOk()) return true;
    *result_listener << arg.GetError()->GetMessage();
    return false;
}

inline Id MakeId(std::string_view text) { return Need(Id::Create(text)); }
inline InternedId MakeMetaId(std::string_view text) { return InternedId(MakeId(text)); }

/// A file asset of a fresh file `name` with these bytes.
Asset MakeFileAsset(const ScratchDirectory& scratch, std::string_view name, std::string_view bytes);
/// The file asset of what is at `url`.
Asset MakeFileAsset(const Url& url);
/// Content of the payload; "(none)" if there is no payload.
std::string ReadPayload(const AssetDescription& description);
/// "id/version" of each description found, in the order of the walk; `sorted`: in order of text.
std::vector<std::string> Find(const AssetRepositoryRef& repository, std::string_view aid, std::string_view version,
                              ASSET_FIND_MODE mode);
std::vector<std::string> Sorted(std::vector<std::string> texts);
/// The newest version or null.
AssetDescription FindLatest(const AssetRepositoryRef& repository, const Id& aid);
/// Metadata of one value without a repository, as stores take it.
AssetMetaData MakeMetaData(const Id& metaId, Data value, ASSET_METADATA_KIND kind);

/// Sets the clock of the process to a time that only `Set` and `Advance` change; the end gives the real one back.
class SteppedClock {
public:
    explicit SteppedClock(Int64 microseconds);
    ~SteppedClock();
    void Set(Int64 microseconds);
    void Advance(Int64 microseconds);
};

inline constexpr LiteralId ASSETTYPE_NOTE{"net.talvo.test.assettype.note"};

/// A text with links to other assets: an asset that can take updates. One link a line: "policy id version".
class NoteAssetInterface : public UpdatableAssetInterface {
public:
    virtual const std::string& GetText() const = 0;
    /// "id/version" of each link.
    virtual std::string GetTargets() const = 0;
};
struct NoteLink {
    ASSET_UPDATE_POLICY policy = ASSET_UPDATE_POLICY::EXPLICIT;
    IdAndVersion target;
};
/// A note; its type is registered at the first call.
Asset MakeNote(std::string text, std::vector<NoteLink> links);
/// The note that `description` loads to.
StrongRef<NoteAssetInterface> LoadNote(const AssetDescription& description, Bool updateLinks);
/// How often the type was asked to load since the process began.
Int GetNoteLoadCount();

/// Writes down each event of a repository as one line: "stored id/version", "erased ...", "updated ...",
/// "metadata id/version key kind before -> after", "base + id", "base - id". A repository behind " in " is the asset's own.
class EventRecorder {
public:
    explicit EventRecorder(const AssetRepositoryRef& repository);
    ~EventRecorder();
    /// The lines since the last call.
    std::vector<std::string> Take();

private:
    struct Lines;
    const AssetRepositoryRef _repository;
    StrongRef<Lines> _lines;
    std::vector<ObserverToken> _tokens;
};

}  // namespace talvo
