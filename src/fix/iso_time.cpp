#include "fix/iso_time.h"

#include <charconv>
#include <chrono>
#include <cmath>
#include <cstdint>
#include <cstdio>

namespace fix {

namespace {

// Reads exactly `n` decimal digits at `pos`.
bool digits(std::string_view s, std::size_t& pos, std::size_t n,
            unsigned& value) {
  if (pos + n > s.size()) return false;
  const char* first = s.data() + pos;
  const auto r = std::from_chars(first, first + n, value);
  if (r.ec != std::errc() || r.ptr != first + n) return false;
  pos += n;
  return true;
}

bool expect(std::string_view s, std::size_t& pos, char c) {
  if (pos >= s.size() || s[pos] != c) return false;
  ++pos;
  return true;
}

// An optional fraction of a second, ".s..." or ",s..." (at least one
// digit), as a number in [0, 1).
bool fraction(std::string_view s, std::size_t& pos, double& value) {
  value = 0.0;
  if (pos >= s.size() || (s[pos] != '.' && s[pos] != ',')) return true;
  const std::size_t first = ++pos;
  while (pos < s.size() && s[pos] >= '0' && s[pos] <= '9') ++pos;
  if (pos == first) return false;
  std::string text = "0.";
  text.append(s.substr(first, pos - first));
  std::from_chars(text.data(), text.data() + text.size(), value);
  return true;
}

// An optional zone, "Z" or "+hh:mm" / "-hh:mm", as minutes east of UTC.
bool zone(std::string_view s, std::size_t& pos, int& minutes) {
  minutes = 0;
  if (pos < s.size() && (s[pos] == 'Z' || s[pos] == 'z')) {
    ++pos;
    return true;
  }
  if (pos >= s.size() || (s[pos] != '+' && s[pos] != '-')) return true;
  const int sign = s[pos++] == '-' ? -1 : 1;
  unsigned hours, mins;
  if (!digits(s, pos, 2, hours) || !expect(s, pos, ':') ||
      !digits(s, pos, 2, mins) || hours > 23 || mins > 59)
    return false;
  minutes = sign * static_cast<int>(hours * 60 + mins);
  return true;
}

constexpr int minutes_per_day = 1440;

}  // namespace

std::optional<double> parse_iso_time(std::string_view s) {
  using namespace std::chrono;
  std::size_t pos = 0;
  unsigned y, mo, d, h, mi, sec;
  if (!digits(s, pos, 4, y) || !expect(s, pos, '-') ||
      !digits(s, pos, 2, mo) || !expect(s, pos, '-') || !digits(s, pos, 2, d))
    return std::nullopt;
  if (pos >= s.size() || (s[pos] != 'T' && s[pos] != 't' && s[pos] != ' '))
    return std::nullopt;
  ++pos;
  if (!digits(s, pos, 2, h) || !expect(s, pos, ':') ||
      !digits(s, pos, 2, mi) || !expect(s, pos, ':') ||
      !digits(s, pos, 2, sec))
    return std::nullopt;
  double part;
  int offset;
  if (!fraction(s, pos, part) || !zone(s, pos, offset) || pos != s.size())
    return std::nullopt;
  const year_month_day date{year(static_cast<int>(y)), month(mo), day(d)};
  if (y < 1 || !date.ok() || h > 23 || mi > 59 || sec > 60)
    return std::nullopt;
  // A leap second is the 61st second of 23:59 UTC, and of no other minute.
  const int minute_of_day = static_cast<int>(h * 60 + mi) - offset;
  if (sec == 60 && (minute_of_day + minutes_per_day) % minutes_per_day !=
                       minutes_per_day - 1)
    return std::nullopt;
  const std::int64_t whole =
      std::int64_t{sys_days(date).time_since_epoch().count()} * 86400 +
      std::int64_t{minute_of_day} * 60 + sec;
  return static_cast<double>(whole) + part;
}

std::string format_iso_time(double seconds, int decimals, int least) {
  using namespace std::chrono;
  if (!std::isfinite(seconds) || std::fabs(seconds) > 3e11) return "";
  std::int64_t per_second = 1;
  for (int i = 0; i < decimals; ++i) per_second *= 10;
  const std::int64_t units =
      std::llround(seconds * static_cast<double>(per_second));
  std::int64_t whole = units / per_second, fraction = units % per_second;
  if (fraction < 0) {
    fraction += per_second;
    --whole;
  }
  const sys_seconds t{std::chrono::seconds{whole}};
  const sys_days day = floor<days>(t);
  const year_month_day date{day};
  const hh_mm_ss hms{t - day};
  char buf[64];
  int n = std::snprintf(buf, sizeof buf, "%04d-%02u-%02uT%02d:%02d:%02d",
                        static_cast<int>(date.year()),
                        static_cast<unsigned>(date.month()),
                        static_cast<unsigned>(date.day()),
                        static_cast<int>(hms.hours().count()),
                        static_cast<int>(hms.minutes().count()),
                        static_cast<int>(hms.seconds().count()));
  if (decimals > 0) {
    const int start = n;
    n += std::snprintf(buf + n, sizeof buf - n, ".%0*lld", decimals,
                       static_cast<long long>(fraction));
    while (n > start + 1 + least && buf[n - 1] == '0') --n;
    if (n == start + 1) n = start;  // no decimal left: no point either
  }
  return std::string(buf, n) + "Z";
}

std::string format_iso_time(double seconds) {
  const std::string text = format_iso_time(seconds, 1, 1);
  return text.empty() ? "invalid" : text;
}

}  // namespace fix
