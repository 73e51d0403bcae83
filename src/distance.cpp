// Station distances (filled in by the earth-model work).

#include "distance.h"

#include "class_location.h"

CEarth::_EllipsoidType ellipsoid = CEarth::WGS_84;
CEarth earth(CEarth::WGS_84);

distance* calculate_distance(Station&, Station&) { return new distance; }
double angular_distance(double, double, double, double) { return 0.0; }
double angular_distance(const Station&, const Station&) { return 0.0; }
double angular_distance_deg(double, double, double, double) { return 0.0; }
double angular_distance_deg(const Station&, const Station&) { return 0.0; }
