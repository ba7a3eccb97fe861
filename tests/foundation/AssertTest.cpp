// The assertion failure, the abend handler and checkedMalloc.
#include "vyk/util/Assert.h"

#include <gtest/gtest.h>

#include <cstdlib>

#include "vyk/thread/Mutex.h"
#include "vyk/util/RecordFile.h"

namespace vyk {
namespace {

TEST(AssertionFailureDeathTest, PrintsTheLineBetweenBannersAndExits99WithoutTheAbendHandler) {
  std::string const banner = "\n%%%%%%%%%%%%%%%%%%%%%%%%%%%%%%%%%%%%%%%%\n";
  EXPECT_EXIT(
      {
        set_abend_handler([](int) { std::_Exit(5); });
        vykFail("x", "f", 7);
      },
      ::testing::ExitedWithCode(99), "^" + banner + "Assertion failed: x at file: f line 7" + banner + "$");
  int value = 3;
  EXPECT_EXIT(VYK_ASSERT(value == 4), ::testing::ExitedWithCode(99),
              "Assertion failed: value == 4 at file: tests/foundation/AssertTest.cpp line [0-9]+");
}

// A record file that keeps every default of the contract.
class BareRecordFile : public RecordFile {
 public:
  std::string const& getFilename() const override { return name_; }
  void getProperties(std::vector<IntrusivePointer<RecordFileProperty>>&) const override {}
  int read(char*, int, int*) override { return -1; }
  void write(char const*, int, CarriageControlType) override {}
  void flush() override {}
  int getRecordLength() const override { return 0; }
  bool attemptToChangeRecordLength(int) override { return false; }

 private:
  std::string name_;
};

TEST(AssertionFailureDeathTest, DefaultsOfTheRecordFileContractFail) {
  BareRecordFile file;
  char note[8];
  EXPECT_EXIT(file.seek(note), ::testing::ExitedWithCode(99),
              "Assertion failed: Unsupported at file: src/util/");
  EXPECT_EXIT(file.getLinesLeft(), ::testing::ExitedWithCode(99), "Assertion failed: Shouldn't get here");
  EXPECT_EQ(0, file.note_length());
  EXPECT_FALSE(file.isFixedWidth());
}

// ThreadSanitizer reports the misuse itself before the mutex call can fail.
#if defined(__SANITIZE_THREAD__)
#define VYK_UNDER_THREAD_SANITIZER 1
#elif defined(__has_feature)
#if __has_feature(thread_sanitizer)
#define VYK_UNDER_THREAD_SANITIZER 1
#endif
#endif

TEST(AssertionFailureDeathTest, FailedLockOperationsGoToTheAssertionFailure) {
#ifdef VYK_UNDER_THREAD_SANITIZER
  GTEST_SKIP() << "the thread sanitizer stops misused mutexes first";
#endif
  EXPECT_EXIT(
      recursive_mutex().unlock(), ::testing::ExitedWithCode(99),  // not owned: EPERM
      "Assertion failed: !pthread_mutex_unlock\\(&m_\\) at file: include/vyk/thread/Mutex_pthread.h line");
}

int lastAbend = 0;

TEST(AbendDeathTest, DefaultHandlerExitsAndAReplacedOneMayReturn) {
  EXPECT_EXIT(abend(42), ::testing::ExitedWithCode(42), "");
  set_abend_handler([](int code) { lastAbend = code; });
  abend(17);
  EXPECT_EQ(17, lastAbend);
  set_abend_handler([](int code) { std::exit(code); });
}

TEST(CheckedMalloc, ReturnsMemoryOrThrows) {
  void* p = checkedMalloc(64);
  EXPECT_NE(nullptr, p);
  std::free(p);
  EXPECT_THROW(checkedMalloc(~0UL), std::bad_alloc);
}

}  // namespace
}  // namespace vyk
