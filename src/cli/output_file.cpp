#include "cli/output_file.h"

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include <cerrno>
#include <cstdio>
#include <cstdlib>
#include <cstring>

namespace cli {

namespace fs = std::filesystem;

bool write_all(int fd, std::string_view data) {
  while (!data.empty()) {
    const ssize_t n = write(fd, data.data(), data.size());
    if (n < 0 && errno == EINTR) continue;
    if (n < 0) return false;
    data.remove_prefix(static_cast<std::size_t>(n));
  }
  return true;
}

std::string replace_file(const fs::path& target,
                         const std::function<bool(int fd)>& fill) {
  const fs::path dir = target.parent_path().empty() ? fs::path(".")
                                                    : target.parent_path();
  std::string part =
      (dir / ("." + target.filename().string() + ".XXXXXX")).string();
  const int fd = mkostemp(part.data(), O_CLOEXEC);
  if (fd < 0) return std::strerror(errno);
  auto fail = [&] {
    const std::string reason = std::strerror(errno);
    unlink(part.c_str());
    return reason;
  };
  const mode_t mask = umask(0);
  umask(mask);
  if (!fill(fd) || fchmod(fd, 0666 & ~mask) != 0) {
    const int saved = errno;
    close(fd);
    errno = saved;
    return fail();
  }
  if (close(fd) != 0) return fail();
  if (std::rename(part.c_str(), target.c_str()) != 0) return fail();
  return "";
}

}  // namespace cli
