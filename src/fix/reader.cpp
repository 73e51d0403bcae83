#include "fix/reader.h"

#include <charconv>
#include <cmath>
#include <iostream>
#include <iterator>
#include <optional>
#include <unordered_map>
#include <utility>
#include <vector>

#include <nlohmann/json.hpp>

#include "class_location.h"
#include "fix/geodesy.h"
#include "fix/iso_time.h"

namespace fix {

void Diagnostics::error(const std::string& where, const std::string& message) {
  err_ << "vestra-fix: " << where << ": " << message << '\n';
  ++errors_;
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
  d.longitude = wrap180(d.longitude);
  if (d.longitude == -180.0) d.longitude = 180.0;
  d.back_azimuth = wrap360(d.back_azimuth);
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

// Keeps the known keys of each element of the top-level array and hands
// every finished element to a callback.
class DetectionSax : public nlohmann::json_sax<json> {
 public:
  using Element = std::vector<Value>;
  DetectionSax(Diagnostics& diag, std::string name)
      : diag_(diag), name_(std::move(name)), element_(key_count) {}

  virtual void element(std::size_t index, Element& values) = 0;

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
    if (depth_ == 0) {
      diag_.error(name_, "not a JSON array of detections");
      return false;
    }
    if (depth_ == 1) {
      for (Value& v : element_) v = Value{};
    } else if (depth_ == 2) {
      scalar(Value::other, 0.0, "");
    }
    ++depth_;
    return true;
  }
  bool end_object() override {
    --depth_;
    if (depth_ == 1) element(index_++, element_);
    return true;
  }
  bool start_array(std::size_t) override {
    if (depth_ == 1) {
      not_an_object();
    } else if (depth_ == 2) {
      scalar(Value::other, 0.0, "");
    }
    ++depth_;
    return true;
  }
  bool end_array() override {
    --depth_;
    return true;
  }
  bool key(string_t& k) override {
    key_ = key_count;
    if (depth_ == 2)
      for (int i = 0; i < key_count; ++i)
        if (k == key_names[i]) key_ = i;
    return true;
  }
  bool parse_error(std::size_t position, const std::string&,
                   const nlohmann::detail::exception& ex) override {
    // The library's message is "[json.exception...] parse error at line
    // L, column C: what"; keep what, with our own position.
    std::string what = ex.what();
    const std::size_t column = what.find(", column ");
    if (column != std::string::npos) {
      const std::size_t colon = what.find(": ", column);
      if (colon != std::string::npos) what = what.substr(colon + 2);
    }
    diag_.error(name_ + ":" + position_text(position),
                "JSON syntax error: " + what);
    return false;
  }

  std::size_t depth() const { return depth_; }

  const char* text_ = nullptr;  // the document, for line numbers
  std::size_t text_size_ = 0;
  std::size_t lines_before_ = 0;

 protected:
  Diagnostics& diag_;
  std::string name_;

 private:
  bool scalar(Value::Kind kind, double number, const std::string& text) {
    if (depth_ == 0) {
      diag_.error(name_, "not a JSON array of detections");
      return false;
    }
    if (depth_ == 1) {
      not_an_object();
    } else if (depth_ == 2 && key_ < key_count) {
      Value& v = element_[key_];
      v.kind = kind;
      v.number_value = number;
      v.text = text;
    }
    return true;
  }

  void not_an_object() {
    diag_.error(name_ + ": [" + std::to_string(index_) + "]",
                "not a detection object");
    ++index_;
  }

  // "line:column" of a byte position (1-based column of the byte after it).
  std::string position_text(std::size_t position) const {
    std::size_t line = lines_before_ + 1, column = 1;
    for (std::size_t i = 0; i < position && i < text_size_; ++i) {
      if (text_[i] == '\n') {
        ++line;
        column = 1;
      } else {
        ++column;
      }
    }
    return std::to_string(line) + ":" + std::to_string(column);
  }

  std::size_t depth_ = 0;
  std::size_t index_ = 0;
  int key_ = key_count;
  Element element_;
};

class JsonReader : public EventReader {
 public:
  JsonReader(std::istream& in, const std::string& name,
             Diagnostics& diagnostics, std::size_t lines_before) {
    const std::string text((std::istreambuf_iterator<char>(in)),
                           std::istreambuf_iterator<char>());
    Collector sax(diagnostics, name, events_);
    sax.text_ = text.data();
    sax.text_size_ = text.size();
    sax.lines_before_ = lines_before;
    json::sax_parse(text, &sax);
  }

  bool next(Event& event) override {
    if (next_ >= events_.size()) return false;
    event = std::move(events_[next_++]);
    return true;
  }

 private:
  class Collector : public DetectionSax {
   public:
    Collector(Diagnostics& d, const std::string& name,
              std::vector<Event>& events)
        : DetectionSax(d, name), events_(events) {}

    void element(std::size_t index, Element& v) override {
      const std::string where = name_ + ": [" + std::to_string(index) + "]";
      auto refuse = [&](Key k, const std::string& message) {
        diag_.error(where, std::string("\"") + key_names[k] + "\": " + message);
      };
      const Value& ev = v[k_event];
      std::string event_name;
      if (ev.kind == Value::string || ev.kind == Value::number) {
        event_name = ev.text;
      } else if (ev.kind != Value::absent && ev.kind != Value::null) {
        refuse(k_event, "not a string or a number; detection left out");
        return;
      }
      auto found = index_.find(event_name);
      if (found == index_.end()) {
        found = index_.emplace(event_name, events_.size()).first;
        events_.emplace_back();
        events_.back().name = event_name;
      }
      Event& event = events_[found->second];

      Detection d;
      const Value& name = v[k_name];
      if (name.kind == Value::string || name.kind == Value::number) {
        d.station = name.text;
      } else if (name.kind == Value::other) {
        refuse(k_name, "not a string");
        ++event.refused;
        return;
      }
      auto number = [&](Key k, std::string (*check)(double), double& out) {
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
          !number(k_baz, check_azimuth, d.back_azimuth)) {
        ++event.refused;
        return;
      }
      const Value& t = v[k_time];
      if (t.kind == Value::string) {
        const auto parsed = parse_iso_time(t.text);
        if (!parsed) {
          refuse(k_time, "not an ISO 8601 time: " + quote(t.text));
          ++event.refused;
          return;
        }
        d.has_time = true;
        d.time = *parsed;
      } else if (t.kind != Value::absent && t.kind != Value::null) {
        refuse(k_time, "not an ISO 8601 time string");
        ++event.refused;
        return;
      }
      normalise(d);
      event.detections.push_back(std::move(d));
    }

   private:
    std::vector<Event>& events_;
    std::unordered_map<std::string, std::size_t> index_;
  };

  std::vector<Event> events_;
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
    if (c == '[') return std::make_unique<JsonReader>(in, name, diagnostics, lines);
    break;
  }
  return std::make_unique<TextReader>(in, name, diagnostics, lines);
}

}  // namespace fix
