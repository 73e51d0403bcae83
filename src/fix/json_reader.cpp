// Detection JSON, read with simdjson's On-Demand parser.
//
// The top-level array is cut into its elements by a scan that follows
// strings and brackets; each element is then parsed on its own and walked
// whole (the values of unknown keys too, so that what is passed through is
// valid JSON), so that an element that is not valid JSON costs that
// detection only. A number beyond the range of a double is valid JSON: in a
// key that is read it is reported as out of range, elsewhere it is ignored.

// Every result of the parser is checked where it is returned: no
// conversion that would throw.
#define SIMDJSON_EXCEPTIONS 0
#include <simdjson.h>

#include <algorithm>
#include <array>
#include <cmath>
#include <cstdint>
#include <cstring>
#include <limits>
#include <string>
#include <string_view>
#include <utility>

#include "fix/iso_time.h"
#include "fix/reader_detail.h"

namespace fix::detail {

namespace {

namespace od = simdjson::ondemand;
using simdjson::error_code;

/// Deepest nesting of arrays and objects read within an element.
constexpr int max_depth = 64;

// The bytes the scan of the array stops at outside strings.
constexpr auto structural = [] {
  std::array<bool, 256> table{};
  for (const unsigned char c : {'"', '{', '}', '[', ']'}) table[c] = true;
  return table;
}();

// The fields of a detection; some have a key of today's files and one of
// older files.
enum Field {
  f_lat, f_lon, f_baz, f_time, f_fstat, f_velocity, f_elevation, f_name,
  f_event, field_count
};

struct Key {
  std::string_view name;
  Field field;
  int generation;  // 0: today's key, preferred; 1: the older one
};

constexpr Key known_keys[] = {
    {"Latitude", f_lat, 0},
    {"Longitude", f_lon, 0},
    {"Back Azimuth", f_baz, 0},
    {"Time (UTC)", f_time, 0},
    {"Peak F-Stat Time (UTC)", f_time, 1},
    {"F Stat.", f_fstat, 0},
    {"F Statistic", f_fstat, 1},
    {"Trace Vel. (m/s)", f_velocity, 0},
    {"Trace Velocity (m/s)", f_velocity, 1},
    {"Elevation (m)", f_elevation, 0},
    {"Elevation", f_elevation, 1},
    {"Name", f_name, 0},
    {"Event", f_event, 0},
};

// The line ends in [p, end), eight bytes at a time: a byte of x = word ^
// "\n\n..." is zero where a line end is, and then the high bit of that
// byte of ~((x & 0x7f..) + 0x7f.. | x | 0x7f..) is set, else clear. The
// multiplication adds up the bytes of the flags shifted down to ones.
std::size_t count_newlines(const char* p, const char* end) {
  constexpr std::uint64_t ones = 0x0101010101010101, low7 = 0x7f * ones;
  std::size_t n = 0;
  for (; end - p >= 8; p += 8) {
    std::uint64_t word;
    std::memcpy(&word, p, 8);
    const std::uint64_t x = word ^ ('\n' * ones);
    const std::uint64_t flags = ~(((x & low7) + low7) | x | low7) >> 7;
    n += static_cast<std::size_t>((flags * ones) >> 56);
  }
  for (; p < end; ++p) n += *p == '\n';
  return n;
}

const Key* find_key(std::string_view name) {
  for (const Key& k : known_keys)
    if (k.name == name) return &k;
  return nullptr;
}

// One value of a known key.
struct Value {
  enum Kind { absent, null, number, overflow, string, other } kind = absent;
  double number_value = 0.0;
  std::string_view text;  // a string's content, or a number as written
  std::size_t begin = 0, end = 0;  // the value's bytes in the element
  const Key* key = nullptr;
};

// A JSON number, by the grammar of RFC 8259.
bool is_json_number(std::string_view s) {
  std::size_t i = 0;
  auto digits = [&] {
    const std::size_t from = i;
    while (i < s.size() && s[i] >= '0' && s[i] <= '9') ++i;
    return i > from;
  };
  if (i < s.size() && s[i] == '-') ++i;
  if (i < s.size() && s[i] == '0') ++i;
  else if (!digits()) return false;
  if (i < s.size() && s[i] == '.' && (++i, !digits())) return false;
  if (i < s.size() && (s[i] == 'e' || s[i] == 'E')) {
    ++i;
    if (i < s.size() && (s[i] == '+' || s[i] == '-')) ++i;
    if (!digits()) return false;
  }
  return i == s.size();
}

std::string_view trimmed(std::string_view s) {
  while (!s.empty() && (s.back() == ' ' || s.back() == '\t' ||
                        s.back() == '\n' || s.back() == '\r'))
    s.remove_suffix(1);
  return s;
}

// What a parse error means, in words.
std::string syntax_text(error_code e) {
  switch (e) {
    case simdjson::TAPE_ERROR:
      return "a missing or misplaced comma, colon, brace or bracket";
    case simdjson::INCOMPLETE_ARRAY_OR_OBJECT:
      return "an object or array is not closed";
    case simdjson::UNCLOSED_STRING:
      return "a string is not closed";
    case simdjson::UTF8_ERROR:
      return "not valid UTF-8";
    case simdjson::STRING_ERROR:
      return "a bad escape in a string";
    case simdjson::UNESCAPED_CHARS:
      return "a control character in a string";
    case simdjson::NUMBER_ERROR:
      return "a malformed number";
    case simdjson::T_ATOM_ERROR:
    case simdjson::F_ATOM_ERROR:
    case simdjson::N_ATOM_ERROR:
    case simdjson::INCORRECT_TYPE:
      return "a malformed true, false or null";
    case simdjson::DEPTH_ERROR:
      return "nested deeper than " + std::to_string(max_depth) + " levels";
    case simdjson::EMPTY:
      return "no value";
    default:
      return simdjson::error_message(e);
  }
}

// Parses one element and keeps the values of its known keys.
class ElementParser {
 public:
  Value values[field_count][2];
  bool is_object = false;
  const Key* current = nullptr;  // the known key being read, if any
  const char* error_at = nullptr;  // where a parse error was found

  // Parses `len` bytes at `data`, readable up to `capacity` bytes (the
  // padding simdjson reads ahead into).
  error_code parse(const char* data, std::size_t len, std::size_t capacity) {
    for (auto& field : values) field[0] = field[1] = Value{};
    is_object = false;
    current = nullptr;
    error_at = nullptr;
    begin_ = data;
    if (len == 0) return simdjson::EMPTY;
    od::document doc;
    if (error_code e = parser_.iterate(data, len, capacity).get(doc)) return e;
    const error_code e = walk_document(doc);
    const char* at = nullptr;
    if (e && !doc.current_location().get(at)) error_at = at;
    return e;
  }

  // The value of a field: today's key unless it is missing or null.
  const Value& pick(Field f) const {
    const Value& today = values[f][0];
    return today.kind == Value::absent ||
                   (today.kind == Value::null &&
                    values[f][1].kind != Value::absent)
               ? values[f][1].kind == Value::absent ? today : values[f][1]
               : today;
  }

 private:
  error_code walk_document(od::document& doc) {
    od::json_type type;
    if (error_code e = doc.type().get(type)) return e;
    if (type == od::json_type::object) {
      is_object = true;
      od::object object;
      if (error_code e = doc.get_object().get(object)) return e;
      return walk_members(object);
    }
    if (type == od::json_type::array) {
      od::array array;
      if (error_code e = doc.get_array().get(array)) return e;
      return walk_elements(array, 1);
    }
    // A scalar, not a detection: only checked.
    std::string_view s;
    double d;
    bool b = false;
    switch (type) {
      case od::json_type::string:
        return doc.get_string().get(s);
      case od::json_type::number:
        if (error_code e = doc.raw_json_token().get(s)) return e;
        return number_error(doc.get_double().get(d), trimmed(s));
      case od::json_type::boolean:
        return doc.get_bool().get(b);
      default:
        return doc.is_null().get(b) || !b ? simdjson::N_ATOM_ERROR
                                          : simdjson::SUCCESS;
    }
  }

  error_code walk_members(od::object& object) {
    for (auto&& member : object) {
      od::field field;
      std::string_view name;
      if (error_code e = std::move(member).get(field)) return e;
      if (error_code e = field.unescaped_key().get(name)) return e;
      current = find_key(name);
      od::value value = field.value();
      if (error_code e = current ? read_known(value, *current) : skim(value, 1))
        return e;
    }
    current = nullptr;
    return simdjson::SUCCESS;
  }

  error_code walk_elements(od::array& array, int depth) {
    for (auto&& element : array) {
      od::value value;
      if (error_code e = std::move(element).get(value)) return e;
      if (error_code e = skim(value, depth + 1)) return e;
    }
    return simdjson::SUCCESS;
  }

  // A number's parse error: none for a well-formed number out of range.
  static error_code number_error(error_code e, std::string_view raw) {
    if (!e || (e == simdjson::NUMBER_ERROR && is_json_number(raw)))
      return simdjson::SUCCESS;
    return simdjson::NUMBER_ERROR;
  }

  // Checks the value of a key that is not read, at nesting `depth`.
  error_code skim(od::value& value, int depth) {
    if (depth > max_depth) return simdjson::DEPTH_ERROR;
    od::json_type type;
    if (error_code e = value.type().get(type)) return e;
    std::string_view s;
    double d;
    bool b = false;
    switch (type) {
      case od::json_type::object: {
        od::object object;
        if (error_code e = value.get_object().get(object)) return e;
        for (auto&& member : object) {
          od::field field;
          if (error_code e = std::move(member).get(field)) return e;
          if (error_code e = field.unescaped_key().get(s)) return e;
          od::value inner = field.value();
          if (error_code e = skim(inner, depth + 1)) return e;
        }
        return simdjson::SUCCESS;
      }
      case od::json_type::array: {
        od::array array;
        if (error_code e = value.get_array().get(array)) return e;
        return walk_elements(array, depth);
      }
      case od::json_type::string: return value.get_string().get(s);
      case od::json_type::number:
        return number_error(value.get_double().get(d),
                            trimmed(value.raw_json_token()));
      case od::json_type::boolean: return value.get_bool().get(b);
      case od::json_type::null: break;
    }
    return value.is_null().get(b) || !b ? simdjson::N_ATOM_ERROR
                                        : simdjson::SUCCESS;
  }

  // Reads the value of a known key into `values`.
  error_code read_known(od::value& value, const Key& key) {
    Value& out = values[key.field][key.generation];
    out = Value{};
    out.key = &key;
    od::json_type type;
    if (error_code e = value.type().get(type)) return e;
    const std::string_view raw = trimmed(value.raw_json_token());
    out.begin = static_cast<std::size_t>(raw.data() - begin_);
    out.end = out.begin + raw.size();
    bool b = false;
    switch (type) {
      case od::json_type::string:
        out.kind = Value::string;
        return value.get_string().get(out.text);
      case od::json_type::number: {
        const error_code e = value.get_double().get(out.number_value);
        out.kind = e ? Value::overflow : Value::number;
        out.text = raw;
        return number_error(e, raw);
      }
      case od::json_type::null:
        out.kind = Value::null;
        return value.is_null().get(b) || !b ? simdjson::N_ATOM_ERROR
                                            : simdjson::SUCCESS;
      default:
        out.kind = Value::other;
        return skim(value, 1);
    }
  }

  od::parser parser_;
  const char* begin_ = nullptr;
};

// The array is read through a window: the bytes of the element being cut
// and the next block, followed by the padding simdjson reads ahead into.
class JsonReader : public InputReader {
 public:
  JsonReader(std::unique_ptr<ByteSource> source, std::size_t index,
             const ReadOptions& options)
      : source_(std::move(source)), input_(index),
        keep_raw_(options.keep_raw),
        station_code_(file_station_code(source_->name())),
        pos_(source_->pos), size_(source_->buffer.size()) {
    source_->buffer.append(simdjson::SIMDJSON_PADDING, ' ');
  }

  bool next(DetectionRecord& record) override {
    if (state_ == State::start && !open_array()) state_ = State::done;
    if (state_ == State::done) return false;
    if (!skip_blank()) {
      if (!source_->failed()) syntax("the array is not closed");
      state_ = State::done;
      return false;
    }
    std::size_t end;
    while ((end = value_end(pos_)) == std::string::npos && refill()) {
    }
    if (end == std::string::npos && source_->failed()) {
      state_ = State::done;  // cut short by the read error reported
      return false;
    }
    element(record, pos_, end == std::string::npos ? size_ : end);
    after_element(end);
    return true;
  }

 private:
  enum class State { start, elements, done };

  const char* text() const { return source_->buffer.data(); }

  // Drops the bytes before `pos_` and reads on, at least as many bytes as
  // are kept (so that a long element is not scanned over and over); false
  // at the end of the input.
  bool refill() {
    std::string& b = source_->buffer;
    line_at(pos_);
    lines_counted_ -= pos_;
    b.resize(size_);
    b.erase(0, pos_);
    pos_ = 0;
    const std::size_t want = b.size() + std::max<std::size_t>(b.size(), 1);
    bool more = false;
    while (b.size() < want && source_->more()) more = true;
    size_ = b.size();
    b.append(simdjson::SIMDJSON_PADDING, ' ');
    return more;
  }

  // Past white space, reading on as needed; false at the end of the input.
  bool skip_blank() {
    for (;;) {
      while (pos_ < size_ && (text()[pos_] == ' ' || text()[pos_] == '\n' ||
                              text()[pos_] == '\t' || text()[pos_] == '\r'))
        ++pos_;
      if (pos_ < size_) return true;
      if (!refill()) return false;
    }
  }

  // The line of byte `pos` (from 1); positions asked only increase.
  std::size_t line_at(std::size_t pos) {
    pos = std::min(pos, size_);
    if (pos > lines_counted_)
      line_ += count_newlines(text() + lines_counted_, text() + pos);
    lines_counted_ = std::max(lines_counted_, pos);
    return line_;
  }

  void syntax(const std::string& what) {
    source_->diagnostics().error(source_->name() + ":" +
                                     std::to_string(line_at(pos_)),
                                 "JSON syntax error: " + what);
  }

  // Past the "[" and into the elements; false when there are none.
  bool open_array() {
    if (!skip_blank() || text()[pos_] != '[') {
      syntax("not an array of detections");
      return false;
    }
    ++pos_;
    if (skip_blank() && text()[pos_] == ']') {
      ++pos_;
      after_array();
      return false;
    }
    state_ = State::elements;
    return true;
  }

  void after_array() {
    if (skip_blank()) syntax("text after the array");
  }

  // Past the separator after the element that ended at `end` (npos: at
  // the end of the input).
  void after_element(std::size_t end) {
    state_ = State::done;
    pos_ = end == std::string::npos ? size_ : end;
    const bool more = skip_blank();
    if (more && text()[pos_] == ',') {
      ++pos_;
      ++index_;
      state_ = State::elements;
    } else if (more && text()[pos_] == ']') {
      ++pos_;
      after_array();
    } else if (!source_->failed()) {
      syntax(more ? "',' or ']' expected after element " +
                        std::to_string(index_)
                  : "the array is not closed");
    }
  }

  // Where the JSON value starting at `pos` ends: after its closing bracket
  // or quote, or at the separator after a scalar; npos when the bytes read
  // end first.
  std::size_t value_end(std::size_t pos) const {
    const char* t = text();
    const char first = pos < size_ ? t[pos] : '\0';
    if (first != '{' && first != '[' && first != '"') {
      while (pos < size_ && t[pos] != ',' && t[pos] != ']' && t[pos] != '}' &&
             t[pos] != ' ' && t[pos] != '\n' && t[pos] != '\t' &&
             t[pos] != '\r')
        ++pos;
      return pos < size_ ? pos : std::string::npos;
    }
    std::size_t depth = 0;
    for (; pos < size_; ++pos) {
      while (pos < size_ && !structural[static_cast<unsigned char>(t[pos])])
        ++pos;
      if (pos == size_) break;
      const char c = t[pos];
      if (c == '"') {
        pos = string_end(pos + 1);
        if (pos == std::string::npos) break;
        if (depth == 0) return pos + 1;
      } else if (c == '{' || c == '[') {
        ++depth;
      } else if (--depth == 0) {
        return pos + 1;
      }
    }
    return std::string::npos;
  }

  // The closing quote of the string whose content starts at `pos`.
  std::size_t string_end(std::size_t pos) const {
    const char* t = text();
    for (;;) {
      const void* quote = std::memchr(t + pos, '"', size_ - pos);
      if (!quote) return std::string::npos;
      const std::size_t at = static_cast<std::size_t>(
          static_cast<const char*>(quote) - t);
      std::size_t backslashes = 0;
      while (at - backslashes > pos && t[at - backslashes - 1] == '\\')
        ++backslashes;
      if (backslashes % 2 == 0) return at;
      pos = at + 1;
    }
  }

  void element(DetectionRecord& r, std::size_t begin, std::size_t end);
  bool build(DetectionRecord& r);
  bool number(Field f, Quantity q, double& out);
  void refuse(const Value& v, Field f, const std::string& message);
  // "NAME: [INDEX]": where the element is, for a message.
  std::string where() const {
    return source_->name() + ": [" + std::to_string(index_) + "]";
  }

  std::unique_ptr<ByteSource> source_;
  std::size_t input_;
  bool keep_raw_;
  std::string station_code_;
  std::size_t pos_;   // the first byte of the window not consumed
  std::size_t size_;  // bytes in the window, without the padding
  std::size_t index_ = 0;
  State state_ = State::start;
  std::size_t lines_counted_ = 0, line_ = 1;
  ElementParser parser_;
};

void JsonReader::element(DetectionRecord& r, std::size_t begin,
                         std::size_t end) {
  r.detection = Detection{};
  r.usable = false;
  r.event_known = false;
  r.event.clear();
  r.input = input_;
  r.json = true;
  r.position = index_;
  r.raw = RawElement{};
  if (keep_raw_) r.raw.text.assign(text() + begin, end - begin);
  const error_code e = parser_.parse(text() + begin, end - begin,
                                     size_ + simdjson::SIMDJSON_PADDING - begin);
  const Value& event = parser_.values[f_event][0];
  if (e) {
    const std::size_t at = parser_.error_at
                               ? static_cast<std::size_t>(parser_.error_at - text())
                               : begin;
    const Key* key = parser_.current;
    source_->diagnostics().error(
        where(), (key ? "\"" + std::string(key->name) + "\": " : std::string()) +
                   "JSON syntax error at line " +
                   std::to_string(line_at(std::min(at, end))) + ": " +
                   syntax_text(e));
    // The event is known when the parser got past it.
    if (event.kind == Value::string || event.kind == Value::number ||
        event.kind == Value::null) {
      r.event_known = true;
      r.event = event.kind == Value::null ? std::string_view() : event.text;
    }
    return;
  }
  if (!parser_.is_object) {
    source_->diagnostics().error(where(), "not a detection object");
    return;
  }
  if (keep_raw_) {
    const Value& name = parser_.values[f_name][0];
    if (event.kind != Value::absent)
      r.raw.event_begin = event.begin, r.raw.event_end = event.end;
    if (name.kind != Value::absent)
      r.raw.name_begin = name.begin, r.raw.name_end = name.end;
    r.raw.name_empty = name.kind == Value::absent ||
                       name.kind == Value::null ||
                       (name.kind == Value::string && name.text.empty());
  }
  r.usable = build(r);
}

void JsonReader::refuse(const Value& v, Field f, const std::string& message) {
  const std::string_view key = v.key ? v.key->name : [f] {
    for (const Key& k : known_keys)
      if (k.field == f) return k.name;
    return std::string_view();
  }();
  source_->diagnostics().error(where(),
                               "\"" + std::string(key) + "\": " + message);
}

bool JsonReader::number(Field f, Quantity q, double& out) {
  const Value& v = parser_.pick(f);
  const std::string problem =
      v.kind == Value::absent ? "missing"
      : v.kind == Value::number || v.kind == Value::overflow
          ? read_value(v.text, q, out)
          : "not a number";
  if (problem.empty()) return true;
  refuse(v, f, problem);
  return false;
}

// A finite number, else NaN: for the values kept when known.
double optional_number(const Value& v) {
  return v.kind == Value::number ? v.number_value
                                 : std::numeric_limits<double>::quiet_NaN();
}

bool JsonReader::build(DetectionRecord& r) {
  const Value& event = parser_.pick(f_event);
  if (event.kind == Value::string || event.kind == Value::number ||
      event.kind == Value::overflow) {
    r.event = event.text;
  } else if (event.kind != Value::absent && event.kind != Value::null) {
    refuse(event, f_event,
           "not a string or a number; detection left out");
    return false;
  }
  r.event_known = true;
  const Value& name = parser_.pick(f_name);
  Detection& d = r.detection;
  if (name.kind == Value::string || name.kind == Value::number ||
      name.kind == Value::overflow) {
    d.station = name.text;
  } else if (name.kind == Value::other) {
    refuse(name, f_name, "not a string");
    return false;
  }
  if (!number(f_lat, Quantity::latitude, d.latitude) ||
      !number(f_lon, Quantity::longitude, d.longitude) ||
      !number(f_baz, Quantity::azimuth, d.back_azimuth))
    return false;
  const Value& time = parser_.pick(f_time);
  if (time.kind == Value::string) {
    const auto t = parse_iso_time(time.text);
    if (!t) {
      refuse(time, f_time,
             cli::quote(time.text) + " is not an ISO 8601 time");
      return false;
    }
    d.has_time = true;
    d.time = *t;
  } else if (time.kind != Value::absent && time.kind != Value::null) {
    refuse(time, f_time, "not an ISO 8601 time string");
    return false;
  }
  d.f_statistic = optional_number(parser_.pick(f_fstat));
  d.trace_velocity = optional_number(parser_.pick(f_velocity));
  if (!(d.trace_velocity > 0.0))
    d.trace_velocity = std::numeric_limits<double>::quiet_NaN();
  d.elevation = optional_number(parser_.pick(f_elevation));
  normalise(d);
  if (d.station.empty())
    d.station = station_code_.empty()
                    ? position_name(d.latitude, d.longitude)
                    : station_code_;
  return true;
}

}  // namespace

std::unique_ptr<InputReader> json_reader(std::unique_ptr<ByteSource> source,
                                         std::size_t index,
                                         const ReadOptions& options) {
  return std::make_unique<JsonReader>(std::move(source), index, options);
}

}  // namespace fix::detail
