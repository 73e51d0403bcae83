#include "map/map_plan.h"

#include <algorithm>
#include <cmath>
#include <cstdio>

#include "geo/vocabulary.h"

namespace vestra::map {

namespace {

// Page layout, in points: room for the annotations left and below the
// frame, the title lines above it.
constexpr double kLeft = 48, kRight = 14, kBottom = 24, kTopBase = 32;
constexpr double kLineStep = 12;  // one subtitle line

std::string num(double v, int decimals) {
  char buf[64];
  std::snprintf(buf, sizeof buf, "%.*f", decimals, v);
  return buf;
}

std::string pos(LonLat p) { return num(p.lon, 7) + " " + num(p.lat, 7); }

/// Latitude and longitude as 52.1234°N 179.9876°W.
std::string degrees(LonLat p) {
  return num(std::abs(p.lat), 4) + "@." + (p.lat < 0 ? "S " : "N ") +
         num(std::abs(p.lon), 4) + "@." + (p.lon < 0 ? "W" : "E");
}

/// Polylines or polygons as GMT multi-segment records.
std::string segments(const std::vector<Line>& lines) {
  std::string s;
  for (const auto& line : lines) {
    s += ">\n";
    for (LonLat p : line) s += pos(p) + '\n';
  }
  return s;
}

std::string records(const std::vector<std::string>& rows) {
  std::string s;
  for (const auto& row : rows) s += row + '\n';
  return s;
}

/// A round grid interval in degrees near a quarter of `span`.
double grid_step(double span) {
  static const double steps[] = {0.05, 0.1, 0.2, 0.25, 0.5, 1,  2,
                                 2.5,  5,   10,  15,   30,  45, 90};
  for (double s : steps)
    if (s >= span / 5) return s;
  return 90;
}

/// The corner for the legend (the scale bar has the lower left one): the
/// one that hides the fewest points, stations and the fix counting most.
std::string legend_corner(const MapEvent& event, const MapView& view) {
  struct Corner {
    const char* code;
    double x, y;  // the corner, as fractions of the width and height
  };
  static const Corner corners[] = {{"BR", 1, 0}, {"TR", 1, 1}, {"TL", 0, 1}};
  const double w = view.high.x - view.low.x, h = view.high.y - view.low.y;
  auto hidden = [&](const Corner& c, LonLat p) {
    PlanePoint q = project(view.projection, view.centre, p);
    return std::abs(view.low.x + c.x * w - q.x) < 0.3 * w &&
           std::abs(view.low.y + c.y * h - q.y) < 0.35 * h;
  };
  std::string best;
  double fewest = INFINITY;
  for (const Corner& c : corners) {
    double count = 0;
    for (const auto& s : event.stations) count += 50 * hidden(c, s.at);
    if (event.fix && event.fix->at) count += 50 * hidden(c, *event.fix->at);
    for (LonLat p : framed_points(event, std::nullopt)) count += hidden(c, p);
    if (count < fewest) {
      fewest = count;
      best = c.code;
    }
  }
  return best;
}

std::vector<std::string> title_lines(const MapEvent& event,
                                     std::size_t number) {
  std::string title = "Event " + (event.name.empty()
                                      ? "#" + std::to_string(number)
                                      : gmt_text(event.name));
  if (!event.fix) return {title};
  const MapFix& f = *event.fix;
  if (f.status == geo::name(geo::Verdict::ill_conditioned))
    title += " (" + f.status + ")";
  std::vector<std::string> lines{title};
  if (f.at) {
    std::string line = "Fix " + degrees(*f.at);
    if (f.semi_major_km && f.semi_minor_km) {
      line += ", 95% ellipse " + num(*f.semi_major_km, 1) + " @~\\264@~ " +
              num(*f.semi_minor_km, 1) + " km";
      if (f.azimuth_deg) line += ", azimuth " + num(*f.azimuth_deg, 0) + "@.";
    }
    lines.push_back(line);
  } else {
    lines.push_back("No fix" + (f.reason.empty() ? "" : ": " + gmt_text(f.reason)));
  }
  if (!f.origin_time.empty())
    lines.push_back("Origin time " + gmt_text(f.origin_time));
  return lines;
}

std::optional<LonLat> fix_position(const MapEvent& event) {
  if (event.fix && event.fix->at) return event.fix->at;
  return std::nullopt;
}

std::vector<DataFile> data_files(const MapEvent& event,
                                 const DrawOptions& options,
                                 const PageLayout& layout) {
  std::vector<Line> used, unused;
  for (const auto& b : event.bearings)
    for (const auto& part : b.parts) (b.used ? used : unused).push_back(part);
  std::vector<std::string> stations, labels, crossings;
  for (const auto& s : event.stations) {
    stations.push_back(pos(s.at));
    if (!s.name.empty()) labels.push_back(pos(s.at) + " " + gmt_text(s.name));
  }
  for (LonLat c : event.crossings) crossings.push_back(pos(c));
  std::vector<DataFile> files = {
      {"used.txt", segments(used)},
      {"unused.txt", segments(unused)},
      {"ellipse.txt", segments(event.ellipse)},
      {"outline.txt", segments(geo::ring_outline(event.ellipse))},
      {"stations.txt", records(stations)},
      {"labels.txt", records(labels)},
      {"crossings.txt", records(crossings)}};
  if (auto fix = fix_position(event))
    files.push_back({"fix.txt", records({pos(*fix)})});
  if (options.truth)
    files.push_back({"truth.txt", records({pos(*options.truth)})});
  for (std::size_t i = 0; i < layout.titles.size(); ++i)
    files.push_back(
        {"title" + std::to_string(i) + ".txt", records({layout.titles[i]})});
  return files;
}

/// The session's start and settings, and the coastlines, which set the
/// region, the projection and the map's place on the page.
std::vector<Command> base_commands(const DrawOptions& options,
                                   const PageLayout& layout) {
  const MapView& view = layout.view;
  const std::string centre =
      num(view.centre.lon, 6) + "/" + num(view.centre.lat, 6);
  const std::string region =
      view.whole_earth
          ? "-Rg"
          : "-R" + num(view.lower_left.lon, 6) + "/" + num(view.lower_left.lat, 6) +
                "/" + num(view.upper_right.lon, 6) + "/" +
                num(view.upper_right.lat, 6) + "+r";
  const std::string width = num(layout.map_w, 3) + "p";
  const std::string projection =
      view.projection == Projection::stereographic
          ? "-JS" + centre + "/" + width
          : "-JE" + centre + (view.whole_earth ? "/180/" : "/") + width;
  std::vector<Command> commands;
  commands.push_back({"begin", "map", options.pdf ? "pdf" : "png",
                      options.pdf ? "A+n" : "E" + std::to_string(options.dpi) + ",A+n"});
  // GSHHG coastlines come from the installed files; with the update
  // interval off GMT never tries to download them.
  commands.push_back(
      {"set", "PS_MEDIA", num(layout.page_w, 4) + "px" + num(layout.page_h, 4) + "p",
       "GMT_DATA_UPDATE_INTERVAL", "off", "FONT_ANNOT_PRIMARY", "8p",
       "FORMAT_GEO_MAP", "ddd:mmF", "MAP_FRAME_TYPE", "plain",
       "MAP_GRID_PEN_PRIMARY", "0.25p,gray65", "MAP_TICK_LENGTH_PRIMARY", "3p"});
  // Intermediate coastlines for small maps, low ones for large maps; "+f"
  // falls back to a coarser set when a finer one is not installed.
  const std::string resolution = view.width_km < 1500 ? "-Di+f" : "-Dl+f";
  const double min_area = std::floor(std::pow(view.width_km / 300, 2));
  Command coast = {
      "coast", region, projection, resolution, "-A" + num(min_area, 0),
      "-W0.3p,gray35", "-N1/0.35p,gray45,-",
      "-X" + num(kLeft + (layout.area_w - layout.map_w) / 2, 3) + "p",
      "-Y" + num(kBottom + (layout.area_h - layout.map_h) / 2, 3) + "p"};
  // GMT cannot promise to fill land and water on the whole disk (it warns
  // that it depends on the antipode); that map has outlines only.
  if (!view.whole_earth) coast.insert(coast.end(), {"-S#d6e9f5", "-G#f4f1e6"});
  commands.push_back(coast);
  return commands;
}

/// The layers drawn on the map, one command per data file that has data,
/// the ones below first.
std::vector<Command> layer_commands(const std::vector<DataFile>& files) {
  static const Command layers[] = {
      {"plot", "ellipse.txt", "-Gorange@60"},
      {"plot", "unused.txt", "-W0.8p,gray50,-", "-lBearing (not used)"},
      {"plot", "used.txt", "-W0.9p,#1f5fbf", "-lBearing"},
      {"plot", "outline.txt", "-W1p,#d9480f", "-l95% ellipse"},
      {"plot", "crossings.txt", "-Sc3.5p", "-Gblack", "-lCrossing"},
      {"plot", "stations.txt", "-St9p", "-G#d62828", "-W0.5p", "-lStation"},
      {"text", "labels.txt", "-F+f7p,Helvetica-Bold+jBL", "-D4p/3p",
       "-Gwhite@30", "-C1p/1p"},
      {"plot", "fix.txt", "-Sa13p", "-Gyellow", "-W0.6p", "-lFix"},
      {"plot", "truth.txt", "-Sx10p", "-W2p,#1b7f3a", "-lTrue source"}};
  std::vector<Command> commands;
  for (const Command& layer : layers)
    for (const DataFile& f : files)
      if (f.name == layer[1] && !f.contents.empty()) commands.push_back(layer);
  return commands;
}

/// Frame, grid, scale bar, legend and the title lines, then the end of the
/// session, which makes the picture.
std::vector<Command> frame_commands(const MapEvent& event,
                                    const PageLayout& layout) {
  const MapView& view = layout.view;
  // The scale is true at the projection centre.
  const double lat_span = view.height_km / 111.2;
  const double lon_span =
      view.width_km /
      (111.2 * std::max(std::cos(view.centre.lat * geo::deg2rad), 0.2));
  const std::string lat_step = num(grid_step(lat_span), 2);
  const std::string lon_step = num(grid_step(lon_span), 2);
  const std::string centre =
      num(view.centre.lon, 6) + "/" + num(view.centre.lat, 6);
  std::vector<Command> commands;
  commands.push_back(
      {"basemap", "-Bxa" + lon_step + "g" + lon_step,
       "-Bya" + lat_step + "g" + lat_step, "-BWSne",
       "-LjBL+o8p/8p+w" + num(view.scale_bar_km, 0) + "k+c" + centre + "+u",
       "-Fl+gwhite@20+p0.25p,gray50"});
  commands.push_back({"legend", "-Dj" + legend_corner(event, view) + "+o6p",
                      "-F+gwhite@20+p0.25p,gray50", "--FONT_ANNOT_PRIMARY=7p"});
  // Title lines above the frame, the first in bold.
  const std::size_t n = layout.titles.size();
  for (std::size_t i = 0; i < n; ++i) {
    const double above = 8 + kLineStep * (n - 1 - i);
    commands.push_back(
        {"text", "title" + std::to_string(i) + ".txt",
         i == 0 ? "-F+cTC+jBC+f12p,Helvetica-Bold" : "-F+cTC+jBC+f9p",
         "-D0/" + num(above + (i == 0 ? 3 : 0), 1) + "p", "-N"});
  }
  commands.push_back({"end"});
  return commands;
}

}  // namespace

std::string gmt_text(const std::string& text) {
  std::string out;
  for (char c : text) {
    if (c == '@') out += '@';
    out += c == '\n' || c == '\r' || c == '\t' ? ' ' : c;
  }
  return out;
}

PageLayout layout_page(const MapEvent& event, const DrawOptions& options,
                       std::size_t number) {
  const std::vector<LonLat> points = framed_points(event, options.truth);
  if (points.empty())
    throw MapError("nothing to draw: no stations, bearings or fix");
  PageLayout l;
  l.titles = title_lines(event, number);
  l.page_w = options.width_px * 72.0 / options.dpi;
  l.page_h = options.height_px * 72.0 / options.dpi;
  const double top = kTopBase + kLineStep * (l.titles.size() - 1);
  l.area_w = l.page_w - kLeft - kRight;
  l.area_h = l.page_h - kBottom - top;
  if (l.area_w < 100 || l.area_h < 100)
    throw MapError("the page is too small for a map: raise --size or lower --dpi");
  l.view = choose_view(points, fix_position(event), l.area_w / l.area_h);
  l.map_w = l.view.whole_earth ? std::min(l.area_w, l.area_h) : l.area_w;
  l.map_h = l.map_w * l.view.height_km / l.view.width_km;
  return l;
}

MapPlan plan_map(const MapEvent& event, const DrawOptions& options,
                 std::size_t number) {
  const PageLayout layout = layout_page(event, options, number);
  MapPlan plan;
  plan.files = data_files(event, options, layout);
  plan.commands = base_commands(options, layout);
  for (Command& c : layer_commands(plan.files)) plan.commands.push_back(c);
  for (Command& c : frame_commands(event, layout)) plan.commands.push_back(c);
  plan.picture = options.pdf ? "map.pdf" : "map.png";
  return plan;
}

}  // namespace vestra::map
