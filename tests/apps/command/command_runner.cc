// SPDX-License-Identifier: Apache-2.0
#include "tests/apps/command/command_runner.h"

#include <fcntl.h>
#include <spawn.h>
#include <sys/wait.h>
#include <unistd.h>

#include <algorithm>
#include <csignal>
#include <fstream>
#include <iterator>

extern char** environ;

namespace pelorin {
namespace command {
namespace {

namespace fs = std::filesystem;

/// Starts the command with its two outputs going to descriptors; -1 if it cannot be started.
int Spawn(const std::vector<std::string>& arguments, int out, int err) {
  std::vector<std::string> words{PELORIN_BINARY};
  words.insert(words.end(), arguments.begin(), arguments.end());
  std::vector<char*> argv;
  for (std::string& word : words) {
    argv.push_back(word.data());
  }
  argv.push_back(nullptr);
  posix_spawn_file_actions_t actions;
  posix_spawn_file_actions_init(&actions);
  posix_spawn_file_actions_adddup2(&actions, out, STDOUT_FILENO);
  if (err >= 0) {
    posix_spawn_file_actions_adddup2(&actions, err, STDERR_FILENO);
  }
  pid_t process = -1;
  const int error = posix_spawn(&process, PELORIN_BINARY, &actions, nullptr, argv.data(), environ);
  posix_spawn_file_actions_destroy(&actions);
  return error == 0 ? process : -1;
}

int WaitFor(int process) {
  int status = 0;
  if (process < 0 || waitpid(process, &status, 0) != process) {
    return -1000;
  }
  return WIFEXITED(status) ? WEXITSTATUS(status) : -WTERMSIG(status);
}

/// An unnamed file that takes a whole output, so that no pipe can fill up.
int TemporaryFile() {
  std::string name = testing::TempDir() + "pelorin_output_XXXXXX";
  const int descriptor = mkostemp(name.data(), O_CLOEXEC);
  unlink(name.c_str());
  return descriptor;
}

std::string ReadBack(int descriptor) {
  std::string text;
  char buffer[4096];
  lseek(descriptor, 0, SEEK_SET);
  for (ssize_t got = 0; (got = read(descriptor, buffer, sizeof buffer)) > 0;) {
    text.append(buffer, static_cast<std::size_t>(got));
  }
  close(descriptor);
  return text;
}

}  // namespace

CommandRun RunPelorin(const std::vector<std::string>& arguments) {
  const int out = TemporaryFile();
  const int err = TemporaryFile();
  CommandRun run;
  run.exit_code = WaitFor(Spawn(arguments, out, err));
  run.out = ReadBack(out);
  run.err = ReadBack(err);
  return run;
}

std::string RunOther(const std::string& line) {
  FILE* const pipe = popen(line.c_str(), "r");
  std::string text;
  std::array<char, 4096> buffer;
  for (std::size_t got = 0; (got = fread(buffer.data(), 1, buffer.size(), pipe)) > 0;) {
    text.append(buffer.data(), got);
  }
  EXPECT_EQ(pclose(pipe), 0) << line;
  return text;
}

BackgroundCommand::BackgroundCommand(const std::vector<std::string>& arguments) {
  int ends[2] = {-1, -1};
  if (pipe2(ends, O_CLOEXEC) == 0) {
    process_ = Spawn(arguments, ends[1], -1);
    close(ends[1]);
    out_ = ends[0];
  }
}

BackgroundCommand::~BackgroundCommand() {
  if (process_ >= 0) {
    Stop(SIGKILL);
  }
  close(out_);
}

std::string BackgroundCommand::ReadLine() {
  std::string line;
  char c = 0;
  while (read(out_, &c, 1) == 1 && c != '\n') {
    line += c;
  }
  return line;
}

void BackgroundCommand::Send(int signal) {
  kill(process_, signal);
}

int BackgroundCommand::Stop(int signal) {
  Send(signal);
  const int code = WaitFor(process_);
  process_ = -1;
  return code;
}

void CommandTest::SetUp() {
  folder_ = fs::path(testing::TempDir()) / ("pelorin_" + std::to_string(getpid()) + "_command");
  fs::remove_all(folder_);
  fs::create_directories(folder_);
}

void CommandTest::TearDown() {
  fs::remove_all(folder_);
}

std::string CommandTest::Content(const std::string& path) {
  std::ifstream file(path, std::ios::binary);
  return std::string(std::istreambuf_iterator<char>(file), {});
}

void CommandTest::Write(const std::string& path, const std::string& text) {
  std::ofstream(path, std::ios::binary) << text;
}

std::vector<std::string> CommandTest::Files() const {
  std::vector<std::string> names;
  for (const fs::directory_entry& entry : fs::directory_iterator(folder_)) {
    names.push_back(entry.path().filename().string());
  }
  std::sort(names.begin(), names.end());
  return names;
}

}  // namespace command
}  // namespace pelorin
