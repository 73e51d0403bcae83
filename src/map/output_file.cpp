#include "map/output_file.h"

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include <cctype>
#include <cerrno>
#include <cstdio>
#include <cstdlib>
#include <cstring>

#include "cli/command_line.h"

namespace vestra::map {

namespace fs = std::filesystem;

namespace {

/// The event's name as one safe part of a file name.
std::string safe_name(const std::string& name) {
  std::string out;
  for (char c : name)
    out += std::isalnum(static_cast<unsigned char>(c)) || c == '.' ||
                   c == '-' || c == '_'
               ? c
               : '_';
  // "." and ".." would name the directory or its parent.
  if (out.find_first_not_of('.') == std::string::npos)
    out.assign(out.size(), '_');
  return out;
}

/// Copies the file `from` to the open descriptor `to`; false with errno
/// set when a read or a write fails.
bool copy_to(const fs::path& from, int to) {
  const int in = open(from.c_str(), O_RDONLY | O_CLOEXEC);
  if (in < 0) return false;
  char buf[1 << 16];
  bool ok = true;
  for (ssize_t n; ok && (n = read(in, buf, sizeof buf)) != 0;)
    ok = n > 0 ? write_all(to, {buf, static_cast<std::size_t>(n)})
               : errno == EINTR;
  const int saved = errno;
  close(in);
  errno = saved;
  return ok;
}

}  // namespace

bool write_all(int fd, std::string_view data) {
  while (!data.empty()) {
    const ssize_t n = write(fd, data.data(), data.size());
    if (n < 0 && errno == EINTR) continue;
    if (n < 0) return false;
    data.remove_prefix(static_cast<std::size_t>(n));
  }
  return true;
}

std::string output_name(const std::string& pattern, const MapEvent& event,
                        std::size_t number, std::size_t count) {
  std::string p = pattern;
  if (p.find('%') == std::string::npos && count > 1) {
    const std::string ext = fs::path(p).extension().string();
    p = p.substr(0, p.size() - ext.size()) + "-%e" + ext;
  }
  std::string out;
  for (std::size_t i = 0; i < p.size(); ++i) {
    if (p[i] != '%') {
      out += p[i];
      continue;
    }
    const std::size_t at = i;
    const char code = i + 1 < p.size() ? p[++i] : '\0';
    if (code == '%')
      out += '%';
    else if (code == 'n' || (code == 'e' && event.name.empty()))
      out += std::to_string(number);
    else if (code == 'e')
      out += safe_name(event.name);
    else
      throw MapError("-o: unknown " + cli::quote(p.substr(at, 2)) +
                     " (use %e, %n or %%)");
  }
  return out;
}

void install_picture(const fs::path& picture, const fs::path& target) {
  const fs::path dir = target.parent_path().empty() ? fs::path(".")
                                                    : target.parent_path();
  std::string part =
      (dir / ("." + target.filename().string() + ".XXXXXX")).string();
  const int fd = mkostemp(part.data(), O_CLOEXEC);
  auto fail = [&](bool made) {
    const std::string reason = std::strerror(errno);
    if (made) unlink(part.c_str());
    throw MapError("cannot write " + cli::quote(target.string()) + ": " +
                   reason);
  };
  if (fd < 0) fail(false);
  const mode_t mask = umask(0);
  umask(mask);
  const bool copied = copy_to(picture, fd) && fchmod(fd, 0666 & ~mask) == 0;
  if (!copied) {
    const int saved = errno;
    close(fd);
    errno = saved;
    fail(true);
  }
  if (close(fd) != 0) fail(true);
  if (std::rename(part.c_str(), target.c_str()) != 0) fail(true);
}

}  // namespace vestra::map
