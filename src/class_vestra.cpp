// Original crossing method.
//
// Notation: phi latitude, lambda longitude (radians); `gny` the radius of
// curvature in the prime vertical (km); `a3`, `a4` the azimuths between the
// stations; `d6` their distance; `a7`, `b1` the triangle's angles at the
// stations; `c4`, `q3` cosine and sine of the angle at the source; `d1`,
// `d2` the distances from the stations to the source (degrees of arc).
// Geographic latitudes become geocentric through the factor on their tangent
// (0.993305 in azimuth(), 0.993277 and back 1.00676 in delta() and l_1000()).

#include "class_vestra.h"

#include <cmath>

#include "class_location.h"

namespace {

constexpr double pi_2 = 1.5707963267948966;          // pi/2
constexpr double deg2rad = 0.017453292519943295;     // pi/180
constexpr double rad2deg = 57.29577951308232;        // 180/pi
constexpr double ecc = 0.006695;                     // eccentricity squared
constexpr double polar_diameter = 0.993305;          // geographic -> geocentric
constexpr double equatorial_diameter = 1.0067401251377976;  // 1 / 0.993305
constexpr double pole_guard = 0.001;                 // radians

double sq(double x) { return x * x; }

}  // namespace

int basic_sgn(double d) {
  if (d < 0) return -1;
  if (d > 0) return 1;
  return 0;
}

int sgn(double a) { return a < 0 ? -1 : 1; }

double fortran_sgn(double a, double b) {
  return b < 0 ? -std::fabs(a) : std::fabs(a);
}

double azimuth(double xlat1, double xlong1, double xlat2, double xlong2) {
  double lambda1 = xlong1 * deg2rad;
  double lambda2 = xlong2 * deg2rad;
  double phi1 = xlat1 * deg2rad;
  double phi2 = xlat2 * deg2rad;
  // Geocentric latitudes, except within the guard of a pole.
  if (std::fabs(std::fabs(phi1) - pi_2) > pole_guard)
    phi1 = std::atan(polar_diameter * std::tan(phi1));
  if (std::fabs(std::fabs(phi2) - pi_2) > pole_guard)
    phi2 = std::atan(polar_diameter * std::tan(phi2));
  double gny1 = 6378.155 / std::sqrt(1 - ecc * sq(std::sin(phi1)));
  double gny2 = 6378.155 / std::sqrt(1 - ecc * sq(std::sin(phi2)));
  double t1 = std::tan(phi1);
  double t2 = std::tan(phi2);
  double alpa = ecc * gny1 * std::cos(phi1) / (gny2 * std::cos(phi2)) +
                t2 / (equatorial_diameter * t1);
  double damda = lambda2 - lambda1;  // not reduced to +-pi
  double x = (alpa - std::cos(damda)) * std::sin(phi1) /
             std::sin(std::fabs(damda));
  double azimut = (pi_2 - std::atan(x)) * rad2deg;
  if (!(lambda2 >= lambda1)) azimut = 360 - azimut;
  if (azimut < 0) azimut += 360;
  if (azimut >= 360) azimut -= 360;
  return azimut;
}

double delta(double xlat1, double xlong1, double xlat2, double xlong2) {
  // A latitude at or beyond a pole is reflected, its longitude turned round.
  if (std::fabs(xlat1) >= 90) {
    xlat1 = fortran_sgn(180 - std::fabs(xlat1), xlat1);
    xlong1 = xlong1 - 180;
  }
  if (std::fabs(xlat2) >= 90) {
    xlat2 = fortran_sgn(180 - std::fabs(xlat2), xlat2);
    xlong2 = xlong2 - 180;
  }
  if (std::fabs(xlong1) >= 180) {
    if (xlong1 > 0) xlong1 -= 360;
    else if (xlong1 < 0) xlong1 += 360;
  }
  if (std::fabs(xlong2) >= 180) {
    if (xlong2 > 0) xlong2 -= 360;
    else if (xlong2 < 0) xlong2 += 360;
  }
  double phin1 = xlat1 * deg2rad;
  double phin2 = xlat2 * deg2rad;
  double lambdan1 = xlong1 * deg2rad;
  double lambdan2 = xlong2 * deg2rad;
  if (std::fabs(std::fabs(phin1) - pi_2) > pole_guard)
    phin1 = std::atan(0.993277 * std::tan(phin1));
  if (std::fabs(std::fabs(phin2) - pi_2) > pole_guard)
    phin2 = std::atan(0.993277 * std::tan(phin2));
  double cosdt =
      std::cos(phin1) * std::cos(lambdan1) * std::cos(phin2) *
          std::cos(lambdan2) +
      std::cos(phin1) * std::sin(lambdan1) * std::cos(phin2) *
          std::sin(lambdan2) +
      std::sin(phin1) * std::sin(phin2);
  double sindt = std::sqrt(1 - sq(cosdt));  // not clamped
  return std::atan2(sindt, cosdt) * rad2deg;
}

vestra::vestra(const Station& s1, const Station& s2)
    : station1(0),
      station2(0),
      x1(s1.get_latitude()),
      y1(s1.get_longitude()),
      x2(s2.get_latitude()),
      y2(s2.get_longitude()),
      angle1(s1.baz),
      angle2(s2.baz) {}

void vestra::operator()(Station& loc) {
  double latitude, longitude;
  l_400(latitude, longitude);
  loc.set_latitude(latitude);
  loc.set_longitude(longitude);
}

void vestra::l_1000(double x4, double x3, double t0, double d7,
                    double& result_x, double& result_y) {
  double t3 = t0 * deg2rad;
  double d8 = d7 * deg2rad;
  double h8 = (90 - x4) * deg2rad;  // colatitude of the start
  // Geocentric colatitude of the start; undone at the end point below.
  double h9 = std::atan(std::sin(h8) / std::cos(h8) / 0.993277);
  double c9 = std::cos(h9) * std::cos(d8) +
              std::sin(h9) * std::sin(d8) * std::cos(t3);
  if (std::fabs(c9) > 1) c9 = sgn(c9);
  double l3 = std::acos(c9);
  double e = pi_2 - l3;
  result_x = std::atan(1.00676 * (std::sin(e) / std::cos(e))) * rad2deg;
  double g1 = (std::cos(d8) - c9 * std::cos(h9)) /
              (std::sin(l3) * std::sin(h9));
  if (std::fabs(g1) > 1) g1 = sgn(g1);
  double a = std::acos(g1);
  if (t0 > 180) a = -a;  // a bearing of more than 180 degrees goes west
  result_y = a * rad2deg + x3;
  if (std::fabs(result_y) > 180) {
    if (result_y > 0) result_y -= 360;
    else if (result_y < 0) result_y += 360;
  }
}

void vestra::l_141(double lat1, double long1, double lat2, double long2,
                   double& a5, double& a6) {
  a5 = azimuth(lat1, long1, lat2, long2);
  a6 = a5 + 180;
  if (a6 > 360) a6 -= 360;
}

void vestra::l_400(double& latitude, double& longitude) {
  double a3 = azimuth(x1, y1, x2, y2);
  double a4 = azimuth(x2, y2, x1, y1);
  double d6 = delta(x1, y1, x2, y2);
  double a7 = a3 - angle1;  // angle at station 1, degrees
  double b1 = angle2 - a4;  // angle at station 2, degrees
  double a7r = a7 * deg2rad, b1r = b1 * deg2rad, d6r = d6 * deg2rad;
  // Spherical law of cosines for angles: the angle at the source.
  double c4 = std::sin(a7r) * std::sin(b1r) * std::cos(d6r) -
              std::cos(a7r) * std::cos(b1r);
  double q3 = std::sqrt(1 - sq(c4));  // not clamped
  double s4 = std::sin(d6r) / q3;     // law of sines
  double d1 = std::fabs(std::asin(std::sin(b1r) * s4)) * rad2deg;
  double d2 = std::fabs(std::asin(std::sin(a7r) * s4)) * rad2deg;
  double x8, y8, x9, y9;
  l_1000(x1, y1, angle1, d1, x8, y8);
  l_1000(x2, y2, angle2, d2, x9, y9);
  latitude = (x8 + x9) * 0.5;
  longitude = (y8 + y9) * 0.5;
}

int calculate_location_original(const Station& s1, const Station& s2,
                                Station& event_location) {
  int ierr = 0;
  vestra v(s1, s2);
  v(event_location);
  return ierr;
}
