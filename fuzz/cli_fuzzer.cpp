// Fuzzes the whole command line in-process: the input bytes, split at NUL
// bytes and line ends, become the arguments after the program name. The
// exits of the run sequence (refused input, the station listing) are turned
// into an exception, so that each input runs to its end and the next one
// starts from the start-up settings.
//
// Both standard streams are captured for each input. The fuzzer closes the
// process's descriptors 1 and 2 (-close_fd_mask=3); writing to a closed
// descriptor would leave std::cerr failed for every later input, and the
// messages of refused input would no longer be formatted at all. A refused
// input must not have written results: its standard output is empty or the
// help text.

#include <unistd.h>

#include <cstddef>
#include <cstdint>
#include <cstdlib>
#include <iostream>
#include <sstream>
#include <string>
#include <vector>

#include "version.h"
#include "vestra.h"

namespace {

struct exit_request {
  int status;
};

[[noreturn]] void throw_exit(int status) { throw exit_request{status}; }

// Points a standard stream at a buffer for one input, and back afterwards
// with its state cleared, however the input ends.
class StreamCapture {
 public:
  StreamCapture(std::ostream& stream, std::streambuf* buffer)
      : stream_(stream), old_(stream.rdbuf(buffer)) {}
  ~StreamCapture() {
    stream_.rdbuf(old_);
    stream_.clear();
  }
  StreamCapture(const StreamCapture&) = delete;
  StreamCapture& operator=(const StreamCapture&) = delete;

 private:
  std::ostream& stream_;
  std::streambuf* old_;
};

const std::string& help_start() {
  static const std::string start = std::string(Version) + "\nUsage:\n";
  return start;
}

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

  std::ostringstream out, err;
  StreamCapture capture_out(std::cout, out.rdbuf());
  StreamCapture capture_err(std::cerr, err.rdbuf());
  reset_settings();
  try {
    int status = vestra_main(static_cast<int>(words.size()), argv.data());
    if (status != 0) std::abort();
  } catch (const exit_request& e) {
    if (e.status != 0 && e.status != 1) std::abort();
    const std::string text = out.str();
    if (e.status == 1 && !text.empty() &&
        text.compare(0, help_start().size(), help_start()) != 0)
      std::abort();
  }
  unlink("logfile");
  return 0;
}
