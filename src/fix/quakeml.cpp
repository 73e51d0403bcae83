#include "fix/quakeml.h"

#include <algorithm>
#include <cmath>
#include <cstdio>
#include <limits>
#include <set>
#include <stdexcept>
#include <tuple>

#include "fix/iso_time.h"
#include "fix/writer.h"
#include "geo/sphere.h"

namespace fix {

namespace {

constexpr double nan = std::numeric_limits<double>::quiet_NaN();

/// Start of every identifier the program writes.
constexpr const char* id_root = "smi:local/vestra/";
/// Longest part of an identifier taken from an event's name, bytes: keeps
/// identifiers well within the 255 characters of a resource reference.
constexpr std::size_t max_id_name = 100;
/// Longest network, station, location and channel code, characters.
constexpr std::size_t max_code = 8;

constexpr const char* namespaces =
    "xmlns:q=\"http://quakeml.org/xmlns/quakeml/1.2\" "
    "xmlns=\"http://quakeml.org/xmlns/bed/1.2\"";

// The code point of the UTF-8 sequence at s[pos], advancing pos past it; -1
// for a byte that does not begin a well-formed sequence (overlong forms,
// surrogates and values beyond U+10FFFF included), advancing by that byte.
long next_code_point(std::string_view s, std::size_t& pos) {
  const auto b0 = static_cast<unsigned char>(s[pos]);
  if (b0 < 0x80) {
    ++pos;
    return b0;
  }
  std::size_t length;
  long cp, least;
  if (b0 >= 0xC2 && b0 <= 0xDF) {
    length = 2, cp = b0 & 0x1F, least = 0x80;
  } else if (b0 >= 0xE0 && b0 <= 0xEF) {
    length = 3, cp = b0 & 0x0F, least = 0x800;
  } else if (b0 >= 0xF0 && b0 <= 0xF4) {
    length = 4, cp = b0 & 0x07, least = 0x10000;
  } else {
    ++pos;
    return -1;
  }
  if (s.size() - pos < length) {
    ++pos;
    return -1;
  }
  for (std::size_t i = 1; i < length; ++i) {
    const auto b = static_cast<unsigned char>(s[pos + i]);
    if ((b & 0xC0) != 0x80) {
      ++pos;
      return -1;
    }
    cp = cp << 6 | (b & 0x3F);
  }
  if (cp < least || cp > 0x10FFFF || (cp >= 0xD800 && cp <= 0xDFFF)) {
    ++pos;
    return -1;
  }
  pos += length;
  return cp;
}

void append_utf8(std::string& out, long cp) {
  if (cp < 0x80) {
    out += static_cast<char>(cp);
  } else if (cp < 0x800) {
    out += static_cast<char>(0xC0 | cp >> 6);
    out += static_cast<char>(0x80 | (cp & 0x3F));
  } else if (cp < 0x10000) {
    out += static_cast<char>(0xE0 | cp >> 12);
    out += static_cast<char>(0x80 | (cp >> 6 & 0x3F));
    out += static_cast<char>(0x80 | (cp & 0x3F));
  } else {
    out += static_cast<char>(0xF0 | cp >> 18);
    out += static_cast<char>(0x80 | (cp >> 12 & 0x3F));
    out += static_cast<char>(0x80 | (cp >> 6 & 0x3F));
    out += static_cast<char>(0x80 | (cp & 0x3F));
  }
}

// Whether XML 1.0 can carry the character at all (its production Char).
bool xml_char(long cp) {
  return cp == 0x9 || cp == 0xA || cp == 0xD || (cp >= 0x20 && cp <= 0xD7FF) ||
         (cp >= 0xE000 && cp <= 0xFFFD) || (cp >= 0x10000 && cp <= 0x10FFFF);
}

// `text` as UTF-8 holding only characters XML 1.0 can carry: the others,
// and each byte that is not part of a UTF-8 sequence, become U+FFFD.
std::string xml_clean(std::string_view text) {
  std::string out;
  out.reserve(text.size());
  for (std::size_t pos = 0; pos < text.size();) {
    const long cp = next_code_point(text, pos);
    append_utf8(out, xml_char(cp) ? cp : 0xFFFD);
  }
  return out;
}

// The markup of clean text (see xml_clean) escaped.
std::string xml_markup(std::string_view clean, bool attribute) {
  std::string out;
  out.reserve(clean.size());
  for (const char c : clean) {
    switch (c) {
      case '&': out += "&amp;"; break;
      case '<': out += "&lt;"; break;
      case '>': out += "&gt;"; break;
      case '"': out += attribute ? "&quot;" : "\""; break;
      // A parser turns a carriage return into a line feed, and white space
      // in an attribute into blanks: references keep them.
      case '\r': out += "&#13;"; break;
      case '\n': out += attribute ? "&#10;" : "\n"; break;
      case '\t': out += attribute ? "&#9;" : "\t"; break;
      default: out += c;
    }
  }
  return out;
}

// The first `n` characters of UTF-8 text.
std::string first_characters(const std::string& text, std::size_t n) {
  std::size_t end = 0, count = 0;
  for (; end < text.size(); ++end)
    if ((static_cast<unsigned char>(text[end]) & 0xC0) != 0x80 && count++ == n)
      break;
  return text.substr(0, end);
}

// The part of an identifier that stands for an event's name: the characters
// of an unreserved URI character kept, every other byte "_", at most
// max_id_name bytes; a name of dots only has them replaced too, so that no
// path segment reads "." or "..".
std::string id_name(const std::string& name) {
  std::string s = name.substr(0, max_id_name);
  for (char& c : s)
    if (!std::isalnum(static_cast<unsigned char>(c)) && c != '-' && c != '.' &&
        c != '_' && c != '~')
      c = '_';
  if (s.find_first_not_of('.') == std::string::npos)
    std::replace(s.begin(), s.end(), '.', '_');
  return s;
}

// "YYYY-MM-DDThh:mm:ss.sZ" (xs:dateTime in UTC) with `decimals` (1 to 6)
// decimals of the second, zeros after the first one dropped; "" for a time
// that cannot be written.
std::string xml_time(double seconds, int decimals) {
  return format_iso_time(seconds, decimals, 1);
}

void indent(std::string& out, int depth) { out.append(2 * depth, ' '); }

// <tag>text</tag> on a line of its own; `text` is already escaped.
void leaf(std::string& out, int depth, const char* tag,
          const std::string& text) {
  indent(out, depth);
  out += '<';
  out += tag;
  out += '>';
  out += text;
  out += "</";
  out += tag;
  out += ">\n";
}

// A number with at most `decimals` decimals; nothing when it is not finite.
void leaf_number(std::string& out, int depth, const char* tag, double value,
                 int decimals) {
  if (std::isfinite(value)) leaf(out, depth, tag, number(value, decimals));
}

void open(std::string& out, int depth, const char* tag,
          const std::string& attributes = "") {
  indent(out, depth);
  out += '<';
  out += tag;
  out += attributes;
  out += ">\n";
}

void close(std::string& out, int depth, const char* tag) {
  indent(out, depth);
  out += "</";
  out += tag;
  out += ">\n";
}

std::string public_id(const std::string& id) {
  return " publicID=\"" + xml_markup(id, true) + "\"";
}

// A RealQuantity: its value and, when finite, its uncertainty; nothing for
// a value that is not finite.
void real_quantity(std::string& out, int depth, const char* tag, double value,
                   int decimals, double uncertainty = nan,
                   int uncertainty_decimals = 0) {
  if (!std::isfinite(value)) return;
  open(out, depth, tag);
  leaf_number(out, depth + 1, "value", value, decimals);
  leaf_number(out, depth + 1, "uncertainty", uncertainty,
              uncertainty_decimals);
  close(out, depth, tag);
}

void comment(std::string& out, int depth, const std::string& text) {
  open(out, depth, "comment");
  leaf(out, depth + 1, "text", xml_markup(xml_clean(text), false));
  close(out, depth, "comment");
}

// The codes of a waveform stream named by a station name: "NET.STA" and
// "NET.STA.LOC.CHA" (the network 1 to 8 capital letters or digits, the
// station not empty) are split; any other name is the station code, in the
// network "XX" (the code of an unregistered network: readers refuse an empty
// one), and an empty name the station "-". Codes are cut to max_code
// characters.
struct StreamCodes {
  std::string network, station, location, channel;
  bool has_channel = false;
};

StreamCodes stream_codes(const std::string& clean_name) {
  StreamCodes c;
  std::vector<std::string> parts{""};
  for (const char ch : clean_name) {
    if (ch == '.')
      parts.emplace_back();
    else
      parts.back() += ch;
  }
  const std::string& net = parts[0];
  const bool network_code =
      !net.empty() && net.size() <= max_code &&
      std::all_of(net.begin(), net.end(), [](char ch) {
        return (ch >= 'A' && ch <= 'Z') || (ch >= '0' && ch <= '9');
      });
  if ((parts.size() == 2 || parts.size() == 4) && network_code &&
      !parts[1].empty()) {
    c.network = net;
    c.station = first_characters(parts[1], max_code);
    if (parts.size() == 4) {
      c.location = first_characters(parts[2], max_code);
      c.channel = first_characters(parts[3], max_code);
      c.has_channel = true;
    }
  } else {
    c.network = "XX";
    c.station = clean_name.empty() ? "-" : first_characters(clean_name, max_code);
  }
  return c;
}

std::string waveform_attributes(const StreamCodes& c) {
  std::string a = " networkCode=\"" + xml_markup(c.network, true) +
                  "\" stationCode=\"" + xml_markup(c.station, true) + "\"";
  if (c.has_channel)
    a += " locationCode=\"" + xml_markup(c.location, true) +
         "\" channelCode=\"" + xml_markup(c.channel, true) + "\"";
  return a;
}

double median(std::vector<double> v) {
  std::sort(v.begin(), v.end());
  const std::size_t m = v.size() / 2;
  return v.size() % 2 ? v[m] : 0.5 * (v[m - 1] + v[m]);
}

// The largest gap between the azimuths (degrees) seen round the circle.
double azimuthal_gap(std::vector<double> azimuths) {
  std::sort(azimuths.begin(), azimuths.end());
  double gap = 360.0 - (azimuths.back() - azimuths.front());
  for (std::size_t i = 1; i < azimuths.size(); ++i)
    gap = std::max(gap, azimuths[i] - azimuths[i - 1]);
  return gap;
}

std::string plural(std::size_t n, const char* noun) {
  return std::to_string(n) + " " + noun + (n == 1 ? "" : "s");
}

}  // namespace

std::string xml_escape(std::string_view text, bool attribute) {
  return xml_markup(xml_clean(text), attribute);
}

QuakemlWriter::QuakemlWriter(const geo::Earth& earth,
                             const Settings& settings)
    : earth_(earth), settings_(settings) {
  const int e = settings.ellipsoid;
  earth_model_id_ = std::string(id_root) + "earth-model/" +
                    (e >= 1 && e <= 25 ? CEarth::_EllipsoidName[e]
                                       : "ellipsoid-" + std::to_string(e));
}

std::string QuakemlWriter::prologue() {
  return std::string("<?xml version=\"1.0\" encoding=\"UTF-8\"?>\n<q:quakeml ") +
         namespaces + ">\n  <eventParameters publicID=\"" + id_root +
         "catalogue\">\n";
}

std::string QuakemlWriter::epilogue() {
  return "  </eventParameters>\n</q:quakeml>\n";
}

void QuakemlWriter::write(const Event& event, const Solution& s,
                          std::size_t index, std::string& out) const {
  const bool located = s.status != Status::no_fix &&
                       std::isfinite(s.latitude) && std::isfinite(s.longitude);
  // The event's time: the fitted origin time, else the earliest arrival.
  const bool fitted_time =
      located && s.has_origin && std::isfinite(s.origin_time);
  double event_time = fitted_time ? s.origin_time : nan;
  if (!fitted_time)
    for (const Detection& d : event.detections)
      if (d.has_time && (std::isnan(event_time) || d.time < event_time))
        event_time = d.time;
  const std::string time = xml_time(event_time, fitted_time ? 1 : 6);
  const std::string id = std::string(id_root) + "event/" +
                         std::to_string(index + 1) +
                         (event.name.empty() ? "" : "/" + id_name(event.name));

  // An origin and a pick must have a time: an event without any arrival
  // time keeps what is known as comments instead.
  const bool timed = !time.empty();

  open(out, 2, "event", public_id(id));
  if (located && timed) leaf(out, 3, "preferredOriginID", id + "/origin");
  leaf(out, 3, "type", "not reported");
  if (!event.name.empty()) {
    open(out, 3, "description");
    leaf(out, 4, "text", xml_escape(event.name, false));
    leaf(out, 4, "type", "earthquake name");
    close(out, 3, "description");
  }
  if (s.status == Status::no_fix)
    comment(out, 3, std::string(status_name(s.status)) + ": " + s.reason);
  if (event.refused)
    comment(out, 3, plural(event.refused, "detection") +
                        " refused as bad input");
  if (!timed) {
    write_untimed(event, s, located, out);
  } else {
    if (located) write_origin(event, s, id, time, fitted_time, out);
    for (std::size_t i = 0; i < event.detections.size(); ++i)
      write_pick(event.detections[i], id + "/pick/" + std::to_string(i + 1),
                 time, out);
  }
  close(out, 2, "event");
}

void QuakemlWriter::write_untimed(const Event& event, const Solution& s,
                                  bool located, std::string& out) const {
  comment(out, 3,
          "no arrival time: no origin and no picks, which need a time");
  if (located) {
    comment(out, 3,
            "fix at " + number(s.latitude, 7) + ", " +
                number(s.longitude, 7) +
                (s.status == Status::ok
                     ? ""
                     : ", " + std::string(status_name(s.status)) + ": " +
                           s.reason));
    if (std::isfinite(s.semi_major_km) && std::isfinite(s.semi_minor_km))
      comment(out, 3,
              "95% ellipse " + number(1000.0 * s.semi_major_km, 0) +
                  " m by " + number(1000.0 * s.semi_minor_km, 0) +
                  " m, major axis at " + number(s.azimuth_deg, 2) +
                  " degrees from north");
  }
  for (std::size_t i = 0; i < event.detections.size(); ++i) {
    const Detection& d = event.detections[i];
    const std::string name = xml_clean(d.station);
    const bool used = i < s.detections.size() && s.detections[i].used;
    comment(out, 3,
            "detection " + std::to_string(i + 1) + ": station " +
                (name.empty() ? "" : name + " ") + "at " +
                number(d.latitude, 7) + ", " + number(d.longitude, 7) +
                ", back azimuth " + number(geo::wrap360(d.back_azimuth), 6) +
                " +- " +
                number(d.sigma > 0.0 ? d.sigma : settings_.sigma_deg, 6) +
                " degrees" + (located && !used ? ", set aside" : ""));
  }
}

void QuakemlWriter::write_origin(const Event& event, const Solution& s,
                                 const std::string& id,
                                 const std::string& time, bool fitted_time,
                                 std::string& out) const {
  const std::vector<Detection>& dets = event.detections;
  const std::size_t n = dets.size();
  const DetectionFit unfitted;
  auto fit = [&](std::size_t i) -> const DetectionFit& {
    return i < s.detections.size() ? s.detections[i] : unfitted;
  };

  // From the fix to each station: azimuth and epicentral distance.
  const double km_per_degree = earth_.mean_radius_km() * geo::deg2rad;
  std::vector<double> azimuth(n), distance(n);
  for (std::size_t i = 0; i < n; ++i) {
    const geo::Geodesic g = earth_.inverse(s.latitude, s.longitude,
                                      dets[i].latitude, dets[i].longitude);
    azimuth[i] = geo::wrap360(g.azimuth_1);
    distance[i] = g.distance_km / km_per_degree;
  }

  open(out, 3, "origin", public_id(id + "/origin"));
  open(out, 4, "time");
  leaf(out, 5, "value", time);
  if (fitted_time && std::isfinite(s.origin_sigma_s)) {
    const double half = normal975 * s.origin_sigma_s;
    leaf_number(out, 5, "lowerUncertainty", half, 2);
    leaf_number(out, 5, "upperUncertainty", half, 2);
    leaf(out, 5, "confidenceLevel", "95");
  }
  close(out, 4, "time");
  real_quantity(out, 4, "latitude", s.latitude, 7);
  real_quantity(out, 4, "longitude", s.longitude, 7);
  real_quantity(out, 4, "depth", 0.0, 0);
  leaf(out, 4, "depthType", "operator assigned");
  leaf(out, 4, "methodID", std::string(id_root) + "method/vestra-fix");
  leaf(out, 4, "earthModelID", earth_model_id_);

  // Sites are told apart by name and position.
  std::set<std::tuple<std::string, double, double>> stations, used_stations;
  std::vector<double> used_azimuths, used_distances;
  std::size_t used = 0;
  for (std::size_t i = 0; i < n; ++i) {
    const auto site =
        std::make_tuple(dets[i].station, dets[i].latitude, dets[i].longitude);
    stations.insert(site);
    if (!fit(i).used) continue;
    ++used;
    used_stations.insert(site);
    if (std::isfinite(azimuth[i])) used_azimuths.push_back(azimuth[i]);
    if (std::isfinite(distance[i])) used_distances.push_back(distance[i]);
  }
  open(out, 4, "quality");
  leaf(out, 5, "associatedPhaseCount", std::to_string(n));
  leaf(out, 5, "usedPhaseCount", std::to_string(used));
  leaf(out, 5, "associatedStationCount", std::to_string(stations.size()));
  leaf(out, 5, "usedStationCount", std::to_string(used_stations.size()));
  if (!used_azimuths.empty())
    leaf_number(out, 5, "azimuthalGap", azimuthal_gap(used_azimuths), 3);
  if (!used_distances.empty()) {
    const auto [least, most] =
        std::minmax_element(used_distances.begin(), used_distances.end());
    leaf_number(out, 5, "maximumDistance", *most, 4);
    leaf_number(out, 5, "minimumDistance", *least, 4);
    leaf_number(out, 5, "medianDistance", median(used_distances), 4);
  }
  close(out, 4, "quality");

  if (std::isfinite(s.semi_major_km) && std::isfinite(s.semi_minor_km)) {
    open(out, 4, "originUncertainty");
    leaf_number(out, 5, "minHorizontalUncertainty", 1000.0 * s.semi_minor_km,
                0);
    leaf_number(out, 5, "maxHorizontalUncertainty", 1000.0 * s.semi_major_km,
                0);
    leaf_number(out, 5, "azimuthMaxHorizontalUncertainty", s.azimuth_deg, 2);
    leaf(out, 5, "preferredDescription", "uncertainty ellipse");
    leaf(out, 5, "confidenceLevel", "95");
    close(out, 4, "originUncertainty");
  }
  leaf(out, 4, "evaluationMode", "automatic");
  if (s.status != Status::ok)
    comment(out, 4, std::string(status_name(s.status)) + ": " + s.reason);
  if (!fitted_time)
    comment(out, 4, "origin time not fitted: the earliest arrival time");

  for (std::size_t i = 0; i < n; ++i) {
    const DetectionFit& f = fit(i);
    const std::string number_in_event = std::to_string(i + 1);
    open(out, 4, "arrival", public_id(id + "/arrival/" + number_in_event));
    leaf(out, 5, "pickID", id + "/pick/" + number_in_event);
    leaf(out, 5, "phase", "I");
    leaf_number(out, 5, "azimuth", azimuth[i], 3);
    leaf_number(out, 5, "distance", distance[i], 4);
    leaf_number(out, 5, "timeResidual", f.residual_s, 2);
    leaf_number(out, 5, "backazimuthResidual", f.residual_deg, 3);
    const bool timed = f.used && dets[i].has_time && fitted_time;
    leaf(out, 5, "timeWeight", timed ? "1" : "0");
    leaf(out, 5, "backazimuthWeight", f.used ? "1" : "0");
    close(out, 4, "arrival");
  }
  close(out, 3, "origin");
}

void QuakemlWriter::write_pick(const Detection& d, const std::string& id,
                               const std::string& event_time,
                               std::string& out) const {
  const std::string name = xml_clean(d.station);
  const std::string own_time = d.has_time ? xml_time(d.time, 6) : "";
  open(out, 3, "pick", public_id(id));
  open(out, 4, "time");
  leaf(out, 5, "value", own_time.empty() ? event_time : own_time);
  if (!own_time.empty())
    leaf_number(out, 5, "uncertainty", settings_.pick_error_s, 3);
  close(out, 4, "time");
  indent(out, 4);
  out += "<waveformID" + waveform_attributes(stream_codes(name)) + "/>\n";
  // Slowness per degree of arc of the mean sphere; an unknown trace
  // velocity (NaN) leaves the element out.
  constexpr double km_per_degree = geo::mean_radius_km * geo::deg2rad;
  real_quantity(out, 4, "horizontalSlowness",
                km_per_degree / (d.trace_velocity / 1000.0), 3);
  real_quantity(out, 4, "backazimuth", geo::wrap360(d.back_azimuth), 6,
                d.sigma > 0.0 ? d.sigma : settings_.sigma_deg, 6);
  leaf(out, 4, "phaseHint", "I");
  comment(out, 4,
          "station " + (name.empty() ? "" : name + " ") + "at " +
              number(d.latitude, 7) + ", " + number(d.longitude, 7));
  if (own_time.empty())
    comment(out, 4, "no arrival time: the event's time stands in");
  close(out, 3, "pick");
}

std::string to_quakeml(const std::vector<Event>& events,
                       const std::vector<Solution>& solutions,
                       const Settings& settings) {
  if (events.size() != solutions.size())
    throw std::invalid_argument(
        "to_quakeml: " + std::to_string(events.size()) + " events but " +
        std::to_string(solutions.size()) + " solutions");
  const geo::Earth earth(settings.ellipsoid);
  const QuakemlWriter writer(earth, settings);
  std::string out = QuakemlWriter::prologue();
  for (std::size_t i = 0; i < events.size(); ++i)
    writer.write(events[i], solutions[i], i, out);
  return out + QuakemlWriter::epilogue();
}

}  // namespace fix
