#include "map/gmt_map.h"

#include <sys/wait.h>
#include <unistd.h>

#include <algorithm>
#include <cerrno>
#include <cmath>
#include <cstdio>
#include <cstring>
#include <fstream>
#include <numbers>

#include "map/map_view.h"

extern char** environ;

namespace vestra::map {

namespace fs = std::filesystem;

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

std::string pos(GeoPoint p) { return num(p.lon, 7) + " " + num(p.lat, 7); }

/// Latitude and longitude as 52.1234°N 179.9876°W.
std::string degrees(GeoPoint p) {
  return num(std::abs(p.lat), 4) + "@." + (p.lat < 0 ? "S " : "N ") +
         num(std::abs(p.lon), 4) + "@." + (p.lon < 0 ? "W" : "E");
}

/// Writes polylines or polygons as GMT multi-segment records.
void write_segments(const fs::path& file, const std::vector<GeoLine>& lines) {
  std::ofstream out(file);
  for (const auto& line : lines) {
    out << ">\n";
    for (GeoPoint p : line) out << pos(p) << '\n';
  }
  if (!out) throw MapError("cannot write " + file.string());
}

void write_records(const fs::path& file, const std::vector<std::string>& rows) {
  std::ofstream out(file);
  for (const auto& row : rows) out << row << '\n';
  if (!out) throw MapError("cannot write " + file.string());
}

/// The ellipse's outline without the edges along the antimeridian that the
/// cut added (both ends at longitude +-180).
std::vector<GeoLine> outline(const std::vector<GeoLine>& rings) {
  std::vector<GeoLine> lines;
  for (const auto& ring : rings) {
    GeoLine current;
    for (std::size_t i = 0; i < ring.size(); ++i) {
      if (i > 0 && std::abs(ring[i].lon) == 180 &&
          std::abs(ring[i - 1].lon) == 180) {
        if (current.size() > 1) lines.push_back(current);
        current.clear();
      }
      current.push_back(ring[i]);
    }
    if (current.size() > 1) lines.push_back(current);
  }
  return lines;
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
  auto hidden = [&](const Corner& c, GeoPoint p) {
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
    for (GeoPoint p : framed_points(event, std::nullopt)) count += hidden(c, p);
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
  std::vector<std::string> lines;
  if (!event.fix) return {title};
  const MapFix& f = *event.fix;
  if (f.status == "ill-conditioned") title += " (ill-conditioned)";
  lines.push_back(title);
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

/// Runs one GMT command in `dir` with `env`; stdout goes to stderr so that
/// ours stays clean.
void run(const std::vector<std::string>& args, const fs::path& dir,
         std::vector<char*>& env) {
  std::vector<char*> argv;
  for (const auto& a : args) argv.push_back(const_cast<char*>(a.c_str()));
  argv.push_back(nullptr);
  std::fflush(nullptr);
  pid_t pid = fork();
  if (pid < 0) throw MapError(std::string("cannot start GMT: ") + std::strerror(errno));
  if (pid == 0) {
    if (chdir(dir.c_str()) == 0 && dup2(2, 1) == 1)
      execvpe(argv[0], argv.data(), env.data());
    std::string msg = "vestra-map: cannot run " + args[0] + ": " +
                      std::strerror(errno) + "\n";
    [[maybe_unused]] auto n = write(2, msg.data(), msg.size());
    _exit(127);
  }
  int status = 0;
  while (waitpid(pid, &status, 0) < 0)
    if (errno != EINTR) throw MapError("lost the GMT process");
  if (WIFEXITED(status) && WEXITSTATUS(status) == 0) return;
  std::string command;
  for (std::size_t i = 0; i < std::min<std::size_t>(args.size(), 3); ++i)
    command += (i ? " " : "") + args[i];
  throw MapError("GMT failed: \"" + command + " ...\" " +
                 (WIFEXITED(status)
                      ? "exited with status " + std::to_string(WEXITSTATUS(status))
                      : "was killed by signal " + std::to_string(WTERMSIG(status))));
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

fs::path draw_event(const MapEvent& event, const DrawOptions& options,
                    const fs::path& dir, std::size_t number) {
  const std::vector<GeoPoint> points = framed_points(event, options.truth);
  if (points.empty())
    throw MapError("nothing to draw: no stations, bearings or fix");
  const std::vector<std::string> titles = title_lines(event, number);

  // The page in points, and the area left for the map.
  const double page_w = options.width_px * 72.0 / options.dpi;
  const double page_h = options.height_px * 72.0 / options.dpi;
  const double top = kTopBase + kLineStep * (titles.size() - 1);
  const double area_w = page_w - kLeft - kRight, area_h = page_h - kBottom - top;
  if (area_w < 100 || area_h < 100)
    throw MapError("the page is too small for a map: raise --size or lower --dpi");

  std::optional<GeoPoint> fix;
  if (event.fix && event.fix->at) fix = event.fix->at;
  const MapView view = choose_view(points, fix, area_w / area_h);
  double map_w = area_w;
  if (view.whole_earth) map_w = std::min(area_w, area_h);
  const double map_h = map_w * view.height_km / view.width_km;

  const std::string centre = num(view.centre.lon, 6) + "/" + num(view.centre.lat, 6);
  const std::string region =
      view.whole_earth
          ? "-Rg"
          : "-R" + num(view.lower_left.lon, 6) + "/" + num(view.lower_left.lat, 6) +
                "/" + num(view.upper_right.lon, 6) + "/" +
                num(view.upper_right.lat, 6) + "+r";
  const std::string width = num(map_w, 3) + "p";
  const std::string projection =
      view.projection == Projection::stereographic
          ? "-JS" + centre + "/" + width
          : "-JE" + centre + (view.whole_earth ? "/180/" : "/") + width;

  // Data files.
  std::vector<GeoLine> used, unused;
  for (const auto& b : event.bearings)
    for (const auto& part : b.parts) (b.used ? used : unused).push_back(part);
  std::vector<std::string> stations, labels, crossings;
  for (const auto& s : event.stations) {
    stations.push_back(pos(s.at));
    if (!s.name.empty()) labels.push_back(pos(s.at) + " " + gmt_text(s.name));
  }
  for (GeoPoint c : event.crossings) crossings.push_back(pos(c));
  write_segments(dir / "used.txt", used);
  write_segments(dir / "unused.txt", unused);
  write_segments(dir / "ellipse.txt", event.ellipse);
  write_segments(dir / "outline.txt", outline(event.ellipse));
  write_records(dir / "stations.txt", stations);
  write_records(dir / "labels.txt", labels);
  write_records(dir / "crossings.txt", crossings);
  if (fix) write_records(dir / "fix.txt", {pos(*fix)});
  if (options.truth) write_records(dir / "truth.txt", {pos(*options.truth)});
  for (std::size_t i = 0; i < titles.size(); ++i)
    write_records(dir / ("title" + std::to_string(i) + ".txt"), {titles[i]});

  // GMT finds its settings, session and cache in `dir` alone: nothing of
  // the user's GMT configuration changes the map, nothing is left behind,
  // and simultaneous runs do not share a session.
  std::vector<std::string> env_strings;
  for (char** e = environ; *e; ++e) {
    std::string s = *e;
    for (const char* name : {"HOME=", "GMT_USERDIR=", "GMT_TMPDIR=",
                             "GMT_SESSION_NAME=", "GMT_DATADIR="})
      if (s.rfind(name, 0) == 0) s.clear();
    if (!s.empty()) env_strings.push_back(s);
  }
  for (const char* name : {"HOME=", "GMT_USERDIR=", "GMT_TMPDIR="})
    env_strings.push_back(name + dir.string());
  env_strings.push_back("GMT_SESSION_NAME=vestra-map");
  std::vector<char*> env;
  for (auto& s : env_strings) env.push_back(s.data());
  env.push_back(nullptr);

  const std::string& gmt = options.gmt;
  auto gmt_run = [&](std::vector<std::string> args) {
    args.insert(args.begin(), gmt);
    run(args, dir, env);
  };
  auto has_data = [&](const char* file) { return fs::file_size(dir / file) > 0; };

  gmt_run({"begin", "map", options.pdf ? "pdf" : "png",
           options.pdf ? "A+n" : "E" + std::to_string(options.dpi) + ",A+n"});
  // GSHHG coastlines come from the installed files; with the update
  // interval off GMT never tries to download them.
  gmt_run({"set", "PS_MEDIA", num(page_w, 4) + "px" + num(page_h, 4) + "p",
           "GMT_DATA_UPDATE_INTERVAL", "off", "FONT_ANNOT_PRIMARY", "8p",
           "FORMAT_GEO_MAP", "ddd:mmF", "MAP_FRAME_TYPE", "plain",
           "MAP_GRID_PEN_PRIMARY", "0.25p,gray65", "MAP_TICK_LENGTH_PRIMARY",
           "3p"});

  // Intermediate coastlines for small maps, low ones for large maps; "+f"
  // falls back to a coarser set when a finer one is not installed.
  const std::string resolution = view.width_km < 1500 ? "-Di+f" : "-Dl+f";
  const double min_area = std::floor(std::pow(view.width_km / 300, 2));
  std::vector<std::string> coast = {
      "coast", region, projection, resolution, "-A" + num(min_area, 0),
      "-W0.3p,gray35", "-N1/0.35p,gray45,-",
      "-X" + num(kLeft + (area_w - map_w) / 2, 3) + "p",
      "-Y" + num(kBottom + (area_h - map_h) / 2, 3) + "p"};
  // GMT cannot promise to fill land and water on the whole disk (it warns
  // that it depends on the antipode); that map has outlines only.
  if (!view.whole_earth) coast.insert(coast.end(), {"-S#d6e9f5", "-G#f4f1e6"});
  gmt_run(coast);
  if (has_data("ellipse.txt"))
    gmt_run({"plot", "ellipse.txt", "-Gorange@60"});
  if (has_data("unused.txt"))
    gmt_run({"plot", "unused.txt", "-W0.8p,gray50,-", "-lBearing (not used)"});
  if (has_data("used.txt"))
    gmt_run({"plot", "used.txt", "-W0.9p,#1f5fbf", "-lBearing"});
  if (has_data("outline.txt"))
    gmt_run({"plot", "outline.txt", "-W1p,#d9480f", "-l95% ellipse"});
  if (has_data("crossings.txt"))
    gmt_run({"plot", "crossings.txt", "-Sc3.5p", "-Gblack", "-lCrossing"});
  if (has_data("stations.txt"))
    gmt_run({"plot", "stations.txt", "-St9p", "-G#d62828", "-W0.5p",
             "-lStation"});
  if (has_data("labels.txt"))
    gmt_run({"text", "labels.txt", "-F+f7p,Helvetica-Bold+jBL", "-D4p/3p",
             "-Gwhite@30", "-C1p/1p"});
  if (fix)
    gmt_run({"plot", "fix.txt", "-Sa13p", "-Gyellow", "-W0.6p", "-lFix"});
  if (options.truth)
    gmt_run({"plot", "truth.txt", "-Sx10p", "-W2p,#1b7f3a", "-lTrue source"});

  // Frame, grid and scale bar; the scale is true at the projection centre.
  const double lat_span = view.height_km / 111.2;
  const double lon_span =
      view.width_km /
      (111.2 * std::max(std::cos(view.centre.lat * std::numbers::pi / 180), 0.2));
  const std::string lat_step = num(grid_step(lat_span), 2);
  const std::string lon_step = num(grid_step(lon_span), 2);
  gmt_run({"basemap", "-Bxa" + lon_step + "g" + lon_step,
           "-Bya" + lat_step + "g" + lat_step, "-BWSne",
           "-LjBL+o8p/8p+w" + num(view.scale_bar_km, 0) + "k+c" + centre + "+u",
           "-Fl+gwhite@20+p0.25p,gray50"});
  gmt_run({"legend", "-Dj" + legend_corner(event, view) + "+o6p", "-F+gwhite@20+p0.25p,gray50",
           "--FONT_ANNOT_PRIMARY=7p"});
  // Title lines above the frame, the first in bold.
  for (std::size_t i = 0; i < titles.size(); ++i) {
    const double above = 8 + kLineStep * (titles.size() - 1 - i);
    gmt_run({"text", "title" + std::to_string(i) + ".txt",
             i == 0 ? "-F+cTC+jBC+f12p,Helvetica-Bold" : "-F+cTC+jBC+f9p",
             "-D0/" + num(above + (i == 0 ? 3 : 0), 1) + "p", "-N"});
  }
  gmt_run({"end"});
  return dir / (options.pdf ? "map.pdf" : "map.png");
}

}  // namespace vestra::map
