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

void copyFile(std::string const& from, std::string const& to) {
  std::ofstream(to, std::ios::binary) << std::ifstream(from, std::ios::binary).rdbuf();
}

// The formed name "lib" + name + ".so" must fit in 64 bytes with its 0. A short name holding a
// relative path lets the test place real files under the names that the manager would open.
TEST(SharedLibraryManager, MissingLibraryAnswersNullAndANameThatDoesNotFitIsRefusedNotCut) {
  SharedLibraryManager& manager = SharedLibraryManager::getInstance();
  EXPECT_EQ(nullptr, manager.load("vyk_no_such_library"));
  EXPECT_EQ(nullptr, manager.load(nullptr));

  char pattern[] = "/tmp/vyk_slm_XXXXXX";
  ASSERT_NE(nullptr, mkdtemp(pattern));
  std::string dir = pattern;
  ASSERT_EQ(0, mkdir((dir + "/lib").c_str(), 0700));
  ASSERT_EQ(0, mkdir((dir + "/p").c_str(), 0700));
  char previous[4096];
  ASSERT_NE(nullptr, getcwd(previous, sizeof previous));
  ASSERT_EQ(0, chdir(dir.c_str()));

  std::string const fits = "/../p/" + std::string(51, 'a');     // "lib" + 57 + ".so" = 63 bytes
  std::string const tooLong = "/../p/" + std::string(52, 'b');  // would need 64 + the 0
  copyFile(VYK_TEST_PLUGIN_PATH, "p/" + std::string(51, 'a') + ".so");
  // What a cut to 63 bytes would open: the last byte of the suffix dropped.
  std::string const cutName = "lib" + tooLong + ".s";
  copyFile(VYK_TEST_PLUGIN_PATH, cutName);
  void* cut = dlopen(cutName.c_str(), RTLD_LAZY);
  EXPECT_NE(nullptr, cut);  // the file is there for a faulty manager to find

  EXPECT_NE(nullptr, manager._loadAndQuery(fits.c_str(), "createGreeterService"));
  EXPECT_EQ(nullptr, manager._loadAndQuery(fits.c_str(), "vyk_no_such_symbol"));
  EXPECT_EQ(nullptr, manager.load(tooLong.c_str()));
  EXPECT_EQ(nullptr, manager._loadAndQuery(tooLong.c_str(), "createGreeterService"));

  if (cut) dlclose(cut);
  ASSERT_EQ(0, chdir(previous));
  EXPECT_EQ(0, std::system(("rm -rf '" + dir + "'").c_str()));
}

}  // namespace
}  // namespace vyk
