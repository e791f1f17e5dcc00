#include "kernel/io/streams.h"

#include <openssl/evp.h>

#include <array>
#include <memory>
#include <utility>

namespace talvo {

namespace {

/// Fetched once: looking it up costs more than hashing a small file.
const EVP_MD* GetSha256() {
    static EVP_MD* const algorithm = EVP_MD_fetch(nullptr, "SHA256", nullptr);
    return algorithm;
}

struct ContextDeleter {
    void operator()(EVP_MD_CTX* context) const { EVP_MD_CTX_free(context); }
};
using Context = std::unique_ptr<EVP_MD_CTX, ContextDeleter>;

ErrorRef MakeHashError() {
    return UnknownError::Create("The library for SHA-256 refused to work. Check the OpenSSL configuration.");
}

/// Once a write has failed, the digest would be that of other bytes than were written: there is none then.
class HashingOutputStream final : public OutputStream {
public:
    HashingOutputStream(OutputStreamRef target, Context context, std::string& digest)
        : _target(std::move(target)), _context(std::move(context)), _digest(digest) {}

    Int64 GetStreamLength() const override { return _target->GetStreamLength(); }
    Int64 GetPosition() const override { return _target->GetPosition(); }
    Result<void> Flush() override { return _target->Flush(); }
    String GetName() const override { return _target->GetName(); }

    Result<void> Write(std::string_view bytes) override {
        if (_outcome.IsError()) return _outcome;
        _outcome = WriteBoth(bytes);
        return _outcome;
    }
    Result<void> Close() override {
        if (_closed) return _outcome;
        _closed = true;
        const Result<void> closed = _target->Close();
        if (_outcome.IsOk()) _outcome = closed;
        if (_outcome.IsOk()) _outcome = SetDigest();
        return _outcome;
    }

private:
    Result<void> WriteBoth(std::string_view bytes) {
        TRY(_target->Write(bytes));
        if (EVP_DigestUpdate(_context.get(), bytes.data(), bytes.size()) != 1) return MakeHashError();
        return OK;
    }
    Result<void> SetDigest() {
        std::array<char, EVP_MAX_MD_SIZE> bytes;
        unsigned length = 0;
        if (EVP_DigestFinal_ex(_context.get(), reinterpret_cast<unsigned char*>(bytes.data()), &length) != 1)
            return MakeHashError();
        return CatchOutOfMemory([&]() -> Result<void> {
            _digest.assign(bytes.data(), length);
            return OK;
        });
    }

    const OutputStreamRef _target;
    const Context _context;
    std::string& _digest;
    Result<void> _outcome;
    Bool _closed = false;
};

}  // namespace

Result<OutputStreamRef> CreateHashingOutputStream(OutputStreamRef target, std::string& digest) {
    if (!target) return NullptrError::Create("A hashing stream needs a stream to write to.");
    Context context(EVP_MD_CTX_new());
    if (!GetSha256() || !context || EVP_DigestInit_ex2(context.get(), GetSha256(), nullptr) != 1) return MakeHashError();
    return CatchOutOfMemory([&]() -> Result<OutputStreamRef> {
        return OutputStreamRef(new HashingOutputStream(std::move(target), std::move(context), digest));
    });
}

}  // namespace talvo
