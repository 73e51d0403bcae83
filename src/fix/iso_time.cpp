#include "fix/iso_time.h"

#include <cmath>
#include <cstdint>
#include <cstdio>

namespace fix {

namespace {

// Days from 1970-01-01 to the given civil date (proleptic Gregorian), by
// the era decomposition of the calendar (400-year cycles of 146097 days).
std::int64_t days_from_civil(std::int64_t y, unsigned m, unsigned d) {
  y -= m <= 2;
  const std::int64_t era = (y >= 0 ? y : y - 399) / 400;
  const unsigned yoe = static_cast<unsigned>(y - era * 400);
  const unsigned doy = (153 * (m + (m > 2 ? -3 : 9)) + 2) / 5 + d - 1;
  const unsigned doe = yoe * 365 + yoe / 4 - yoe / 100 + doy;
  return era * 146097 + static_cast<std::int64_t>(doe) - 719468;
}

// The civil date of a day count from 1970-01-01 (inverse of the above).
void civil_from_days(std::int64_t z, std::int64_t& y, unsigned& m,
                     unsigned& d) {
  z += 719468;
  const std::int64_t era = (z >= 0 ? z : z - 146096) / 146097;
  const unsigned doe = static_cast<unsigned>(z - era * 146097);
  const unsigned yoe = (doe - doe / 1460 + doe / 36524 - doe / 146096) / 365;
  const unsigned doy = doe - (365 * yoe + yoe / 4 - yoe / 100);
  const unsigned mp = (5 * doy + 2) / 153;
  d = doy - (153 * mp + 2) / 5 + 1;
  m = mp < 10 ? mp + 3 : mp - 9;
  y = static_cast<std::int64_t>(yoe) + era * 400 + (m <= 2);
}

bool leap(std::int64_t y) { return y % 4 == 0 && (y % 100 != 0 || y % 400 == 0); }

unsigned days_in_month(std::int64_t y, unsigned m) {
  static const unsigned days[] = {31, 28, 31, 30, 31, 30, 31, 31, 30, 31, 30, 31};
  return m == 2 && leap(y) ? 29 : days[m - 1];
}

// Reads exactly `n` decimal digits at `pos`.
bool digits(std::string_view s, std::size_t& pos, std::size_t n, int& value) {
  if (pos + n > s.size()) return false;
  value = 0;
  for (std::size_t i = 0; i < n; ++i) {
    const char c = s[pos + i];
    if (c < '0' || c > '9') return false;
    value = value * 10 + (c - '0');
  }
  pos += n;
  return true;
}

bool expect(std::string_view s, std::size_t& pos, char c) {
  if (pos >= s.size() || s[pos] != c) return false;
  ++pos;
  return true;
}

}  // namespace

std::optional<double> parse_iso_time(std::string_view s) {
  std::size_t pos = 0;
  int year, month, day, hour, minute, second;
  if (!digits(s, pos, 4, year) || !expect(s, pos, '-') ||
      !digits(s, pos, 2, month) || !expect(s, pos, '-') ||
      !digits(s, pos, 2, day))
    return std::nullopt;
  if (pos >= s.size() || (s[pos] != 'T' && s[pos] != 't' && s[pos] != ' '))
    return std::nullopt;
  ++pos;
  if (!digits(s, pos, 2, hour) || !expect(s, pos, ':') ||
      !digits(s, pos, 2, minute) || !expect(s, pos, ':') ||
      !digits(s, pos, 2, second))
    return std::nullopt;
  if (year < 1 || month < 1 || month > 12 || day < 1 ||
      static_cast<unsigned>(day) > days_in_month(year, month) || hour > 23 ||
      minute > 59 || second > 60)
    return std::nullopt;
  double fraction = 0.0;
  if (pos < s.size() && (s[pos] == '.' || s[pos] == ',')) {
    ++pos;
    double scale = 0.1;
    const std::size_t first = pos;
    while (pos < s.size() && s[pos] >= '0' && s[pos] <= '9') {
      fraction += (s[pos] - '0') * scale;
      scale *= 0.1;
      ++pos;
    }
    if (pos == first) return std::nullopt;
  }
  int offset_minutes = 0;
  if (pos < s.size() && (s[pos] == 'Z' || s[pos] == 'z')) {
    ++pos;
  } else if (pos < s.size() && (s[pos] == '+' || s[pos] == '-')) {
    const int sign = s[pos] == '-' ? -1 : 1;
    ++pos;
    int oh, om;
    if (!digits(s, pos, 2, oh) || !expect(s, pos, ':') ||
        !digits(s, pos, 2, om) || oh > 23 || om > 59)
      return std::nullopt;
    offset_minutes = sign * (oh * 60 + om);
  }
  if (pos != s.size()) return std::nullopt;
  const std::int64_t whole =
      days_from_civil(year, static_cast<unsigned>(month),
                      static_cast<unsigned>(day)) *
          86400 +
      hour * 3600 + minute * 60 + second - offset_minutes * 60;
  return static_cast<double>(whole) + fraction;
}

std::string format_iso_time(double seconds) {
  if (!std::isfinite(seconds) || std::fabs(seconds) > 3e11) return "invalid";
  const auto tenths = static_cast<std::int64_t>(std::llround(seconds * 10.0));
  std::int64_t days = tenths / 864000;
  std::int64_t rest = tenths % 864000;
  if (rest < 0) {
    rest += 864000;
    --days;
  }
  std::int64_t y;
  unsigned m, d;
  civil_from_days(days, y, m, d);
  const auto secs = static_cast<int>(rest / 10);
  char buf[48];
  std::snprintf(buf, sizeof buf, "%04lld-%02u-%02uT%02d:%02d:%02d.%dZ",
                static_cast<long long>(y), m, d, secs / 3600,
                secs / 60 % 60, secs % 60, static_cast<int>(rest % 10));
  return buf;
}

}  // namespace fix
