#include "fix/reader.h"

#include <algorithm>
#include <cctype>
#include <charconv>
#include <cmath>
#include <iostream>
#include <iterator>
#include <limits>
#include <optional>
#include <unordered_map>
#include <utility>
#include <vector>

#include <nlohmann/json.hpp>

#include "class_location.h"
#include "geo/sphere.h"
#include "fix/iso_time.h"

namespace fix {

std::string quote(std::string_view text) {
  std::string q = "'";
  for (std::size_t i = 0; i < text.size() && i < 40; ++i) {
    const unsigned char c = static_cast<unsigned char>(text[i]);
    q += c >= 0x20 && c < 0x7f ? static_cast<char>(c) : '?';
  }
  if (text.size() > 40) q += "...";
  return q + "'";
}

namespace {

// The checks shared by both formats; each returns an empty string for a
// good value, else what is wrong with it.
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

// Brings a checked detection's angles into their ranges.
void normalise(Detection& d) {
  d.longitude = geo::wrap180(d.longitude);
  if (d.longitude == -180.0) d.longitude = 180.0;
  d.back_azimuth = geo::wrap360(d.back_azimuth);
}

// ---------------------------------------------------------------------------
// Text format

class TextReader : public EventReader {
 public:
  TextReader(std::istream& in, std::string name, Diagnostics& diagnostics,
             std::size_t lines_before)
      : in_(in), name_(std::move(name)), diag_(diagnostics),
        line_no_(lines_before) {}

  bool next(Event& event) override {
    std::string line;
    std::vector<std::string_view> fields;
    while (std::getline(in_, line)) {
      ++line_no_;
      split(line, fields);
      if (fields.empty()) continue;
      if (have_pending_ && pending_.name != fields[0]) {
        event = std::move(pending_);
        pending_ = Event{};
        pending_.name = fields[0];
        add(fields, pending_);
        return true;
      }
      if (!have_pending_) {
        pending_ = Event{};
        pending_.name = fields[0];
        have_pending_ = true;
      }
      add(fields, pending_);
    }
    if (!have_pending_) return false;
    event = std::move(pending_);
    have_pending_ = false;
    return true;
  }

 private:
  // Fields of a line up to a comment.
  static void split(const std::string& line,
                    std::vector<std::string_view>& fields) {
    fields.clear();
    const std::string_view s(line);
    std::size_t i = 0;
    auto blank = [](char c) {
      return c == ' ' || c == '\t' || c == '\r' || c == '\v' || c == '\f';
    };
    while (i < s.size()) {
      while (i < s.size() && blank(s[i])) ++i;
      if (i >= s.size() || s[i] == '#') break;
      std::size_t j = i;
      while (j < s.size() && !blank(s[j])) ++j;
      fields.push_back(s.substr(i, j - i));
      i = j;
    }
  }

  void refuse(Event& event, const char* field, const std::string& message) {
    diag_.error(name_ + ":" + std::to_string(line_no_),
                std::string(field) + ": " + message);
    ++event.refused;
  }

  // Reads a number field; reports and returns nothing when it is none or
  // fails `check`.
  std::optional<double> number(Event& event, std::string_view text,
                               const char* field,
                               std::string (*check)(double)) {
    double v = 0.0;
    const auto r = std::from_chars(text.data(), text.data() + text.size(), v);
    if (r.ec != std::errc() || r.ptr != text.data() + text.size()) {
      refuse(event, field, "not a number: " + quote(text));
      return std::nullopt;
    }
    const std::string problem = check(v);
    if (!problem.empty()) {
      refuse(event, field, problem + ": " + quote(text));
      return std::nullopt;
    }
    return v;
  }

  void add(const std::vector<std::string_view>& f, Event& event) {
    static const char* const names[] = {"event",     "station",
                                        "latitude",  "longitude",
                                        "back azimuth"};
    if (f.size() < 5) {
      refuse(event, names[f.size()], "missing");
      return;
    }
    if (f.size() > 7) {
      refuse(event, "line", "more than 7 fields");
      return;
    }
    Detection d;
    d.station = f[1];
    if (f[2] == "-" && f[3] == "-") {
      if (!catalogue(d)) {
        refuse(event, "station",
               "not in the catalogue (latitude and longitude are \"-\"): " +
                   quote(f[1]));
        return;
      }
    } else {
      const auto lat = number(event, f[2], "latitude", check_latitude);
      if (!lat) return;
      const auto lon = number(event, f[3], "longitude", check_longitude);
      if (!lon) return;
      d.latitude = *lat;
      d.longitude = *lon;
    }
    const auto baz = number(event, f[4], "back azimuth", check_azimuth);
    if (!baz) return;
    d.back_azimuth = *baz;
    if (f.size() > 5 && f[5] != "-") {
      const auto sigma = number(event, f[5], "sigma", check_sigma);
      if (!sigma) return;
      d.sigma = *sigma;
    }
    if (f.size() > 6 && f[6] != "-") {
      const auto t = parse_iso_time(f[6]);
      if (!t) {
        refuse(event, "arrival time",
               "not an ISO 8601 time: " + quote(f[6]));
        return;
      }
      d.has_time = true;
      d.time = *t;
    }
    normalise(d);
    event.detections.push_back(std::move(d));
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

  std::istream& in_;
  std::string name_;
  Diagnostics& diag_;
  std::size_t line_no_;
  bool have_pending_ = false;
  Event pending_;
};

// ---------------------------------------------------------------------------
// Detection JSON
//
// The top-level array is cut into its elements by a scan that follows
// strings and brackets; each element is parsed on its own, so that an
// element that is not valid JSON costs that detection only.

using json = nlohmann::json;

// One value of a detection object.
struct Value {
  enum Kind { absent, null, number, string, other } kind = absent;
  double number_value = 0.0;
  std::string text;  // a string, or the number as written
};

enum Key { k_lat, k_lon, k_baz, k_time, k_name, k_event, key_count };
const char* const key_names[key_count] = {
    "Latitude", "Longitude", "Back Azimuth", "Peak F-Stat Time (UTC)",
    "Name",     "Event"};

// Keeps the known keys of one element; on a parse error, what the parser
// said and where.
class ElementSax : public nlohmann::json_sax<json> {
 public:
  std::vector<Value> values = std::vector<Value>(key_count);
  bool is_object = false;
  int current = key_count;      // the known key being read, if any
  std::string error;            // the parser's complaint
  int error_id = 0;             // its exception id
  std::size_t error_position = 0;  // bytes read when it complained

  bool null() override { return scalar(Value::null, 0.0, ""); }
  bool boolean(bool) override { return scalar(Value::other, 0.0, ""); }
  bool number_integer(number_integer_t v) override {
    return scalar(Value::number, static_cast<double>(v), std::to_string(v));
  }
  bool number_unsigned(number_unsigned_t v) override {
    return scalar(Value::number, static_cast<double>(v), std::to_string(v));
  }
  bool number_float(number_float_t v, const string_t& raw) override {
    return scalar(Value::number, v, raw);
  }
  bool string(string_t& s) override { return scalar(Value::string, 0.0, s); }
  bool binary(binary_t&) override { return scalar(Value::other, 0.0, ""); }
  bool start_object(std::size_t) override {
    if (depth_ == 0) is_object = true;
    return open();
  }
  bool end_object() override {
    --depth_;
    return true;
  }
  bool start_array(std::size_t) override { return open(); }
  bool end_array() override {
    --depth_;
    return true;
  }
  bool key(string_t& k) override {
    if (depth_ != 1) return true;
    current = key_count;
    for (int i = 0; i < key_count; ++i)
      if (k == key_names[i]) current = i;
    return true;
  }
  bool parse_error(std::size_t position, const std::string&,
                   const nlohmann::detail::exception& ex) override {
    // The library's message is "[json.exception.NAME] parse error at line
    // L, column C: WHAT" or "[json.exception.NAME] WHAT"; keep WHAT.
    error = ex.what();
    const std::size_t column = error.find(", column ");
    const std::size_t colon = error.find(": ", column == std::string::npos
                                                   ? 0
                                                   : column);
    if (column != std::string::npos && colon != std::string::npos)
      error = error.substr(colon + 2);
    else if (error.find("] ") != std::string::npos)
      error = error.substr(error.find("] ") + 2);
    error_id = ex.id;
    error_position = position;
    return false;
  }

 private:
  bool open() {
    if (depth_ == 1) scalar(Value::other, 0.0, "");
    ++depth_;
    return true;
  }
  bool scalar(Value::Kind kind, double number, const std::string& text) {
    if (depth_ == 1 && current < key_count) {
      Value& v = values[current];
      v.kind = kind;
      v.number_value = number;
      v.text = text;
    }
    return true;
  }

  std::size_t depth_ = 0;
};

// Where the JSON value starting at `pos` ends: after its closing bracket or
// quote, or at the separator after a scalar; npos when the text ends first.
std::size_t value_end(const std::string& t, std::size_t pos) {
  if (pos >= t.size()) return std::string::npos;
  if (t[pos] != '{' && t[pos] != '[' && t[pos] != '"') {
    while (pos < t.size() && t[pos] != ',' && t[pos] != ']' &&
           t[pos] != '}' && !std::isspace(static_cast<unsigned char>(t[pos])))
      ++pos;
    return pos;
  }
  int depth = 0;
  bool in_string = false;
  for (; pos < t.size(); ++pos) {
    const char c = t[pos];
    if (in_string) {
      if (c == '\\') ++pos;
      else if (c == '"') in_string = false;
      if (!in_string && depth == 0) return pos + 1;
      continue;
    }
    if (c == '"') in_string = true;
    else if (c == '{' || c == '[') ++depth;
    else if ((c == '}' || c == ']') && --depth == 0) return pos + 1;
  }
  return std::string::npos;
}

bool is_number_char(char c) {
  return (c >= '0' && c <= '9') || c == '.' || c == 'e' || c == 'E' ||
         c == '+' || c == '-';
}

class JsonReader : public EventReader {
 public:
  JsonReader(std::istream& in, std::string name, Diagnostics& diagnostics,
             std::size_t lines_before)
      : name_(std::move(name)), diag_(diagnostics) {
    const std::string text((std::istreambuf_iterator<char>(in)),
                           std::istreambuf_iterator<char>());
    std::size_t line = lines_before + 1, counted = 0;
    auto line_at = [&](std::size_t pos) {
      for (; counted < pos && counted < text.size(); ++counted)
        line += text[counted] == '\n';
      return line;
    };
    auto syntax = [&](std::size_t pos, const std::string& what) {
      diag_.error(name_ + ":" + std::to_string(line_at(pos)),
                  "JSON syntax error: " + what);
    };
    auto skip_blank = [&](std::size_t& pos) {
      while (pos < text.size() &&
             std::isspace(static_cast<unsigned char>(text[pos])))
        ++pos;
    };
    std::size_t pos = 0;
    skip_blank(pos);
    if (pos >= text.size() || text[pos] != '[') {
      syntax(pos, "not an array of detections");
      return;
    }
    ++pos;
    skip_blank(pos);
    if (pos < text.size() && text[pos] == ']') {
      ++pos;
    } else {
      for (std::size_t index = 0;; ++index) {
        skip_blank(pos);
        const std::size_t start = pos, end = value_end(text, pos);
        const std::size_t stop = end == std::string::npos ? text.size() : end;
        element(index, text.substr(start, stop - start), line_at(start));
        if (end == std::string::npos) return;
        pos = end;
        skip_blank(pos);
        if (pos < text.size() && text[pos] == ',') {
          ++pos;
          continue;
        }
        if (pos < text.size() && text[pos] == ']') {
          ++pos;
          break;
        }
        syntax(pos, pos < text.size() ? "',' or ']' expected after element " +
                                            std::to_string(index)
                                      : "the array is not closed");
        return;
      }
    }
    skip_blank(pos);
    if (pos < text.size()) syntax(pos, "text after the array");
  }

  bool next(Event& event) override {
    if (next_ >= events_.size()) return false;
    event = std::move(events_[next_++]);
    return true;
  }

 private:
  // The event named by `v` (created at its first appearance); nullptr when
  // "Event" is neither missing, null, a string nor a number.
  Event* event_of(const Value& v) {
    std::string event_name;
    if (v.kind == Value::string || v.kind == Value::number)
      event_name = v.text;
    else if (v.kind != Value::absent && v.kind != Value::null)
      return nullptr;
    auto found = index_.find(event_name);
    if (found == index_.end()) {
      found = index_.emplace(event_name, events_.size()).first;
      events_.emplace_back();
      events_.back().name = event_name;
    }
    return &events_[found->second];
  }

  void element(std::size_t index, std::string text, std::size_t line) {
    const std::string where = name_ + ": [" + std::to_string(index) + "]";
    auto field = [](int k) {
      return std::string("\"") + key_names[k] + "\": ";
    };
    // A number beyond the range of a double stops the parser: such a
    // number is read again as 0 and noted as not finite.
    ElementSax sax;
    std::vector<std::pair<int, std::string>> overflows;
    for (;;) {
      sax = ElementSax();
      json::sax_parse(text, &sax);
      if (sax.error_id != 406 || sax.current == key_count ||
          overflows.size() > 16)
        break;
      std::size_t end = std::min(sax.error_position, text.size());
      while (end > 0 && !is_number_char(text[end - 1])) --end;
      std::size_t begin = end;
      while (begin > 0 && is_number_char(text[begin - 1])) --begin;
      if (begin == end) break;
      overflows.emplace_back(sax.current, text.substr(begin, end - begin));
      text.replace(begin, end - begin, "0");
    }
    for (const auto& o : overflows) {
      Value& v = sax.values[o.first];
      if (v.kind == Value::number && v.number_value == 0.0) {
        v.number_value = std::numeric_limits<double>::infinity();
        v.text = o.second;
      }
    }
    if (!sax.error.empty()) {
      std::size_t error_line = line;
      for (std::size_t i = 0; i < sax.error_position && i < text.size(); ++i)
        error_line += text[i] == '\n';
      diag_.error(where, (sax.current < key_count ? field(sax.current) : "") +
                             "JSON syntax error at line " +
                             std::to_string(error_line) + ": " + sax.error);
      // The event is known when the parser got past its key.
      if (Event* e = sax.values[k_event].kind != Value::absent
                         ? event_of(sax.values[k_event])
                         : nullptr)
        ++e->refused;
      return;
    }
    if (!sax.is_object) {
      diag_.error(where, "not a detection object");
      return;
    }
    const std::vector<Value>& v = sax.values;
    Event* event = event_of(v[k_event]);
    if (!event) {
      diag_.error(where, field(k_event) +
                             "not a string or a number; detection left out");
      return;
    }
    auto refuse = [&](int k, const std::string& message) {
      diag_.error(where, field(k) + message);
      ++event->refused;
    };

    Detection d;
    const Value& name = v[k_name];
    if (name.kind == Value::string || name.kind == Value::number) {
      d.station = name.text;
    } else if (name.kind == Value::other) {
      refuse(k_name, "not a string");
      return;
    }
    auto number = [&](int k, std::string (*check)(double), double& out) {
      const Value& x = v[k];
      std::string problem;
      if (x.kind == Value::absent) {
        problem = "missing";
      } else if (x.kind != Value::number) {
        problem = "not a number";
      } else {
        problem = check(x.number_value);
        if (!problem.empty()) problem += ": " + quote(x.text);
      }
      if (!problem.empty()) {
        refuse(k, problem);
        return false;
      }
      out = x.number_value;
      return true;
    };
    if (!number(k_lat, check_latitude, d.latitude) ||
        !number(k_lon, check_longitude, d.longitude) ||
        !number(k_baz, check_azimuth, d.back_azimuth))
      return;
    const Value& t = v[k_time];
    if (t.kind == Value::string) {
      const auto parsed = parse_iso_time(t.text);
      if (!parsed) {
        refuse(k_time, "not an ISO 8601 time: " + quote(t.text));
        return;
      }
      d.has_time = true;
      d.time = *parsed;
    } else if (t.kind != Value::absent && t.kind != Value::null) {
      refuse(k_time, "not an ISO 8601 time string");
      return;
    }
    normalise(d);
    event->detections.push_back(std::move(d));
  }

  std::string name_;
  Diagnostics& diag_;
  std::vector<Event> events_;
  std::unordered_map<std::string, std::size_t> index_;
  std::size_t next_ = 0;
};

}  // namespace

std::unique_ptr<EventReader> open_reader(std::istream& in,
                                         const std::string& name,
                                         Diagnostics& diagnostics) {
  std::size_t lines = 0;
  for (;;) {
    const int c = in.peek();
    if (c == '\n') ++lines;
    if (c == ' ' || c == '\t' || c == '\r' || c == '\n' || c == '\v' ||
        c == '\f') {
      in.get();
      continue;
    }
    if (c == '[' || c == '{')
      return std::make_unique<JsonReader>(in, name, diagnostics, lines);
    break;
  }
  return std::make_unique<TextReader>(in, name, diagnostics, lines);
}

}  // namespace fix
