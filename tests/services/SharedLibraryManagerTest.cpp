// Loading sibling libraries by short name, and the bound on the formed file name.
#include "vyk/util/SharedLibraryManager.h"

#include <dlfcn.h>
#include <gtest/gtest.h>
#include <sys/stat.h>
#include <unistd.h>

#include <cstdlib>
#include <fstream>
#include <string>

namespace vyk {
namespace {

TEST(SharedLibraryManager, MissingLibraryOrSymbolAnswersNull) {
  SharedLibraryManager& manager = SharedLibraryManager::getInstance();
  EXPECT_EQ(&manager, &SharedLibraryManager::getInstance());
  EXPECT_EQ(nullptr, manager.load("vyk_no_such_library"));
  EXPECT_EQ(nullptr, manager._loadAndQuery("vyk_no_such_library", "anything"));
  EXPECT_EQ(nullptr, manager.load(nullptr));
}

void copyFile(std::string const& from, std::string const& to) {
  std::ifstream in(from, std::ios::binary);
  std::ofstream out(to, std::ios::binary);
  out << in.rdbuf();
  ASSERT_TRUE(out.good()) << to;
}

// The formed name "lib" + name + ".so" must fit in 64 bytes with its 0. A short name holding a
// relative path lets the test place real files under the names that the manager would open.
TEST(SharedLibraryManager, NameThatDoesNotFitIsRefusedNotCut) {
  char pattern[] = "/tmp/vyk_slm_XXXXXX";
  ASSERT_NE(nullptr, mkdtemp(pattern));
  std::string dir = pattern;
  ASSERT_EQ(0, mkdir((dir + "/lib").c_str(), 0700));
  ASSERT_EQ(0, mkdir((dir + "/p").c_str(), 0700));
  char previous[4096];
  ASSERT_NE(nullptr, getcwd(previous, sizeof previous));
  ASSERT_EQ(0, chdir(dir.c_str()));

  std::string const prefix = "/../p/";                        // "lib/../p/..." from the new folder
  std::string const fits = prefix + std::string(51, 'a');     // 57 bytes: "lib" + 57 + ".so" = 63
  std::string const tooLong = prefix + std::string(52, 'b');  // 58 bytes: would need 64 + the 0
  copyFile(VYK_TEST_PLUGIN_PATH, "p/" + std::string(51, 'a') + ".so");
  // What a cut to 63 bytes would open: the last byte of the suffix dropped.
  std::string const cutName = "lib" + tooLong + ".s";
  ASSERT_EQ(63u, cutName.size());
  copyFile(VYK_TEST_PLUGIN_PATH, cutName);

  SharedLibraryManager& manager = SharedLibraryManager::getInstance();
  EXPECT_EQ(57u, SharedLibraryManager::MAX_NAME_LENGTH);
  EXPECT_NE(nullptr, manager._loadAndQuery(fits.c_str(), "createGreeterService"));
  EXPECT_EQ(nullptr, manager._loadAndQuery(fits.c_str(), "vyk_no_such_symbol"));
  void* cut = dlopen(cutName.c_str(), RTLD_LAZY);  // the file that truncation would have found
  EXPECT_NE(nullptr, cut);
  EXPECT_EQ(nullptr, manager.load(tooLong.c_str()));
  EXPECT_EQ(nullptr, manager._loadAndQuery(tooLong.c_str(), "createGreeterService"));

  if (cut) dlclose(cut);
  ASSERT_EQ(0, chdir(previous));
  std::string remove = "rm -rf '" + dir + "'";
  EXPECT_EQ(0, std::system(remove.c_str()));
}

}  // namespace
}  // namespace vyk
