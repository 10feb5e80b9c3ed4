// Gives the process a home folder of its own for as long as it runs: the plug-in keeps options and
// presets there, and a test neither reads the user's nor leaves any behind.
#include <cstdlib>
#include <filesystem>
#include <random>
#include <string>

namespace {

namespace fs = std::filesystem;

class OwnHome {
 public:
  OwnHome() {
    std::error_code error;
    fs::create_directories(home_, error);
    const char* former = std::getenv("HOME");
    // A display may ask for what lies in the former home.
    if (former) setenv("XAUTHORITY", (fs::path(former) / ".Xauthority").c_str(), 0);
    setenv("HOME", home_.c_str(), 1);
    unsetenv("XDG_CONFIG_HOME");
  }
  ~OwnHome() {
    std::error_code error;
    fs::remove_all(home_, error);
  }

 private:
  const fs::path home_ =
      fs::temp_directory_path() / ("halveron-home-" + std::to_string(std::random_device()()));
};

const OwnHome ownHome;

}  // namespace
