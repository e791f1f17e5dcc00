#include "kernel/io/streams.h"

#include "kernel/io/file_utilities.h"
#include "support/result_matchers.h"
#include "support/scratch_directory.h"

#include <gtest/gtest.h>
#include <unistd.h>

#include <string>
#include <vector>

namespace talvo {
namespace {

/// An output stream that breaks where the test wants it to.
class BreakingStream final : public OutputStream {
public:
    enum class BREAK { IN_WRITE, IN_CLOSE };
    explicit BreakingStream(BREAK where) : _where(where) {}
    Int64 GetPosition() const override { return 0; }
    String GetName() const override { return "breaking"; }
    Result<void> Write(std::string_view) override {
        if (_where == BREAK::IN_WRITE && ++_writes == 2) return IoError::Create("broken write");
        return OK;
    }
    Result<void> Close() override {
        if (_where == BREAK::IN_CLOSE) return IoError::Create("broken close");
        return OK;
    }

private:
    const BREAK _where;
    int _writes = 0;
};

/// Reads as much as asked for, but says that it were more.
class ShrinkingStream final : public InputStream {
public:
    Int64 GetStreamLength() const override { return 10; }
    Int64 GetPosition() const override { return _position; }
    Result<Int64> ReadEOS(Block<char> buffer) override {
        const Int64 count = std::min<Int64>(Int64(buffer.size()), 7 - _position);
        _position += count;
        return count;
    }
    Result<void> Close() override { return OK; }
    String GetName() const override { return "shrinking"; }

private:
    Int64 _position = 0;
};

std::string HashOf(std::string_view bytes, std::size_t step) {
    std::string digest = "unset";
    const OutputStreamRef stream = CreateHashingOutputStream(CreateNullOutputStream().GetValue(), digest).GetValue();
    for (std::size_t at = 0; at < bytes.size(); at += step) EXPECT_TRUE(Succeeds(stream->Write(bytes.substr(at, step))));
    EXPECT_EQ(digest, "unset") << "until Close";
    EXPECT_TRUE(Succeeds(stream->Close()));
    EXPECT_TRUE(Succeeds(stream->Close())) << "again is fine";
    return ToHex(digest);
}

TEST(HashingStream, GivesTheDigestsOfTheStandard) {
    const struct {
        std::string bytes;
        const char* digest;
    } cases[] = {
        {"", "e3b0c44298fc1c149afbf4c8996fb92427ae41e4649b934ca495991b7852b855"},
        {"abc", "ba7816bf8f01cfea414140de5dae2223b00361a396177a9cb410ff61f20015ad"},
        {"abcdbcdecdefdefgefghfghighijhijkijkljklmklmnlmnomnopnopq",
         "248d6a61d20638b8e5c026930c3e6039a33ce45964ff2167f6ecedd419db06c1"},
        {std::string(1000000, 'a'), "cdc76e5c9914fb9281a1c7e284d73e67f1809a48a497200e046d39ccc7112cd0"},
    };
    for (const auto& c : cases) {
        EXPECT_EQ(HashOf(c.bytes, 1 << 20), c.digest);
        EXPECT_EQ(HashOf(c.bytes, 977), c.digest) << "however it is cut";
    }
}

TEST(HashingStream, GivesTheSameDigestForLongStreams) {
    // Beyond some length a thread of its own hashes the blocks that are large enough.
    std::string bytes(std::size_t(20) << 20, '\0');
    for (std::size_t i = 0; i < bytes.size(); i += 4096) bytes[i] = char(i / 4096 * 31);
    const std::string digest = HashOf(bytes, 65536);
    EXPECT_EQ(HashOf(bytes, std::size_t(1) << 20), digest);
    EXPECT_EQ(HashOf(bytes, (std::size_t(128) << 10) + 1), digest);
}

TEST(HashingStream, GivesNoDigestForWhatWasNotWritten) {
    for (const auto where : {BreakingStream::BREAK::IN_WRITE, BreakingStream::BREAK::IN_CLOSE}) {
        std::string digest = "unset";
        const OutputStreamRef stream = CreateHashingOutputStream(OutputStreamRef(new BreakingStream(where)), digest).GetValue();
        EXPECT_TRUE(Succeeds(stream->Write("a")));
        stream->Write("b").Ignore("broken on purpose");
        stream->Write("c").Ignore("broken on purpose");
        EXPECT_TRUE(FailsWith<IoError>(stream->Close(), {"broken"}));
        EXPECT_TRUE(FailsWith<IoError>(stream->Close(), {"broken"}));
        EXPECT_EQ(digest, "unset");
    }
    std::string digest;
    EXPECT_TRUE(FailsWith<NullptrError>(CreateHashingOutputStream(nullptr, digest)));
}

TEST(CopyStream, CopiesTheRestWhateverItsLength) {
    for (const std::size_t length :
         {std::size_t(0), std::size_t(1), std::size_t(1) << 18, (std::size_t(1) << 18) + 1, std::size_t(700000)}) {
        std::string bytes(length, 'x');
        if (length > 0) bytes.back() = 'y';
        const InputStreamRef input = CreateStringInputStream("head" + bytes, "text").GetValue();
        EXPECT_EQ(input->Skip(4).GetValue(), 4);
        std::string copy;
        const OutputStreamRef output = CreateStringOutputStream(copy).GetValue();
        EXPECT_EQ(FileUtilities::CopyStream(*input, *output).GetValueOr(-1), Int64(length));
        EXPECT_EQ(copy == bytes, true) << length;
    }
}

TEST(CopyStream, NamesASourceThatShrinks) {
    ShrinkingStream& shrinking = *new ShrinkingStream;
    const InputStreamRef input(&shrinking);
    EXPECT_TRUE(
        FailsWith<IoError>(FileUtilities::CopyStream(*input, *CreateNullOutputStream().GetValue()), {"shrinking", "shorter"}));

    const ScratchDirectory scratch;
    scratch.Write("a", std::string(1000, 'x'));
    const InputStreamRef file = (scratch.GetUrl() + "a").OpenInputStream().GetValue();
    ASSERT_EQ(truncate((scratch / "a").c_str(), 10), 0);
    EXPECT_TRUE(
        FailsWith<IoError>(FileUtilities::CopyStream(*file, *CreateNullOutputStream().GetValue()), {scratch / "a", "shorter"}));
}

TEST(LineReader, KnowsAllLineEnds) {
    const struct {
        const char* text;
        std::vector<std::string> lines;
    } cases[] = {
        {"", {}},           {"a", {"a"}}, {"a\n", {"a"}}, {"a\n\nb", {"a", "", "b"}}, {"\n", {""}}, {"a\r\nb\r\n", {"a", "b"}},
        {"a\rb\r", {"ab"}},
    };
    for (const auto& c : cases) {
        LineReader reader(c.text);
        std::vector<std::string> lines;
        while (const Opt<std::string> line = reader.ReadLine()) lines.push_back(*line);
        EXPECT_EQ(lines, c.lines) << testing::PrintToString(c.text);
    }
}

}  // namespace
}  // namespace talvo
