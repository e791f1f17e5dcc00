// Messages from templates in which each "@" takes one argument.
#pragma once

#include "kernel/base/array.h"
#include "kernel/base/date_time.h"
#include "kernel/base/id.h"
#include "kernel/base/uuid.h"
#include "kernel/text/string.h"

#include <array>
#include <string>
#include <string_view>
#include <type_traits>

namespace talvo {

// The text form of an argument. A type with `String ToString() const` needs nothing more; others overload ToText.
inline std::string ToText(std::string_view text) { return std::string(text); }
inline std::string ToText(const std::string& text) { return text; }
inline std::string ToText(const char* text) { return text; }
inline std::string ToText(const String& text) { return std::string(text.GetView()); }
inline std::string ToText(const CString& text) { return std::string(text.GetView()); }
inline std::string ToText(const Id& id) { return std::string(id.GetView()); }
inline std::string ToText(const InternedId& id) { return std::string(id.GetView()); }
inline std::string ToText(Bool value) { return value ? "true" : "false"; }
inline std::string ToText(UniversalDateTime time) { return time.Format(); }
inline std::string ToText(const Uuid& uuid) { return uuid.ToString(); }
std::string ToText(char value);
std::string ToText(Int64 value);
std::string ToText(UInt64 value);
inline std::string ToText(Int32 value) { return ToText(Int64(value)); }
inline std::string ToText(UInt32 value) { return ToText(UInt64(value)); }
/// The shortest text that reads back as the same number; never depends on the locale.
std::string ToText(Float64 value);
template <typename T>
    requires requires(const T& value) {
        { value.ToString() } -> std::convertible_to<String>;
    }
std::string ToText(const T& value) {
    return ToText(String(value.ToString()));
}
template <typename T>
    requires requires(const T& value) { value->ToString(); }
std::string ToText(const T& reference) {
    return reference ? ToText(reference->ToString()) : "nullptr";
}

/// Fills `pattern`: each "@" in order takes one argument; "@@" is a literal "@"; "@{format}" takes an argument with a format
/// ("x" hexadecimal, "04" zero-padded width), "@{}" one without. An "@" inside an argument stays as it is. Missing arguments leave their "@", extra ones are dropped.
std::string FormatText(std::string_view pattern, Block<const std::string> arguments);

template <typename... ARGS>
std::string FormatMessage(std::string_view pattern, const ARGS&... args) {
    const std::array<std::string, sizeof...(ARGS)> texts{ToText(args)...};
    return FormatText(pattern, Block<const std::string>(texts.data(), texts.size()));
}

/// Like FormatMessage, as a String.
template <typename... ARGS>
String FormatString(std::string_view pattern, const ARGS&... args) {
    return String(FormatMessage(pattern, args...));
}

}  // namespace talvo
