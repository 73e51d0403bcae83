// Build-time helper: fills the manual page and the bash completion templates
// from the program's own tables, so that neither can drift from the code.
//
//   vestra_docgen TEMPLATE OUTPUT   copy TEMPLATE to OUTPUT, replacing markers
//   vestra_docgen --options         list the long option names, one a line
//
// Markers (each "@NAME@"; any other "@UPPER_CASE@" word is an error):
//   @CATALOG_ROWS@     tbl rows "option|display name|latitude|longitude",
//                      one per catalog entry, from stations.def
//   @CATALOG_COUNT@    the number of catalog entries
//   @ELLIPSOID_ROWS@   tbl rows "id|name", ellipsoids 1 to 25
//   @ELLIPSOID_IDS@    "1 2 ... 25"
//   @VALUE_OPTIONS@    the long options that take a value, "--name=" each
//   @FLAG_OPTIONS@     the long options without a value, "--name" each
//   @VERSION@          the project version
//   @GOLDEN:case@      the expected standard output of the end-to-end case
//                      tests/golden/case (its .out), one troff line per line
//   @GOLDEN-ERR:case@  the same for its standard error stream (its .err)
//   @GOLDEN-CMD:case@  the case's command line, "vestra" and its arguments,
//                      continued on further lines when it is long
// The case markers stand on a line of their own inside an example block; a
// case that does not exist, or whose file is empty, is an error.

#include <algorithm>
#include <cctype>
#include <cmath>
#include <cstdio>
#include <fstream>
#include <iostream>
#include <map>
#include <sstream>
#include <string>
#include <vector>

#include "GFC.h"
#include "shell_word.h"
#include "vestra.h"

#ifndef VESTRA_GOLDEN_DIR
#error "VESTRA_GOLDEN_DIR must name the directory of the end-to-end cases"
#endif

#ifndef VESTRA_PROJECT_VERSION
#define VESTRA_PROJECT_VERSION "unknown"
#endif

namespace {

// Text for a troff input line: backslashes and hyphens escaped, and a
// leading period or apostrophe neutralised.
std::string troff(const std::string& text) {
  std::string out;
  for (char c : text) {
    if (c == '\\')
      out += "\\e";
    else if (c == '-')
      out += "\\-";
    else
      out += c;
  }
  if (!out.empty() && (out[0] == '.' || out[0] == '\''))
    out.insert(0, "\\&");
  return out;
}

// A coordinate for the catalog table: five decimals (about a metre), or a
// dash for the placeholders' out-of-range 1000.
std::string coordinate(double value, double limit) {
  if (!(std::fabs(value) <= limit)) return "\\(em";
  char buffer[32];
  std::snprintf(buffer, sizeof buffer, "%.5f", value);
  return troff(buffer);
}

std::string catalog_rows(int& count) {
  std::ostringstream rows;
  count = 0;
#define STATION(id, ENUM, Key, base, joiner, suffix, lat, lon)          \
  rows << troff("--" #Key) << '|'                                       \
       << troff(std::string(base) + joiner + suffix) << '|'             \
       << coordinate(lat, 90.0) << '|' << coordinate(lon, 180.0) << '\n'; \
  ++count;
#include "stations.def"
  return rows.str();
}

std::string ellipsoid_rows() {
  std::ostringstream rows;
  for (int i = CEarth::Perfect_Sphere; i <= CEarth::WGS_84; ++i)
    rows << i << '|' << troff(CEarth::_EllipsoidName[i])
         << (i == CEarth::WGS_84 ? " (default)" : "") << '\n';
  return rows.str();
}

std::string ellipsoid_ids() {
  std::string ids;
  for (int i = CEarth::Perfect_Sphere; i <= CEarth::WGS_84; ++i)
    ids += (ids.empty() ? "" : " ") + std::to_string(i);
  return ids;
}

std::string long_option_words(bool with_value) {
  std::string words;
  for (const option& o : long_options) {
    if (!o.name) break;
    if ((o.has_arg != no_argument) != with_value) continue;
    words += (words.empty() ? "--" : " --") + std::string(o.name) +
             (with_value ? "=" : "");
  }
  return words;
}

std::map<std::string, std::string> markers() {
  std::map<std::string, std::string> m;
  int count = 0;
  std::string rows = catalog_rows(count);
  // Row markers stand on a line of their own; the rows bring their own ends.
  rows.pop_back();
  m["CATALOG_ROWS"] = rows;
  m["CATALOG_COUNT"] = std::to_string(count);
  std::string ellipsoids = ellipsoid_rows();
  ellipsoids.pop_back();
  m["ELLIPSOID_ROWS"] = ellipsoids;
  m["ELLIPSOID_IDS"] = ellipsoid_ids();
  m["VALUE_OPTIONS"] = long_option_words(true);
  m["FLAG_OPTIONS"] = long_option_words(false);
  m["VERSION"] = VESTRA_PROJECT_VERSION;
  return m;
}

bool read_text(const std::string& path, std::string& text) {
  std::ifstream in(path, std::ios::binary);
  if (!in) return false;
  std::stringstream buffer;
  buffer << in.rdbuf();
  text = buffer.str();
  return true;
}

// Every line of `text` as a troff input line; no line end after the last.
std::string troff_lines(const std::string& text) {
  std::istringstream in(text);
  std::string out;
  bool first = true;
  for (std::string line; std::getline(in, line); first = false)
    out += (first ? "" : "\n") + troff(line);
  return out;
}

// The arguments of a case's .cmd file, read as the end-to-end test reads
// them: "args:" splits at blanks, "arg:" is one argument, "argv0:" the name.
bool case_command(const std::string& path, std::string& name,
                  std::vector<std::string>& args) {
  std::string text;
  if (!read_text(path, text)) return false;
  name = "vestra";
  std::istringstream in(text);
  for (std::string line; std::getline(in, line);) {
    if (line.empty() || line[0] == '#') continue;
    const auto colon = line.find(':');
    if (colon == std::string::npos) continue;
    const std::string key = line.substr(0, colon);
    std::string value = line.substr(colon + 1);
    if (!value.empty() && value[0] == ' ') value.erase(0, 1);
    if (key == "args") {
      std::istringstream words(value);
      for (std::string w; words >> w;) args.push_back(w);
    } else if (key == "arg") {
      args.push_back(value);
    } else if (key == "argv0") {
      name = value;
    }
  }
  return true;
}

// The command line of a case, broken before an argument that would carry a
// line past 64 characters, continued lines indented by four blanks.
std::string command_lines(const std::string& name,
                          const std::vector<std::string>& args) {
  std::vector<std::string> lines{name};
  for (const std::string& arg : args) {
    const std::string word = shell_word(arg);
    if (lines.back().size() + 1 + word.size() > 64) {
      lines.back() += " \\";
      lines.push_back("    " + word);
    } else {
      lines.back() += " " + word;
    }
  }
  std::string out;
  for (const std::string& line : lines)
    out += (&line == &lines.front() ? "" : "\n") + troff(line);
  return out;
}

// The text of a case marker, or false with a message.
bool case_marker(const std::string& kind, const std::string& name,
                 std::string& value) {
  const std::string base = std::string(VESTRA_GOLDEN_DIR) + "/" + name;
  if (kind == "GOLDEN-CMD") {
    std::string argv0;
    std::vector<std::string> args;
    if (!case_command(base + ".cmd", argv0, args)) {
      std::cerr << "vestra_docgen: no end-to-end case " << name << "\n";
      return false;
    }
    value = command_lines(argv0, args);
    return true;
  }
  const std::string path = base + (kind == "GOLDEN" ? ".out" : ".err");
  std::string text;
  if (!read_text(base + ".cmd", text) || !read_text(path, text) ||
      text.empty()) {
    std::cerr << "vestra_docgen: no output in " << path << "\n";
    return false;
  }
  value = troff_lines(text);
  return true;
}

// A marker "@KIND@", "@KIND-SUB@" or "@KIND:name@" at text[at]: KIND of
// capitals and underscores, SUB of capitals, name of letters, digits and
// underscores.
struct Marker {
  std::string kind, name;
  std::size_t length = 0;
};

bool parse_marker(const std::string& text, std::size_t at, Marker& m) {
  std::size_t i = at + 1;
  const auto span = [&](auto accept) {
    const std::size_t from = i;
    while (i < text.size() && accept(static_cast<unsigned char>(text[i]))) ++i;
    return text.substr(from, i - from);
  };
  const auto upper = [](unsigned char c) { return std::isupper(c) != 0; };
  m.kind = span([&](unsigned char c) { return upper(c) || c == '_'; });
  if (m.kind.empty()) return false;
  if (i < text.size() && text[i] == '-') {
    ++i;
    const std::string sub = span(upper);
    if (sub.empty()) return false;
    m.kind += "-" + sub;
  }
  m.name.clear();
  if (i < text.size() && text[i] == ':') {
    ++i;
    m.name = span([](unsigned char c) { return std::isalnum(c) || c == '_'; });
    if (m.name.empty()) return false;
  }
  if (i >= text.size() || text[i] != '@') return false;
  m.length = i + 1 - at;
  return true;
}

int fill(const char* template_path, const char* output_path) {
  std::ifstream in(template_path);
  if (!in) {
    std::cerr << "vestra_docgen: cannot read " << template_path << "\n";
    return 1;
  }
  std::stringstream buffer;
  buffer << in.rdbuf();
  const std::string text = buffer.str();

  const auto values = markers();
  std::string out;
  std::size_t done = 0;
  for (std::size_t at = text.find('@'); at != std::string::npos;
       at = text.find('@', at + 1)) {
    Marker m;
    if (!parse_marker(text, at, m)) continue;
    const std::string whole = text.substr(at, m.length);
    std::string value;
    if (!m.name.empty() && m.kind.rfind("GOLDEN", 0) == 0) {
      if (!case_marker(m.kind, m.name, value)) {
        std::cerr << template_path << ": marker " << whole << "\n";
        return 1;
      }
    } else {
      const auto found = values.find(m.kind);
      if (found == values.end() || !m.name.empty()) {
        std::cerr << template_path << ": unknown marker " << whole << "\n";
        return 1;
      }
      value = found->second;
    }
    out.append(text, done, at - done);
    out += value;
    done = at + m.length;
    at = done - 1;
  }
  out.append(text, done);

  std::ofstream file(output_path, std::ios::binary | std::ios::trunc);
  file << out;
  file.close();
  if (!file) {
    std::cerr << "vestra_docgen: cannot write " << output_path << "\n";
    std::remove(output_path);
    return 1;
  }
  return 0;
}

}  // namespace

int main(int argc, char** argv) {
  const std::string first = argc > 1 ? argv[1] : "";
  if (argc == 2 && first == "--options") {
    for (const option& o : long_options) {
      if (!o.name) break;
      std::cout << o.name << "\n";
    }
    return 0;
  }
  if (argc == 3 && first.rfind("--", 0) != 0) return fill(argv[1], argv[2]);
  std::cerr << "Usage: vestra_docgen TEMPLATE OUTPUT\n"
               "       vestra_docgen --options\n";
  return 2;
}
