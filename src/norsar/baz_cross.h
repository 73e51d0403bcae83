// Back-azimuth crossing method and its distance routines.
//
// The crossing point of two bearings is found on a sphere in geocentric
// latitudes (hyposat_cross, after the location program HYPOSAT), with
// standard deviations of the result derived from those of the bearings.
// The distance routines (depi, delazd, radloc_*) use their own earth figure:
// equatorial radius 6378.136 km, polar radius 6356.751 km.
//
// Units: angles are decimal degrees at every interface (north latitude and
// east longitude positive, azimuths clockwise from north) unless a routine
// says radians; distances are degrees of arc or kilometres as stated.
#pragma once

class Station;

/// Geocentric latitude (degrees) of a geographic latitude `rlat` (degrees).
double convlat_geographic2geocentric(double rlat);

/// Geographic latitude (degrees) of a geocentric latitude `rlat` (degrees).
double convlat_geocentric2geographic(double rlat);

/// Local earth radius (km) at the geographic latitude `dlat0` (degrees).
double radloc_geographic(double dlat0);

/// Local earth radius (km) at the geocentric latitude `dlat0` (degrees).
double radloc_geocentric(double dlat0);

/// sqrt(a*a + b*b) without overflow or destructive underflow; a and b in any
/// one unit, the result in the same unit.
double dpythag(double a, double b);

/// Step (degrees of arc) of the walk with which depi measures a path of
/// `range` degrees: range/200 from 100 on, range/100 above 10, range/15
/// above 0.05; 0 (no walk) for a range up to 0.05; not-a-number for a range
/// that is not a number.
double depi_walk_step(double range);

/// Distance and azimuths between point R and point E.
/// @param[in] rlat, rlon  point R, geographic latitude and longitude (degrees)
/// @param[in] elat, elon  point E, geographic latitude and longitude (degrees)
/// @param[out] deld  distance R-E (degrees of arc)
/// @param[out] delk  distance R-E (km)
/// @param[out] azid  azimuth at E towards R (degrees)
/// @param[out] bazd  azimuth at R towards E (degrees)
/// @param[out] d2km  km per degree of arc along the path
void depi(double rlat, double rlon, double elat, double elon, double& deld,
          double& delk, double& azid, double& bazd, double& d2km);

/// Point reached from (elat1, elon1) along the azimuth `azi` after `dis`.
/// @param[in] elat1, elon1  start, geographic latitude and longitude (degrees)
/// @param[in] azi  azimuth at the start (degrees)
/// @param[in] dis  distance: degrees of arc when ind = 1, km when ind = 2
/// @param[in] ind  unit of `dis` (1 or 2); any other value writes
///                 "Wrong index for distance" to stderr and sets nothing
/// @param[out] elat2, elon2  end point, geographic latitude and longitude
///                 (degrees, longitude in [-180, 180])
void delazd(double elat1, double elon1, double azi, double dis, int ind,
            double& elat2, double& elon2);

/// An azimuth `a` (degrees) brought once towards [0, 360]: a - 360 if
/// a > 360, a + 360 if a < 0, else a.
double alpha2(double a);

/// |b| with the sign of a (+ for a >= 0).
double dsign(double b, double a);

/// The arc function `asin_acos` (radians) applied to `a`, after replacing an
/// `a` with 1 < |a| < 1.00005 (a rounding excess) by +-1.
double f2(double (*asin_acos)(double), double a);

/// Crossing point of two bearings on a sphere, with standard deviations.
/// @param[in] slat1, slon1  station 1, geocentric latitude and longitude
///                          (degrees)
/// @param[in] azi1, azi1s  bearing at station 1 and its standard deviation
///                         (degrees)
/// @param[in] azi2, azi2s  bearing at station 2 and its standard deviation
///                         (degrees)
/// @param[in] del3  distance between the stations (degrees of arc)
/// @param[in] ep1  azimuth at station 1 towards station 2 (degrees)
/// @param[in] ep2  azimuth at station 2 towards station 1 (degrees)
/// @param[out] event_lat  geocentric latitude of the source (degrees)
/// @param[out] event_lat_stddev  its standard deviation (degrees)
/// @param[out] event_lon  longitude of the source (degrees, [-180, 180])
/// @param[out] event_lon_stddev  its standard deviation (degrees)
/// @param[in,out] dismin  lowered to the smaller distance from a station to
///                        the source (radians) when ierr = 0
/// @param[in] typctl  verbosity of the messages on stderr (0: none)
/// @param[out] ierr  0 found; 10 no crossing; 1 a distance > 170 degrees;
///                   2 a distance <= 0; -3 longitude deviation clipped to
///                   180; 3 both deviations clipped (latitude to 90).
///                   The outputs are left untouched for 10, 1 and 2.
void hyposat_cross(double slat1, double slon1, double azi1, double azi1s,
                   double azi2, double azi2s, double del3, double ep1,
                   double ep2, double& event_lat, double& event_lat_stddev,
                   double& event_lon, double& event_lon_stddev,
                   double& dismin, int typctl, int& ierr);

/// Crossing point of the bearings baz1 (at station 1) and baz2 (at
/// station 2). Latitudes are geographic; all values in degrees. The four
/// results are not-a-number when ierr is 10, 1 or 2.
void baz_cross(double rlat1, double rlon1, double rlat2, double rlon2,
               double baz1, double sbaz1, double baz2, double sbaz2,
               double& event_lat, double& event_lat_stddev, double& event_lon,
               double& event_lon_stddev, int& ierr);

/// Crossing point of the bearings (`baz`, `sbaz`) of s1 and s2, written into
/// the latitude and longitude of `event` whatever `ierr` becomes.
void baz_cross(const Station& s1, const Station& s2, Station& event,
               int& ierr);

/// Crossing point of the bearings of s1 and s2 by the back-azimuth method;
/// returns 0 when `loc` received a location, an error code otherwise (see
/// hyposat_cross).
int calculate_location_norsar(const Station& s1, const Station& s2,
                              Station& loc);
