// Station distances measured on the process-wide earth model, and central
// angles on a sphere.
//
// Units: station positions in decimal degrees (north and east positive);
// geodesic distances in metres; headings in degrees clockwise from north.

#include "distance.h"

#include <cmath>

#include "class_location.h"

CEarth::_EllipsoidType ellipsoid = CEarth::WGS_84;

// Built with WGS 84 itself, not from `ellipsoid`: the front end applies the
// user's choice with SetEllipsoid once the options are read.
CEarth earth(CEarth::WGS_84);

distance* calculate_distance(Station& origin, Station& st) {
  CPolarCoordinate here;
  CPolarCoordinate there;

  // Heights stay 0; the degrees are handed over unchanged.
  here.SetUpDownAngleInDegrees(origin.get_latitude());
  here.SetLeftRightAngleInDegrees(origin.get_longitude());
  there.SetUpDownAngleInDegrees(st.get_latitude());
  there.SetLeftRightAngleInDegrees(st.get_longitude());

  distance* result = new distance;
  result->distance_in_meters =
      earth.GetSurfaceDistance(here, there, &result->heading_from_here_to_there,
                               &result->heading_from_there_to_here);
  return result;
}

// Spherical law of cosines.  The arc cosine's argument is not clamped: for
// (nearly) identical points rounding can lift it above 1 and the result is
// then not a number.
double angular_distance(double lat1, double lon1, double lat2, double lon2) {
  return std::acos(std::cos(lon1 - lon2) * (std::cos(lat1) * std::cos(lat2)) +
                   std::sin(lat1) * std::sin(lat2));
}

double angular_distance(const Station& s, const Station& r) {
  const double lat1 = s.get_latitude() * 0.017453292519943295;
  const double lon1 = s.get_longitude() * 0.017453292519943295;
  const double lat2 = r.get_latitude() * 0.017453292519943295;
  const double lon2 = r.get_longitude() * 0.017453292519943295;
  return angular_distance(lat1, lon1, lat2, lon2);
}

double angular_distance_deg(double lat1, double lon1, double lat2,
                            double lon2) {
  return angular_distance(lat1 * 0.017453292519943295,
                          lon1 * 0.017453292519943295,
                          lat2 * 0.017453292519943295,
                          lon2 * 0.017453292519943295) *
         57.29577951308232;
}

double angular_distance_deg(const Station& s, const Station& r) {
  return angular_distance_deg(s.get_latitude(), s.get_longitude(),
                              r.get_latitude(), r.get_longitude());
}
