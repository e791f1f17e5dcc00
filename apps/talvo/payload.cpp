#include "apps/talvo/payload.h"

#include "apps/talvo/output.h"
#include "kernel/base/uuid.h"
#include "kernel/io/file_utilities.h"

#include <algorithm>
#include <vector>

namespace talvo::Payload {

namespace {

constexpr std::size_t BLOCK = 1 << 16;

Result<std::vector<std::string>> SplitInnerPath(const std::string& inner) {
    std::vector<std::string> components;
    for (std::size_t begin = 0; begin <= inner.size();) {
        const std::size_t end = std::min(inner.find('/', begin), inner.size());
        const std::string component = inner.substr(begin, end - begin);
        if (component.empty() || component == "." || component == "..") {
            return IllegalArgumentError::Create(FormatMessage(
                "\"@\" is no path inside of the content: give folders and a name, such as \"textures/wood.png\".", inner));
        }
        components.push_back(component);
        begin = end + 1;
    }
    return components;
}

Result<void> PutInPlace(const Url& staged, const Url& target, EXISTING existing) {
    const IO_DETECT kind = target.IoDetect();
    if (kind == IO_DETECT::NOT_THERE || existing == EXISTING::REFUSE) return staged.IoRename(target, RENAME_MODE::NO_REPLACE);
    if (kind != IO_DETECT::DIRECTORY && staged.IoDetect() == IO_DETECT::FILE)
        return staged.IoRename(target, RENAME_MODE::REPLACE);
    TRY(staged.IoRename(target, RENAME_MODE::EXCHANGE));
    return staged.IoDelete();  // what was at the target
}

}  // namespace

Result<Url> GetUrl(const AssetDescription& description) {
    if (description->IsDeleted())
        return UnresolvedError::Create(FormatMessage("@ is a deletion marker and has no content.", description->ToString()));
    const Url& url = TRY_REF(description->GetUrl());
    if (url.IsEmpty()) return UnresolvedError::Create(FormatMessage("@ has no content.", description->ToString()));
    return url;
}

Result<Url> GetInnerFile(const Url& payload, const std::string& inner) {
    const std::vector<std::string> components = TRY(SplitInnerPath(inner));
    if (payload.IoDetect() != IO_DETECT::DIRECTORY)
        return IllegalArgumentError::Create("The content is a single file, so that --path names nothing in it.");
    Url url = payload;
    for (const std::string& component : components) {
        url.Append(component);
        if (url.IoDetect() == IO_DETECT::NOT_THERE)
            return UnresolvedError::Create(FormatMessage("There is no \"@\" in the content.", inner));
        const IoConnectionRef connection = TRY(url.OpenConnection());
        const Bool isLink = TRY(connection->IoIsLink());
        if (isLink) return IllegalArgumentError::Create(FormatMessage("\"@\" is a link and may lead out of the content.", url));
    }
    return url;
}

Result<void> WriteTo(Output& output, const Url& file) {
    const IO_DETECT kind = file.IoDetect();
    if (kind == IO_DETECT::DIRECTORY) {
        return IllegalStateError::Create(FormatMessage(
            "\"@\" is a folder. Name a file in it with --path INNER, or take all of it with \"talvo export\".", file.GetName()));
    }
    if (kind == IO_DETECT::OTHER) return IllegalStateError::Create(FormatMessage("\"@\" is no file.", file));
    const InputStreamRef stream = TRY(file.OpenInputStream());
    std::string block(BLOCK, '\0');
    while (true) {
        const Int64 count = TRY(stream->ReadEOS(Block<char>(block.data(), block.size())));
        TRY(output.WriteBytes(std::string_view(block).substr(0, std::size_t(count))));
        if (count < Int64(block.size())) break;
    }
    TRY(stream->Close());
    return output.Flush();
}

Result<Int64> Export(const Url& payload, const Url& target, EXISTING existing) {
    if (existing == EXISTING::REFUSE && target.IoDetect() != IO_DETECT::NOT_THERE)
        return IllegalStateError::Create(
            FormatMessage("\"@\" is there already. Choose another path, or replace it with --force.", target));
    const Url folder = target.GetDirectory();
    if (folder.IoDetect() != IO_DETECT::DIRECTORY)
        return IoError::Create(FormatMessage("The folder \"@\" is not there.", folder));
    const Id name = TRY(IdHelper::MakeUuid(".~talvo", UUID_FORM::COMPACT));
    const Url staged = folder + name.GetView();
    BaseArray<Url> passedOver;
    Result<void> outcome = FileUtilities::CopyFileOrDirectory(payload, staged, &passedOver);
    if (outcome.IsOk()) outcome = PutInPlace(staged, target, existing);
    if (outcome.IsError()) {
        staged.IoDelete().Ignore("the error that led here is told; the rest has a hidden name");
        return outcome.GetError();
    }
    return FileUtilities::GetSize(target);
}

}  // namespace talvo::Payload
