// ISO 8601 times in UTC, as detection lists write them.
//
// Times are seconds since 1970-01-01T00:00:00Z on the proleptic Gregorian
// calendar, without leap seconds.
#pragma once

#include <optional>
#include <string>
#include <string_view>

namespace fix {

/// Reads "YYYY-MM-DDThh:mm:ss" with an optional fraction of a second
/// (".s..." or ",s..."), and an optional zone "Z", "+hh:mm" or "-hh:mm" (a
/// time without a zone is UTC); a blank may stand for the "T". Years 1 to
/// 9999. Second 60 is read only at 23:59 UTC (a leap second), and counts as
/// the first second of the next day. Returns the seconds since 1970, or
/// nothing for any other text.
std::optional<double> parse_iso_time(std::string_view text);

/// "YYYY-MM-DDThh:mm:ss.sZ": the time (seconds since 1970) rounded to a
/// tenth of a second; "invalid" for a time that is not finite or beyond
/// 3e11 s (about the year 11,000).
std::string format_iso_time(double seconds);

/// "YYYY-MM-DDThh:mm:ss[.f]Z": the time (seconds since 1970) rounded to
/// `decimals` (0 to 6) decimals of the second, the fraction's trailing
/// zeros dropped but for the first `least` (0: a whole second has no
/// fraction; 1: it ends in ".0"); "" for a time that is not finite or
/// beyond 3e11 s.
std::string format_iso_time(double seconds, int decimals, int least);

}  // namespace fix
