// SPDX-License-Identifier: Apache-2.0
#include "apps/command/command_line.h"
#include "apps/command/interruption.h"

int main(int argc, char** argv) {
  // First of all: threads inherit the blocked signals from the one that starts them.
  pelorin::command::Interruption interruption;
  return pelorin::command::RunCommandLine(argc, argv, &interruption);
}
