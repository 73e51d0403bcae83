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
#include "geo/sphere.h"
#include "fix/iso_time.h"
#include "fix/reader_detail.h"

namespace fix {

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

std::string read_value(std::string_view text, Quantity q, double& value) {
  static const cli::Range ranges[] = {{-90.0, 90.0},
                                      {-360.0, 360.0},
                                      {-1e6, 1e6},
                                      {0.0, 90.0, true, false}};
  const std::string problem =
      cli::read_number(text, ranges[static_cast<int>(q)], value);
  if (problem.empty() && q == Quantity::latitude && std::fabs(value) == 90.0)
    return cli::quote(text) + " is at a pole, where a station has no azimuths";
  return problem;
}

void normalise(Detection& d) {
  d.longitude = geo::wrap180(d.longitude);
  if (d.longitude == -180.0) d.longitude = 180.0;
  d.back_azimuth = geo::wrap360(d.back_azimuth);
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

  // Reads a number field into `out`; reports and returns false when it is
  // not a good value of `q`.
  bool number(std::string_view text, const char* field, Quantity q,
              double& out) {
    const std::string problem = read_value(text, q, out);
    return problem.empty() || refuse(field, problem);
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
        return refuse("station", cli::quote(f[1]) +
                                     " is not in the catalogue (latitude and "
                                     "longitude are \"-\")");
    } else if (!number(f[2], "latitude", Quantity::latitude, d.latitude) ||
               !number(f[3], "longitude", Quantity::longitude, d.longitude)) {
      return false;
    }
    if (!number(f[4], "back azimuth", Quantity::azimuth, d.back_azimuth))
      return false;
    if (f.size() > 5 && f[5] != "-" &&
        !number(f[5], "sigma", Quantity::sigma, d.sigma))
      return false;
    if (f.size() > 6 && f[6] != "-") {
      const auto t = parse_iso_time(f[6]);
      if (!t)
        return refuse("arrival time",
                      cli::quote(f[6]) + " is not an ISO 8601 time");
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
