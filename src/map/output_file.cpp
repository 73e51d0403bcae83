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
#include "cli/output_file.h"

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
    ok = n > 0 ? cli::write_all(to, {buf, static_cast<std::size_t>(n)})
               : errno == EINTR;
  const int saved = errno;
  close(in);
  errno = saved;
  return ok;
}

}  // namespace

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
  const std::string reason = cli::replace_file(
      target, [&](int fd) { return copy_to(picture, fd); });
  if (!reason.empty())
    throw MapError("cannot write " + cli::quote(target.string()) + ": " +
                   reason);
}

}  // namespace vestra::map
