// Limits of documents, tested before anything is written.
#include "kernel/data/document_limits.h"

#include "kernel/data/document.h"
#include "kernel/text/format.h"

#include <algorithm>
#include <cmath>

namespace talvo::detail {

namespace {

class LimitCheck {
public:
    Result<void> Visit(const DocumentValue& value, Int depth) {
        if (++_count > MAX_DOCUMENT_VALUES) {
            return IllegalArgumentError::Create(FormatMessage("A document can't hold more than @ values.", MAX_DOCUMENT_VALUES));
        }
        return std::visit([&](const auto& content) { return VisitContent(content, depth + 1); }, value.GetVariant());
    }

private:
    static Result<void> CheckDepth(Int depth) {
        if (depth <= MAX_DOCUMENT_DEPTH) return OK;
        return IllegalArgumentError::Create(
            FormatMessage("A document can't hold values in values deeper than @ levels.", MAX_DOCUMENT_DEPTH));
    }
    template <typename T>
    Result<void> VisitContent(const T&, Int) {
        return OK;
    }
    Result<void> VisitContent(const Float64& number, Int) {
        if (std::isfinite(number)) return OK;
        return UnsupportedArgumentError::Create(FormatMessage("The number @ can't be stored in a document.", number));
    }
    Result<void> VisitContent(const DocumentValue::Blob&, Int depth) { return CheckDepth(depth); }
    Result<void> VisitContent(const DocumentValue::ArrayType& array, Int depth) {
        TRY(CheckDepth(depth));
        for (const DocumentValue& element : array) TRY(Visit(element, depth));
        return OK;
    }
    Result<void> VisitContent(const DocumentValue::ObjectType& object, Int depth) {
        TRY(CheckDepth(depth));
        if (const std::string* key = FindDuplicateKey(object)) {
            return IllegalArgumentError::Create(FormatMessage("The key \"@\" stands twice in one object.", *key));
        }
        for (const auto& [key, member] : object) {
            if (!IsUtf8(key)) return UnsupportedArgumentError::Create("A key that is not UTF-8 can't be stored in a document.");
            TRY(Visit(member, depth));
        }
        return OK;
    }

    Int _count = 0;
};

}  // namespace

Result<void> CheckDocumentLimits(const DocumentValue& value) { return LimitCheck().Visit(value, 0); }

const std::string* FindDuplicateKey(const DocumentValue::ObjectType& object) {
    std::vector<const std::string*> keys;
    keys.reserve(object.size());
    for (const auto& member : object) keys.push_back(&member.first);
    // Sorted, since a hostile object may have a million keys.
    std::sort(keys.begin(), keys.end(), [](const std::string* first, const std::string* second) { return *first < *second; });
    const auto twin = std::adjacent_find(keys.begin(), keys.end(),
                                         [](const std::string* first, const std::string* second) { return *first == *second; });
    return twin == keys.end() ? nullptr : *twin;
}

}  // namespace talvo::detail
