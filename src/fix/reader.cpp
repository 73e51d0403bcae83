#include "fix/reader.h"

#include <algorithm>
#include <cctype>
#include <charconv>
#include <cmath>
#include <ios>
#include <optional>
#include <ostream>
#include <system_error>
#include <utility>
#include <vector>

#include "class_location.h"
#include "fix/geodesy.h"
#include "fix/iso_time.h"
#include "fix/reader_detail.h"

namespace fix {

void Diagnostics::error(const std::string& where, const std::string& message) {
  err_ << "vestra-fix: " << where << ": " << message << '\n';
  ++errors_;
}

void Diagnostics::warning(const std::string& message) {
  err_ << "vestra-fix: warning: " << message << '\n';
}

std::string quote(std::string_view text) {
  std::string q = "'";
  for (std::size_t i = 0; i < text.size() && i < 40; ++i) {
    const unsigned char c = static_cast<unsigned char>(text[i]);
    q += c >= 0x20 && c < 0x7f ? static_cast<char>(c) : '?';
  }
  if (text.size() > 40) q += "...";
  return q + "'";
}

std::string file_station_code(std::string_view path) {
  constexpr std::string_view suffix = ".dets.json";
  const std::size_t slash = path.rfind('/');
  std::string_view base =
      slash == std::string_view::npos ? path : path.substr(slash + 1);
  if (!base.ends_with(suffix)) return "";
  base.remove_suffix(suffix.size());
  return std::string(base.substr(0, base.find('_')));
}

std::string RawElement::with_event(std::string_view event_json,
                                   std::string_view name_json) const {
  struct Edit {
    std::size_t begin, end;
    std::string_view value;
  };
  std::vector<Edit> edits;
  std::string added;
  auto set = [&](const char* key, std::size_t begin, std::size_t end,
                 std::string_view value) {
    if (begin != npos) {
      edits.push_back({begin, end, value});
      return;
    }
    if (!added.empty()) added += ", ";
    added.append("\"").append(key).append("\": ").append(value);
  };
  set("Event", event_begin, event_end, event_json);
  if (!name_json.empty() && name_empty)
    set("Name", name_begin, name_end, name_json);
  std::sort(edits.begin(), edits.end(),
            [](const Edit& a, const Edit& b) { return a.begin < b.begin; });
  std::string out;
  std::size_t from = 0;
  for (const Edit& e : edits) {
    out.append(text, from, e.begin - from).append(e.value);
    from = e.end;
  }
  if (!added.empty()) {
    // Before the closing brace, after the last member.
    std::size_t close = text.rfind('}');
    if (close == std::string::npos || close < from) close = text.size();
    std::size_t last = close;
    while (last > 0 && std::isspace(static_cast<unsigned char>(text[last - 1])))
      --last;
    last = std::max(last, from);
    out.append(text, from, last - from);
    if (last > 0 && text[last - 1] != '{') out += ", ";
    out += added;
    from = last;
  }
  return out.append(text, from);
}

namespace detail {

namespace {

/// Bytes read from the stream at a time.
constexpr std::size_t block_bytes = 1 << 16;

// What went wrong in a read, from the exception the stream buffer threw.
std::string read_failure(const std::exception& e) {
  const auto* failure = dynamic_cast<const std::ios_base::failure*>(&e);
  if (failure && failure->code().category() != std::iostream_category())
    return failure->code().message();
  return "read error";
}

bool is_blank(char c) {
  return c == ' ' || c == '\t' || c == '\r' || c == '\v' || c == '\f';
}

}  // namespace

bool ByteSource::more() {
  if (ended_) return false;
  using traits = std::char_traits<char>;
  std::streambuf& in = *in_.rdbuf();
  const std::size_t old = buffer.size();
  buffer.resize(old + block_bytes);
  std::streamsize n = 0;
  // What the stream buffer holds, or at most a block: so that the bytes
  // read before a failing read are kept.
  try {
    if (in.in_avail() <= 0 && traits::eq_int_type(in.sgetc(), traits::eof())) {
      ended_ = true;
    } else {
      const auto block = static_cast<std::streamsize>(block_bytes);
      const std::streamsize held = in.in_avail();
      n = in.sgetn(buffer.data() + old, held > 0 ? std::min(held, block) : block);
    }
  } catch (const std::exception& e) {
    diag_.error(name_, "cannot read: " + read_failure(e));
    failed_ = ended_ = true;
    n = 0;
  }
  buffer.resize(old + static_cast<std::size_t>(std::max<std::streamsize>(n, 0)));
  return n > 0;
}

void ByteSource::skip_bom() {
  while (buffer.size() - pos < 3 && more()) {
  }
  if (std::string_view(buffer).substr(pos, 3) == "\xEF\xBB\xBF") pos += 3;
}

bool ByteSource::line(std::string_view& line) {
  std::size_t from = pos;  // where a line end may still be
  for (;;) {
    const std::size_t end = buffer.find('\n', from);
    if (end != std::string::npos) {
      line = std::string_view(buffer).substr(pos, end - pos);
      pos = end + 1;
      return true;
    }
    buffer.erase(0, pos);
    pos = 0;
    from = buffer.size();
    if (!more()) break;
  }
  // A last line without its line end, unless a read error cut it short.
  if (buffer.empty() || failed_) return false;
  line = buffer;
  pos = buffer.size();
  return true;
}

std::string check_latitude(double v) {
  if (!std::isfinite(v)) return "not a finite number";
  if (v < -90.0 || v > 90.0) return "outside [-90, 90]";
  if (std::fabs(v) == 90.0) return "a station at a pole has no azimuths";
  return "";
}

std::string check_longitude(double v) {
  if (!std::isfinite(v)) return "not a finite number";
  if (v < -360.0 || v > 360.0) return "outside [-360, 360]";
  return "";
}

std::string check_azimuth(double v) {
  if (!std::isfinite(v)) return "not a finite number";
  if (std::fabs(v) > 1e6) return "outside [-1e6, 1e6]";
  return "";
}

std::string check_sigma(double v) {
  if (!std::isfinite(v)) return "not a finite number";
  if (!(v > 0.0) || v > 90.0) return "outside (0, 90]";
  return "";
}

void normalise(Detection& d) {
  d.longitude = wrap180(d.longitude);
  if (d.longitude == -180.0) d.longitude = 180.0;
  d.back_azimuth = wrap360(d.back_azimuth);
}

std::string position_name(double latitude, double longitude) {
  char buf[64] = "@";
  char* end = std::to_chars(buf + 1, buf + 31, latitude).ptr;
  *end++ = ',';
  end = std::to_chars(end, buf + sizeof buf, longitude).ptr;
  return std::string(buf, end);
}

namespace {

// ---------------------------------------------------------------------------
// Text format

class TextReader : public InputReader {
 public:
  TextReader(std::unique_ptr<ByteSource> source, std::size_t index)
      : source_(std::move(source)), index_(index) {}

  bool next(DetectionRecord& record) override {
    std::string_view line;
    while (source_->line(line)) {
      ++line_no_;
      split(line);
      if (fields_.empty()) continue;
      record.detection = Detection{};
      record.usable = false;
      record.event_known = true;
      record.event.assign(fields_[0] == "-" ? std::string_view() : fields_[0]);
      record.input = index_;
      record.json = false;
      record.position = line_no_;
      record.raw = RawElement{};
      record.usable = read(record.detection);
      return true;
    }
    return false;
  }

 private:
  // Fields of a line up to a comment.
  void split(std::string_view s) {
    fields_.clear();
    std::size_t i = 0;
    while (i < s.size()) {
      while (i < s.size() && is_blank(s[i])) ++i;
      if (i >= s.size() || s[i] == '#') break;
      std::size_t j = i;
      while (j < s.size() && !is_blank(s[j])) ++j;
      fields_.push_back(s.substr(i, j - i));
      i = j;
    }
  }

  bool refuse(const char* field, const std::string& message) {
    source_->diagnostics().error(
        source_->name() + ":" + std::to_string(line_no_),
        std::string(field) + ": " + message);
    return false;
  }

  // Reads a number field (a leading "+" allowed) into `out`; reports and
  // returns false when it is none or fails `check`.
  bool number(std::string_view text, const char* field,
              std::string (*check)(double), double& out) {
    std::string_view digits = text;
    if (digits.size() > 1 && digits[0] == '+' && digits[1] != '-')
      digits.remove_prefix(1);
    const auto r =
        std::from_chars(digits.data(), digits.data() + digits.size(), out);
    if (r.ec != std::errc() || r.ptr != digits.data() + digits.size())
      return refuse(field, "not a number: " + quote(text));
    const std::string problem = check(out);
    if (!problem.empty()) return refuse(field, problem + ": " + quote(text));
    return true;
  }

  bool read(Detection& d) {
    static const char* const names[] = {"event", "station", "latitude",
                                        "longitude", "back azimuth"};
    const std::vector<std::string_view>& f = fields_;
    if (f.size() < 5) return refuse(names[f.size()], "missing");
    if (f.size() > 7) return refuse("line", "more than 7 fields");
    d.station = f[1];
    if (f[2] == "-" && f[3] == "-") {
      if (!catalogue(d))
        return refuse("station",
                      "not in the catalogue (latitude and longitude are "
                      "\"-\"): " + quote(f[1]));
    } else if (!number(f[2], "latitude", check_latitude, d.latitude) ||
               !number(f[3], "longitude", check_longitude, d.longitude)) {
      return false;
    }
    if (!number(f[4], "back azimuth", check_azimuth, d.back_azimuth))
      return false;
    if (f.size() > 5 && f[5] != "-" &&
        !number(f[5], "sigma", check_sigma, d.sigma))
      return false;
    if (f.size() > 6 && f[6] != "-") {
      const auto t = parse_iso_time(f[6]);
      if (!t)
        return refuse("arrival time",
                      "not an ISO 8601 time: " + quote(f[6]));
      d.has_time = true;
      d.time = *t;
    }
    normalise(d);
    return true;
  }

  // The catalogue station named d.station (catalogue key, any letter case).
  static bool catalogue(Detection& d) {
    for (const auto& entry : enum2name) {
      const std::string& key = entry.second;
      if (key.size() != d.station.size()) continue;
      bool same = true;
      for (std::size_t i = 0; i < key.size() && same; ++i)
        same = std::tolower(static_cast<unsigned char>(key[i])) ==
               std::tolower(static_cast<unsigned char>(d.station[i]));
      if (!same) continue;
      const Station s = create_station(key, epoch, 0.0, 0.0, 0.0);
      if (!s.lat.valid() || !s.lng.valid()) return false;
      d.latitude = s.get_latitude();
      d.longitude = s.get_longitude();
      return true;
    }
    return false;
  }

  std::unique_ptr<ByteSource> source_;
  std::size_t index_;
  std::size_t line_no_ = 0;
  std::vector<std::string_view> fields_;
};

}  // namespace

}  // namespace detail

std::unique_ptr<InputReader> open_input(std::istream& in,
                                        const std::string& name,
                                        std::size_t index,
                                        Diagnostics& diagnostics,
                                        const ReadOptions& options) {
  auto source = std::make_unique<detail::ByteSource>(in, name, diagnostics);
  source->skip_bom();
  for (std::size_t i = source->pos;; ++i) {
    if (i == source->buffer.size() && !source->more()) break;
    const char c = source->buffer[i];
    if (c == '[' || c == '{')
      return detail::json_reader(std::move(source), index, options);
    if (c != '\n' && !detail::is_blank(c)) break;
  }
  return std::make_unique<detail::TextReader>(std::move(source), index);
}

}  // namespace fix
