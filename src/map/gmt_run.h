// Runs GMT for the maps: the data files written into a private temporary
// directory, the commands run there one after the other, the picture
// checked.
//
// A terminating signal (SIGTERM, SIGINT, SIGHUP) while a SignalGuard lives
// ends the GMT command under way and unwinds the drawing as the exception
// Interrupted, so that the temporary directory is removed before the
// program dies by the same signal.
#pragma once

#include <cstddef>
#include <filesystem>
#include <string>

#include "map/map_event.h"
#include "map/map_plan.h"

namespace vestra::map {

/// A private directory made by mkdtemp under TMPDIR (else /tmp), removed
/// with everything in it when the object goes.
class TempDir {
 public:
  /// Throws MapError when the directory cannot be made.
  TempDir();
  ~TempDir();
  TempDir(const TempDir&) = delete;
  TempDir& operator=(const TempDir&) = delete;
  const std::filesystem::path& path() const { return path_; }

 private:
  std::filesystem::path path_;
};

/// Unwinds the drawing after a terminating signal; deliberately not an
/// std::exception, so that no handler of drawing errors takes it.
struct Interrupted {
  int signal;
};

/// Catches SIGTERM, SIGINT and SIGHUP while it lives (one at a time in a
/// process), and puts the previous handlers back when it goes.
class SignalGuard {
 public:
  SignalGuard();
  ~SignalGuard();
  SignalGuard(const SignalGuard&) = delete;
  SignalGuard& operator=(const SignalGuard&) = delete;
  /// Throws Interrupted when a signal came.
  static void check();
};

/// Ends the process by `signal` with its default action; returns 128 +
/// `signal`, the shell's status for it, if that did not end it.
int die_by(int signal);

/// Writes `contents` to the file `path` (made or emptied); throws MapError
/// naming the file and the system's reason when a write or the close
/// fails.
void write_data_file(const std::filesystem::path& path,
                     const std::string& contents);

/// Draws `event`, the `number`th of the input, into the empty directory
/// `dir`, which is also GMT's home, user and session directory, and returns
/// the path of the picture made there. Throws MapError when the event has
/// nothing to draw, the page is too small, a data file cannot be written,
/// a GMT command fails (GMT's own messages are on the standard error stream
/// by then) or GMT makes no picture; Interrupted after a signal.
std::filesystem::path draw_event(const MapEvent& event,
                                 const DrawOptions& options,
                                 const std::filesystem::path& dir,
                                 std::size_t number);

}  // namespace vestra::map
