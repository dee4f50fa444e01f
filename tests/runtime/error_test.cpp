#include "common/aptr.h"
#include "common/hexcept.h"
#include "common/stream/null_stream.h"
#include "tests/runtime/runtime.h"

#include <cstring>
#include <string>

namespace {

using ErrorTest = RuntimeTest;

int textCalls = 0;

const char* countedText() {
    ++textCalls;
    return "from the function";
}

const char* noText() {
    return nullptr;
}

TEST_F(ErrorTest, FreeTextIsKeptAndCut) {
    Thread::setLastError("x");
    EXPECT_EQ(Thread::getLastError(), 0x20000098u);
    EXPECT_STREQ(Thread::getErrorMessage(), "x");
    EXPECT_STREQ(Thread::getErrorSymbol(), "x");

    const std::string longText(500, 'y');
    Thread::setLastError(longText.c_str());
    EXPECT_EQ(Thread::getErrorMessage(), longText.substr(0, 400));
    Thread::setLastError(Thread::getErrorMessage() + 399); // a text in the buffer itself
    EXPECT_STREQ(Thread::getErrorMessage(), "y");

    Thread::setLastError(static_cast<const char*>(nullptr));
    EXPECT_EQ(Thread::getLastError(), HE_TEXT_SET);
    EXPECT_STREQ(Thread::getErrorMessage(), "");
}

TEST_F(ErrorTest, TextFunctionIsCalledOnce) {
    textCalls = 0;
    Thread::setLastError(countedText);
    EXPECT_EQ(Thread::getLastError(), 0x20000099u);
    EXPECT_STREQ(Thread::getErrorSymbol(), "from the function");
    EXPECT_STREQ(Thread::getErrorMessage(), "from the function");
    EXPECT_EQ(textCalls, 1);
    EXPECT_EQ(Thread::getLastError(), HE_TEXT_SET);

    Thread::setLastError(noText);
    EXPECT_STREQ(Thread::getErrorMessage(), "");
    Thread::setLastError(static_cast<Thread::ErrorFunc>(nullptr));
    EXPECT_EQ(Thread::getLastError(), 0u);
}

TEST_F(ErrorTest, CodesAndTextsOfTheTable) {
    const struct {
        unsigned code;
        const char* symbol;
        const char* message;
    } rows[] = {
        {0x20000000, "HE_BASE", "Unknown"},
        {0x20000002, "HE_THJOIN", "Thread is detached or not started"},
        {0x2000000E, "HE_SIGNATURE", "Bad file signature"},
        {0x2000001F, "HE_BADFILE", "Invalid file data"},
        {0x20000021, "HE_BASE", "Unknown"}, // two gaps
        {0x2000002D, "HE_SHUTDOWN", "Server is shutting down"},
        {0x20000038, "HE_BASE", "Unknown"},
        {0x20000073, "HE_LSN_ADDR_IN_USE", "Address already in use"},
        {0x20000096, "HE_SENT_RCPT_EXCEEDED", "Maximum number of sent recipients exceeded"},
        // The platform's codes, and codes past the last row, have the platform's sentence.
        {EINVAL, "HE_INVAL", strerror(EINVAL)},
        {ETIMEDOUT, "HE_TIMEOUT", strerror(ETIMEDOUT)},
        {EPIPE, "Broken pipe", "Broken pipe"},
        {0x20000097, "Unknown error 536871063", "Unknown error 536871063"},
        {0x2000009A, "Unknown error 536871066", "Unknown error 536871066"},
    };
    Thread::setLastError(EAGAIN);
    for (const auto& row : rows) {
        EXPECT_STREQ(Thread::getErrorSymbol(row.code), row.symbol);
        EXPECT_STREQ(Thread::getErrorMessage(row.code), row.message);
    }
    EXPECT_EQ(Thread::getLastError(), static_cast<unsigned>(EAGAIN));
}

TEST_F(ErrorTest, EachThreadHasItsOwnText) {
    Thread::setLastError("main's");
    onThread([] {
        Thread::setLastError("the worker's");
        EXPECT_STREQ(Thread::getErrorMessage(), "the worker's");
        EXPECT_STREQ(hexcept(HE_CRC).what(), "Bad checksum");
        EXPECT_EQ(hexcept().getCode(), HE_CRC) << "the last error";
        return 0;
    });
    Thread::setLastError(HE_TEXT_SET);
    EXPECT_STREQ(Thread::getErrorMessage(), "main's");
}

TEST(ErrorWithoutRuntime, TextsServeBeforeInitAndAfterCleanup) {
    EXPECT_STREQ(Thread::getErrorMessage(ENOENT), strerror(ENOENT));
    Thread::setLastError("early");
    EXPECT_STREQ(Thread::getErrorMessage(), "early");
}

// A stream that tells when it is deleted.
class TellingStream : public NullStream {
public:
    explicit TellingStream(int& counter) : deleted(counter) {}
    ~TellingStream() override { ++deleted; }

private:
    int& deleted;
};

TEST_F(ErrorTest, ScopeHolderFreesOnceUnlessGivenAway) {
    int deleted = 0;
    Stream* kept;
    {
        aptr<Stream> freed(new TellingStream(deleted));
        aptr<Stream> empty;
        aptr<Stream> holder(new TellingStream(deleted));
        kept = holder.giveAway();
        EXPECT_EQ(holder.get(), kept);
    }
    EXPECT_EQ(deleted, 1);
    {
        aptr<Stream> again(kept);
        again.cleanUp();
        EXPECT_EQ(deleted, 2);
        EXPECT_EQ(again.get(), nullptr);
        again = new TellingStream(deleted);
        again = new TellingStream(deleted);
        EXPECT_EQ(deleted, 3);
    }
    EXPECT_EQ(deleted, 4);
    aptr<char> text(new char[4]{"abc"}); // a leak or a double free is the sanitizer's to find
    EXPECT_STREQ(text, "abc");
}

} // namespace
