#include "kernel/io/streams.h"

#include <openssl/evp.h>

#include <array>
#include <atomic>
#include <memory>
#include <semaphore>
#include <string>
#include <system_error>
#include <thread>
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

// Below these a thread is not worth its making, or its waking.
constexpr Int64 BYTES_BEFORE_HELPER = Int64(8) << 20;
constexpr std::size_t SMALLEST_SHARED_BLOCK = std::size_t(128) << 10;

Bool AddToHash(EVP_MD_CTX* context, std::string_view bytes) { return EVP_DigestUpdate(context, bytes.data(), bytes.size()) == 1; }

/// Hashes on a thread of its own what its owner writes meanwhile. Blocks are copied, so that neither waits for the other at each one.
class HashHelper {
public:
    /// Throws std::system_error where there is no thread to be had.
    explicit HashHelper(EVP_MD_CTX* context) : _context(context), _thread([this] { Work(); }) {}
    ~HashHelper() { Finish(); }

    /// Throws std::bad_alloc; then the block counts as not added.
    void Add(std::string_view bytes) {
        _free.acquire();
        try {
            _blocks[_added % BLOCKS].assign(bytes);
        } catch (...) {
            _free.release();
            throw;
        }
        ++_added;
        _filled.release();
    }
    /// Waits until all is hashed. @return whether that went well.
    Bool Finish() {
        if (_thread.joinable()) {
            _ends.store(true);
            _filled.release();
            _thread.join();
        }
        return _isSound;
    }

private:
    static constexpr std::size_t BLOCKS = 8;

    void Work() {
        for (std::size_t next = 0;; ++next) {
            _filled.acquire();
            // The one that comes without a block is the last.
            if (_ends.load() && next == _added) return;
            _isSound = AddToHash(_context, _blocks[next % BLOCKS]) && _isSound;
            _free.release();
        }
    }

    EVP_MD_CTX* const _context;
    std::array<std::string, BLOCKS> _blocks;
    std::size_t _added = 0;  // of the owner; read by the thread once the end was told
    Bool _isSound = true;    // of the thread; read by the owner when it has ended
    std::atomic<Bool> _ends{false};
    std::counting_semaphore<BLOCKS> _free{BLOCKS};
    std::counting_semaphore<BLOCKS + 1> _filled{0};
    std::thread _thread;  // the last one: it uses all the others
};

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
        _outcome = CatchOutOfMemory([&] { return WriteBoth(bytes); });
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
        StartHelperIfLong(bytes);
        if (_helper) _helper->Add(bytes);
        TRY(_target->Write(bytes));
        if (!_helper && !AddToHash(_context.get(), bytes)) return MakeHashError();
        _hashedBytes += Int64(bytes.size());
        return OK;
    }
    /// Where there is no thread it takes longer only.
    void StartHelperIfLong(std::string_view bytes) {
        if (_helper || _hashedBytes < BYTES_BEFORE_HELPER || bytes.size() < SMALLEST_SHARED_BLOCK) return;
        try {
            _helper = std::make_unique<HashHelper>(_context.get());
        } catch (const std::system_error&) {
            _hashedBytes = 0;  // tried again much later
        }
    }
    Result<void> SetDigest() {
        std::array<char, EVP_MAX_MD_SIZE> bytes;
        unsigned length = 0;
        if (_helper && !_helper->Finish()) return MakeHashError();
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
    Int64 _hashedBytes = 0;
    Bool _closed = false;
    std::unique_ptr<HashHelper> _helper;  // ends before the context does
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
