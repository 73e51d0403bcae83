// What the text and the JSON reader share: the input read in blocks, the
// checks of the values, and the station named after its position.
#pragma once

#include <cstddef>
#include <istream>
#include <memory>
#include <string>
#include <string_view>

#include "cli/command_line.h"
#include "fix/reader.h"

namespace fix::detail {

/// An input stream read in blocks into `buffer`. A read error (an
/// exception from the stream buffer, as a failing read(2) throws) is
/// reported once, naming the input, and ends it.
class ByteSource {
 public:
  ByteSource(std::istream& in, std::string name, Diagnostics& diagnostics)
      : in_(in), name_(std::move(name)), diag_(diagnostics) {}

  /// Appends the next block to `buffer`; false at the end of the input or
  /// after a read error.
  bool more();
  /// Skips a UTF-8 byte-order mark at `pos`.
  void skip_bom();
  /// Bytes from `pos` on up to the next line end (excluded) into `line`;
  /// false when nothing is left.
  bool line(std::string_view& line);

  const std::string& name() const { return name_; }
  bool failed() const { return failed_; }
  Diagnostics& diagnostics() { return diag_; }

  std::string buffer;   ///< bytes read
  std::size_t pos = 0;  ///< the first byte of `buffer` not consumed

 private:
  std::istream& in_;
  std::string name_;
  Diagnostics& diag_;
  bool ended_ = false;
  bool failed_ = false;
};

/// The numbers of a detection, each with its range.
enum class Quantity { latitude, longitude, azimuth, sigma };

/// Reads the whole of `text` (a number, a leading "+" allowed) as a value
/// of `q` in its range into `value`: latitude in [-90, 90] but not at a
/// pole, longitude in [-360, 360], back azimuth in [-1e6, 1e6], its
/// standard deviation in (0, 90] (degrees). Returns "" or what is wrong,
/// the text quoted: "\"95\" is outside [-90, 90]".
std::string read_value(std::string_view text, Quantity q, double& value);

/// Brings a checked detection's angles into their ranges.
void normalise(Detection& d);

/// A station name made from a position: "@" latitude "," longitude, in
/// degrees, as short as reads back exactly.
std::string position_name(double latitude, double longitude);

/// The detection JSON reader of `source` (its first byte not consumed is
/// the first of the input after a byte-order mark).
std::unique_ptr<InputReader> json_reader(std::unique_ptr<ByteSource> source,
                                         std::size_t index,
                                         const ReadOptions& options);

}  // namespace fix::detail
