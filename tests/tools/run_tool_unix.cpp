#include "tests/tools/run_tool.h"

#include <fcntl.h>
#include <gtest/gtest.h>
#include <spawn.h>
#include <sys/wait.h>

#include "tests/support/temp_dir.h"

ToolResult RunTool(const std::vector<std::string>& arguments, const std::string& input) {
  const TempDir dir;
  WriteWholeFile(dir / "in", input);

  std::vector<std::string> words = {ZTK_TOOL_PATH};
  words.insert(words.end(), arguments.begin(), arguments.end());
  std::vector<char*> argv;
  for (std::string& word : words) argv.push_back(word.data());
  argv.push_back(nullptr);

  posix_spawn_file_actions_t actions;
  posix_spawn_file_actions_init(&actions);
  const auto open = [&](int fd, const char* name, int flags) {
    posix_spawn_file_actions_addopen(&actions, fd, (dir / name).c_str(), flags, 0600);
  };
  open(0, "in", O_RDONLY);
  open(1, "out", O_WRONLY | O_CREAT);
  open(2, "err", O_WRONLY | O_CREAT);
  pid_t child = 0;
  const int nError = posix_spawn(&child, ZTK_TOOL_PATH, &actions, nullptr, argv.data(), environ);
  posix_spawn_file_actions_destroy(&actions);
  ToolResult result;
  if (nError != 0) {
    ADD_FAILURE() << "the tool cannot be started: " << nError;
    return result;
  }
  int nStatus = 0;
  waitpid(child, &nStatus, 0);
  if (WIFEXITED(nStatus)) result.nExitCode = WEXITSTATUS(nStatus);
  result.output = ReadWholeFile(dir / "out");
  result.errors = ReadWholeFile(dir / "err");
  return result;
}
