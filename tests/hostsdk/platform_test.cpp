#include <com/amazonaws/kinesis/video/common/PlatformUtils.h>
#include <gtest/gtest.h>

#include <sstream>
#include <string>
#include <thread>
#include <vector>

#if !defined(STATUS) || !defined(VOID) || !defined(INLINE) || !defined(TRUE) || !defined(FALSE) || !defined(PUBLIC_API)
#error "a macro on the SDK's side that a caller may rely on"
#endif

namespace zelrtc::test {

namespace {

// Restores the default level for the tests that follow.
class DefaultPrinter : public testing::Test {
protected:
    void TearDown() override {
        loggerSetLogLevel(LOG_LEVEL_WARN);
    }

    static void print(UINT32 level, const char* text) {
        CHAR tag[] = "test";
        CHAR format[] = "%s";
        globalCustomLogPrintFn(level, tag, format, text);
    }

    static std::string printed(UINT32 level, const char* text) {
        testing::internal::CaptureStdout();
        print(level, text);
        return testing::internal::GetCapturedStdout();
    }
};

}  // namespace

TEST_F(DefaultPrinter, writesWarningsAndWorseToStandardOutput) {
    EXPECT_EQ(printed(LOG_LEVEL_INFO, "quiet"), "");
    EXPECT_NE(printed(LOG_LEVEL_WARN, "loud").find("WARN    test: loud\n"), std::string::npos);
    EXPECT_NE(printed(LOG_LEVEL_ERROR, "louder").find("ERROR   test: louder\n"), std::string::npos);
}

TEST_F(DefaultPrinter, writesFromTheLevelThatIsSet) {
    EXPECT_EQ(loggerSetLogLevel(LOG_LEVEL_VERBOSE), STATUS_SUCCESS);
    EXPECT_NE(printed(LOG_LEVEL_VERBOSE, "detail"), "");
    loggerSetLogLevel(LOG_LEVEL_SILENT);
    EXPECT_EQ(printed(LOG_LEVEL_FATAL, "nothing"), "");
}

TEST_F(DefaultPrinter, writesLongLinesWhole) {
    const std::string offer(25000, 'v');
    EXPECT_NE(printed(LOG_LEVEL_ERROR, offer.c_str()).find(offer), std::string::npos);
}

TEST_F(DefaultPrinter, keepsTheLinesOfSeveralThreadsApart) {
    constexpr int kThreads = 4;
    constexpr int kLines = 200;
    testing::internal::CaptureStdout();
    std::vector<std::thread> threads;
    for (int i = 0; i < kThreads; i++) {
        threads.emplace_back([] {
            for (int line = 0; line < kLines; line++) {
                print(LOG_LEVEL_ERROR, "0123456789");
            }
        });
    }
    for (std::thread& thread : threads) {
        thread.join();
    }
    std::istringstream lines(testing::internal::GetCapturedStdout());
    int count = 0;
    for (std::string line; std::getline(lines, line); count++) {
        EXPECT_EQ(line.substr(line.size() - 24), "ERROR   test: 0123456789") << line;
    }
    EXPECT_EQ(count, kThreads * kLines);
}

TEST(Atomics, loadWhatWasStored) {
    ATOMIC_BOOL flag = 0;
    globalAtomicStore(&flag, 1);
    EXPECT_EQ(globalAtomicLoad(&flag), 1U);
    globalAtomicStore(&flag, 0);
    EXPECT_EQ(globalAtomicLoad(&flag), 0U);
}

TEST(Atomics, publishWhatWasWrittenBefore) {
    ATOMIC_BOOL ready = 0;
    int value = 0;
    std::thread writer([&] {
        value = 7;
        globalAtomicStore(&ready, 1);
    });
    while (globalAtomicLoad(&ready) == 0) {
        std::this_thread::yield();
    }
    EXPECT_EQ(value, 7);
    writer.join();
}

}  // namespace zelrtc::test
