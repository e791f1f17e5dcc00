// Unicode text: UTF-8 inside, positions in characters, copy on write.
#pragma once

#include "kernel/base/array.h"
#include "kernel/base/id.h"
#include "kernel/base/object.h"
#include "kernel/base/result.h"
#include "kernel/base/types.h"

#include <compare>
#include <string>
#include <string_view>

namespace talvo {

namespace detail {
struct TextBody;

/// Bytes in place up to 22, else in a counted body that is copied before it is changed. What String and CString share.
class TextStorage {
public:
    TextStorage() = default;
    explicit TextStorage(std::string_view bytes);
    TextStorage(const TextStorage& other);
    TextStorage(TextStorage&& other) noexcept;
    ~TextStorage();
    TextStorage& operator=(TextStorage other) noexcept;

    std::string_view GetView() const;
    void Assign(std::string_view bytes);
    /// Replaces `count` bytes at `position`. `bytes` may lie inside this text.
    void Replace(std::size_t position, std::size_t count, std::string_view bytes);

    /// One byte that the owner may use; copied and moved with the text, 0 in an empty one.
    UChar GetTag() const { return _tag; }
    void SetTag(UChar tag) { _tag = tag; }

private:
    static constexpr std::size_t INLINE_CAPACITY = 22;
    static constexpr UChar HEAP = 0xff;

    TextBody* GetBody() const;
    void SetBody(TextBody* body);

    alignas(TextBody*) char _bytes[INLINE_CAPACITY] = {};  // the text, or the pointer to its body
    UChar _tag = 0;
    UChar _length = 0;  // HEAP: there is a body
};
static_assert(sizeof(TextStorage) == 24);
}  // namespace detail

/// Text in Unicode. Holds valid UTF-8 only: bytes that are none become U+FFFD on the way in.
///
/// Positions and lengths are in characters (code points); with ASCII only text they cost nothing, else O(length).
/// Throws std::bad_alloc if memory is out. Threads: as a plain value; copies may go to other threads.
class String {
public:
    static constexpr Int NOT_FOUND = -1;

    String() = default;
    String(const char* utf8) : String(std::string_view(utf8)) {}
    String(const std::string& utf8) : String(std::string_view(utf8)) {}
    explicit String(std::string_view utf8);
    static String FromId(const Id& id) { return String(id.GetView()); }
    static String FromUtf32(Block<const Utf32Char> characters);

    Bool IsEmpty() const { return GetView().empty(); }
    Bool IsPopulated() const { return !IsEmpty(); }
    Bool IsAscii() const { return _storage.GetTag() == 0; }
    Int GetLength() const;
    /// The UTF-8 bytes; valid until the text changes.
    std::string_view GetView() const { return _storage.GetView(); }
    std::string GetCString() const { return std::string(GetView()); }
    BaseArray<Utf32Char> GetUtf32() const;

    /// The character, or 0 outside of the text. Changes outside of the text do nothing.
    Utf32Char GetChar(Int position) const;
    void SetChar(Int position, Utf32Char character);
    String& Append(const String& text);
    /// What is no character (surrogates, beyond U+10FFFF) becomes U+FFFD here and in SetChar and FromUtf32.
    String& AppendChar(Utf32Char character);
    /// Positions and counts are clamped to the text, as in GetPart.
    void Insert(Int position, const String& text);
    void Erase(Int position, Int count);
    /// Clamped to the text. @param count -1: to the end.
    String GetPart(Int position, Int count = -1) const;
    /// Position of the first `text` from `from` on, or NOT_FOUND.
    Int FindIndex(const String& text, Int from = 0) const;
    Int FindLastIndex(const String& text) const;
    /// Position of `upperText`, which is in upper case, in this text without regard to case, or NOT_FOUND.
    Int FindUpperIndex(const String& upperText, Int from = 0) const;
    /// Simple mapping: one character to one.
    String ToUpper() const;
    String ToLower() const;
    /// Without characters of code 32 or less at that end.
    String TrimLeft() const;
    String TrimRight() const;
    String Trim() const { return TrimLeft().TrimRight(); }
    enum class SPLIT { KEEP_EMPTY, DROP_EMPTY };
    /// An empty separator does not split.
    BaseArray<String> Split(const String& separator, SPLIT mode) const;
    /// Each occurrence, from the front; an empty `what` changes nothing.
    String Replace(const String& what, const String& with) const;
    Bool StartsWith(const String& text) const { return GetView().starts_with(text.GetView()); }
    Bool EndsWith(const String& text) const { return GetView().ends_with(text.GetView()); }

    /// XXH3-64 of the UTF-8 bytes: may be stored.
    UInt GetUniqueHashCode() const;

    friend String operator+(String first, const String& second) { return std::move(first.Append(second)); }
    String& operator+=(const String& text) { return Append(text); }
    friend Bool operator==(const String& first, const String& second) { return first.GetView() == second.GetView(); }
    friend std::strong_ordering operator<=>(const String& first, const String& second) {
        return first.GetView().compare(second.GetView()) <=> 0;
    }
    template <typename H>
    friend H AbslHashValue(H state, const String& text) {
        return H::combine(std::move(state), text.GetView().size(), HashBytes(text.GetView()));
    }

private:
    static UInt HashBytes(std::string_view bytes);
    std::size_t ToOffset(Int position) const;
    Int ToPosition(std::size_t offset) const;

    void SetAscii(Bool ascii) { _storage.SetTag(ascii ? 0 : 1); }
    /// Text of bytes that are known to be UTF-8.
    static String FromValid(std::string_view utf8, Bool ascii);
    String Without(std::size_t atFront, std::size_t atEnd) const;

    detail::TextStorage _storage;  // its tag: 0 if there is ASCII only
};

/// 8-bit text: any bytes, positions in bytes. Same rules otherwise.
class CString {
public:
    CString() = default;
    CString(const char* bytes) : _storage(std::string_view(bytes)) {}
    explicit CString(std::string_view bytes) : _storage(bytes) {}

    Bool IsEmpty() const { return GetView().empty(); }
    Bool IsPopulated() const { return !IsEmpty(); }
    Int GetLength() const { return Int(GetView().size()); }
    std::string_view GetView() const { return _storage.GetView(); }
    CString& Append(std::string_view bytes);

    friend Bool operator==(const CString& first, const CString& second) { return first.GetView() == second.GetView(); }
    friend std::strong_ordering operator<=>(const CString& first, const CString& second) {
        return first.GetView().compare(second.GetView()) <=> 0;
    }
    template <typename H>
    friend H AbslHashValue(H state, const CString& text) {
        return H::combine(std::move(state), text.GetView());
    }

private:
    detail::TextStorage _storage;
};

/// True if `bytes` are well-formed UTF-8 (RFC 3629).
Bool IsUtf8(std::string_view bytes);
/// `bytes` with U+FFFD for each malformed sequence.
std::string MakeUtf8(std::string_view bytes);

}  // namespace talvo
