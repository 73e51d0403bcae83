// Fuzzes the whole command line in-process: the input bytes, split at NUL
// bytes and line ends, become the arguments after the program name. The
// exits of the run sequence (refused input, the station listing) are turned
// into an exception, so that each input runs to its end and the next one
// starts from the start-up settings.

#include <unistd.h>

#include <cstddef>
#include <cstdint>
#include <cstdlib>
#include <iostream>
#include <sstream>
#include <string>
#include <vector>

#include "vestra.h"

namespace {

struct exit_request {
  int status;
};

[[noreturn]] void throw_exit(int status) { throw exit_request{status}; }

}  // namespace

extern "C" int LLVMFuzzerInitialize(int*, char***) {
  // The run log lands in a private scratch directory.
  char dir[] = "/tmp/vestra-fuzz-XXXXXX";
  if (mkdtemp(dir) == nullptr || chdir(dir) != 0) std::abort();
  vestra_exit_handler = throw_exit;
  return 0;
}

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
  if (size > 4096) return -1;
  std::vector<std::string> words{"vestra"};
  std::string word;
  for (size_t i = 0; i < size; ++i) {
    char c = static_cast<char>(data[i]);
    if (c == '\0' || c == '\n') {
      words.push_back(word);
      word.clear();
    } else {
      word.push_back(c);
    }
  }
  if (!word.empty()) words.push_back(word);
  if (words.size() > 64) return -1;
  std::vector<char*> argv;
  for (auto& w : words) argv.push_back(w.data());
  argv.push_back(nullptr);

  std::ostringstream sink;
  auto* old = std::cout.rdbuf(sink.rdbuf());
  reset_settings();
  try {
    int status = vestra_main(static_cast<int>(words.size()), argv.data());
    if (status != 0) std::abort();
  } catch (const exit_request& e) {
    if (e.status != 0 && e.status != 1) std::abort();
  }
  std::cout.rdbuf(old);
  unlink("logfile");
  return 0;
}
