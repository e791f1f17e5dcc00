// How the bytes of a text are kept: short ones in place, long ones counted and copied before they are changed.
#include "kernel/text/string.h"

#include <algorithm>
#include <atomic>
#include <cstring>
#include <new>

namespace talvo::detail {

/// Head of a block; the bytes follow it.
struct TextBody {
    std::atomic<UInt32> references{1};
    std::size_t length = 0;
    std::size_t capacity = 0;

    char* GetBytes() { return reinterpret_cast<char*>(this + 1); }

    static TextBody* Create(std::size_t capacity) {
        if (capacity > SIZE_MAX / 2) throw std::bad_alloc();
        auto* body = new (::operator new(sizeof(TextBody) + capacity)) TextBody;
        body->capacity = capacity;
        return body;
    }
    void AddReference() { references.fetch_add(1, std::memory_order_relaxed); }
    void ReleaseReference() {
        if (references.fetch_sub(1, std::memory_order_acq_rel) != 1) return;
        this->~TextBody();
        ::operator delete(this);
    }
    Bool IsShared() const { return references.load(std::memory_order_acquire) != 1; }
};

namespace {

void CopyBytes(char* target, const char* source, std::size_t count) {
    if (count) std::memmove(target, source, count);
}

}  // namespace

TextBody* TextStorage::GetBody() const {
    TextBody* body;
    std::memcpy(&body, _bytes, sizeof(body));
    return body;
}

void TextStorage::SetBody(TextBody* body) {
    std::memcpy(_bytes, &body, sizeof(body));
    _length = HEAP;
}

TextStorage::TextStorage(std::string_view bytes) {
    if (bytes.size() <= INLINE_CAPACITY) {
        CopyBytes(_bytes, bytes.data(), bytes.size());
        _length = UChar(bytes.size());
        return;
    }
    TextBody* body = TextBody::Create(bytes.size());
    CopyBytes(body->GetBytes(), bytes.data(), bytes.size());
    body->length = bytes.size();
    SetBody(body);
}

TextStorage::TextStorage(const TextStorage& other) : _tag(other._tag), _length(other._length) {
    std::memcpy(_bytes, other._bytes, sizeof(_bytes));
    if (_length == HEAP) GetBody()->AddReference();
}

TextStorage::TextStorage(TextStorage&& other) noexcept : _tag(other._tag), _length(other._length) {
    std::memcpy(_bytes, other._bytes, sizeof(_bytes));
    other._tag = 0;
    other._length = 0;
}

TextStorage::~TextStorage() {
    if (_length == HEAP) GetBody()->ReleaseReference();
}

TextStorage& TextStorage::operator=(TextStorage other) noexcept {
    std::swap(_bytes, other._bytes);
    std::swap(_tag, other._tag);
    std::swap(_length, other._length);
    return *this;
}

std::string_view TextStorage::GetView() const {
    if (_length != HEAP) return {_bytes, _length};
    TextBody* body = GetBody();
    return {body->GetBytes(), body->length};
}

void TextStorage::Assign(std::string_view bytes) {
    TextStorage fresh(bytes);
    fresh._tag = _tag;
    *this = std::move(fresh);
}

void TextStorage::Replace(std::size_t position, std::size_t count, std::string_view bytes) {
    const std::string_view old = GetView();
    const std::size_t length = old.size() - count + bytes.size();
    const std::size_t tail = old.size() - position - count;
    const Bool overlaps = std::less_equal<>()(old.data(), bytes.data()) && std::less<>()(bytes.data(), old.data() + old.size());
    const Bool inHeap = _length == HEAP;
    const Bool inPlace =
        !overlaps && (inHeap ? !GetBody()->IsShared() && length <= GetBody()->capacity : length <= INLINE_CAPACITY);
    if (inPlace) {
        char* const target = inHeap ? GetBody()->GetBytes() : _bytes;
        CopyBytes(target + position + bytes.size(), target + position + count, tail);
        CopyBytes(target + position, bytes.data(), bytes.size());
        if (inHeap) {
            GetBody()->length = length;
        } else {
            _length = UChar(length);
        }
        return;
    }
    TextStorage fresh;
    fresh._tag = _tag;
    char* target = fresh._bytes;
    if (length > INLINE_CAPACITY) {
        // Half as much again for a text that grows, so that many appends cost no more than one copy each.
        TextBody* body =
            TextBody::Create(std::max(length, length > old.size() && !old.empty() ? old.size() + old.size() / 2 : 0));
        body->length = length;
        fresh.SetBody(body);
        target = body->GetBytes();
    } else {
        fresh._length = UChar(length);
    }
    CopyBytes(target, old.data(), position);
    CopyBytes(target + position, bytes.data(), bytes.size());
    CopyBytes(target + position + bytes.size(), old.data() + position + count, tail);
    *this = std::move(fresh);
}

}  // namespace talvo::detail
