// A sound server for tests.
#pragma once

#include <signal.h>
#include <spawn.h>
#include <sys/wait.h>
#include <unistd.h>

#include <cstdlib>
#include <string>
#include <vector>

extern char** environ;

namespace halveron {

/// A JACK server without a sound card, of a name of its own, ended with the test.
class DummyServer {
 public:
  DummyServer() { setenv("JACK_DEFAULT_SERVER", Name().c_str(), 1); }
  ~DummyServer() {
    End();
    unsetenv("JACK_DEFAULT_SERVER");
  }
  /// False if there is no such program.
  bool Start() {
    std::vector<std::string> words = {"jackd", "-n",    Name(), "--no-realtime", "-d", "dummy",
                                      "-r",    "44100", "-p",   "1024"};
    std::vector<char*> argv;
    for (std::string& word : words) argv.push_back(word.data());
    argv.push_back(nullptr);
    posix_spawn_file_actions_t files;
    posix_spawn_file_actions_init(&files);
    posix_spawn_file_actions_addopen(&files, 1, "/dev/null", 1, 0);
    posix_spawn_file_actions_adddup2(&files, 1, 2);
    const int status = posix_spawnp(&process_, "jackd", &files, nullptr, argv.data(), environ);
    posix_spawn_file_actions_destroy(&files);
    if (status != 0) process_ = 0;
    return status == 0;
  }
  void End() {
    if (process_ == 0) return;
    kill(process_, SIGTERM);
    waitpid(process_, nullptr, 0);
    process_ = 0;
  }

 private:
  static std::string Name() { return "halveron-test-" + std::to_string(getpid()); }

  pid_t process_ = 0;
};

}  // namespace halveron
