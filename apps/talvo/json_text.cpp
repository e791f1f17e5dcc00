#include "apps/talvo/json_text.h"

#include "kernel/data/base64.h"

#include <nlohmann/json.hpp>

namespace talvo::JsonText {

namespace {

using Json = nlohmann::ordered_json;

Json ToJson(const DocumentValue& value);

struct JsonMaker {
    Json operator()(std::monostate) const { return nullptr; }
    Json operator()(const DocumentValue::Blob& blob) const { return Json{{"base64", EncodeBase64(blob.bytes)}}; }
    Json operator()(const DocumentValue::ArrayType& values) const {
        Json array = Json::array();
        for (const DocumentValue& value : values) array.push_back(ToJson(value));
        return array;
    }
    Json operator()(const DocumentValue::ObjectType& members) const {
        Json object = Json::object();
        for (const auto& [key, value] : members) object[key] = ToJson(value);
        return object;
    }
    template <typename T>
    Json operator()(const T& plain) const {
        return plain;
    }
};

Json ToJson(const DocumentValue& value) { return std::visit(JsonMaker(), value.GetVariant()); }

}  // namespace

std::string Write(const DocumentValue& value) { return ToJson(value).dump(-1, ' ', false, Json::error_handler_t::replace); }

}  // namespace talvo::JsonText
