// The inputs of a run: files named on the command line, or standard input.
#pragma once

#include <fstream>
#include <istream>
#include <memory>
#include <string>
#include <vector>

#include "fix/reader.h"

namespace fix {

// The events of the input files one after the other; a file that cannot be
// read is reported and skipped.
class InputChain final : public EventReader {
 public:
  InputChain(const std::vector<std::string>& files, std::istream& in,
             Diagnostics& diagnostics)
      : files_(files), in_(in), diag_(diagnostics) {
    if (files_.empty()) files_.push_back("-");
  }

  bool next(Event& event) override;

 private:
  std::vector<std::string> files_;
  std::istream& in_;
  Diagnostics& diag_;
  std::size_t index_ = 0;
  std::unique_ptr<std::ifstream> file_;
  std::unique_ptr<EventReader> reader_;
};

}  // namespace fix
