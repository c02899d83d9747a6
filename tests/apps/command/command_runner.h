// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <gtest/gtest.h>

#include <filesystem>
#include <string>
#include <vector>

namespace pelorin {
namespace command {

/// What a run of the command left behind.
struct CommandRun {
  int exit_code = -1;
  std::string out;
  std::string err;
};

/// Runs the built command as a process of its own and waits for its end.
CommandRun RunPelorin(const std::vector<std::string>& arguments);

/// What another program writes to its standard output; it must be there and succeed.
std::string RunOther(const std::string& line);

/// A command that runs until it is told to stop. Killed if the test forgets it.
class BackgroundCommand {
 public:
  explicit BackgroundCommand(const std::vector<std::string>& arguments);
  ~BackgroundCommand();
  BackgroundCommand(const BackgroundCommand&) = delete;
  BackgroundCommand& operator=(const BackgroundCommand&) = delete;

  /// The next line of its standard output; empty at its end.
  std::string ReadLine();
  /// Sends a signal.
  void Send(int signal);
  /// Sends a signal and returns the exit code, or minus the signal that ended it.
  int Stop(int signal);

 private:
  int process_ = -1;
  int out_ = -1;
};

/// A folder of one test, gone afterwards.
class CommandTest : public testing::Test {
 protected:
  void SetUp() override;
  void TearDown() override;

  std::string Path(const std::string& name) const { return (folder_ / name).string(); }
  static std::string Content(const std::string& path);
  static void Write(const std::string& path, const std::string& text);
  /// Names of the files in the folder, sorted.
  std::vector<std::string> Files() const;

  std::filesystem::path folder_;
};

}  // namespace command
}  // namespace pelorin
