// vestra._vestra: the toolkit's engine as a Python extension. The package
// vestra (vestra/__init__.py) turns Python values into what the programs
// read and their output back into Python values; this module only hands
// text, numbers and arrays to the libraries of the programs, with the GIL
// released while they work.
//
// Units: angles in degrees (latitude north positive, longitude east
// positive, azimuths clockwise from north), distances in metres.

#include <pybind11/numpy.h>
#include <pybind11/pybind11.h>
#include <pybind11/stl.h>

#include <algorithm>
#include <cmath>
#include <cstddef>
#include <cstdio>
#include <limits>
#include <mutex>
#include <optional>
#include <sstream>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

#include "assoc/options.h"
#include "assoc/program.h"
#include "class_location.h"
#include "class_vestra.h"
#include "cli/command_line.h"
#include "distance.h"
#include "fix/inputs.h"
#include "fix/iso_time.h"
#include "fix/options.h"
#include "fix/pipeline.h"
#include "fix/reader.h"
#include "geo/earth.h"
#include "norsar/baz_cross.h"
#include "output.h"
#include "vestra.h"

namespace py = pybind11;

namespace {

constexpr double nan = std::numeric_limits<double>::quiet_NaN();
const std::string fix_program = "vestra-fix";
const std::string assoc_program = "vestra-assoc";

// Text as a Python str; bytes that are not UTF-8 become U+FFFD.
py::str text_of(const std::string& s) {
  PyObject* o = PyUnicode_DecodeUTF8(s.data(), static_cast<Py_ssize_t>(s.size()),
                                     "replace");
  if (!o) throw py::error_already_set();
  return py::reinterpret_steal<py::str>(o);
}

// The lines a run reported, each without the program's name before it.
py::list messages(const std::string& program, const std::string& reported) {
  py::list lines;
  const std::string prefix = program + ": ";
  std::istringstream in(reported);
  for (std::string line; std::getline(in, line);) {
    if (line.starts_with(prefix)) line.erase(0, prefix.size());
    lines.append(text_of(line));
  }
  return lines;
}

// vestra-fix's command line read into `options`; a refused one raises
// ValueError with the program's message.
fix::Options fix_options(const std::vector<std::string>& args) {
  fix::Options options;
  const std::string refused = fix::parse_options(args, options);
  if (!refused.empty()) throw py::value_error(refused);
  if (options.help || options.version || !options.files.empty())
    throw py::value_error("not a setting of the location: " +
                          (args.empty() ? std::string() : args.front()));
  return options;
}

// ---------------------------------------------------------------------------
// Location

py::tuple run_fix(const py::bytes& detections, const std::vector<std::string>& args,
                  const std::string& name) {
  const fix::Options options = fix_options(args);
  std::istringstream in(std::string{std::string_view(detections)});
  std::ostringstream out, err;
  std::size_t errors = 0;
  {
    py::gil_scoped_release release;
    cli::Diagnostics diagnostics(fix_program, err);
    fix::InputChain inputs({"-"}, in, diagnostics,
                           cli::worker_count(options.jobs), name);
    fix::locate_all(inputs, options, out);
    errors = diagnostics.errors();
  }
  return py::make_tuple(text_of(out.str()), messages(fix_program, err.str()),
                        errors);
}

// ---------------------------------------------------------------------------
// Detections as read

// `seconds` (since 1970) as an ISO 8601 time in UTC with the fewest
// decimals (up to 9) that read back as the same number.
std::string exact_iso_time(double seconds) {
  const double whole = std::floor(seconds);
  std::string base = fix::format_iso_time(whole, 0, 0);  // "...:ssZ"
  base.pop_back();
  std::string text;
  for (int decimals = 0; decimals <= 9; ++decimals) {
    const double scale = std::pow(10.0, decimals);
    const double units = std::round((seconds - whole) * scale);
    if (units >= scale) continue;  // rounds up to the next second
    text = base;
    if (decimals) {
      char digits[16];
      std::snprintf(digits, sizeof digits, ".%0*.0f", decimals, units);
      text += digits;
    }
    text += 'Z';
    if (fix::parse_iso_time(text) == seconds) break;
  }
  return text;
}

// Every detection of an input: the files `files`, or `content` named
// `name` when the files are none. Returns the records and what the reader
// reported.
struct Records {
  std::vector<fix::DetectionRecord> records;
  std::vector<std::string> where;
  std::string reported;
  std::size_t errors = 0;
};

Records read_records(const std::vector<std::string>& files,
                     const std::string& content, const std::string& name) {
  Records r;
  std::istringstream in(content);
  std::ostringstream err;
  cli::Diagnostics diagnostics(fix_program, err);
  fix::ReadOptions options;
  options.keep_raw = true;
  fix::DetectionReader reader(files.empty() ? std::vector<std::string>{"-"}
                                            : files,
                              in, diagnostics, options, name);
  for (fix::DetectionRecord record; reader.next(record);) {
    r.where.push_back(reader.where(record));
    r.records.push_back(std::move(record));
  }
  r.reported = err.str();
  r.errors = diagnostics.errors();
  return r;
}

py::tuple read_input(const std::vector<std::string>& files,
               const std::optional<py::bytes>& content,
               const std::string& name) {
  const std::string text =
      content ? std::string(std::string_view(*content)) : std::string();
  Records r;
  {
    py::gil_scoped_release release;
    r = read_records(files, text, name);
  }
  py::list detections;
  for (std::size_t i = 0; i < r.records.size(); ++i) {
    const fix::DetectionRecord& record = r.records[i];
    if (!record.usable) continue;
    const fix::Detection& d = record.detection;
    py::dict fields;
    fields["where"] = text_of(r.where[i]);
    fields["station"] = text_of(d.station);
    if (record.json) {
      fields["raw"] = text_of(record.raw.text);
      fields["name_empty"] = record.raw.name_empty;
    } else {
      fields["event"] = text_of(record.event);
      fields["latitude"] = d.latitude;
      fields["longitude"] = d.longitude;
      fields["back_azimuth"] = d.back_azimuth;
      fields["sigma"] = d.sigma;
      if (d.has_time) fields["time"] = exact_iso_time(d.time);
    }
    detections.append(fields);
  }
  return py::make_tuple(detections, messages(fix_program, r.reported),
                        r.errors);
}

// ---------------------------------------------------------------------------
// Geodesics

using Array = py::array_t<double, py::array::c_style | py::array::forcecast>;

// Arrays of one shape, checked; their shape for the results.
std::vector<py::ssize_t> common_shape(const std::vector<const Array*>& arrays) {
  const Array& first = *arrays.front();
  std::vector<py::ssize_t> shape(first.shape(), first.shape() + first.ndim());
  for (const Array* a : arrays)
    if (a->ndim() != first.ndim() ||
        !std::equal(shape.begin(), shape.end(), a->shape()))
      throw py::value_error("the arrays differ in shape");
  return shape;
}

bool latitude_ok(double lat) { return std::fabs(lat) <= 90.0; }

// Applies `f(earth, in, out)` to four arrays of one shape element by
// element (in: the four values, out: three results), giving three arrays;
// the GIL is released while it works.
template <class F>
py::tuple elementwise(const Array& a, const Array& b, const Array& c,
                      const Array& d, int ellipsoid, F f) {
  const auto shape = common_shape({&a, &b, &c, &d});
  Array r0(shape), r1(shape), r2(shape);
  const double* in[4] = {a.data(), b.data(), c.data(), d.data()};
  double* out[3] = {r0.mutable_data(), r1.mutable_data(), r2.mutable_data()};
  const auto n = static_cast<std::size_t>(a.size());
  {
    py::gil_scoped_release release;
    const geo::Earth earth(ellipsoid);
    for (std::size_t i = 0; i < n; ++i) {
      const double x[4] = {in[0][i], in[1][i], in[2][i], in[3][i]};
      double y[3];
      f(earth, x, y);
      for (int k = 0; k < 3; ++k) out[k][i] = y[k];
    }
  }
  return py::make_tuple(r0, r1, r2);
}

py::tuple inverse(const Array& lat1, const Array& lon1, const Array& lat2,
                  const Array& lon2, int ellipsoid) {
  return elementwise(lat1, lon1, lat2, lon2, ellipsoid,
                     [](const geo::Earth& earth, const double* x, double* y) {
    if (!latitude_ok(x[0]) || !latitude_ok(x[2]) || !std::isfinite(x[1]) ||
        !std::isfinite(x[3])) {
      y[0] = y[1] = y[2] = nan;
      return;
    }
    const geo::Geodesic g = earth.inverse(x[0], x[1], x[2], x[3]);
    y[0] = g.distance_km * 1000.0;
    y[1] = g.azimuth_1;
    y[2] = g.azimuth_2;
  });
}

py::tuple direct(const Array& lat1, const Array& lon1, const Array& azi1,
                 const Array& s12, int ellipsoid) {
  return elementwise(lat1, lon1, azi1, s12, ellipsoid,
                     [](const geo::Earth& earth, const double* x, double* y) {
    if (!latitude_ok(x[0]) || !std::isfinite(x[1]) || !std::isfinite(x[2]) ||
        !std::isfinite(x[3])) {
      y[0] = y[1] = y[2] = nan;
      return;
    }
    earth.direct(x[0], x[1], x[3] / 1000.0, x[2], y[0], y[1], &y[2]);
  });
}

// ---------------------------------------------------------------------------
// vestra's crossing of two bearings

// The crossing method, its earth model and its check are process-wide
// settings of vestra's engine: one crossing at a time.
std::mutex crossing_mutex;

// Keeps what a run's writer is handed.
class Capture : public output_base {
 public:
  Capture(std::ostream& o, std::string& separator) : output_base(o, separator) {}
  void valid(Station& loc, Station&, Station&) override {
    located = true;
    latitude = loc.get_latitude();
    longitude = loc.get_longitude();
  }
  void invalid(Station&, Station&, Station&) override { located = false; }
  bool located = false;
  double latitude = nan, longitude = nan;
};

// One station (name, latitude, longitude, back azimuth, its standard
// deviation), each number as text, read with the companions' number reader.
Station station(const std::string& which, const std::string& name,
                const std::vector<std::string>& numbers) {
  static const cli::Range latitude_range{-90.0, 90.0},
      longitude_range{-180.0, 180.0}, any{-1e6, 1e6}, sd_range{0.0, 90.0};
  static const char* const fields[] = {"latitude", "longitude", "back_azimuth",
                                       "sd"};
  static const cli::Range* const ranges[] = {&latitude_range, &longitude_range,
                                             &any, &sd_range};
  if (numbers.size() != 4)
    throw py::value_error(which + ": 4 numbers expected");
  double v[4];
  for (std::size_t k = 0; k < 4; ++k) {
    const std::string problem = cli::read_number(numbers[k], *ranges[k], v[k]);
    if (!problem.empty())
      throw py::value_error(which + ": " + fields[k] + ": " + problem);
  }
  Station s = create_station("Default", epoch, 0.0, 0.0, 0.0);
  s.set_name(name);
  s.set_latitude(v[0]);
  s.set_longitude(v[1]);
  s.baz = s.baz_original = v[2];
  s.sbaz = v[3];
  return s;
}

py::object cross(const std::string& name1, const std::vector<std::string>& s1,
                 const std::string& name2, const std::vector<std::string>& s2,
                 const std::string& method, const std::string& ellipsoid_text,
                 const std::string& angle_text) {
  location_method m = nullptr;
  if (method == "original") m = calculate_location_original;
  else if (method == "back-azimuth") m = calculate_location_norsar;
  else
    throw py::value_error("method: " + cli::quote(method) +
                          " is not one of original, back-azimuth");
  double angle = 0.0;
  const std::string problem =
      cli::read_number(angle_text, cli::Range{0.0, 180.0}, angle);
  if (!problem.empty()) throw py::value_error("angle: " + problem);
  const int ellipsoid_number =
      fix_options({"--ellipsoid=" + ellipsoid_text}).settings.ellipsoid;
  std::vector<Station> pair{station("station1", name1, s1),
                            station("station2", name2, s2)};

  std::ostringstream unused;
  std::string separator = "\n";
  Capture capture(unused, separator);
  {
    py::gil_scoped_release release;
    const std::lock_guard<std::mutex> lock(crossing_mutex);
    // vestra's own run for one pair, its settings put back afterwards.
    const auto saved_method = calculate_location;
    const double saved_angle = acceptable_deviation;
    const auto saved_ellipsoid = ellipsoid;
    const int saved_debug = debug;
    new_stations.swap(pair);
    calculate_location = m;
    acceptable_deviation = angle;
    ellipsoid = static_cast<CEarth::_EllipsoidType>(ellipsoid_number);
    earth.SetEllipsoid(ellipsoid);
    debug = 0;
    cross_pairs(capture);
    new_stations.swap(pair);
    calculate_location = saved_method;
    acceptable_deviation = saved_angle;
    ellipsoid = saved_ellipsoid;
    earth.SetEllipsoid(ellipsoid);
    debug = saved_debug;
  }
  if (!capture.located) return py::none();
  py::dict result;
  result["latitude"] = capture.latitude;
  result["longitude"] = capture.longitude;
  return result;
}

// ---------------------------------------------------------------------------
// Association

py::tuple run_assoc(const py::bytes& detections,
                    const std::vector<std::string>& args,
                    const std::string& name) {
  assoc::CommandLine c;
  const std::string refused = assoc::parse_command_line(args, c);
  if (!refused.empty()) throw py::value_error(refused);
  if (c.help || c.version || !c.files.empty() || !c.unassociated.empty())
    throw py::value_error("not a setting of the association: " +
                          (args.empty() ? std::string() : args.front()));
  std::istringstream in(std::string{std::string_view(detections)});
  std::ostringstream err;
  assoc::Written written;
  std::size_t errors = 0;
  {
    py::gil_scoped_release release;
    cli::Diagnostics diagnostics(assoc_program, err);
    written = assoc::run(c, in, diagnostics, true, name);
    errors = diagnostics.errors();
  }
  return py::make_tuple(text_of(written.events), text_of(written.unassociated),
                        messages(assoc_program, err.str()), errors);
}

}  // namespace

PYBIND11_MODULE(_vestra, m) {
  m.doc() =
      "The engine of the vestra programs. Use the package vestra: these "
      "functions take the programs' own text and options.";

  m.def(
      "check_options",
      [](const std::vector<std::string>& args) { fix_options(args); },
      py::arg("args"),
      "check_options(args)\n\n"
      "Reads vestra-fix's command line `args` (options only); a refused value "
      "raises ValueError with the program's message.");

  m.def("run_fix", &run_fix, py::arg("detections"), py::arg("args"),
        py::arg("name"),
        "run_fix(detections, args, name) -> (output, messages, errors)\n\n"
        "Runs vestra-fix with the options `args` on the detection list "
        "`detections` (bytes: detection JSON or the text format), named "
        "`name` in messages. Returns the program's output, the lines it "
        "reported (without the program's name) and the number of errors "
        "among them. A refused option raises ValueError.");

  m.def("run_assoc", &run_assoc, py::arg("detections"), py::arg("args"),
        py::arg("name"),
        "run_assoc(detections, args, name) -> (events, unassociated, "
        "messages, errors)\n\n"
        "Runs vestra-assoc with the options `args` on the detection list "
        "`detections` (bytes: detection JSON or the text format), named "
        "`name` in messages. Returns its output (the detections of the "
        "events), the detections of no event in the same form, the lines it "
        "reported (without the program's name) and the number of errors "
        "among them. A refused option raises ValueError.");

  m.def("read", &read_input, py::arg("files"), py::arg("content"), py::arg("name"),
        "read(files, content, name) -> (detections, messages, errors)\n\n"
        "Reads every detection of the detection files `files` (JSON or the "
        "text format), or of `content` (bytes) named `name` when `files` is "
        "empty, as vestra-fix reads them. Returns, per usable detection, a "
        "dict with 'where' (file and index or line), 'station' (the name "
        "the reader gave it) and, for detection JSON, 'raw' (the element's "
        "text) and 'name_empty' (no \"Name\" of its own), for the text "
        "format 'event', 'latitude', 'longitude', 'back_azimuth', 'sigma' "
        "(0: none) and 'time' (ISO 8601, when given); the lines the reader "
        "reported and the number of errors among them.");

  m.def("inverse", &inverse, py::arg("lat1"), py::arg("lon1"),
        py::arg("lat2"), py::arg("lon2"), py::arg("ellipsoid"),
        "inverse(lat1, lon1, lat2, lon2, ellipsoid) -> (s12, azi1, azi2)\n\n"
        "The inverse geodesic problem (Vincenty) on the ellipsoid number "
        "`ellipsoid` (1 to 25, checked by the caller) for arrays of one "
        "shape: the distance s12 (m) and the azimuths at both ends (degrees, "
        "[0, 360)); NaN where a latitude is outside [-90, 90] or a value is "
        "not finite.");

  m.def("direct", &direct, py::arg("lat1"), py::arg("lon1"), py::arg("azi1"),
        py::arg("s12"), py::arg("ellipsoid"),
        "direct(lat1, lon1, azi1, s12, ellipsoid) -> (lat2, lon2, azi2)\n\n"
        "The direct geodesic problem (Vincenty) on the ellipsoid number "
        "`ellipsoid` (1 to 25, checked by the caller) for arrays of one "
        "shape: s12 in metres, the end point (degrees, longitude in (-180, "
        "180]) and the azimuth there (degrees, [0, 360)); NaN where the "
        "latitude is outside [-90, 90] or a value is not finite.");

  m.def("cross", &cross, py::arg("name1"), py::arg("station1"),
        py::arg("name2"), py::arg("station2"), py::arg("method"),
        py::arg("ellipsoid"), py::arg("angle"),
        "cross(name1, station1, name2, station2, method, ellipsoid, angle) "
        "-> dict | None\n\n"
        "vestra's checked crossing of the bearings of two stations, each "
        "given as the texts of its latitude, longitude, back azimuth and "
        "standard deviation (degrees); `method` is 'original' or "
        "'back-azimuth', `ellipsoid` the text of the ellipsoid number and "
        "`angle` that of the tolerance of the check (degrees). Returns "
        "{'latitude', 'longitude'} or None when vestra finds no confirmed "
        "crossing; a refused value raises ValueError.");
}
