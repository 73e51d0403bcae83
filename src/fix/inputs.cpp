#include "fix/inputs.h"

#include <cerrno>
#include <cstring>
#include <filesystem>
#include <fstream>

namespace fix {

bool InputChain::next(Event& event) {
  for (;;) {
    if (reader_ && reader_->next(event)) return true;
    reader_.reset();
    file_.reset();
    if (index_ >= files_.size()) return false;
    const std::string& name = files_[index_++];
    if (name == "-") {
      reader_ = open_reader(in_, "<stdin>", diag_);
      continue;
    }
    std::error_code ec;
    if (std::filesystem::is_directory(name, ec)) {
      diag_.error(name, "is a directory");
      continue;
    }
    file_ = std::make_unique<std::ifstream>(name, std::ios::binary);
    if (!*file_) {
      diag_.error(name, std::string("cannot open: ") + std::strerror(errno));
      continue;
    }
    reader_ = open_reader(*file_, name, diag_);
  }
}

}  // namespace fix
