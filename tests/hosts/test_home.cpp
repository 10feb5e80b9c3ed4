#include "tests/hosts/test_home.h"

#include <cstdlib>

#include "tests/support/scratch_folder.h"

namespace halveron::testing {

namespace {

/// Created before any test runs, deleted after the last.
struct TestHome {
  TestHome() {
    const std::string home = folder.At("");
    // A display may need the user's own authority file.
    if (const char* own = std::getenv("HOME")) {
      setenv("XAUTHORITY", (std::string(own) + "/.Xauthority").c_str(), 0);
    }
    setenv("HOME", home.c_str(), 1);
    setenv("XDG_CONFIG_HOME", folder.At(".config").c_str(), 1);
  }
  ScratchFolder folder;
};

const TestHome testHome;

}  // namespace

std::string TestDataFile(const std::string& name) {
  return testHome.folder.At("Documents/Halveron/" + name);
}

}  // namespace halveron::testing
