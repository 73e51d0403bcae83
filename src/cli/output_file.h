// Files the companion programs write besides standard output: put in place
// in one step, never through a link planted at the target.
#pragma once

#include <filesystem>
#include <functional>
#include <string>
#include <string_view>

namespace cli {

/// Writes all of `data` to the descriptor `fd`, again after an
/// interruption; false with errno set when a write fails.
bool write_all(int fd, std::string_view data);

/// Makes `target` in one step: `fill` writes the contents to a new file of
/// a fresh name beside the target (made exclusively, so that no link
/// planted there is followed; it returns false with errno set when a write
/// fails), which is then renamed to the target, replacing it, be it a file
/// or a link. The file gets the permissions of a new file (0666 less the
/// umask). Returns "" or, when that fails, the reason (strerror's text),
/// leaving nothing behind.
std::string replace_file(const std::filesystem::path& target,
                         const std::function<bool(int fd)>& fill);

}  // namespace cli
