// A small repository directory made from bytes: names and contents are mostly those that mean something, so that most inputs open.
#pragma once

#include "kernel/io/url.h"

#include <string>
#include <string_view>

namespace talvo {

/// Takes bytes off the front of an input; zeros when it is used up.
class ByteSource {
public:
    explicit ByteSource(std::string_view bytes) : _rest(bytes) {}
    Bool IsEmpty() const { return _rest.empty(); }
    UInt TakeByte();
    std::string_view Take(std::size_t length);
    /// One of a table's, or raw bytes, by the next byte.
    std::string TakeText(Block<const std::string_view> table);

private:
    std::string_view _rest;
};

/// Makes `root` a repository with what `source` says below it. Fewer steps than `source` has leave the rest in it.
void BuildTree(ByteSource& source, const Url& root, const Url& userTree);

/// An asset id of the same alphabet.
std::string TakeAssetId(ByteSource& source);

}  // namespace talvo
