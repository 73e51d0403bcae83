// Back-azimuth crossing method and its distance routines.
//
// Notation:
//   colatitudes: `epipr`/`epipc` of R and `stnpr`/`stpc` of E in depi (the
//     r suffix radians, c degrees); `elatr` of the source in hyposat_cross.
//   `epilc`, `stlc`  longitudes of R and E in [0, 360) (degrees).
//   `angi`  distance R-E (radians); `az`, `baz` the azimuths at R and at E.
//   `ga1`, `ga2`, `ga3`  angles of the triangle at station 1, station 2 and
//     the source; `g1s`, `g1c` their sine and cosine (likewise g2, g3).
//   `ri1`, `ri2`  sign of the bearing's side of the station line (+1 or -1).
//   `al1`, `ra1`  bearing at station 1 folded into [0, pi], and its side.
//   `d1`, `d2`  distances from station 1 and 2 to the source (radians).
//   `d3c`  cosine of the distance between the stations.
//   `elax`, `elox`  cosines of the source's colatitude and of its longitude
//     difference from station 1; `eloxr` the latter angle (radians).
//   `dXdazN`  derivative of X by the bearing at station N.

#include "norsar/baz_cross.h"

#include <cmath>
#include <iostream>
#include <limits>

#include "class_location.h"
#include "trace.h"

namespace {

constexpr double pi = 3.141592653589793;
constexpr double pi2 = 6.283185307179586;          // 2 pi
constexpr double pi_2 = 1.5707963267948966;        // pi / 2
constexpr double deg2rad = 0.017453292519943295;   // pi / 180
constexpr double rad2deg = 57.29577951308232;      // 180 / pi
constexpr double rada = 6378.136;                  // equatorial radius, km
constexpr double radb = 6356.751;                  // polar radius, km
constexpr double eps = 0.9933055207541712;         // (radb / rada)^2
constexpr double deg170 = 2.9670597283903604;      // 170 degrees in radians
constexpr double acos_guard = 1.00005;             // cosine rounding excess
constexpr double div_guard = 5e-05;                // smallest usable divisor

// The walk of depi takes about 200 steps at most; a range that is not a
// finite number would make the step useless, so the walk stops after this
// many points whatever the step.
constexpr int max_walk_points = 1000;

constexpr double not_a_number = std::numeric_limits<double>::quiet_NaN();

// -1 if a < 0, else +1 (also for -0 and not-a-number).
double sgn(double a) { return a < 0 ? -1.0 : 1.0; }

// An argument with 1 < |a| < 1.00005 is a rounding excess of a sine or
// cosine: take it as +-1. Larger magnitudes are passed on unchanged.
double guard_unit(double a) {
  double aa = std::fabs(a);
  if (aa > 1 && aa < acos_guard) return dsign(1, a);
  return a;
}

double arc_cosine(double a) { return std::acos(a); }

// The triangle's angle ga (radians, [0, pi]) at a station between its
// bearing azir and the direction epr to the other station, with ri = +1 when
// the bearing lies clockwise of that direction and -1 otherwise.
void station_angle(double azir, double epr, double& ga, double& ri) {
  if (azir >= epr) {
    ga = azir - epr;
    ri = 1;
  } else {
    ga = epr - azir;
    ri = -1;
  }
  if (ga >= pi) {
    ga = pi2 - ga;
    ri = -ri;
  }
}

}  // namespace

double convlat_geographic2geocentric(double rlat) {
  return std::atan(std::tan(rlat * deg2rad) * eps) * rad2deg;
}

double convlat_geocentric2geographic(double rlat) {
  return std::atan(std::tan(rlat * deg2rad) / eps) * rad2deg;
}

double radloc_geographic(double dlat0) {
  double psi = convlat_geographic2geocentric(dlat0) * deg2rad;
  return dpythag(rada * std::cos(psi), radb * std::sin(psi));
}

double radloc_geocentric(double dlat0) {
  double psi = dlat0 * deg2rad;
  return dpythag(rada * std::cos(psi), radb * std::sin(psi));
}

double dpythag(double a, double b) {
  double absa = std::fabs(a);
  double absb = std::fabs(b);
  if (absa > absb) {
    double t = absb / absa;
    return absa * std::sqrt(1 + (t * t));
  }
  if (absb == 0) return 0;
  double t = absa / absb;
  return absb * std::sqrt(1 + (t * t));
}

double depi_walk_step(double range) {
  if (range >= 100) return range / 200;
  if (range > 10) return range / 100;
  if (range > 0.05) return range / 15;
  if (range <= 0.05) return 0;
  return not_a_number;
}

// depi: distance and azimuths between R (rlat, rlon) and E (elat, elon).
//
// Given:
//   rlat, rlon  point R, geographic latitude and longitude (degrees)
//   elat, elon  point E, geographic latitude and longitude (degrees)
// Returned:
//   deld  distance R-E (degrees of arc)
//   delk  distance R-E (km)
//   azid  azimuth at E towards R (degrees)
//   bazd  azimuth at R towards E (degrees)
//   d2km  km per degree of arc along the path
// Notes:
//   1. The azimuths and the distance are those of the sphere, in geocentric
//      latitudes. The kilometre values average the local radius over points
//      of a walk from R along `bazd`, the azimuth at R towards E.
//   2. Poles are tested by exact comparison of the colatitudes with 0 and
//      180, which the latitude conversion gives exactly at +-90.
//   3. The walk steps by depi_walk_step(range) while the distance walked
//      is not beyond the range, and stops after max_walk_points points
//      whatever the step; a range that is not a number makes no point at
//      all and gives not-a-number kilometres.
void depi(double rlat, double rlon, double elat, double elon, double& deld,
          double& delk, double& azid, double& bazd, double& d2km) {
  // Coincident points.
  if (std::fabs(rlat - elat) < 1e-6 && std::fabs(rlon - elon) < 1e-6) {
    deld = 0;
    delk = 0;
    bazd = 0;
    azid = 0;
    d2km = radloc_geographic(rlat) * deg2rad;
    return;
  }

  // Geocentric colatitudes and longitudes in [0, 360).
  double epipr = pi_2 - convlat_geographic2geocentric(rlat) * deg2rad;
  double epipc = epipr * rad2deg;
  double epilc = rlon;
  if (rlon < 0) epilc += 360;

  double stnpr = pi_2 - convlat_geographic2geocentric(elat) * deg2rad;
  double stpc = stnpr * rad2deg;
  double stlc;
  if (std::fabs(elat) == 90) {
    stlc = 0;
  } else {
    stlc = elon;
    if (elon < 0) stlc += 360;
  }

  double range;
  if (stpc == 180) {  // E at the south pole
    range = 180 - epipc;
    bazd = 180;
    azid = rlon;
  } else if (stpc == 0) {  // E at the north pole
    range = epipc;
    bazd = 180 - rlon;
    azid = 0;
  } else if (epipc == 0) {  // R at the north pole
    range = stpc;
    bazd = std::fabs(elat) == 90 ? 0 : 180 - elon;
    azid = 0;
  } else if (epipc == 180) {  // R at the south pole
    range = 180 - stpc;
    bazd = stlc;
    azid = 180;
  } else {
    // General case: spherical law of cosines for the distance.
    double diff = stlc - epilc;
    double polar_ang = diff;
    if (std::fabs(diff) > 180) polar_ang = 360 - std::fabs(diff);
    double cosdel = std::sin(epipr) * std::sin(stnpr) *
                        std::cos(polar_ang * deg2rad) +
                    std::cos(epipr) * std::cos(stnpr);
    double angi;
    if (cosdel == 0) {
      angi = pi_2;
    } else {
      angi = std::atan(std::sqrt(std::fabs(1 - (cosdel * cosdel))) / cosdel);
      if (angi < 0) angi += pi;
    }

    // Azimuths at R (az) and at E (baz), unsigned.
    double az, baz;
    if (angi == 0) {
      az = 90;
      baz = 90;
    } else {
      double c = (std::cos(stnpr) - std::cos(epipr) * std::cos(angi)) /
                 (std::sin(epipr) * std::sin(angi));
      if (c == 0) {
        az = 90;
      } else {
        az = std::atan(std::sqrt(std::fabs(1 - (c * c))) / c);
        if (az < 0) az += pi;
        az = az * rad2deg;
      }
      double cb = (std::cos(epipr) - std::cos(stnpr) * std::cos(angi)) /
                  (std::sin(angi) * std::sin(stnpr));
      if (cb == 0) {
        baz = 90;
      } else {
        baz = std::atan(std::sqrt(std::fabs(1 - (cb * cb))) / cb);
        if (baz < 0) baz += pi;
        baz = baz * rad2deg;
      }
    }
    range = angi * rad2deg;

    // Quadrant from the longitude difference.
    if (diff != 0) {
      double diff1 = diff;
      if (diff < 0) diff1 = diff + 180;
      if (diff > 0) diff1 = diff - 180;
      if (diff1 < 0) baz = 360 - baz;
      if (diff1 > 0) az = 360 - az;
      if (diff1 == 0) {  // opposite meridians
        double diff3 = epipc + stpc - 180;
        if (diff3 > 0) {
          az = 180;
          baz = 180;
        } else {
          az = 0;
          baz = 0;
        }
      }
    } else {  // same meridian
      double diff2 = stpc - epipc;
      baz = 0;
      az = diff2 > 0 ? 180 : 0;
    }
    bazd = az;
    azid = baz;
  }
  deld = range;

  // Kilometres: short ranges take the radius at R, longer ones the mean
  // radius over a walk along the path.
  double step = depi_walk_step(range);
  if (step == 0) {
    d2km = radloc_geographic(rlat) * deg2rad;
    delk = d2km * range;
    return;
  }

  double srad = 0;
  int jlat = 0;
  for (double drad = 0; drad <= range && jlat < max_walk_points;
       drad += step) {
    double wlat, wlon;
    delazd(rlat, rlon, bazd, drad, 1, wlat, wlon);
    srad += radloc_geographic(wlat);
    ++jlat;
  }
  d2km = jlat > 0 ? srad * deg2rad / jlat : not_a_number;
  delk = d2km * range;
}

// delazd: end point of a path of given azimuth and length.
//
// Given:
//   elat1, elon1  start, geographic latitude and longitude (degrees)
//   azi           azimuth at the start (degrees)
//   dis           length: degrees of arc (ind = 1) or km (ind = 2)
//   ind           unit of dis
// Returned:
//   elat2, elon2  end, geographic latitude and longitude (degrees)
// Status:
//   an ind other than 1 or 2 writes "Wrong index for distance" to stderr and
//   returns with elat2, elon2 unchanged.
// Notes:
//   1. Two passes. For km the second pass converts the length with the mean
//      of the radii at the start and at the end point of the first pass;
//      for degrees it repeats the first.
//   2. The azimuth is brought into [0, 2 pi] by one subtraction or addition
//      of 2 pi; an azimuth still outside (beyond +-720 degrees) is taken as
//      pointing west.
void delazd(double elat1, double elon1, double azi, double dis, int ind,
            double& elat2, double& elon2) {
  double rel = radloc_geographic(elat1);
  for (int pass = 0; pass < 2; ++pass) {
    double disd;
    if (ind == 1) {
      disd = dis;
    } else if (ind == 2) {
      disd = dis / (rel * deg2rad);
    } else {
      std::cerr << "Wrong index for distance" << std::endl;
      return;
    }

    double ecolr = (90 - convlat_geographic2geocentric(elat1)) * deg2rad;
    double azir = azi * deg2rad;
    double disr = disd * deg2rad;

    double bx;     // colatitude of the end point (radians)
    double elon;   // longitude of the end point (degrees)
    if (elat1 == -90) {
      bx = pi - disr;
      elon = azi;
      if (bx < 0) elon += 180;
    } else if (elat1 == 90) {
      bx = disr;
      elon = 180 - azi;
      if (disr > pi) elon += 180;
    } else {
      double c = std::cos(azir) * std::sin(ecolr) * std::sin(disr) +
                 std::cos(ecolr) * std::cos(disr);
      bx = std::acos(guard_unit(c));
      double cx = (std::cos(disr) - c * std::cos(ecolr)) /
                  (std::sin(bx) * std::sin(ecolr));
      if (std::fabs(cx) > 1) cx = cx / std::fabs(cx);
      double lambda = std::acos(cx);
      if (disr > pi) lambda = pi2 - lambda;
      if (azir > pi2) azir -= pi2;
      if (azir < 0) azir += pi2;
      if (azir >= 0 && azir <= pi)
        elon = elon1 + lambda * rad2deg;
      else
        elon = elon1 - lambda * rad2deg;
    }

    if (elon > 180) elon -= 360;
    if (elon < -180) elon += 360;
    elat2 = convlat_geocentric2geographic(90 - bx * rad2deg);
    elon2 = elon;

    if (pass == 0 && ind == 2) rel = (radloc_geographic(elat2) + rel) * 0.5;
  }
}

double alpha2(double a) {
  if (a > 360) return a - 360;
  if (a < 0) return a + 360;
  return a;
}

double dsign(double b, double a) { return std::fabs(b) * sgn(a); }

double f2(double (*asin_acos)(double), double a) {
  return asin_acos(guard_unit(a));
}

// hyposat_cross: crossing point of two bearings on a sphere.
//
// Given:
//   slat1, slon1  station 1, geocentric latitude and longitude (degrees)
//   azi1, azi1s   bearing at station 1 and its standard deviation (degrees)
//   azi2, azi2s   bearing at station 2 and its standard deviation (degrees)
//   del3          distance between the stations (degrees of arc)
//   ep1           azimuth at station 1 towards station 2 (degrees)
//   ep2           azimuth at station 2 towards station 1 (degrees)
//   typctl        verbosity of the messages on stderr
// Given and returned:
//   dismin        lowered to min(dismin, d1, d2) (radians) when ierr = 0
// Returned:
//   event_lat, event_lat_stddev  geocentric latitude of the source and its
//                                standard deviation (degrees)
//   event_lon, event_lon_stddev  longitude of the source ([-180, 180]) and
//                                its standard deviation (degrees)
//   ierr          status
// Status:
//    0  crossing point found
//   10  a bearing lies exactly along the station line (no crossing point)
//    1  a distance station-source above 170 degrees
//    2  a distance station-source not above 0
//   -3  longitude deviation above 180 (set to 180)
//    3  as -3 and latitude deviation above 90 (set to 90)
// Notes:
//   1. For 10, 1 and 2 the returned values are left as they were.
//   2. The triangle uses the unsigned angles at the stations; the source is
//      placed on station 1's bearing at distance d1. Whether the bearings
//      point to the same side of the station line is not tested.
//   3. Not-a-number is not tested for: a d1 that is not a number passes
//      the distance checks and gives code 0.
void hyposat_cross(double slat1, double slon1, double azi1, double azi1s,
                   double azi2, double azi2s, double del3, double ep1,
                   double ep2, double& event_lat, double& event_lat_stddev,
                   double& event_lon, double& event_lon_stddev,
                   double& dismin, int typctl, int& ierr) {
  // No crossing point when a bearing points exactly at or away from the
  // other station.
  if (azi1 == ep1 || azi1 == alpha2(ep1 - 180) || ep1 == alpha2(azi1 - 180) ||
      azi2 == ep2 || azi2 == alpha2(ep2 - 180) || ep2 == alpha2(azi2 - 180)) {
    if (typctl > 8) std::cerr << "no crossing point posible" << std::endl;
    ierr = 10;
    return;
  }

  ierr = 0;
  double azi1r = azi1 * deg2rad;
  double azi2r = azi2 * deg2rad;
  double d3c = std::cos(del3 * deg2rad);
  double ep1r = ep1 * deg2rad;
  double ep2r = ep2 * deg2rad;

  // Angles of the triangle at the stations.
  double ga1, ri1, ga2, ri2;
  station_angle(azi1r, ep1r, ga1, ri1);
  station_angle(azi2r, ep2r, ga2, ri2);

  double al1, ra1;
  if (azi1r <= pi) {
    al1 = azi1r;
    ra1 = 1;
  } else {
    al1 = pi2 - azi1r;
    ra1 = -1;
  }

  double g1s = std::sin(ga1);
  double g1c = std::cos(ga1);
  double g2s = std::sin(ga2);
  double g2c = std::cos(ga2);

  // Angle at the source, then the distances from the stations (law of
  // cosines for angles).
  double g3c = d3c * g1s * g2s - g1c * g2c;
  double ga3 = f2(arc_cosine, g3c);
  double g3s = std::sin(ga3);

  double d1 = f2(arc_cosine, (g2c + g1c * g3c) / (g1s * g3s));
  double d2 = f2(arc_cosine, (g1c + g2c * g3c) / (g2s * g3s));

  if (d1 > deg170 || d2 > deg170) {
    ierr = 1;
    if (typctl > 4) std::cerr << "distance d1 or d2 > 170 deg" << std::endl;
    return;
  } else if (d1 <= 0 || d2 <= 0) {
    ierr = 2;
    if (typctl > 4) std::cerr << "distance d1 or d2 <= 0 deg" << std::endl;
    return;
  }

  if (typctl > 5) {
    std::cerr << "event distance [deg] from station 1: " << d1 * rad2deg
              << std::endl;
    std::cerr << "event distance [deg] from station 2: " << d2 * rad2deg
              << std::endl;
  }

  // Latitude of the source: from station 1 along its bearing over d1.
  double dla1 = slat1 * deg2rad;
  double the1 = pi_2 - dla1;  // colatitude of station 1
  double elax = std::cos(d1) * std::cos(the1) +
                std::sin(d1) * std::sin(the1) * std::cos(al1);
  double elatr = f2(arc_cosine, elax);
  event_lat = (pi_2 - elatr) * rad2deg;

  // Longitude of the source.
  double elox;
  if (std::fabs(event_lat) < 90) {
    elox = guard_unit((std::cos(d1) - std::cos(the1) * elax) /
                      (std::sin(the1) * std::sin(elatr)));
  } else {
    elox = 1;
  }
  double eloxr = std::acos(elox);
  double elonr = slon1 * deg2rad;
  if (azi1r < pi) elonr = elonr + eloxr;
  if (azi1r > pi) elonr = elonr - eloxr;
  if (elonr < -pi) elonr = elonr + pi2;
  if (elonr > pi) elonr = elonr - pi2;
  event_lon = elonr * rad2deg;

  // Standard deviations by propagating those of the bearings through the
  // derivatives of the angle at the source, of d1, of the latitude and of
  // the longitude.
  double dga3daz1 = -(d3c * g1c * g2s + g1s * g2c) / g3s;
  double dga3daz2 = -(d3c * g1s * g2c + g1c * g2s) / g3s;

  double dnom = std::sin(d1) * (g1s * g1s) * (g3s * g3s);
  double dd1daz1 = ri1 *
                   ((g1c * g2c + g3c) * g3s +
                    dga3daz1 * g1s * (g1c + g2c * g3c)) /
                   dnom;
  double dd1daz2 = ri2 *
                   (dga3daz2 * g1s * (g1c + g2c * g3c) + g1s * g2s * g3s) /
                   dnom;

  double s = std::sin(elatr);
  double e = std::sin(d1) * std::cos(the1) -
             std::sin(the1) * std::cos(d1) * std::cos(al1);
  double delatdaz1, delatdaz2, f3;
  if (s == 0) {
    delatdaz1 = 1;
    delatdaz2 = 1;
    f3 = 0;
  } else {
    delatdaz1 = (ra1 * std::sin(al1) * std::sin(the1) * std::sin(d1) +
                 dd1daz1 * e) /
                s;
    delatdaz2 = dd1daz2 * e / s;
    f3 = (elax * std::cos(d1) - std::cos(the1)) / s;
  }

  event_lat_stddev = dpythag(azi1s * delatdaz1, azi2s * delatdaz2);

  double f4 = s * std::sin(the1) * std::sin(eloxr);
  double delondaz1, delondaz2;
  if (std::fabs(f4) > div_guard) {
    delondaz1 = (dd1daz1 * std::sin(d1) + delatdaz1 * f3) / f4;
    delondaz2 = (dd1daz2 * std::sin(d1) + delatdaz2 * f3) / f4;
  } else {
    delondaz1 = 1;
    delondaz2 = 1;
  }

  event_lon_stddev = dpythag(delondaz1 * azi1s, delondaz2 * azi2s);

  // Clip the deviations; a source at a pole has no longitude.
  if (std::fabs(event_lat) == 90) {
    event_lon_stddev = 180;
  } else if (event_lon_stddev > 180) {
    ierr = -3;
    event_lon_stddev = 180;
  }
  if (event_lat_stddev > 90) {
    ierr = -ierr;
    event_lat_stddev = 90;
  }

  if (typctl > 4) {
    std::cerr << "event latitude : " << event_lat << " +/- "
              << event_lat_stddev << std::endl;
    std::cerr << "event longitude: " << event_lon << " +/- "
              << event_lon_stddev << std::endl;
    std::cerr << "ierr = " << ierr << std::endl;
  }

  if (ierr != 0) return;
  if (dismin > d1) dismin = d1;
  if (dismin > d2) dismin = d2;
}

void baz_cross(double rlat1, double rlon1, double rlat2, double rlon2,
               double baz1, double sbaz1, double baz2, double sbaz2,
               double& event_lat, double& event_lat_stddev, double& event_lon,
               double& event_lon_stddev, int& ierr) {
  ierr = 0;

  double del, dk, ep2, ep1, d2km;
  depi(rlat1, rlon1, rlat2, rlon2, del, dk, ep2, ep1, d2km);

  DEBUG_TRACE("\nrlat1 = " << rlat1 << " rlon1 = " << rlon1
                           << "\nrlat2 = " << rlat2 << " rlon2 = " << rlon2
                           << "\ndel = " << del << "\ndk = " << dk
                           << "\nep2 = " << ep2 << "\nep1 = " << ep1
                           << "\nd2km = " << d2km << "\n");

  double rlatgc1 = convlat_geographic2geocentric(rlat1);

  // hyposat_cross computes nothing for codes 10, 1 and 2: the results are
  // not-a-number then. dismin is not used afterwards; it starts at pi.
  double event_lat_gc = not_a_number;
  event_lat_stddev = not_a_number;
  event_lon = not_a_number;
  event_lon_stddev = not_a_number;
  double dismin = pi;
  hyposat_cross(rlatgc1, rlon1, baz1, sbaz1, baz2, sbaz2, del, ep1, ep2,
                event_lat_gc, event_lat_stddev, event_lon, event_lon_stddev,
                dismin, 0, ierr);

  event_lat = convlat_geocentric2geographic(event_lat_gc);
}

void baz_cross(const Station& s1, const Station& s2, Station& event,
               int& ierr) {
  double rlat1 = s1.get_latitude();
  double rlon1 = s1.get_longitude();
  double rlat2 = s2.get_latitude();
  double rlon2 = s2.get_longitude();
  double baz1 = s1.baz;
  double sbaz1 = s1.sbaz;
  double baz2 = s2.baz;
  double sbaz2 = s2.sbaz;

  double event_lat, event_lat_stddev, event_lon, event_lon_stddev;
  baz_cross(rlat1, rlon1, rlat2, rlon2, baz1, sbaz1, baz2, sbaz2, event_lat,
            event_lat_stddev, event_lon, event_lon_stddev, ierr);

  // Written whatever ierr is; the standard deviations are not kept.
  event.set_latitude(event_lat);
  event.set_longitude(event_lon);
}

int calculate_location_norsar(const Station& s1, const Station& s2,
                              Station& loc) {
  int ierr = 0;
  baz_cross(s1, s2, loc, ierr);
  return ierr;
}
