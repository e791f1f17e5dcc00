#include "kernel/base/uuid.h"

#include <sys/random.h>

#include <algorithm>
#include <cerrno>
#include <cstring>

namespace talvo {

namespace {

constexpr std::string_view HYPHENS_FORM = "xxxxxxxx-xxxx-xxxx-xxxx-xxxxxxxxxxxx";

int DigitValue(char digit) {
    if (digit >= '0' && digit <= '9') return digit - '0';
    if (digit >= 'a' && digit <= 'f') return digit - 'a' + 10;
    if (digit >= 'A' && digit <= 'F') return digit - 'A' + 10;
    return -1;
}

ErrorRef MalformedUuid(std::string_view text) {
    return IllegalArgumentError::Create("\"" + std::string(text.substr(0, 80)) +
                                        "\" is no UUID. Give 36 characters of the form " + std::string(HYPHENS_FORM) + ".");
}

}  // namespace

Result<Uuid> Uuid::CreateId() {
    Uuid uuid;
    std::size_t done = 0;
    while (done < uuid._bytes.size()) {
        const ssize_t got = getrandom(uuid._bytes.data() + done, uuid._bytes.size() - done, 0);
        if (got >= 0) {
            done += std::size_t(got);
        } else if (errno != EINTR) {
            return SystemError::Create(std::string("The system gives no random numbers for a UUID: ") + std::strerror(errno) +
                                       ".");
        }
    }
    return uuid;
}

Result<Uuid> Uuid::Create(std::string_view text) {
    if (text.size() != HYPHENS_FORM.size()) return MalformedUuid(text);
    Uuid uuid;
    std::size_t nibble = 0;
    for (std::size_t i = 0; i < text.size(); ++i) {
        if (HYPHENS_FORM[i] == '-') {
            if (text[i] != '-') return MalformedUuid(text);
            continue;
        }
        const int value = DigitValue(text[i]);
        if (value < 0) return MalformedUuid(text);
        uuid._bytes[nibble / 2] = UChar(uuid._bytes[nibble / 2] << 4 | value);
        ++nibble;
    }
    return uuid;
}

Bool Uuid::IsEmpty() const { return *this == Uuid(); }

std::string Uuid::ToCompactString() const {
    static constexpr char DIGITS[] = "0123456789abcdef";
    std::string text;
    text.reserve(2 * _bytes.size());
    for (const UChar byte : _bytes) {
        text += DIGITS[byte >> 4];
        text += DIGITS[byte & 15];
    }
    return text;
}

std::string Uuid::ToString() const {
    std::string text = ToCompactString();
    for (const std::size_t position : {8, 13, 18, 23}) text.insert(position, 1, '-');
    return text;
}

Result<Id> IdHelper::MakeUuid(std::string_view prefix, UUID_FORM form) {
    const Uuid uuid = TRY(Uuid::CreateId());
    std::string text(prefix);
    if (!prefix.empty()) text += '_';
    text += form == UUID_FORM::COMPACT ? uuid.ToCompactString() : uuid.ToString();
    return Id::Create(text);
}

}  // namespace talvo
