// Documents: one value and its root id, in JSON or binary form.
#pragma once

#include "kernel/data/data.h"

#include <string>
#include <string_view>

namespace talvo {

enum class DOCUMENT_FORMAT : Int32 {
    BINARY = 1,  ///< little endian, checked by a checksum
    JSON = 5     ///< for people and version control
};

/// Limits that keep hostile documents harmless. Levels are lists, objects and bytes, those around the value not counted.
inline constexpr Int MAX_DOCUMENT_DEPTH = 64;
inline constexpr Int64 MAX_DOCUMENT_SIZE = Int64(64) << 20;
/// A value takes 2 bytes in a file and 40 in memory: this bounds the latter.
inline constexpr Int MAX_DOCUMENT_VALUES = Int(8) << 20;

/// The bytes of a document with `data` under `rootId`.
/// JSON: `{"root": ..., "format": 1, "type": ..., "value": ...}`, 2-space indent, stable key order, integers exact, bytes that
/// are not UTF-8 as `{"base64": ...}`, line end at the end. Binary: magic, version, root, type, length, payload (tagged values),
/// XXH3-64 of all before it. docs/formats-documents.md describes both. The empty value has the empty type and null.
/// Errors: UnsupportedArgumentError if the value can't be stored (its type, NaN, infinity), IllegalArgumentError over the limits.
Result<std::string> WriteDocumentText(const Data& data, const Id& rootId, DOCUMENT_FORMAT format);

/// Reads either form; the first bytes tell which. @param name shown in messages.
/// Errors: FileFormatError that names `name`: malformed, cut short, another root, over the limits, wrong checksum.
Result<Data> ReadDocumentText(std::string_view bytes, const Id& rootId, std::string_view name);

}  // namespace talvo
