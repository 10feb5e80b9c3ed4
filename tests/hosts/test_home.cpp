#include "tests/hosts/test_home.h"

#include <cstdlib>

#include "tests/support/song_file.h"

namespace halveron::testing {

namespace {

/// Made before any test runs, gone with all in it after the last.
struct TestHome {
  TestHome() {
    const std::string home = folder.At("");
    // A display may ask for what lies in the user's own.
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
