// Urls: text that parses prints as text that parses to an equal url, and whatever stands in a part survives the text.
#include "kernel/io/url_text.h"

#include "fuzz/fuzz_target.h"
#include "kernel/io/url.h"
#include "url_repository/tree_access.h"

#include <filesystem>

namespace talvo {

namespace {

void CheckRoundTrip(const Url& url) {
    const std::string text = url.GetUrl();
    const Result<Url> again = Url::Parse(text);
    FUZZ_EXPECT(again.IsOk(), text);
    FUZZ_EXPECT(again.GetValue() == url && again.GetValue().GetHashCode() == url.GetHashCode(), text);
    FUZZ_EXPECT(again.GetValue().Compare(url) == 0, text);
    FUZZ_EXPECT(again.GetValue().GetUrl() == text, text);
}

void CheckNames(Url url) {
    const Url before = url;
    url.SetSuffix("new");
    FUZZ_EXPECT(url == before || url.CheckSuffix("NEW"), before.GetUrl());
    url.SetName("name.x");
    FUZZ_EXPECT(url.GetName() == "name.x" && url.GetSuffix() == "x", before.GetUrl());
    url.RemoveName();
    FUZZ_EXPECT(url.GetPath().size() <= before.GetPath().size() + 1, before.GetUrl());
}

/// What counts as below a root does not climb out of it.
void CheckBelow(std::string_view name) {
    const Url root = Url::FromSystemPath("/some/root");
    const Url url = Url::Create(root.GetScheme(), {}, "/some/root/" + std::string(name));
    if (!IsBelow(root, url)) return;
    const std::string path = std::filesystem::path(url.GetPath()).lexically_normal().string();
    FUZZ_EXPECT(path.starts_with("/some/root/"), path);
}

}  // namespace

FUZZ_TARGET(url_text, bytes) {
    for (const URL_PART part : {URL_PART::AUTHORITY, URL_PART::PATH, URL_PART::QUERY}) {
        FUZZ_EXPECT(DecodeUrlPart(EncodeUrlPart(bytes, part)) == bytes, bytes);
    }
    const Result<Url> url = Url::Parse(bytes);
    if (url.IsOk()) {
        CheckRoundTrip(url.GetValue());
        CheckNames(url.GetValue());
        url.GetValue().GetComponents();
        url.GetValue().GetSystemPath().Ignore("some urls have none");
        FUZZ_EXPECT(String(url.GetValue().ToString().GetView()) == url.GetValue().ToString(), bytes);
    }
    const Url file = Url::FromSystemPath(bytes);
    if (file.IsPopulated()) CheckRoundTrip(file);
    CheckRoundTrip(Url::Create("ramdisk"_id, bytes, bytes));
    CheckNames(Url::Create("ramdisk"_id, {}, bytes));
    CheckBelow(bytes);
}

}  // namespace talvo
