#include "kernel/text/string.h"

#include "kernel/base/hashing.h"
#include "kernel/text/casing.h"
#include "kernel/text/utf8.h"

#include <algorithm>
#include <new>

namespace talvo {

namespace {

/// Value types have no way to report lack of memory but this one.
template <typename T>
void AppendTo(BaseArray<T>& array, T value) {
    if (array.Append(std::move(value)).IsError()) throw std::bad_alloc();
}

char ToUpperAscii(char c) { return c >= 'a' && c <= 'z' ? char(c - 'a' + 'A') : c; }

Bool IsBlank(char byte) { return UChar(byte) <= ' '; }

}  // namespace

String::String(std::string_view utf8) {
    const Bool ascii = detail::IsAsciiOnly(utf8);
    _storage = ascii || IsUtf8(utf8) ? detail::TextStorage(utf8) : detail::TextStorage(std::string_view(MakeUtf8(utf8)));
    SetAscii(ascii);
}

String String::FromValid(std::string_view utf8, Bool ascii) {
    String text;
    text._storage = detail::TextStorage(utf8);
    text.SetAscii(ascii);
    return text;
}

String String::FromUtf32(Block<const Utf32Char> characters) {
    std::string bytes;
    bytes.reserve(characters.size());
    for (const Utf32Char character : characters) detail::AppendChar(bytes, character);
    return FromValid(bytes, bytes.size() == characters.size());
}

std::size_t String::ToOffset(Int position) const {
    const std::string_view bytes = GetView();
    if (position <= 0) return 0;
    if (IsAscii()) return std::min(std::size_t(position), bytes.size());
    std::size_t offset = 0;
    for (; position > 0 && offset < bytes.size(); --position) {
        do {
            ++offset;
        } while (offset < bytes.size() && detail::IsContinuation(bytes[offset]));
    }
    return offset;
}

Int String::ToPosition(std::size_t offset) const {
    if (IsAscii()) return Int(offset);
    const std::string_view bytes = GetView().substr(0, offset);
    return Int(bytes.size()) - std::count_if(bytes.begin(), bytes.end(), detail::IsContinuation);
}

Int String::GetLength() const { return ToPosition(GetView().size()); }

BaseArray<Utf32Char> String::GetUtf32() const {
    BaseArray<Utf32Char> characters;
    for (std::string_view rest = GetView(); !rest.empty();) {
        const detail::DecodedChar next = detail::DecodeChar(rest);
        AppendTo(characters, next.character);
        rest.remove_prefix(next.length);
    }
    return characters;
}

Utf32Char String::GetChar(Int position) const {
    const std::size_t offset = ToOffset(position);
    if (position < 0 || offset >= GetView().size()) return 0;
    return detail::DecodeChar(GetView().substr(offset)).character;
}

void String::SetChar(Int position, Utf32Char character) {
    const std::size_t offset = ToOffset(position);
    if (position < 0 || offset >= GetView().size()) return;
    std::string bytes;
    detail::AppendChar(bytes, character);
    const UInt32 oldLength = detail::DecodeChar(GetView().substr(offset)).length;
    _storage.Replace(offset, oldLength, bytes);
    SetAscii(bytes.size() == 1 && (IsAscii() || detail::IsAsciiOnly(GetView())));
}

String& String::Append(const String& text) {
    const Bool ascii = IsAscii() && text.IsAscii();
    _storage.Replace(GetView().size(), 0, text.GetView());
    SetAscii(ascii);
    return *this;
}

String& String::AppendChar(Utf32Char character) { return Append(FromUtf32(Block<const Utf32Char>(&character, 1))); }

void String::Insert(Int position, const String& text) {
    const Bool ascii = IsAscii() && text.IsAscii();
    _storage.Replace(ToOffset(position), 0, text.GetView());
    SetAscii(ascii);
}

void String::Erase(Int position, Int count) {
    if (position < 0 || count <= 0) return;
    const std::size_t from = ToOffset(position);
    const std::size_t to = count > GetLength() - position ? GetView().size() : ToOffset(position + count);
    if (from >= to) return;
    _storage.Replace(from, to - from, {});
    SetAscii(IsAscii() || detail::IsAsciiOnly(GetView()));
}

String String::GetPart(Int position, Int count) const {
    if (position < 0) {
        // The part begins before the text: what lies there is cut off.
        count = count < 0 ? count : std::max(Int(0), count + position);
        position = 0;
    }
    const std::string_view bytes = GetView();
    const std::size_t from = ToOffset(position);
    const Bool toEnd = count < 0 || count > GetLength() - position;
    const std::size_t to = toEnd ? bytes.size() : ToOffset(position + count);
    return Without(from, bytes.size() - std::max(from, to));
}

String String::Without(std::size_t atFront, std::size_t atEnd) const {
    if (atFront == 0 && atEnd == 0) return *this;
    const std::string_view part = GetView().substr(atFront, GetView().size() - atFront - atEnd);
    return FromValid(part, IsAscii() || detail::IsAsciiOnly(part));
}

Int String::FindIndex(const String& text, Int from) const {
    if (from > 0 && from > GetLength()) return NOT_FOUND;
    const std::size_t found = GetView().find(text.GetView(), ToOffset(from));
    return found == std::string_view::npos ? NOT_FOUND : ToPosition(found);
}

Int String::FindLastIndex(const String& text) const {
    const std::size_t found = GetView().rfind(text.GetView());
    return found == std::string_view::npos ? NOT_FOUND : ToPosition(found);
}

Int String::FindUpperIndex(const String& upperText, Int from) const {
    // Upper case is one character to one, so that positions in the folded text are positions in this one. U+0131 and
    // U+017F become ASCII letters: only ASCII text may go without the tables.
    if (!IsAscii()) return ToUpper().FindIndex(upperText, from);
    if (!upperText.IsAscii() || (from > 0 && from > GetLength())) return NOT_FOUND;
    const std::string_view bytes = GetView();
    const std::string_view what = upperText.GetView();
    const auto found = std::search(bytes.begin() + std::ptrdiff_t(ToOffset(from)), bytes.end(), what.begin(), what.end(),
                                   [](char mine, char upper) { return ToUpperAscii(mine) == upper; });
    return found == bytes.end() && !what.empty() ? NOT_FOUND : Int(found - bytes.begin());
}

String String::ToUpper() const { return UnicodeUtils::UpperCase(*this); }

String String::ToLower() const { return UnicodeUtils::LowerCase(*this); }

String String::TrimLeft() const {
    const std::string_view bytes = GetView();
    const auto first = std::find_if_not(bytes.begin(), bytes.end(), IsBlank);
    return Without(std::size_t(first - bytes.begin()), 0);
}

String String::TrimRight() const {
    const std::string_view bytes = GetView();
    const auto last = std::find_if_not(bytes.rbegin(), bytes.rend(), IsBlank);
    return Without(0, std::size_t(last - bytes.rbegin()));
}

BaseArray<String> String::Split(const String& separator, SPLIT mode) const {
    BaseArray<String> parts;
    const auto append = [&](std::string_view part) {
        if (part.empty() && mode == SPLIT::DROP_EMPTY) return;
        AppendTo(parts, FromValid(part, IsAscii() || detail::IsAsciiOnly(part)));
    };
    const std::string_view mark = separator.GetView();
    std::string_view rest = GetView();
    for (std::size_t found; !mark.empty() && (found = rest.find(mark)) != std::string_view::npos;) {
        append(rest.substr(0, found));
        rest.remove_prefix(found + mark.size());
    }
    append(rest);
    return parts;
}

String String::Replace(const String& what, const String& with) const {
    const std::string_view mark = what.GetView();
    std::string_view rest = GetView();
    std::size_t found = mark.empty() ? std::string_view::npos : rest.find(mark);
    if (found == std::string_view::npos) return *this;
    std::string bytes;
    for (; found != std::string_view::npos; found = rest.find(mark)) {
        bytes.append(rest.substr(0, found)).append(with.GetView());
        rest.remove_prefix(found + mark.size());
    }
    bytes.append(rest);
    return FromValid(bytes, detail::IsAsciiOnly(bytes));
}

UInt String::GetUniqueHashCode() const { return GetStoredHash64(GetView()); }

UInt String::HashBytes(std::string_view bytes) { return GetStoredHash64(bytes); }

CString& CString::Append(std::string_view bytes) {
    _storage.Replace(GetView().size(), 0, bytes);
    return *this;
}

}  // namespace talvo
