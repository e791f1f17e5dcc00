#include "kernel/description/stored_texts.h"

#include "kernel/data/document_binary.h"
#include "kernel/description/description.h"

namespace talvo {

namespace {

/// The text of one attribute of an entry; empty if there is none.
std::string_view GetEntryText(const BinaryValueView& entry, const Id& attribute) {
    const Opt<BinaryValueView> data = entry.FindMember(attribute.GetView());
    const Opt<BinaryValueView> value = data ? data->FindMember("value") : std::nullopt;
    return value ? value->GetText().value_or(std::string_view()) : std::string_view();
}

}  // namespace

Bool ReadStoredTexts(const Id& type, std::string_view bytes, Block<const Id> keys, std::string_view* texts) {
    if (type != GetDataType<DataDescriptionDefinition>()->id) return false;
    const Opt<BinaryValueView> entries = BinaryValueView(bytes).FindMember("entries");
    if (!entries) return false;
    std::fill_n(texts, keys.size(), std::string_view());
    std::size_t open = keys.size();
    entries->ForEachElement([&](const BinaryValueView& entry) {
        const std::string_view name = GetEntryText(entry, DESCRIPTION::IDENTIFIER);
        for (std::size_t i = 0; i < keys.size(); ++i) {
            if (name != keys[i].GetView() || texts[i].data() != nullptr) continue;
            texts[i] = GetEntryText(entry, DESCRIPTION::TRANSLATEDSTRING);
            // An empty one is found, too.
            if (texts[i].data() == nullptr) texts[i] = std::string_view("");
            --open;
        }
        return open != 0;
    });
    return true;
}

}  // namespace talvo
