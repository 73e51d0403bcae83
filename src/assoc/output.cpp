#include "assoc/output.h"

#include <charconv>
#include <cmath>

#include <nlohmann/json.hpp>

#include "fix/iso_time.h"

namespace assoc {

namespace {

std::string json_string(const std::string& s) {
  return nlohmann::json(s).dump(-1, ' ', false,
                                nlohmann::json::error_handler_t::replace);
}

// The shortest decimal that reads back as `value`.
std::string shortest(double value) {
  char buf[32];
  const auto r = std::to_chars(buf, buf + sizeof buf, value);
  return std::string(buf, r.ptr);
}

// `word` with every white-space byte replaced by "_".
std::string one_word(std::string word) {
  for (char& c : word)
    if (c == ' ' || (c >= '\t' && c <= '\r')) c = '_';
  return word;
}

bool is_space(char c) { return c == ' ' || c == '\t' || c == '\n' || c == '\r'; }

}  // namespace

std::string one_line(std::string_view json) {
  std::string out;
  out.reserve(json.size());
  bool in_string = false;
  for (std::size_t i = 0; i < json.size(); ++i) {
    const char c = json[i];
    if (in_string) {
      out += c;
      if (c == '\\' && i + 1 < json.size()) out += json[++i];
      else if (c == '"') in_string = false;
      continue;
    }
    if (!is_space(c)) {
      in_string = c == '"';
      out += c;
      continue;
    }
    std::size_t end = i;
    bool breaks = false;
    for (; end < json.size() && is_space(json[end]); ++end)
      breaks = breaks || json[end] == '\n' || json[end] == '\r';
    if (!breaks) {
      out.append(json, i, end - i);
    } else {
      const bool opens = !out.empty() && (out.back() == '{' || out.back() == '[');
      const bool closes = end < json.size() && (json[end] == '}' || json[end] == ']');
      if (!opens && !closes && !out.empty()) out += ' ';
    }
    i = end - 1;
  }
  return out;
}

std::string json_detection(const fix::Detection& d, const fix::RawElement* raw,
                           const std::string& label) {
  if (raw && !raw->text.empty())
    return one_line(raw->with_event(json_string(label), json_string(d.station)));
  return "{\"Name\": " + json_string(d.station) + ", \"Time (UTC)\": " +
         (d.has_time ? "\"" + exact_time(d.time) + "\"" : "null") +
         ", \"Back Azimuth\": " + shortest(d.back_azimuth) +
         ", \"Latitude\": " + shortest(d.latitude) +
         ", \"Longitude\": " + shortest(d.longitude) +
         ", \"Event\": " + json_string(label) + "}";
}

std::string text_detection(const fix::Detection& d, const std::string& label) {
  return (label.empty() ? "-" : one_word(label)) + " " + one_word(d.station) +
         " " + shortest(d.latitude) + " " + shortest(d.longitude) + " " +
         shortest(d.back_azimuth) + " " +
         (d.sigma > 0.0 ? shortest(d.sigma) : "-") + " " +
         (d.has_time ? exact_time(d.time) : "-");
}

std::string exact_time(double seconds) {
  return fix::format_iso_time(seconds, 6, 0);
}

}  // namespace assoc
