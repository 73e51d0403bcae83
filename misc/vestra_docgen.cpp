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

#include <cmath>
#include <cstdio>
#include <fstream>
#include <iostream>
#include <map>
#include <regex>
#include <sstream>
#include <string>

#include "GFC.h"
#include "vestra.h"

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
  static const std::regex marker("@([A-Z_]+)@");
  std::string out;
  std::size_t done = 0;
  for (auto it = std::sregex_iterator(text.begin(), text.end(), marker);
       it != std::sregex_iterator(); ++it) {
    const auto found = values.find((*it)[1].str());
    if (found == values.end()) {
      std::cerr << template_path << ": unknown marker " << it->str() << "\n";
      return 1;
    }
    out.append(text, done, static_cast<std::size_t>(it->position()) - done);
    out += found->second;
    done = static_cast<std::size_t>(it->position() + it->length());
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
