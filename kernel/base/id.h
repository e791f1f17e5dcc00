// Identifiers: dotted texts such as `net.talvo.assettype.file` that are compared by one word first.
#pragma once

#include "kernel/base/types.h"

#include <compare>
#include <string_view>
#include <utility>

namespace talvo {

template <typename T>
class Result;

/// Immutable identifier. Holds a pointer to its bytes and a word of length and hash:
/// `length << 44 | h mod 2^43`, `h = h * 31 + byte`. Bit 43 says that the text is owned and counted.
///
/// Two different texts may have one word (`Aa` and `BB`), so equality also compares bytes. Order is by bytes.
/// Threads: copies are safe from any thread.
class Id {
public:
    static constexpr UInt OWNED_BIT = 0x80000000000;
    static constexpr UInt HASH_MASK = OWNED_BIT - 1;
    static constexpr UInt MAX_LENGTH = (UInt(1) << 20) - 1;

    /// The null id: the empty text.
    constexpr Id() = default;
    constexpr Id(const Id& other) : _text(other._text), _word(other._word) {
        if (_word & OWNED_BIT) AddReference();
    }
    constexpr Id(Id&& other) noexcept : _text(std::exchange(other._text, "")), _word(std::exchange(other._word, 0)) {}
    constexpr ~Id() {
        if (_word & OWNED_BIT) ReleaseReference();
    }
    constexpr Id& operator=(Id other) noexcept {
        std::swap(_text, other._text);
        std::swap(_word, other._word);
        return *this;
    }

    /// An id with a copy of `text`; the empty text gives the null id.
    /// Errors: IllegalArgumentError if the text has 2^20 bytes or more. Throws std::bad_alloc if memory is out.
    static Result<Id> Create(std::string_view text);

    constexpr Bool IsPopulated() const { return _word != 0; }
    constexpr Bool IsEmpty() const { return _word == 0; }
    constexpr UInt GetLength() const { return _word >> 44; }
    /// The word without the bit that says who owns the text.
    constexpr UInt GetWord() const { return _word & ~OWNED_BIT; }
    /// The bytes; ends with a NUL behind its last byte.
    constexpr std::string_view GetView() const { return std::string_view(_text, GetLength()); }

    friend constexpr Bool operator==(const Id& first, const Id& second) {
        return first.GetWord() == second.GetWord() && (first._text == second._text || first.GetView() == second.GetView());
    }
    friend constexpr std::strong_ordering operator<=>(const Id& first, const Id& second) {
        const int order = first.GetView().compare(second.GetView());
        return order <=> 0;
    }
    template <typename H>
    friend H AbslHashValue(H state, const Id& id) {
        return H::combine(std::move(state), id.GetWord());
    }

protected:
    static constexpr UInt MakeWord(std::string_view text) {
        UInt hash = 0;
        for (const char c : text) hash = hash * 31 + static_cast<UChar>(c);
        return UInt(text.size()) << 44 | (hash & HASH_MASK);
    }
    constexpr Id(const char* text, UInt word) : _text(text), _word(word) {}

private:
    void AddReference() const;
    void ReleaseReference() const;

    const char* _text = "";
    UInt _word = 0;
};

/// An id made at compile time, which owns nothing.
class LiteralId : public Id {
public:
    consteval LiteralId(const char* text) : Id(text, MakeWord(text)) {}
    consteval LiteralId(const char* text, std::size_t length) : Id(text, MakeWord(std::string_view(text, length))) {}
};

consteval LiteralId operator""_id(const char* text, std::size_t length) { return LiteralId(text, length); }

namespace detail {
struct InternedEntry;
}

/// An id kept once in one global table: equal ids share one entry and compare by its address.
///
/// Threads: any. Ownership: entries are counted and leave the table with their last holder, so that hostile input can't
/// fill it for ever.
class InternedId {
public:
    InternedId() = default;
    /// Throws std::bad_alloc if memory is out.
    explicit InternedId(const Id& id);
    InternedId(const LiteralId& id) : InternedId(static_cast<const Id&>(id)) {}
    InternedId(const InternedId& other);
    InternedId(InternedId&& other) noexcept : _entry(std::exchange(other._entry, nullptr)) {}
    ~InternedId();
    InternedId& operator=(InternedId other) noexcept {
        std::swap(_entry, other._entry);
        return *this;
    }

    /// The id; the null id for an InternedId that was made of none.
    const Id& GetId() const;
    std::string_view GetView() const { return GetId().GetView(); }
    Bool IsPopulated() const { return _entry != nullptr; }
    Bool IsEmpty() const { return _entry == nullptr; }

    /// The id in the table with the text of `id` if somebody holds one, else `id` itself; enters nothing. For ids that are read many times
    /// over: those that are well known then share one text.
    static Id FindSame(Id id);
    /// How many entries the global table holds now; for tests and diagnostics.
    static Int GetTableCount();

    friend Bool operator==(const InternedId& first, const InternedId& second) { return first._entry == second._entry; }
    /// Order by the bytes of the text, which is the same in each process.
    friend std::strong_ordering operator<=>(const InternedId& first, const InternedId& second) {
        return first.GetId() <=> second.GetId();
    }
    template <typename H>
    friend H AbslHashValue(H state, const InternedId& id) {
        return H::combine(std::move(state), static_cast<const void*>(id._entry));
    }

private:
    detail::InternedEntry* _entry = nullptr;
};

}  // namespace talvo
