#include "kernel/text/utf8.h"

#include "kernel/text/string.h"

#include <cstring>

namespace talvo {

namespace detail {

namespace {

/// What a first byte says: how many bytes follow, its bits of the character, and the range of the second byte, which is
/// what shuts out overlong forms, surrogates and values beyond U+10FFFF.
struct Lead {
    UInt32 following = 0;
    UInt32 bits = 0;
    UChar secondFrom = 0x80;
    UChar secondTo = 0xbf;
};

Bool ReadLead(UChar byte, Lead& lead) {
    if (byte >= 0xc2 && byte <= 0xdf) {
        lead = {1, byte & 0x1fu, 0x80, 0xbf};
    } else if (byte >= 0xe0 && byte <= 0xef) {
        lead = {2, byte & 0x0fu, UChar(byte == 0xe0 ? 0xa0 : 0x80), UChar(byte == 0xed ? 0x9f : 0xbf)};
    } else if (byte >= 0xf0 && byte <= 0xf4) {
        lead = {3, byte & 0x07u, UChar(byte == 0xf0 ? 0x90 : 0x80), UChar(byte == 0xf4 ? 0x8f : 0xbf)};
    } else {
        return false;
    }
    return true;
}

}  // namespace

DecodedChar DecodeChar(std::string_view bytes) {
    const UChar first = UChar(bytes[0]);
    if (first < 0x80) return {first, 1, true};
    Lead lead;
    if (!ReadLead(first, lead)) return {};
    Utf32Char character = lead.bits;
    for (UInt32 i = 1; i <= lead.following; ++i) {
        const UChar from = i == 1 ? lead.secondFrom : 0x80;
        const UChar to = i == 1 ? lead.secondTo : 0xbf;
        if (i >= bytes.size() || UChar(bytes[i]) < from || UChar(bytes[i]) > to) return {REPLACEMENT_CHARACTER, i, false};
        character = character << 6 | (UChar(bytes[i]) & 0x3fu);
    }
    return {character, lead.following + 1, true};
}

void AppendChar(std::string& bytes, Utf32Char character) {
    if (character > 0x10ffff || (character >= 0xd800 && character <= 0xdfff)) character = REPLACEMENT_CHARACTER;
    const auto append = [&](UInt32 byte) { bytes += char(UChar(byte)); };
    if (character < 0x80) {
        append(character);
    } else if (character < 0x800) {
        append(0xc0 | character >> 6);
        append(0x80 | (character & 0x3f));
    } else if (character < 0x10000) {
        append(0xe0 | character >> 12);
        append(0x80 | (character >> 6 & 0x3f));
        append(0x80 | (character & 0x3f));
    } else {
        append(0xf0 | character >> 18);
        append(0x80 | (character >> 12 & 0x3f));
        append(0x80 | (character >> 6 & 0x3f));
        append(0x80 | (character & 0x3f));
    }
}

Bool IsAsciiOnly(std::string_view bytes) {
    std::size_t i = 0;
    for (; i + sizeof(UInt64) <= bytes.size(); i += sizeof(UInt64)) {
        UInt64 word;
        std::memcpy(&word, bytes.data() + i, sizeof(word));
        if (word & 0x8080808080808080) return false;
    }
    for (; i < bytes.size(); ++i) {
        if (UChar(bytes[i]) >= 0x80) return false;
    }
    return true;
}

}  // namespace detail

Bool IsUtf8(std::string_view bytes) {
    if (detail::IsAsciiOnly(bytes)) return true;  // nearly always, and found out eight bytes at a time
    while (!bytes.empty()) {
        const detail::DecodedChar next = detail::DecodeChar(bytes);
        if (!next.valid) return false;
        bytes.remove_prefix(next.length);
    }
    return true;
}

std::string MakeUtf8(std::string_view bytes) {
    std::string result;
    result.reserve(bytes.size());
    while (!bytes.empty()) {
        const detail::DecodedChar next = detail::DecodeChar(bytes);
        if (next.valid) {
            result.append(bytes.substr(0, next.length));
        } else {
            detail::AppendChar(result, detail::REPLACEMENT_CHARACTER);
        }
        bytes.remove_prefix(next.length);
    }
    return result;
}

}  // namespace talvo
