#include "tests/app/played.h"

#include <fcntl.h>
#include <gtest/gtest.h>
#include <signal.h>
#include <spawn.h>
#include <sys/wait.h>
#include <unistd.h>

#include <cstdlib>
#include <sstream>

#include "app/run_command.h"
#include "tests/support/display/test_display.h"

extern char** environ;

namespace halveron::testing {

namespace {

/// The program with which a desktop opens files, for the folder of programs in a home.
void WriteDesktop(const ScratchFolder& home) {
  namespace fs = std::filesystem;
  fs::create_directories(home.At("bin"));
  const std::string program =
      home.Write("bin/xdg-open", "#!/bin/sh\necho \"$1\" >\"$HOME/opened\"\n");
  fs::permissions(program, fs::perms::owner_all);
}

/// This process's variables with others in place of some of them.
std::vector<std::string> Environment(const std::vector<std::pair<std::string, std::string>>& own) {
  std::vector<std::string> variables;
  for (char** variable = environ; *variable; ++variable) {
    const std::string text = *variable;
    bool isReplaced = false;
    for (const auto& [name, value] : own) isReplaced |= text.starts_with(name + "=");
    if (!isReplaced) variables.push_back(text);
  }
  for (const auto& [name, value] : own) variables.push_back(name + "=" + value);
  return variables;
}

std::vector<char*> Pointers(std::vector<std::string>& words) {
  std::vector<char*> pointers;
  for (std::string& word : words) pointers.push_back(word.data());
  pointers.push_back(nullptr);
  return pointers;
}

}  // namespace

Played::Played(std::vector<std::string> words, const ScratchFolder& home) : log_(home.At("log")) {
  words.insert(words.begin(), {HALVERON_COMMAND, "play"});
  WriteDesktop(home);
  const char* programs = std::getenv("PATH");
  std::vector<std::string> variables =
      Environment({{"HOME", home.At("")},
                   {"PATH", home.At("bin") + ":" + (programs ? programs : "/usr/bin:/bin")}});
  posix_spawn_file_actions_t files;
  posix_spawn_file_actions_init(&files);
  posix_spawn_file_actions_addopen(&files, 1, log_.c_str(), O_WRONLY | O_CREAT | O_TRUNC, 0600);
  posix_spawn_file_actions_adddup2(&files, 1, 2);
  EXPECT_EQ(posix_spawn(&process_, HALVERON_COMMAND, &files, nullptr, Pointers(words).data(),
                        Pointers(variables).data()),
            0);
  posix_spawn_file_actions_destroy(&files);
}

Played::~Played() {
  if (process_ <= 0) return;
  kill(process_, SIGKILL);
  waitpid(process_, nullptr, 0);
}

void Played::Interrupt() { kill(process_, SIGINT); }

int Played::Status() {
  int status = 0;
  if (process_ <= 0 || waitpid(process_, &status, WNOHANG) != process_) return -1;
  process_ = 0;
  return WIFEXITED(status) ? WEXITSTATUS(status) : 1000;
}

bool WaitUntil(const std::function<bool()>& done) {
  for (int tries = 0; tries < 5; ++tries) {
    if (TestDisplay::PumpUntil([] {}, done)) return true;
  }
  return false;
}

void Convert(const std::string& from, const std::string& to) {
  const char* argv[] = {"halveron", "convert", from.c_str(), to.c_str()};
  std::ostringstream out, err;
  ASSERT_EQ(RunCommand(4, argv, out, err), kExitDone) << err.str();
}

}  // namespace halveron::testing
